#include "ui/MainWindow.h"

#include "plot/ScatterPlot.h"
#include "session/DatasetOpening.h"
#include "ui/MainMenu.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/plot/StatisticsDockWidget.h"
#include "widgets/EmptyHint.h"

#include <QCloseEvent>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QTimer>

namespace Tessaly {

namespace {

constexpr QSize FrameSize(8, 40); ///< about what borders and title bar take of the screen

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent),
      panels_(buildMainPanels(*this)),
      dockLayout_(*this, panels_),
      loader_(session_, this),
      runner_(session_),
      datasets_(session_, loader_, runner_, *panels_.datasets, this),
      name_(session_, *panels_.rename, this),
      polygons_(session_, *panels_.filters, *panels_.plot, plot_, this),
      filters_(session_, *panels_.filters, this),
      metadata_(session_, *panels_.metadata, *panels_.metadataDock, this),
      events_(session_, *panels_.plot, *panels_.event, *panels_.eventNumber, this),
      calculations_(session_, emodulus_, runner_, *panels_.calculations, this),
      plot_(session_, emodulus_, *panels_.plot, *panels_.plotSettings, *panels_.calculations, this),
      status_(session_, loader_, plot_, *panels_.status, this),
      colorMap_(session_),
      exports_(session_, *panels_.plot, this),
      tools_(session_, *this, this),
      sessions_(session_, loader_, colorMap_, tools_, this),
      batchPlans_(session_, *panels_.calculations, exports_, this),
      services_(session_, plot_, this) {
    setObjectName(QStringLiteral("mainWindow"));
    connectPlot();
    connectCalculations();
    buildMainMenu({*this, panels_, colorMap_, datasets_, exports_, tools_, sessions_, batchPlans_, session_.notices(),
                   services_, dockLayout_});
    connectDocks();
    setWindowTitle(tr("Tessaly - VQD Data Analysis"));
    resize(sizeOnScreen(QSize(1400, 900), minimumSizeHint(), screen()->availableSize() - FrameSize));
    setAcceptDrops(true);
    // A file dropped on a field is opened like one dropped beside it, not typed in.
    for (QLineEdit* field : findChildren<QLineEdit*>()) {
        field->setAcceptDrops(false);
    }
    if (ServicesController::checksOnStartup()) {
        QTimer::singleShot(0, &services_, [this] { services_.checkForUpdates(true); });
    }
}

MainWindow::~MainWindow() = default;

bool MainWindow::datasetFolderViewActive() const {
    return panels_.datasets->folderViewActive();
}

int MainWindow::datasetFolderDepth() const {
    return panels_.datasets->folderDepth();
}

EModulusParams MainWindow::emodulusParamsFor(const VQDMetadata& metadata, bool hasTemperatures) const {
    return panels_.calculations->emodulusParamsFor(metadata, hasTemperatures);
}

bool MainWindow::selectEvent(int datasetId, int event) {
    const DatasetEntry* dataset = session_.findById(datasetId);
    if (!dataset || !dataset->featuresLoaded) {
        return false;
    }
    session_.setActive(datasetId);
    QSpinBox* number = panels_.eventNumber;
    if (!number->isEnabled() || event < number->minimum() || event > number->maximum()) {
        return false;
    }
    number->setValue(event);
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    sessions_.giveUpLoading();
    tools_.closeAll();
    QMainWindow::closeEvent(event);
    if (event->isAccepted()) {
        runner_.stop();
    }
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
    connect(&filters_, &FilterController::statusChanged, panels_.status, &QLabel::setText);
    connect(&sessions_, &SessionController::statusChanged, &status_, [this](const QString& text) {
        status_.say(text);
        panels_.status->repaint(); // the files of a session are looked at without a pause
    });
    connect(&batchPlans_, &BatchPlanController::statusChanged, &status_, &StatusController::say);
    connect(&sessions_, &SessionController::eventRestored, &events_,
            [this](int id, int event) { selectEvent(id, event); });
    connect(&sessions_, &SessionController::aboutToSave, &events_, &EventController::finishTyping);
    // What follows a refresh, in this order: counts, statistics, selection.
    connect(&plot_, &PlotController::frameChanged, &filters_, [this] { filters_.showCounts(plot_); });
    connect(&plot_, &PlotController::plotted, panels_.statistics, [this] {
        const PlotFrame& frame = plot_.frame();
        panels_.statistics->updateStatistics(frame.x, frame.y, frame.xLabel, frame.yLabel);
    });
    connect(&plot_, &PlotController::plotted, &events_, [this] { events_.placeSelection(plot_.frame()); });
    connect(&plot_, &PlotController::cleared, panels_.statistics, &StatisticsDockWidget::clearStatistics);
    auto* hint = new EmptyHint(tr("No events to show. Open a dataset, or let its filters pass more events."),
                               panels_.plot->canvas());
    const auto showHint = [this, hint] { hint->setVisible(panels_.plot->xData().empty()); };
    connect(&plot_, &PlotController::plotted, hint, showHint);
    connect(&plot_, &PlotController::cleared, hint, showHint);
    connect(&plot_, &PlotController::datasetShown, &events_, &EventController::showCurrentEvent);
}

void MainWindow::connectCalculations() {
    CalculationsDockWidget* dock = panels_.calculations;
    connect(dock, &CalculationsDockWidget::traceDisplayChanged, &events_,
            [this, dock] { events_.showRefinedTraces(dock->showsRefinedTrace()); });
    connect(dock, &CalculationsDockWidget::conditionsChanged, &session_.notices(), &SessionNotices::conditionsChanged);
    connect(&calculations_, &CalculationController::featuresChanged, &plot_, [this](Calculation kind) {
        plot_.setZoomResetCheck([kind](const std::string& feature) { return isResultOf(kind, feature); });
        plot_.refreshFeaturesAndPlot();
        events_.reload();
    });
}

bool MainWindow::focusNextPrevChild(bool next) {
    const QWidget* start = focusWidget();
    bool moved = false;
    do {
        moved = QMainWindow::focusNextPrevChild(next);
    } while (moved && focusWidget() != start && !DockLayout::isInView(focusWidget()));
    return moved;
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
    if (openUrls(event->mimeData()->urls())) {
        event->acceptProposedAction();
    }
}

bool MainWindow::openUrls(const QList<QUrl>& urls) {
    const QStringList paths = collectMeasurementFiles(urls);
    if (paths.isEmpty()) {
        QMessageBox::warning(this, tr("Invalid File"), tr("Please drop .vqd file(s) or folders containing them."));
        return false;
    }
    datasets_.openPaths(paths);
    return true;
}

void MainWindow::onUnhandledException(const QString& title, const QString& message) {
    if (exceptionDialogOpen_) {
        return;
    }
    exceptionDialogOpen_ = true;
    QMessageBox box(QMessageBox::Critical, title, QString(), QMessageBox::NoButton, this);
    box.setTextFormat(Qt::PlainText);
    box.setText(tr("An unexpected error occurred:\n\n%1\n\nYou can send a diagnostic report to help us fix this.")
                    .arg(message));
    const QPushButton* send = box.addButton(tr("Send Feedback..."), QMessageBox::AcceptRole);
    box.addButton(tr("Close"), QMessageBox::RejectRole);
    box.exec();
    exceptionDialogOpen_ = false;
    if (box.clickedButton() == send) {
        services_.sendFeedback(title, message);
    }
}

} // namespace Tessaly
