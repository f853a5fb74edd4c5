#pragma once

#include "calc/emodulus/EModulus.h"
#include "session/CalculationRunner.h"
#include "session/Session.h"
#include "session/SessionHost.h"
#include "session/filters/FilterGroups.h"
#include "ui/DockLayout.h"
#include "ui/MainPanels.h"
#include "ui/ToolWindows.h"
#include "ui/calculations/CalculationController.h"
#include "ui/datasets/DatasetController.h"
#include "ui/datasets/DatasetLoader.h"
#include "ui/datasets/NameController.h"
#include "ui/event/EventController.h"
#include "ui/event/MetadataController.h"
#include "ui/files/BatchPlanController.h"
#include "ui/files/ExportController.h"
#include "ui/files/SessionController.h"
#include "ui/filters/FilterController.h"
#include "ui/filters/PolygonController.h"
#include "ui/plot/ColorMapSetting.h"
#include "ui/plot/PlotController.h"
#include "ui/plot/StatusController.h"
#include "ui/services/ServicesController.h"

#include <QMainWindow>

namespace Tessaly {

/// The main window: owns what a session holds and the controllers that act on it, and does little itself.
class MainWindow : public QMainWindow, public SessionHost {
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    Session& session() { return session_; }
    const std::vector<std::unique_ptr<DatasetEntry>>& datasets() const { return session_.datasets(); }
    int activeDatasetId() const { return session_.activeId(); }
    DatasetEntry* findDatasetById(int id) const { return session_.findById(id); }
    DatasetEntry* findDatasetByPath(const std::string& filePath) const { return session_.findByPath(filePath); }
    const std::vector<std::unique_ptr<FilterGroup>>& filterGroups() const { return session_.filterGroups(); }
    FilterGroup* findFilterGroupById(int id) const { return session_.findFilterGroup(id); }
    int addFilterGroup(const std::string& name) { return session_.addFilterGroup(name); }
    void removeFilterGroup(int id) { session_.removeFilterGroup(id); }
    void renameFilterGroup(int id, const std::string& name) { Tessaly::renameFilterGroup(session_, id, name); }
    void addRuleToGroup(int groupId, const FilterRule& rule) { session_.addRuleToGroup(groupId, rule); }
    void updateRuleInGroup(int groupId, int rule, const FilterRule& changed) {
        Tessaly::updateRuleInGroup(session_, groupId, rule, changed);
    }
    void removeRuleFromGroup(int groupId, int rule) { Tessaly::removeRuleFromGroup(session_, groupId, rule); }
    bool isGroupEnabled(const DatasetEntry* dataset, int groupId) const {
        return session_.isGroupEnabled(dataset, groupId);
    }
    void setGroupEnabled(int datasetId, int groupId, bool on) { session_.setGroupEnabled(datasetId, groupId, on); }
    void setGroupEnabledInAll(int groupId, bool on) { Tessaly::setGroupEnabledInAll(session_, groupId, on); }
    EventFilter buildEffectiveFilter(const DatasetEntry* dataset) const {
        return session_.buildEffectiveFilter(dataset);
    }
    bool datasetFolderViewActive() const override;
    int datasetFolderDepth() const override;
    int colorMapIndex() const override { return colorMap_.index(); }
    EModulus* emodulus() override { return &emodulus_; }
    EModulusParams emodulusParamsFor(const VQDMetadata& metadata, bool hasTemperatures) const override;
    bool selectEvent(int datasetId, int event) override;
    CalculationsDockWidget* calcDock() const { return panels_.calculations; }
    const MainPanels& panels() const { return panels_; }

    /// Opens a measurement file, see DatasetLoader::open().
    void openDataset(const QString& path) { loader_.open(path); }
    /// Takes over what is still being typed; everything else is in the active entry at once.
    void saveCurrentDatasetState() { events_.finishTyping(); }
    void refreshFeaturesAndPlot() { plot_.refreshFeaturesAndPlot(); }
    /// Whether the files of a session are being loaded; it is restored when they are.
    bool sessionLoading() const { return sessions_.sessionLoading(); }
    /// Opens files and folders as if they were dropped; says so if there is no measurement among them.
    /// @return whether there was any
    bool openUrls(const QList<QUrl>& urls);
    /// The manual, the update check and feedback.
    ServicesController& services() { return services_; }
    /// The open tool windows.
    const ToolWindows& toolWindows() const { return tools_; }

public slots:
    /// Redraws everything that depends on the events shown. To be called after a change of filters or groups.
    void onFilterChanged() { emit session_.notices().eventsChanged(); }
    /// Tells the user of an exception that a slot let escape; reports that come while the dialog is up are dropped.
    void onUnhandledException(const QString& title, const QString& message);

    void saveSession() { sessions_.saveSession(); }
    void loadSession() { sessions_.loadSession(); }
    void clearSession() { sessions_.clearSession(); }
    void exportData() { exports_.exportData(); }
    void exportStatSummary() { exports_.exportStatSummary(); }
    void exportPlot() { exports_.exportPlot(); }
    void openCombinePlotWindow() { tools_.openCombinePlot(); }
    void openImageGalleryWindow() { tools_.openImageGallery(); }
    void openFilterGroupsMatrixWindow() { tools_.openFilterGroupsMatrix(); }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void connectDocks();
    void connectPlot();
    void connectCalculations();

    // In the order in which they hear of news: what a refresh needs is prepared before the plot controller refreshes.
    Session session_;
    EModulus emodulus_;
    MainPanels panels_;
    DockLayout dockLayout_;
    DatasetLoader loader_;
    CalculationRunner runner_;
    DatasetController datasets_;
    NameController name_;
    PolygonController polygons_; // ends drawing and editing before others act on the news
    FilterController filters_;
    MetadataController metadata_;
    EventController events_;
    CalculationController calculations_;
    PlotController plot_;
    StatusController status_;
    ColorMapSetting colorMap_;
    ExportController exports_;
    ToolWindows tools_;
    SessionController sessions_;
    BatchPlanController batchPlans_;
    ServicesController services_;
    bool exceptionDialogOpen_ = false;
};

} // namespace Tessaly
