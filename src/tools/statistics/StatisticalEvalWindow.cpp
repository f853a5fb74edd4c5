#include "tools/statistics/StatisticalEvalWindow.h"

#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/SessionHost.h"
#include "tools/statistics/AnalysisSettings.h"
#include "tools/statistics/CategoryPanel.h"
#include "tools/statistics/PlotStack.h"
#include "tools/statistics/ResultTableView.h"
#include "tools/statistics/StatisticsPlots.h"
#include "widgets/EmptyHint.h"
#include "widgets/KeepOnTop.h"
#include "widgets/PlainText.h"

#include <QDockWidget>
#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>
#include <utility>

namespace Tessaly {

namespace {

constexpr QSizeF GroupPlotSize(120.0, 80.0); // millimetres
constexpr QSizeF RocPlotSize(120.0, 120.0);
constexpr QSizeF DistributionPlotSize(200.0, 150.0);
constexpr int HighestTable = 200;

QWidget* tabOf(QWidget* table, QWidget* plots) {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(table);
    layout->addWidget(plots, 1);
    return tab;
}

ResultTableView* makeTable(const char* name, const QString& accessibleName, const QString& hint) {
    auto* table = new ResultTableView;
    table->setObjectName(QLatin1String(name));
    table->setAccessibleName(accessibleName);
    table->setMaximumHeight(HighestTable);
    new EmptyHint(hint, table);
    return table;
}

QDockWidget* makeDock(const char* name, const QString& title, QWidget* content) {
    auto* dock = new QDockWidget(title);
    dock->setObjectName(QLatin1String(name));
    dock->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
    dock->setWidget(content);
    return dock;
}

} // namespace

StatisticalEvalWindow::StatisticalEvalWindow(Session& session, const SessionHost& /*host*/) : session_(session) {
    setObjectName(QStringLiteral("statisticalEvalWindow"));
    setWindowTitle(tr("Statistical Evaluation"));
    resize(1000, 700);
    makeTabs();
    makeDocks();
    makeMenus();
    installKeepOnTop(*this);
    addPanel({tr("Baseline"), categoryColor(0), false, {}});
    addPanel({tr("Condition %1").arg(nextCategoryIndex_ - 1), categoryColor(1), true, {}});
    connectSettings();
    listenToNews();
    onTabChanged();
    onCategoryChanged();
}

StatisticalEvalWindow::~StatisticalEvalWindow() = default;

void StatisticalEvalWindow::makeTabs() {
    tabs_ = new QTabWidget;
    tabs_->setObjectName(QStringLiteral("statisticsTabs"));
    tabs_->setAccessibleName(tr("Analyses"));
    groupTable_ = makeTable("groupTable", tr("Results of the tests"), tr("The results of the tests will stand here."));
    groupPlots_ =
        new PlotStack(tr("Add datasets to the categories, select features and press \"Run Analysis\"."), GroupPlotSize);
    groupPlots_->setObjectName(QStringLiteral("groupPlots"));
    rocTable_ = makeTable("rocTable", tr("Results of the ROC analysis"),
                          tr("The results of the ROC analysis will stand here."));
    rocPlots_ = new PlotStack(tr("Add datasets to the categories, select features and press \"Run ROC Analysis\"."),
                              RocPlotSize);
    rocPlots_->setObjectName(QStringLiteral("rocPlots"));
    distributionPlots_ =
        new PlotStack(tr("Add datasets to the categories, select features and press \"Update Distributions\"."),
                      DistributionPlotSize);
    distributionPlots_->setObjectName(QStringLiteral("distributionPlots"));
    tabs_->addTab(tabOf(groupTable_, groupPlots_), tr("Statistical Comparison"));
    tabs_->addTab(tabOf(rocTable_, rocPlots_), tr("ROC Analysis"));
    tabs_->addTab(distributionPlots_, tr("Distribution Explorer"));
    setCentralWidget(tabs_);
}

void StatisticalEvalWindow::makeDocks() {
    auto* list = new QWidget;
    panelLayout_ = new QVBoxLayout(list);
    panelLayout_->setContentsMargins(0, 0, 0, 0);
    panelLayout_->setSpacing(4);
    panelLayout_->addStretch(1);
    auto* scroll = new QScrollArea;
    scroll->setObjectName(QStringLiteral("categoryScroll"));
    scroll->setAccessibleName(tr("Categories"));
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(list);
    auto* add = new QPushButton(tr("Add Category"));
    add->setObjectName(QStringLiteral("addCategory"));
    connect(add, &QPushButton::clicked, this, &StatisticalEvalWindow::onAddCategory);
    auto* content = new QWidget;
    content->setMinimumWidth(280);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(4);
    layout->addWidget(scroll, 1);
    layout->addWidget(add);
    QDockWidget* categories = makeDock("categoriesDock", tr("Categories"), content);

    settings_ = new AnalysisSettings;
    QDockWidget* settings = makeDock("settingsDock", tr("Analysis Settings"), settings_);
    addDockWidget(Qt::LeftDockWidgetArea, categories);
    addDockWidget(Qt::LeftDockWidgetArea, settings);
    resizeDocks({categories, settings}, {340, 200}, Qt::Vertical);
    resizeDocks({categories}, {320}, Qt::Horizontal);
}

void StatisticalEvalWindow::makeMenus() {
    using Slot = void (StatisticalEvalWindow::*)();
    const auto add = [this](QMenu* menu, const char* name, const QString& text, Slot slot) {
        QAction* action = menu->addAction(text, this, slot);
        action->setObjectName(QLatin1String(name));
        return action;
    };
    QMenu* file = menuBar()->addMenu(tr("&File"));
    QAction* close = file->addAction(tr("&Close"), this, &QWidget::close);
    close->setObjectName(QStringLiteral("closeAction"));
    close->setShortcut(QKeySequence::Close);
    QMenu* exports = menuBar()->addMenu(tr("&Export"));
    exports->setObjectName(QStringLiteral("exportMenu"));
    add(exports, "exportPlots", tr("Export Group &Plots..."), &StatisticalEvalWindow::exportPlots);
    add(exports, "exportTable", tr("Export Group &Table..."), &StatisticalEvalWindow::exportTable);
    exports->addSeparator();
    add(exports, "exportRocPlots", tr("Export &ROC Plots..."), &StatisticalEvalWindow::exportROCPlots);
    add(exports, "exportRocTable", tr("Export ROC Ta&ble..."), &StatisticalEvalWindow::exportROCTable);
    QAction* curves =
        add(exports, "exportRocData", tr("Export ROC Curve &Data..."), &StatisticalEvalWindow::exportROCData);
    // It computes, and would end what runs.
    connect(&run_, &TaskRun::progressChanged, curves, [curves] { curves->setEnabled(false); });
    connect(&run_, &TaskRun::ended, curves, [curves] { curves->setEnabled(true); });
    exports->addSeparator();
    add(exports, "exportDistributions", tr("Export &Distribution Plots..."),
        &StatisticalEvalWindow::exportDistributionPlots);
}

void StatisticalEvalWindow::connectSettings() {
    connect(settings_, &AnalysisSettings::designChanged, this, &StatisticalEvalWindow::onDesignChanged);
    connect(settings_, &AnalysisSettings::choiceChanged, this, &StatisticalEvalWindow::updateGuidance);
    connect(settings_, &AnalysisSettings::detectIdsRequested, this, &StatisticalEvalWindow::onDetectIds);
    connect(settings_, &AnalysisSettings::runAnalysisRequested, this, &StatisticalEvalWindow::onRunAnalysis);
    connect(settings_, &AnalysisSettings::runRocRequested, this, &StatisticalEvalWindow::onRunROC);
    connect(settings_, &AnalysisSettings::runDistributionRequested, this, &StatisticalEvalWindow::onRunDistribution);
    connect(tabs_, &QTabWidget::currentChanged, this, &StatisticalEvalWindow::onTabChanged);
    connect(&run_, &TaskRun::progressChanged, settings_, &AnalysisSettings::showProgress);
    connect(&run_, &TaskRun::ended, this, [this](bool finished) { settings_->hideProgress(!finished); });
}

void StatisticalEvalWindow::listenToNews() {
    const SessionNotices& news = session_.notices();
    connect(&news, &SessionNotices::datasetRenamed, this, [this](int id) {
        if (const DatasetEntry* dataset = session_.findById(id)) {
            for (CategoryPanel* panel : panels_) {
                panel->renameDataset(id, dataset->displayName);
            }
        }
    });
    connect(&news, &SessionNotices::datasetRemoved, this, &StatisticalEvalWindow::onDatasetRemoved);
    connect(&news, &SessionNotices::groupsChanged, this, &StatisticalEvalWindow::onCategoryChanged);
    connect(&news, &SessionNotices::eventsChanged, this, &StatisticalEvalWindow::onCategoryChanged);
    connect(&news, &SessionNotices::columnsChanged, this, [this](int id) {
        if (uses(id)) {
            onCategoryChanged();
        }
    });
}

void StatisticalEvalWindow::closeEvent(QCloseEvent* event) {
    run_.drop();
    QMainWindow::closeEvent(event);
    emit windowClosed(this);
}

void StatisticalEvalWindow::addPanel(const Category& category) {
    auto* panel = new CategoryPanel(session_, category);
    panel->showIds(settings_->idsVisible(), settings_->technicalIds());
    connect(panel, &CategoryPanel::changed, this, &StatisticalEvalWindow::onCategoryChanged);
    connect(panel, &CategoryPanel::deleteRequested, this, &StatisticalEvalWindow::onDeleteCategoryPanel);
    panelLayout_->insertWidget(panelLayout_->count() - 1, panel); // above the stretch
    panels_.push_back(panel);
}

void StatisticalEvalWindow::onAddCategory() {
    ++nextCategoryIndex_;
    addPanel({tr("Condition %1").arg(nextCategoryIndex_ - 1), categoryColor(panels_.size()), true, {}});
    onCategoryChanged();
}

void StatisticalEvalWindow::onDeleteCategoryPanel(CategoryPanel* panel) {
    std::erase(panels_, panel);
    panelLayout_->removeWidget(panel);
    panel->hide();
    panel->deleteLater(); // it is its own button that asks for this
    onCategoryChanged();
}

void StatisticalEvalWindow::onCategoryChanged() {
    run_.drop();
    withoutValues_.clear();
    settings_->setFeatures(listedFeatures());
    const Comparison what = comparison();
    settings_->setTestLabel(testLabelText(what));
    showGuidance(what);
}

void StatisticalEvalWindow::onDesignChanged() {
    for (CategoryPanel* panel : panels_) {
        panel->showIds(settings_->idsVisible(), settings_->technicalIds());
    }
    onCategoryChanged();
}

void StatisticalEvalWindow::onDetectIds() {
    std::size_t entries = 0;
    std::size_t detected = 0;
    for (CategoryPanel* panel : panels_) {
        entries += panel->entries().size();
        detected += panel->detectAllIds();
    }
    const QString message = detectionMessage(entries, detected);
    onCategoryChanged();
    if (!message.isEmpty()) {
        showMessage(this, QMessageBox::Information, tr("Auto-detect IDs"), message);
    }
}

void StatisticalEvalWindow::onTabChanged() {
    settings_->setTab(static_cast<CompareTab>(tabs_->currentIndex()));
    updateGuidance();
}

void StatisticalEvalWindow::onDatasetRemoved(int id) {
    for (CategoryPanel* panel : panels_) {
        panel->removeDataset(id);
    }
    onCategoryChanged();
}

bool StatisticalEvalWindow::uses(int datasetId) const {
    return std::ranges::any_of(panels_, [datasetId](const CategoryPanel* panel) {
        return std::ranges::find(panel->entries(), datasetId, &CategoryEntry::datasetId) != panel->entries().end();
    });
}

std::vector<Category> StatisticalEvalWindow::categories() const {
    std::vector<Category> categories;
    for (const CategoryPanel* panel : panels_) {
        categories.push_back(panel->category());
    }
    return categories;
}

std::vector<ComparedFeature> StatisticalEvalWindow::listedFeatures() const {
    for (const CategoryPanel* panel : panels_) {
        for (const CategoryEntry& entry : panel->entries()) {
            const DatasetEntry* dataset = session_.findById(entry.datasetId);
            if (!dataset || !dataset->reader) {
                continue;
            }
            const std::vector<std::string> names = dataset->reader->featureNames();
            std::vector<ComparedFeature> features;
            features.reserve(names.size());
            for (const std::string& name : names) {
                if (isScalarFeature(name)) {
                    features.push_back({name, QString::fromStdString(dataset->reader->featureLabel(name))});
                }
            }
            return features;
        }
    }
    return {};
}

Comparison StatisticalEvalWindow::comparison() const {
    return {categories(), settings_->selectedFeatures(), settings_->settings()};
}

void StatisticalEvalWindow::updateGuidance() {
    showGuidance(comparison());
}

void StatisticalEvalWindow::showGuidance(const Comparison& comparison) {
    settings_->setGuidance(guidanceText(static_cast<CompareTab>(tabs_->currentIndex()), comparison,
                                        settings_->distributionMode(), withoutValues_));
}

void StatisticalEvalWindow::runValues(const Comparison& comparison, std::function<void(const ValueTable&)> finished) {
    const auto sources = std::make_shared<const std::vector<DatasetSource>>(sourcesOf(comparison.categories, session_));
    const auto results = std::make_shared<std::vector<DatasetValues>>(sources->size());
    auto names = std::make_shared<std::vector<std::string>>();
    for (const ComparedFeature& feature : comparison.features) {
        names->push_back(feature.name);
    }
    withoutValues_.clear();
    std::vector<TaskRun::Task> tasks;
    for (std::size_t i = 0; i < sources->size(); ++i) {
        tasks.push_back([=, summary = comparison.settings.summary](const std::stop_token& stop) {
            (*results)[i] = datasetValues((*sources)[i], *names, summary, stop);
        });
    }
    run_.start({std::move(tasks)}, [this, comparison, sources, results, finished = std::move(finished)] {
        ValueTable table;
        for (std::size_t i = 0; i < sources->size(); ++i) {
            table.emplace((*sources)[i].datasetId, std::move((*results)[i]));
        }
        noteMissingValues(comparison, datasetsWithValues(table));
        finished(table);
    });
}

void StatisticalEvalWindow::noteMissingValues(const Comparison& comparison, const std::set<int>& withValues) {
    withoutValues_ = namesWithoutValues(comparison.categories, withValues);
    updateGuidance();
    if (!withoutValues_.isEmpty()) {
        settings_->revealGuidance();
    }
}

void StatisticalEvalWindow::onRunAnalysis() {
    const Comparison what = comparison();
    if (refused(groupRefusal(what))) {
        return;
    }
    if (const std::optional<UserMessage> question = powerQuestion(what)) {
        if (askQuestion(this, QMessageBox::Warning, question->title, question->text, QMessageBox::Yes | QMessageBox::No,
                        QMessageBox::No) != QMessageBox::Yes) {
            return;
        }
    }
    runValues(what, [this, what](const ValueTable& values) { showGroups(compareGroups(what, values)); });
}

void StatisticalEvalWindow::showGroups(const GroupComparison& result) {
    groupTable_->setTable(groupTable(result));
    std::vector<QwtPlot*> plots;
    for (const FeatureComparison& feature : result.features) {
        plots.push_back(makeGroupPlot(result, feature));
    }
    groupPlots_->setPlots(plots);
}

std::optional<std::size_t> StatisticalEvalWindow::askCategory(const QString& label, const Comparison& comparison,
                                                              std::size_t without) {
    QStringList names;
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < comparison.categories.size(); ++i) {
        if (i == without) {
            continue;
        }
        // Categories of one name must be told apart.
        QString name = singleLine(comparison.categories[i].name);
        while (names.contains(name)) {
            name += QStringLiteral(" (%1)").arg(i + 1);
        }
        names += name;
        numbers.push_back(i);
    }
    bool accepted = false;
    const QString chosen = QInputDialog::getItem(this, tr("ROC Analysis"), label, names, 0, false, &accepted);
    const qsizetype found = names.indexOf(chosen);
    return accepted && found >= 0 ? std::optional(numbers[static_cast<std::size_t>(found)]) : std::nullopt;
}

