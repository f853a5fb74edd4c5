#pragma once

#include "calc/emodulus/EModulus.h"
#include "session/Session.h"
#include "ui/MainPanels.h"
#include "ui/datasets/DatasetController.h"
#include "ui/datasets/DatasetLoader.h"
#include "ui/datasets/NameController.h"
#include "ui/event/EventController.h"
#include "ui/event/MetadataController.h"
#include "ui/filters/FilterController.h"
#include "ui/plot/PlotController.h"
#include "ui/plot/StatusController.h"

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
    /// Takes over what is still being typed; everything else is in the active entry at once.
    void saveCurrentDatasetState() { events_.finishTyping(); }
    void refreshFeaturesAndPlot() { plot_.refreshFeaturesAndPlot(); }

public slots:
    /// Redraws everything that depends on the events shown. To be called after a change of filters or groups.
    void onFilterChanged() { emit session_.notices().eventsChanged(); }
    /// Tells the user of an exception that a slot let escape; reports that come while the dialog is up are dropped.
    void onUnhandledException(const QString& title, const QString& message);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void buildMenus();
    void buildColorMapMenu(QMenu* settingsMenu);
    void connectDocks();
    void connectPlot();
    void setColorMapIndex(int index);

    // In the order in which they hear of news: what a refresh needs is prepared before the plot controller refreshes.
    Session session_;
    EModulus emodulus_;
    MainPanels panels_;
    DatasetLoader loader_;
    DatasetController datasets_;
    NameController name_;
    FilterController filters_;
    MetadataController metadata_;
    EventController events_;
    PlotController plot_;
    StatusController status_;
    int colorMapIndex_ = 0;
    bool exceptionDialogOpen_ = false;
};

} // namespace Tessaly
