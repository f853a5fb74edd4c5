#pragma once

#include "session/export/ExportConfig.h"

#include <QDialog>

#include <memory>
#include <vector>

class QButtonGroup;
class QCheckBox;
class QGroupBox;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace Tessaly {

class FeatureChecklist;
struct DatasetEntry;

/// Asks what to export of one or all datasets, how, and where to.
class ExportDialog : public QDialog {
    Q_OBJECT

public:
    /// @param dataset     the current one; it and the others are looked at now and not kept
    /// @param expertMode  whether the choice "For reanalysis" is shown
    /// @param lastConfig  what the dialog was closed with last, or null
    ExportDialog(const DatasetEntry& dataset, const std::vector<std::unique_ptr<DatasetEntry>>& datasets,
                 bool expertMode, QWidget* parent = nullptr, const ExportConfig* lastConfig = nullptr);

    /// What is chosen.
    ExportConfig config() const;

private slots:
    void onBrowseDir();
    void onSelectAll();
    void onDeselectAll();
    void onScopeChanged();
    void onFormatChanged();

private:
    /// A kind of data that isn't scalar.
    struct Part {
        QCheckBox* box = nullptr;
        bool inCurrent = false;
        bool inAny = false;
    };

    QGroupBox* makeScopeGroup(std::size_t count);
    QGroupBox* makeFormatGroup();
    QGroupBox* makeVideoGroup(bool expertMode);
    QGroupBox* makeFeatureGroup();
    QGroupBox* makePartGroup();
    QGroupBox* makeDirectoryGroup();
    void lookForParts(const DatasetEntry& dataset, const std::vector<std::unique_ptr<DatasetEntry>>& datasets);
    void take(const ExportConfig& config);
    void refreshPart(Part& part);
    void refreshDirectory();

    QRadioButton* allDatasets_ = nullptr;
    QRadioButton* currentDataset_ = nullptr;
    QRadioButton* vqd_ = nullptr;
    QRadioButton* tsv_ = nullptr;
    QRadioButton* avi_ = nullptr;
    QGroupBox* videoGroup_ = nullptr;
    QRadioButton* mjpeg_ = nullptr;
    QRadioButton* raw_ = nullptr;
    QCheckBox* skipDuplicates_ = nullptr;
    QCheckBox* reanalysis_ = nullptr;
    FeatureChecklist* features_ = nullptr;
    Part images_;
    Part masks_;
    Part traces_;
    QCheckBox* customDirectory_ = nullptr;
    QLineEdit* directory_ = nullptr;
    QPushButton* browse_ = nullptr;
    QPushButton* export_ = nullptr;
};

} // namespace Tessaly
