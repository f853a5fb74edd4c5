#pragma once

#include <QTabWidget>

#include <vector>

class QTableWidget;

namespace Tessaly {

class ImageViewer;
class TracePlot;

/// One row of the event table.
struct EventValue {
    QString key;
    QString label;
    QString value;
};

/// The tabs beside the plot: picture and traces of the event, and all its values.
class EventPanel : public QTabWidget {
    Q_OBJECT

public:
    explicit EventPanel(QWidget* parent = nullptr);

    ImageViewer* imageViewer() const { return imageViewer_; }
    TracePlot* tracePlot() const { return tracePlot_; }

    void setValues(const std::vector<EventValue>& values);
    void clearValues();

private:
    void buildTable();

    ImageViewer* imageViewer_;
    TracePlot* tracePlot_;
    QTableWidget* table_;
};

} // namespace Tessaly
