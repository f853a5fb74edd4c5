#pragma once

#include "session/export/StatSummary.h"

#include <QDialog>

#include <memory>
#include <vector>

class QCheckBox;
class QDoubleSpinBox;
class QGroupBox;
class QLineEdit;
class QRadioButton;

namespace Tessaly {

class FeatureChecklist;
struct DatasetEntry;

/// Asks which statistics of which features to write, of one or all datasets, and where to.
class StatSummaryExportDialog : public QDialog {
    Q_OBJECT

public:
    /// @param current     it and the others are looked at now and not kept
    /// @param remembered  what was exported last, or null
    StatSummaryExportDialog(const DatasetEntry& current, const std::vector<std::unique_ptr<DatasetEntry>>& datasets,
                            const StatSummaryConfig* remembered = nullptr, QWidget* parent = nullptr);

    /// What is chosen.
    StatSummaryConfig config() const;

private slots:
    void onBrowse();
    void onSelectAll();
    void onDeselectAll();
    void onScopeChanged();

private:
    /// A check box and the member of the configuration that it stands for.
    struct Figure {
        QCheckBox* box;
        bool StatSummaryConfig::*member;
    };

    QGroupBox* makeScopeGroup(std::size_t count);
    QGroupBox* makeFeatureGroup();
    QGroupBox* makeFigureGroup();
    QGroupBox* makeFileGroup(const DatasetEntry& current);
    void take(const StatSummaryConfig& config);

    QRadioButton* currentDataset_ = nullptr;
    QRadioButton* allDatasets_ = nullptr;
    FeatureChecklist* features_ = nullptr;
    std::vector<Figure> figures_;
    QDoubleSpinBox* percentile_ = nullptr;
    QLineEdit* path_ = nullptr;
};

} // namespace Tessaly
