#pragma once

#include <QObject>
#include <QStringList>

class QWidget;

namespace Tessaly {

class CalculationRunner;
class DatasetLoader;
class DatasetsPanel;
class Session;

/// What the user does with datasets as a whole: open, choose, reorder, duplicate, remove. Keeps the list like the
/// session.
class DatasetController : public QObject {
    Q_OBJECT

public:
    /// @param window  parent of dialogs
    DatasetController(Session& session, DatasetLoader& loader, const CalculationRunner& runner, DatasetsPanel& list,
                      QWidget* window);

    /// Asks for files and opens them.
    void openFile();
    /// Opens files in their order; the first is opened at once unless a preload runs.
    void openPaths(QStringList paths);
    void duplicateDataset(int id);
    /// Removes a dataset; says so if it can't be removed while it loads or a calculation uses it.
    void removeDataset(int id);

private:
    void showRows();
    void showName(int id);

    Session& session_;
    DatasetLoader& loader_;
    const CalculationRunner& runner_;
    DatasetsPanel& list_;
    QWidget* window_;
};

} // namespace Tessaly
