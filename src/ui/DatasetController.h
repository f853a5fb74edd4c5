#pragma once

#include <QObject>
#include <QString>

namespace Tessaly {

class DatasetLoader;
class PlotController;
class Session;
struct MainPanels;

/// What the user does with datasets as a whole: choose, rename, reorder, duplicate, remove, clear.
class DatasetController : public QObject {
    Q_OBJECT

public:
    DatasetController(Session& session, DatasetLoader& loader, PlotController& plot, const MainPanels& panels,
                      QWidget* window);

    /// Asks for files and opens them.
    void openFile();
    /// Opens files in their order; the first is opened at once unless a preload runs.
    void openPaths(QStringList paths);

    /// Makes a row the active dataset.
    void onDatasetSelected(int row);
    /// Acts on the list's current row.
    void duplicateDataset();
    void removeDataset();
    void moveDataset(int fromRow, int toRow);
    void onRenameFinished();
    /// Empties the session, after a question.
    void clearSession();

private:
    void onDatasetAppended(int row);
    void onPreloadStarted(const QString& displayName);
    void onPreloadFinished(int row);
    void showRows();

    Session& session_;
    DatasetLoader& loader_;
    PlotController& plot_;
    const MainPanels& panels_;
    QWidget* window_; ///< parent of dialogs
};

} // namespace Tessaly
