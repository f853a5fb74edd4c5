#include "ui/DockLayout.h"

#include "plot/ScatterPlot.h"
#include "ui/MainPanels.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/event/EventPanel.h"
#include "ui/event/MetadataPanel.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/plot/StatisticsDockWidget.h"

#include <QDockWidget>
#include <QEvent>
#include <QGuiApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QSplitter>
#include <QStyle>
#include <QTabBar>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cmath>

namespace Tessaly {

namespace {

constexpr int RoomyWidth = 1400; ///< of a window whose docks needn't give way
constexpr int NarrowWidth = 1024;
constexpr int LikedRightWidth = 215;
constexpr double CanvasShare = 0.4;

bool shown(const QDockWidget* dock) {
    return dock->isVisible() && DockLayout::isInView(dock);
}

// Takes the excess from what the widths have above their lower ends, in proportion.
void shrink(std::array<int, 3>& widths, const std::array<int, 3>& lowest, int room) {
    int sum = 0;
    int spare = 0;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        widths[i] = std::max(widths[i], lowest[i]);
        sum += widths[i];
        spare += widths[i] - lowest[i];
    }
    if (sum <= room || spare == 0) {
        return;
    }
    const double share = std::min(1.0, static_cast<double>(sum - room) / spare);
    for (std::size_t i = 0; i < widths.size(); ++i) {
        widths[i] -= static_cast<int>(std::ceil(share * (widths[i] - lowest[i])));
    }
}

} // namespace

QSize sizeOnScreen(const QSize& wanted, const QSize& minimum, const QSize& available) {
    const bool hasRoom = minimum.width() <= available.width() && minimum.height() <= available.height();
    return hasRoom ? wanted.boundedTo(available) : wanted;
}

DockLayout::DockLayout(QMainWindow& window, const MainPanels& panels)
    : QObject(&window),
      window_(window),
      panels_(panels) {
    window_.installEventFilter(this);
    panels_.plot->canvas()->installEventFilter(this);
    // The docks still report while the window's widgets are being destroyed; this object is gone by then.
    for (QDockWidget* dock : {panels_.datasetsDock, panels_.filtersDock, panels_.calculationsDock, panels_.metadataDock,
                              panels_.statisticsDock}) {
        connect(dock, &QDockWidget::visibilityChanged, this, [this] {
            if (!restorePending_) {
                restorePending_ = true;
                QTimer::singleShot(0, this, &DockLayout::restore);
            }
        });
    }
    if (auto* splitter = qobject_cast<QSplitter*>(panels_.event->parentWidget())) {
        connect(splitter, &QSplitter::splitterMoved, this, [this] { shares_.eventWidth = panels_.event->width(); });
    }
    setLowerWidths();
    firstState_ = window_.saveState();
}

void DockLayout::reset() {
    shares_ = {};
    window_.restoreState(firstState_);
    panels_.filtersDock->raise();
    restore();
}

bool DockLayout::isInView(const QWidget* widget) {
    // A dock behind another tab is visible, but lies outside of the window.
    for (const QWidget* part = widget; part && !part->isWindow(); part = part->parentWidget()) {
        if (qobject_cast<const QDockWidget*>(part)) {
            return part->window()->rect().intersects(part->geometry());
        }
    }
    return true;
}

bool DockLayout::eventFilter(QObject* object, QEvent* event) {
    if (object == &window_ && event->type() == QEvent::Resize) {
        setLowerWidths();
        shareWidth();
    } else if (object == &window_ && event->type() == QEvent::MouseButtonRelease) {
        remember();
    } else if (object == panels_.plot->canvas() && event->type() == QEvent::Resize &&
               QGuiApplication::mouseButtons() == Qt::NoButton &&
               panels_.plot->canvas()->width() < CanvasShare * window_.width()) {
        // A wider axis or a colour bar has come up.
        shareWidth();
    }
    return QObject::eventFilter(object, event);
}

void DockLayout::setLowerWidths() {
    const bool roomy = window_.width() >= RoomyWidth;
    panels_.datasets->setMinimumWidth(roomy ? 200 : 148);
    panels_.filters->setMinimumWidth(roomy ? 300 : 180);
    panels_.statistics->setMinimumWidth(roomy ? 250 : 180);
    panels_.calculations->setMinimumWidth(roomy ? 200 : 180);
    panels_.metadata->setMinimumWidth(roomy ? 200 : 180);
    // A roomy window may be made narrow in one go: the docks give way on the way there.
    window_.setMinimumWidth(roomy ? std::min(NarrowWidth, window_.minimumSizeHint().width()) : 0);
}

