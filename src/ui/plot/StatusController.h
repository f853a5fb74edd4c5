#pragma once

#include <QObject>

class QLabel;

namespace Tessaly {

class DatasetLoader;
class PlotController;
class Session;

/// The status line over the plot: what is loading, or what is shown and how many events of it. The last news counts.
class StatusController : public QObject {
    Q_OBJECT

public:
    StatusController(Session& session, const DatasetLoader& loader, const PlotController& plot, QLabel& label,
                     QObject* parent);

    /// Shows a text until there are other news.
    void say(const QString& text);

private:
    void onActiveChanged();
    void onPreloadStarted(int id);
    /// What is shown, if the active dataset is ready.
    void showPlotted();

    Session& session_;
    const PlotController& plot_;
    QLabel& label_;
};

} // namespace Tessaly