std::optional<std::pair<std::size_t, std::size_t>> StatisticalEvalWindow::askRocClasses(const Comparison& comparison) {
    const std::size_t count = comparison.categories.size();
    if (count == 2) {
        return std::pair<std::size_t, std::size_t>(0, 1);
    }
    const auto negative = askCategory(tr("Select NEGATIVE class (reference):"), comparison, count);
    if (!negative) {
        return std::nullopt;
    }
    const auto positive = askCategory(tr("Select POSITIVE class (condition):"), comparison, *negative);
    return positive ? std::optional(std::pair(*negative, *positive)) : std::nullopt;
}

void StatisticalEvalWindow::onRunROC() {
    const Comparison what = comparison();
    if (refused(rocRefusal(what))) {
        return;
    }
    const auto classes = askRocClasses(what);
    if (!classes || refused(rocRefusal(what, classes->first, classes->second))) {
        return;
    }
    Comparison both = what;
    both.categories = {what.categories[classes->first], what.categories[classes->second]};
    runValues(both, [this, both](const ValueTable& values) { showRoc(compareByRoc(both, 0, 1, values)); });
}

void StatisticalEvalWindow::showRoc(const RocComparison& result) {
    rocTable_->setTable(rocTable(result));
    std::vector<QwtPlot*> plots;
    for (const RocFeatureResult& feature : result.features) {
        if (feature.roc.valid) {
            plots.push_back(makeRocPlot(feature.roc, feature.feature.label));
        }
    }
    if (result.combined && result.combined->roc.valid) {
        plots.push_back(makeRocPlot(result.combined->roc, combinedTitle(*result.combined)));
    }
    rocPlots_->setPlots(plots);
    tabs_->setCurrentIndex(static_cast<int>(CompareTab::Roc));
}

