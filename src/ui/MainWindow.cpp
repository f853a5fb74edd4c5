#include "ui/MainWindow.h"

#include "plot/ScatterPlot.h"
#include "session/DatasetOpening.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/plot/StatisticsDockWidget.h"

#include <QActionGroup>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QSettings>
#include <QTimer>

#include <array>
#include <functional>

namespace Tessaly {

namespace {

constexpr char ColorMapKey[] = "settings/colorMapIndex";
constexpr std::array ColorMapNames = {"Viridis", "Jet", "Jet+", "Plasma", "Quorin", "Grayscale"};

// What a menu holds, line by line; a line without text is a separator.
struct MenuLine {
    const char* name;
    QString text;
    QKeySequence shortcut;
    std::function<void()> run;
};

void addLines(QMenu* menu, const std::vector<MenuLine>& lines) {
    for (const MenuLine& line : lines) {
        if (line.text.isEmpty()) {
            menu->addSeparator();
            continue;
        }
        QAction* action = menu->addAction(line.text, menu, line.run);
        action->setObjectName(QLatin1String(line.name));
        action->setShortcut(line.shortcut);
    }
}

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent),
      panels_(buildMainPanels(*this)),
      loader_(session_, this),
      datasets_(session_, loader_, *panels_.datasets, this),
      name_(session_, *panels_.rename, this),
      filters_(session_, *panels_.filters, this),
      metadata_(session_, *panels_.metadata, *panels_.metadataDock, this),
      events_(session_, *panels_.plot, *panels_.event, *panels_.eventNumber, this),
      plot_(session_, emodulus_, *panels_.plot, *panels_.plotSettings, *panels_.calculations, this),
      status_(session_, loader_, plot_, *panels_.status, this) {
    setObjectName(QStringLiteral("mainWindow"));
    connectPlot();
    buildMenus();
    connectDocks();
    setWindowTitle(tr("Tessaly - VQD Data Analysis"));
    resize(1400, 900);
    setAcceptDrops(true);
    // A file dropped on a field is opened like one dropped beside it, not typed in.
    for (QLineEdit* field : findChildren<QLineEdit*>()) {
        field->setAcceptDrops(false);
    }
}

MainWindow::~MainWindow() = default;

bool MainWindow::datasetFolderViewActive() const {
    return panels_.datasets->folderViewActive();
}

int MainWindow::datasetFolderDepth() const {
    return panels_.datasets->folderDepth();
}

void MainWindow::buildMenus() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    addLines(file, {
                       {"openAction", tr("&Open..."), QKeySequence::Open, [this] { datasets_.openFile(); }},
                       {},
                       {"clearSessionAction", tr("&Clear Session"), {}, [this] { datasets_.clearSession(); }},
                       {},
                       {"exitAction", tr("E&xit"), QKeySequence::Quit, [this] { close(); }},
                   });

    QMenu* view = menuBar()->addMenu(tr("&View"));
    for (QDockWidget* dock : {panels_.datasetsDock, panels_.filtersDock, panels_.calculationsDock, panels_.metadataDock,
                              panels_.statisticsDock}) {
        view->addAction(dock->toggleViewAction());
    }

    buildColorMapMenu(menuBar()->addMenu(tr("&Settings")));
}

void MainWindow::buildColorMapMenu(QMenu* settingsMenu) {
    const int stored = QSettings().value(QLatin1String(ColorMapKey), 0).toInt();
    colorMapIndex_ = stored >= 0 && stored < static_cast<int>(ColorMapNames.size()) ? stored : 0;
    emit session_.notices().colorMapChanged(colorMapIndex_);

    QMenu* menu = settingsMenu->addMenu(tr("Color &Map"));
    menu->setObjectName(QStringLiteral("colorMapMenu"));
    auto* group = new QActionGroup(menu);
    for (int i = 0; i < static_cast<int>(ColorMapNames.size()); ++i) {
        QAction* action = menu->addAction(tr(ColorMapNames[static_cast<std::size_t>(i)]));
        action->setCheckable(true);
        action->setChecked(i == colorMapIndex_);
        action->setObjectName(QStringLiteral("colorMapAction%1").arg(i));
        action->setData(i);
        group->addAction(action);
    }
    connect(group, &QActionGroup::triggered, this,
            [this](const QAction* action) { setColorMapIndex(action->data().toInt()); });
}

void MainWindow::setColorMapIndex(int index) {
    colorMapIndex_ = index;
    QSettings().setValue(QLatin1String(ColorMapKey), index);
    emit session_.notices().colorMapChanged(index);
}

void MainWindow::connectDocks() {
    // The receivers are not the window itself: docks still report while the window's widgets are being destroyed.
    ScatterPlot* plot = panels_.plot;
    for (QDockWidget* dock : {panels_.filtersDock, panels_.calculationsDock, panels_.metadataDock}) {
        connect(dock, &QDockWidget::visibilityChanged, plot, [plot](bool visible) {
            if (visible) {
                // The layout settles first; painting at once would leave a stale strip beside the plot.
                QTimer::singleShot(0, plot, [plot] { plot->update(); });
            }
        });
    }
}

void MainWindow::connectPlot() {
    connect(&loader_, &DatasetLoader::preloadStarted, &plot_, [this] { plot_.setPreloadRunning(true); });
    connect(&loader_, &DatasetLoader::preloadEnded, &plot_, [this] { plot_.setPreloadRunning(false); });
    connect(&session_.notices(), &SessionNotices::activeChanged, &plot_, [this] {
        const DatasetEntry* dataset = session_.active();
        panels_.calculations->setDatasetMetadata(dataset ? &dataset->metadata : nullptr);
    });
    // What follows a refresh, in this order: counts, statistics, selection.
    connect(&plot_, &PlotController::frameChanged, &filters_, [this] { filters_.showCounts(plot_); });
    connect(&plot_, &PlotController::plotted, panels_.statistics, [this] {
        const PlotFrame& frame = plot_.frame();
        panels_.statistics->updateStatistics(frame.x, frame.y, frame.xLabel, frame.yLabel);
    });
    connect(&plot_, &PlotController::plotted, &events_, [this] { events_.placeSelection(plot_.frame()); });
    connect(&plot_, &PlotController::cleared, panels_.statistics, &StatisticsDockWidget::clearStatistics);
    connect(&plot_, &PlotController::datasetShown, &events_, &EventController::showCurrentEvent);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) {
        event->acceptProposedAction();
    }
}

void MainWindow::dropEvent(QDropEvent* event) {
    if (!event->mimeData()->hasUrls()) {
        return;
    }
    const QStringList paths = collectMeasurementFiles(event->mimeData()->urls());
    if (paths.isEmpty()) {
        QMessageBox::warning(this, tr("Invalid File"), tr("Please drop .vqd file(s) or folders containing them."));
        return;
    }
    datasets_.openPaths(paths);
    event->acceptProposedAction();
}

void MainWindow::onUnhandledException(const QString& title, const QString& message) {
    if (exceptionDialogOpen_) {
        return;
    }
    exceptionDialogOpen_ = true;
    QMessageBox box(QMessageBox::Critical, title, QString(), QMessageBox::NoButton, this);
    box.setTextFormat(Qt::PlainText);
    box.setText(tr("An unexpected error occurred:\n\n%1").arg(message));
    box.addButton(tr("Close"), QMessageBox::RejectRole);
    box.exec();
    exceptionDialogOpen_ = false;
}

} // namespace Tessaly