int DockLayout::fixedWidth() const {
    const QMargins margins =
        window_.centralWidget()->contentsMargins() +
        (window_.centralWidget()->layout() ? window_.centralWidget()->layout()->contentsMargins() : QMargins());
    const int separator = window_.style()->pixelMetric(QStyle::PM_DockWidgetSeparatorExtent, nullptr, &window_);
    const auto* splitter = qobject_cast<const QSplitter*>(panels_.event->parentWidget());
    const int axes = panels_.plot->width() - panels_.plot->canvas()->width();
    return margins.left() + margins.right() + 2 * separator + (splitter ? splitter->handleWidth() : 0) + axes;
}

void DockLayout::shareWidth() {
    auto* splitter = qobject_cast<QSplitter*>(panels_.event->parentWidget());
    if (!splitter || !window_.isVisible()) {
        return;
    }
    QDockWidget* left = shown(panels_.datasetsDock) ? panels_.datasetsDock : nullptr;
    QDockWidget* right = nullptr;
    int rightLowest = 0;
    for (QDockWidget* dock :
         {panels_.filtersDock, panels_.calculationsDock, panels_.metadataDock, panels_.statisticsDock}) {
        if (dock->isVisible()) {
            right = right || !shown(dock) ? right : dock;
            rightLowest = std::max(rightLowest, dock->minimumSizeHint().width());
        }
    }
    const bool atHome = window_.dockWidgetArea(panels_.datasetsDock) == Qt::LeftDockWidgetArea &&
                        (!right || window_.dockWidgetArea(right) == Qt::RightDockWidgetArea);
    if (!atHome) {
        return;
    }
    std::array<int, 3> widths = {left ? shares_.datasetsWidth : 0, right ? shares_.rightWidth : 0, shares_.eventWidth};
    const std::array<int, 3> lowest = {left ? left->minimumSizeHint().width() : 0, right ? rightLowest : 0,
                                       panels_.event->minimumSizeHint().width()};
    const int canvas = static_cast<int>(std::ceil(CanvasShare * window_.width()));
    const int room = window_.width() - fixedWidth() - canvas;
    // The right column keeps what its contents like to have until the others are at their ends.
    shrink(widths, {lowest[0], right ? std::max(rightLowest, LikedRightWidth) : 0, lowest[2]}, room);
    shrink(widths, lowest, room);
    if (left) {
        window_.resizeDocks({left}, {widths[0]}, Qt::Horizontal);
    }
    if (right) {
        window_.resizeDocks({right}, {widths[1]}, Qt::Horizontal);
    }
    const int both = panels_.plot->width() + panels_.event->width();
    splitter->setSizes({std::max(both - widths[2], 0), widths[2]});
}

double DockLayout::columnHeight() const {
    return panels_.statisticsDock->geometry().bottom() + 1.0 - window_.menuBar()->height();
}

void DockLayout::remember() {
    if (shown(panels_.datasetsDock)) {
        shares_.datasetsWidth = panels_.datasetsDock->width();
    }
    for (const QDockWidget* dock : {panels_.filtersDock, panels_.calculationsDock, panels_.metadataDock}) {
        if (shown(dock)) {
            shares_.rightWidth = dock->width();
            if (shown(panels_.statisticsDock) && columnHeight() > 0.0) {
                shares_.statistics = panels_.statisticsDock->height() / columnHeight();
            }
        }
    }
}

void DockLayout::restore() {
    restorePending_ = false;
    placeTabBar();
    shareWidth();
    for (QDockWidget* dock : {panels_.filtersDock, panels_.calculationsDock, panels_.metadataDock}) {
        if (shown(dock) && shown(panels_.statisticsDock)) {
            const int height = static_cast<int>(std::lround(shares_.statistics * columnHeight()));
            window_.resizeDocks({dock, panels_.statisticsDock}, {static_cast<int>(columnHeight()) - height, height},
                                Qt::Vertical);
            return;
        }
    }
}

void DockLayout::placeTabBar() {
    // The window makes the bar after all panels; for the keys it comes before the pages that it chooses from.
    QWidget* before = panels_.filtersDock->previousInFocusChain();
    while (before != panels_.filtersDock &&
           (!(before->focusPolicy() & Qt::TabFocus) || qobject_cast<QTabBar*>(before))) {
        before = before->previousInFocusChain();
    }
    for (QTabBar* bar : window_.findChildren<QTabBar*>(QString(), Qt::FindDirectChildrenOnly)) {
        QWidget::setTabOrder(before, bar);
    }
}

} // namespace Tessaly
