#pragma once

#include "session/SessionWindow.h"
#include "session/compare/DatasetValue.h"
#include "session/compare/Distributions.h"
#include "session/compare/GroupComparison.h"
#include "session/compare/Guidance.h"
#include "session/compare/RocComparison.h"
#include "session/compare/TaskRun.h"

#include <QMainWindow>

#include <functional>
#include <optional>
#include <set>
#include <vector>

class QTabWidget;
class QVBoxLayout;

namespace Tessaly {

class AnalysisSettings;
class CategoryPanel;
class PlotStack;
class ResultTableView;
class Session;
class SessionHost;
struct UserMessage;

/// Compares groups of datasets: the user sorts datasets into categories, and three tabs test them, look how well
/// features separate them, and show whole distributions. Results stay until the next run; what runs is given up when
/// categories, filters or datasets change.
class StatisticalEvalWindow : public QMainWindow, public SessionWindow {
    Q_OBJECT

public:
    /// Both outlive the window, which has no parent.
    StatisticalEvalWindow(Session& session, const SessionHost& host);
    ~StatisticalEvalWindow() override;

    QJsonObject sessionState(const DatasetNumbers& idToIndex) const override;
    void restoreSessionState(const QJsonObject& state, const DatasetNumbers& indexToId) override;

    const std::vector<CategoryPanel*>& categoryPanels() const { return panels_; }

signals:
    void windowClosed(StatisticalEvalWindow* window);

protected:
    void closeEvent(QCloseEvent* event) override;

private slots:
    void onAddCategory();
    void onDeleteCategoryPanel(CategoryPanel* panel);
    void onCategoryChanged();
    void onRunAnalysis();
    void onRunROC();
    void onRunDistribution();
    void exportPlots();
    void exportTable();
    void exportROCPlots();
    void exportROCTable();
    void exportROCData();
    void exportDistributionPlots();

private:
    void makeTabs();
    void makeDocks();
    void makeMenus();
    void listenToNews();
    void connectSettings();

    void addPanel(const Category& category);
    void onDesignChanged();
    void onDetectIds();
    void onTabChanged();
    void onDatasetRemoved(int id);
    /// Whether a dataset is in any category.
    bool uses(int datasetId) const;
    std::vector<Category> categories() const;
    std::vector<ComparedFeature> listedFeatures() const;
    /// What would be compared now.
    Comparison comparison() const;
    void updateGuidance();
    void showGuidance(const Comparison& comparison);

    /// Computes the values of all datasets, then calls back with them.
    void runValues(const Comparison& comparison, std::function<void(const ValueTable&)> finished);
    /// Remembers which datasets had no values, and says so.
    void noteMissingValues(const Comparison& comparison, const std::set<int>& withValues);
    void showGroups(const GroupComparison& result);
    void showRoc(const RocComparison& result);
    void showDistributions(const Comparison& comparison, const DistributionWork& work, DistributionMode mode);
    /// The two categories for a ROC analysis: the negative and the positive one. Nothing if the user cancelled.
    std::optional<std::pair<std::size_t, std::size_t>> askRocClasses(const Comparison& comparison);
    std::optional<std::size_t> askCategory(const QString& label, const Comparison& comparison, std::size_t without);

    /// Tells what is wrong. True if there is something.
    bool refused(const std::optional<UserMessage>& refusal);
    void tellNothingToExport(const QString& text);
    void exportStack(const PlotStack& stack, const QString& title, const QString& nothing);
    void exportTableOf(const ResultTableView& table, const QString& title, const QString& nothing);
    void writeText(const QString& path, const QByteArray& text);

    Session& session_;
    std::vector<CategoryPanel*> panels_;
    int nextCategoryIndex_ = 2;
    QStringList withoutValues_; ///< names of datasets that had no values in the last run
    TaskRun run_;

    QTabWidget* tabs_ = nullptr;
    QVBoxLayout* panelLayout_ = nullptr;
    AnalysisSettings* settings_ = nullptr;
    ResultTableView* groupTable_ = nullptr;
    PlotStack* groupPlots_ = nullptr;
    ResultTableView* rocTable_ = nullptr;
    PlotStack* rocPlots_ = nullptr;
    PlotStack* distributionPlots_ = nullptr;
};

} // namespace Tessaly
