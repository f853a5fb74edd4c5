#pragma once

#include "session/SessionWindow.h"
#include "session/compare/CombineData.h"
#include "session/compare/CombineModel.h"
#include "tools/combine/CombineRefresh.h"

#include <QMainWindow>
#include <QTimer>

#include <vector>

class QAction;
class QDockWidget;
class QTableWidget;

namespace Tessaly {

class AspectRatioLabel;
class CombineDatasetWidget;
class CombineExportPanel;
class CombinePlots;
class CombineRowList;
class CombineSettingsPanel;
class ComparePlot;
class Session;
class SessionHost;

/// Several datasets side by side or over each other, in plots of their own. Follows the session's notices: the plots
/// are drawn anew at most once in a turn of the event loop, from data that are prepared on other threads; a change of
/// colours alone only recolours them. Never changes the session.
class CombinePlotWindow : public QMainWindow, public SessionWindow {
    Q_OBJECT

public:
    /// Both outlive the window, which has no parent.
    CombinePlotWindow(Session& session, SessionHost& host);
    ~CombinePlotWindow() override;

    /// Adds a dataset; does nothing if it is listed or still loading.
    void addDataset(int id);
    const CombineModel& model() const { return model_; }

    QJsonObject sessionState(const DatasetNumbers& idToIndex) const override;
    void restoreSessionState(const QJsonObject& state, const DatasetNumbers& indexToId) override;

    /// Whether what is shown will be drawn anew.
    bool isRefreshing() const;
    /// Draws what is still to be drawn before it returns.
    void finishRefresh();

    const std::vector<ComparePlot*>& plots() const;
    const std::vector<AspectRatioLabel*>& previewLabels() const;

signals:
    void windowClosed(CombinePlotWindow* window);

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private slots:
    void onDisplayModeChanged(int index);
    void onColorModeChanged(int index);
    void onSyncFeaturesToggled(bool checked);
    void onSyncAxesToggled(bool checked);
    void onAxisLimitsChanged();
    void onDatasetSettingsChanged(int row);
    void onDatasetRemoveRequested(int row);
    void onDatasetReorder(CombineDatasetWidget* source, CombineDatasetWidget* target, bool above);
    void exportPlots();
    void setExportPreview(bool on);
    void onExportSettingsChanged();

private:
    void buildDocks();
    QDockWidget* addDock(const QString& title, const char* name, QWidget* content, Qt::DockWidgetArea area);
    QWidget* buildDatasetsPanel();
    void buildMenus();
    void connectPanels();
    void listenToNews();

    void addAll();
    void askForDatasets();
    void moveRow(int row, int target, bool above);
    void takeOptions(const CombineOptions& options);
    void apply(CombineChange change);
    void rebuildRows();
    void scheduleRefresh();
    void startRefresh();
    void showData(const CombineDataList& prepared);
    void restyle();
    void updatePreview();
    void updateLogAxisWarnings();
    void updateStatistics();
    void exportStatistics();
    void reportUnwritten(const QStringList& files);

    Session& session_;
    SessionHost& host_;
    CombineModel model_;
    CombineRefresh refresh_{this};
    QTimer refreshTimer_;
    bool limitsWanted_ = false; ///< the boxes take the automatic limits of the next refresh
    CombineDataList data_;      ///< what is shown

    CombineSettingsPanel* settings_ = nullptr;
    CombineRowList* rowList_ = nullptr;
    CombineExportPanel* exportPanel_ = nullptr;
    CombinePlots* plots_ = nullptr;
    QTableWidget* statistics_ = nullptr;
    QDockWidget* settingsDock_ = nullptr;
    QDockWidget* datasetsDock_ = nullptr;
    QDockWidget* exportDock_ = nullptr;
    QDockWidget* statisticsDock_ = nullptr;
    QAction* previewAction_ = nullptr;
};

} // namespace Tessaly
