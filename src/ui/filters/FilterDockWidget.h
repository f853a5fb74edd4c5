#pragma once

#include <QWidget>

class QCheckBox;
class QGroupBox;
class QLabel;

namespace Tessaly {

struct DatasetEntry;

/// Content of the "Filters" dock: the switches of the active dataset's filter and how many events pass.
class FilterDockWidget : public QWidget {
    Q_OBJECT

public:
    explicit FilterDockWidget(QWidget* parent = nullptr);

    /// Shows a dataset's filter; null for none. The entry must outlive its stay here.
    void setDataset(DatasetEntry* dataset);
    void setEventCounts(int shown, int total);

signals:
    /// The user has changed the dataset's filter.
    void filterChanged();

private:
    DatasetEntry* dataset_ = nullptr;
    QGroupBox* box_;
    QCheckBox* enabled_;
    QCheckBox* excluded_;
    QLabel* counts_;
};

} // namespace Tessaly
