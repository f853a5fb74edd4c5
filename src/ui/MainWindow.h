#pragma once

#include "calc/EModulus.h"
#include "session/Session.h"
#include "ui/DatasetController.h"
#include "ui/DatasetLoader.h"
#include "ui/EventController.h"
#include "ui/MainPanels.h"
#include "ui/PlotController.h"

#include <QMainWindow>

namespace Tessaly {

/// The main window: owns what a session holds and the controllers that act on it, and does little itself.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    Session& session() { return session_; }
    const std::vector<std::unique_ptr<DatasetEntry>>& datasets() const { return session_.datasets(); }
    int activeDatasetId() const { return session_.activeId(); }
    DatasetEntry* findDatasetById(int id) const { return session_.findById(id); }
    DatasetEntry* findDatasetByPath(const std::string& filePath) const { return session_.findByPath(filePath); }
    bool datasetFolderViewActive() const;
    int datasetFolderDepth() const;
    int colorMapIndex() const { return colorMapIndex_; }
    EModulus* emodulus() { return &emodulus_; }
    CalculationsDockWidget* calcDock() const { return panels_.calculations; }
    const MainPanels& panels() const { return panels_; }

    /// Opens a measurement file, see DatasetLoader::open().
    void openDataset(const QString& path) { loader_.open(path); }
    void saveCurrentDatasetState() { plot_.saveCurrentDatasetState(); }
    void refreshFeaturesAndPlot() { plot_.refreshFeaturesAndPlot(); }

public slots:
    /// Redraws everything that depends on the events shown. To be called after a change of filters or groups.
    void onFilterChanged() { plot_.refresh(); }
    /// Tells the user of an exception that a slot let escape; reports that come while the dialog is up are dropped.
    void onUnhandledException(const QString& title, const QString& message);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void buildMenus();
    void buildColorMapMenu(QMenu* settingsMenu);
    void connectDocks();
    void setColorMapIndex(int index);

    Session session_;
    EModulus emodulus_;
    MainPanels panels_;
    EventController events_;
    PlotController plot_;
    DatasetLoader loader_;
    DatasetController datasets_;
    int colorMapIndex_ = 0;
    bool exceptionDialogOpen_ = false;
};

} // namespace Tessaly
