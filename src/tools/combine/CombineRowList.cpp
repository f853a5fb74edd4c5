#include "tools/combine/CombineRowList.h"

#include "core/DatasetEntry.h"
#include "session/Session.h"
#include "session/compare/CombineModel.h"
#include "tools/combine/CombineDatasetWidget.h"

#include <QDragMoveEvent>
#include <QLabel>
#include <QMimeData>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int ScrollMargin = 40;
constexpr int ScrollPixels = 6;
constexpr int ScrollInterval = 30;

bool isReorder(const QEvent* event) {
    const auto* drag = static_cast<const QDropEvent*>(event);
    return drag->mimeData() && drag->mimeData()->hasFormat(QLatin1String(CombineReorderMimeType));
}

} // namespace

CombineRowList::CombineRowList(QWidget* parent) : QScrollArea(parent) {
    setObjectName(QStringLiteral("combineRowList"));
    setAccessibleName(tr("Datasets of this window"));
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* content = new QWidget;
    layout_ = new QVBoxLayout(content);
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(0);
    layout_->setAlignment(Qt::AlignTop);
    setWidget(content);
    viewport()->setAcceptDrops(true);
    viewport()->installEventFilter(this);
    scrollTimer_.setInterval(ScrollInterval);
    connect(&scrollTimer_, &QTimer::timeout, this,
            [this] { verticalScrollBar()->setValue(verticalScrollBar()->value() + scrollStep_); });
    addHint();
}

void CombineRowList::rebuild(const Session& session, const CombineModel& model) {
    rows_.clear();
    while (QLayoutItem* item = layout_->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            // A row may still be in an event handler of its own, of a button or a drag.
            widget->hide();
            widget->disconnect(this);
            widget->setParent(nullptr);
            widget->deleteLater();
        }
        delete item;
    }
    for (const CombineDatasetSettings& settings : model.datasets()) {
        addRow(session, settings);
    }
    if (model.datasets().empty()) {
        addHint();
    }
}

void CombineRowList::addRow(const Session& session, const CombineDatasetSettings& settings) {
    const DatasetEntry* entry = session.findById(settings.datasetId);
    if (!entry) {
        return;
    }
    auto* row = new CombineDatasetWidget(*entry, settings, widget());
    row->installEventFilter(this);
    row->handle()->installEventFilter(this);
    connect(row, &CombineDatasetWidget::settingsChanged, this, [this, row] { emit settingsChanged(indexOf(row)); });
    connect(row, &CombineDatasetWidget::removeRequested, this, [this, row] { emit removeRequested(indexOf(row)); });
    connect(row, &CombineDatasetWidget::dropReceived, this, &CombineRowList::dropReceived);
    connect(row, &CombineDatasetWidget::moveRequested, this,
            [this, row](int step) { emit moveRequested(indexOf(row), step); });
    layout_->addWidget(row);
    row->show();
    rows_.push_back(row);
}

void CombineRowList::addHint() {
    auto* hint = new QLabel(tr("Drag datasets here\nfrom the main window"));
    hint->setObjectName(QStringLiteral("combineEmptyLabel"));
    hint->setAlignment(Qt::AlignCenter);
    hint->setStyleSheet(
        QStringLiteral("QLabel { color: #787c82; padding: 20px; border: 2px dashed #c8cbd0; border-radius: 8px; }"));
    layout_->addWidget(hint);
}

void CombineRowList::showSettings(const CombineModel& model) {
    for (std::size_t i = 0; i < rows_.size() && i < model.datasets().size(); ++i) {
        rows_[i]->showSettings(model.datasets()[i]);
    }
}

int CombineRowList::indexOf(const CombineDatasetWidget* row) const {
    const auto found = std::ranges::find(rows_, row);
    return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

bool CombineRowList::eventFilter(QObject* watched, QEvent* event) {
    if (auto* under = qobject_cast<QWidget*>(watched)) {
        watchDrag(under, event);
    }
    // The viewport takes the drag between and below the rows, where a drop changes nothing, so that it can scroll.
    if (watched == viewport()) {
        const bool isDrag = event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove;
        if (isDrag && isReorder(event)) {
            event->accept();
            return true;
        }
        if (isDrag || event->type() == QEvent::Drop) {
            event->ignore();
            return event->type() != QEvent::Drop;
        }
    }
    return QScrollArea::eventFilter(watched, event);
}

void CombineRowList::watchDrag(const QWidget* under, QEvent* event) {
    if (event->type() == QEvent::DragLeave || event->type() == QEvent::Drop) {
        setScrollStep(0);
    } else if (event->type() == QEvent::DragMove && isReorder(event)) {
        const QPointF position = static_cast<const QDropEvent*>(event)->position();
        const int y = under->mapTo(static_cast<const QWidget*>(this), position.toPoint()).y() - viewport()->y();
        const bool nearTop = y < ScrollMargin;
        const bool nearBottom = y >= viewport()->height() - ScrollMargin;
        setScrollStep(nearTop ? -ScrollPixels : nearBottom ? ScrollPixels : 0);
    }
}

void CombineRowList::setScrollStep(int step) {
    scrollStep_ = step;
    if (step == 0) {
        scrollTimer_.stop();
    } else if (!scrollTimer_.isActive()) {
        scrollTimer_.start();
    }
}

} // namespace Tessaly