void StatisticalEvalWindow::onRunDistribution() {
    distributionPlots_->setPlots({});
    const Comparison what = comparison();
    if (refused(distributionRefusal(what))) {
        return;
    }
    const auto work = std::make_shared<DistributionWork>(what, sourcesOf(what.categories, session_));
    TaskRun::Phases phases(3);
    for (std::size_t i = 0; i < work->datasetCount(); ++i) {
        phases[0].push_back([=](const std::stop_token& stop) { work->look(i, stop); });
        phases[2].push_back([=](const std::stop_token& stop) { work->estimate(i, stop); });
    }
    phases[1].push_back([=](const std::stop_token&) { work->layGrids(); });
    withoutValues_.clear();
    const DistributionMode mode = settings_->distributionMode();
    run_.start(std::move(phases), [this, what, work, mode] { showDistributions(what, *work, mode); });
}

void StatisticalEvalWindow::showDistributions(const Comparison& comparison, const DistributionWork& work,
                                              DistributionMode mode) {
    std::vector<QwtPlot*> plots;
    for (const FeatureDistribution& distribution : work.results()) {
        plots.push_back(makeDistributionPlot(distribution, comparison.categories, mode));
    }
    distributionPlots_->setPlots(plots);
    noteMissingValues(comparison, work.datasetsWithValues());
    tabs_->setCurrentIndex(static_cast<int>(CompareTab::Distributions));
}

bool StatisticalEvalWindow::refused(const std::optional<UserMessage>& refusal) {
    if (refusal) {
        showMessage(this, QMessageBox::Warning, refusal->title, refusal->text);
    }
    return refusal.has_value();
}

QJsonObject StatisticalEvalWindow::sessionState(const DatasetNumbers& idToIndex) const {
    CompareState state;
    state.categories = categories();
    state.selectedFeatures = settings_->wantedFeatures();
    state.settings = settings_->settings();
    state.nextCategoryIndex = nextCategoryIndex_;
    state.activeTab = tabs_->currentIndex();
    return compareStateToJson(state, idToIndex);
}

void StatisticalEvalWindow::restoreSessionState(const QJsonObject& object, const DatasetNumbers& indexToId) {
    const CompareState state = compareStateFromJson(object, indexToId, session_);
    for (CategoryPanel* panel : std::exchange(panels_, {})) {
        delete panel;
    }
    settings_->setSettings(state.settings);
    nextCategoryIndex_ = state.nextCategoryIndex;
    for (const Category& category : state.categories) {
        addPanel(category);
    }
    settings_->setWantedFeatures(state.selectedFeatures);
    onCategoryChanged();
    tabs_->setCurrentIndex(state.activeTab);
}

} // namespace Tessaly
