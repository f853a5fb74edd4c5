#include "tools/combine/CombineDatasetWidget.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/PlotChoices.h"
#include "widgets/ElidedLabel.h"
#include "widgets/FeatureCombo.h"
#include "widgets/FocusEdge.h"
#include "widgets/PlainText.h"
#include "widgets/ScaleModeCombo.h"

#include <QApplication>
#include <QColorDialog>
#include <QDrag>
#include <QDragEnterEvent>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int CustomColors = 16;

/// Nothing but the format for others; knows its row within the program.
class RowData : public QMimeData {
public:
    explicit RowData(CombineDatasetWidget* dragged) : row(dragged) {
        setData(QLatin1String(CombineReorderMimeType), QByteArray());
    }
    QPointer<CombineDatasetWidget> row;
};

/// The features that a row lists: those of the dataset, and behind them one that it lacks but is set to.
std::vector<FeatureItem> listedFeatures(const DatasetEntry& dataset, const std::string& wanted) {
    std::vector<FeatureItem> items;
    if (dataset.reader) {
        for (const std::string& key : scalarFeatureNames(*dataset.reader)) {
            items.push_back({key, QString::fromStdString(dataset.reader->featureLabel(key))});
        }
    }
    if (!wanted.empty() && std::ranges::find(items, wanted, &FeatureItem::key) == items.end()) {
        items.push_back({wanted, CombineDatasetWidget::tr("%1 (n/a)").arg(QString::fromStdString(wanted))});
    }
    return items;
}

} // namespace

CombineDatasetWidget::CombineDatasetWidget(const DatasetEntry& dataset, const CombineDatasetSettings& settings,
                                           QWidget* parent)
    : QWidget(parent),
      datasetId_(settings.datasetId),
      color_(settings.color),
      wanted_(settings) {
    setObjectName(QStringLiteral("combineRow%1").arg(datasetId_));
    setAcceptDrops(true);
    build();
    showDataset(dataset);
    showSettings(settings);
    for (QComboBox* combo : std::initializer_list<QComboBox*>{xFeature_, yFeature_, xScale_, yScale_}) {
        connect(combo, &QComboBox::currentIndexChanged, this, [this] {
            wanted_ = this->settings();
            emit settingsChanged();
        });
    }
}

void CombineDatasetWidget::build() {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 0);
    layout->setSpacing(4);
    auto* header = new QHBoxLayout;
    header->setSpacing(4);
    buildHeader(*header);
    layout->addLayout(header);

    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(4);
    grid->setVerticalSpacing(4);
    const auto addAxis = [&](int row, const QString& text, FeatureCombo*& feature, ScaleModeCombo*& scale,
                             const char* featureName, const char* scaleName) {
        feature = new FeatureCombo;
        feature->setObjectName(QLatin1String(featureName));
        feature->setMinimumWidth(100);
        scale = new ScaleModeCombo(QString());
        scale->setObjectName(QLatin1String(scaleName));
        auto* label = new QLabel(text);
        label->setBuddy(feature);
        grid->addWidget(label, row, 0);
        grid->addWidget(feature, row, 1);
        grid->addWidget(scale, row, 2);
    };
    addAxis(0, tr("X:"), xFeature_, xScale_, "xFeatureCombo", "xScaleCombo");
    addAxis(1, tr("Y:"), yFeature_, yScale_, "yFeatureCombo", "yScaleCombo");
    grid->setColumnStretch(1, 1);
    layout->addLayout(grid);

    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    layout->addWidget(line);
}

void CombineDatasetWidget::buildHeader(QBoxLayout& layout) {
    handle_ = new QLabel(QStringLiteral("\u2261"));
    handle_->setObjectName(QStringLiteral("dragHandle"));
    handle_->setFixedWidth(20);
    handle_->setAlignment(Qt::AlignCenter);
    handle_->setToolTip(tr("Drag to reorder"));
    handle_->setStyleSheet(QStringLiteral("QLabel { color: #888; font-size: 14px; }"));
    handle_->setCursor(Qt::OpenHandCursor);
    handle_->setAcceptDrops(true);
    handle_->setFocusPolicy(Qt::TabFocus);
    handle_->installEventFilter(this);
    new FocusEdge(handle_);
    colorButton_ = new QToolButton;
    colorButton_->setObjectName(QStringLiteral("colorButton"));
    colorButton_->setFixedSize(20, 20);
    colorButton_->setFocusPolicy(Qt::StrongFocus);
    new FocusEdge(colorButton_);
    connect(colorButton_, &QToolButton::clicked, this, &CombineDatasetWidget::onColorButtonClicked);
    name_ = new ElidedLabel;
    name_->setObjectName(QStringLiteral("datasetNameLabel"));
    removeButton_ = new QToolButton;
    removeButton_->setObjectName(QStringLiteral("removeButton"));
    removeButton_->setText(QStringLiteral("\u00d7"));
    removeButton_->setFixedSize(20, 24);
    removeButton_->setFocusPolicy(Qt::StrongFocus);
    removeButton_->setStyleSheet(QStringLiteral("QToolButton { border: none; background: transparent; }"
                                                "QToolButton:hover, QToolButton:focus { color: red; }"));
    new FocusEdge(removeButton_);
    connect(removeButton_, &QToolButton::clicked, this, &CombineDatasetWidget::removeRequested);
    layout.addWidget(handle_);
    layout.addWidget(colorButton_);
    layout.addWidget(name_, 1);
    layout.addWidget(removeButton_);
}

QWidget* CombineDatasetWidget::handle() const {
    return handle_;
}

QMimeData* CombineDatasetWidget::makeDragData() {
    return new RowData(this);
}

CombineDatasetSettings CombineDatasetWidget::settings() const {
    CombineDatasetSettings settings;
    settings.datasetId = datasetId_;
    settings.xFeatureName = xFeature_->key();
    settings.yFeatureName = yFeature_->key();
    settings.color = color_;
    settings.scaleXMode = xScale_->mode();
    settings.scaleYMode = yScale_->mode();
    return settings;
}

void CombineDatasetWidget::showSettings(const CombineDatasetSettings& settings) {
    wanted_ = settings;
    color_ = settings.color;
    xFeature_->select(settings.xFeatureName);
    yFeature_->select(settings.yFeatureName);
    xScale_->setMode(settings.scaleXMode);
    yScale_->setMode(settings.scaleYMode);
    showColor();
}

void CombineDatasetWidget::showDataset(const DatasetEntry& dataset) {
    name_->setText(singleLine(dataset.displayName));
    name_->setToolTip(plainToolTip(dataset.displayName));
    xFeature_->setFeatures(listedFeatures(dataset, wanted_.xFeatureName));
    yFeature_->setFeatures(listedFeatures(dataset, wanted_.yFeatureName));
    xFeature_->select(wanted_.xFeatureName);
    yFeature_->select(wanted_.yFeatureName);
    nameControls(dataset.displayName);
}

void CombineDatasetWidget::nameControls(const QString& name) {
    handle_->setAccessibleName(tr("Place of %1 in the list; Alt and the arrow keys move it").arg(name));
    colorButton_->setAccessibleName(tr("Color of %1").arg(name));
    colorButton_->setToolTip(tr("Dataset Color"));
    removeButton_->setAccessibleName(tr("Remove %1").arg(name));
    removeButton_->setToolTip(tr("Remove from this window"));
    xFeature_->setAccessibleName(tr("X feature of %1").arg(name));
    yFeature_->setAccessibleName(tr("Y feature of %1").arg(name));
    xScale_->setAccessibleName(tr("X-axis scale mode of %1").arg(name));
    yScale_->setAccessibleName(tr("Y-axis scale mode of %1").arg(name));
}

void CombineDatasetWidget::markLogAxes(int xCount, int yCount) {
    xScale_->markLogAxisProblem(xCount);
    yScale_->markLogAxisProblem(yCount);
}

void CombineDatasetWidget::showColor() {
    colorButton_->setStyleSheet(
        QStringLiteral("background-color: %1; border: 1px solid #888;").arg(color_.name(QColor::HexRgb)));
}

void CombineDatasetWidget::onColorButtonClicked() {
    const std::vector<QColor>& palette = combinePalette();
    for (int i = 0; i < CustomColors; ++i) {
        QColorDialog::setCustomColor(i, palette[static_cast<std::size_t>(i)]);
    }
    const QPointer<CombineDatasetWidget> self(this); // rows may be rebuilt while the dialog is up
    const QColor picked = QColorDialog::getColor(color_, window(), tr("Dataset Color"));
    if (self && picked.isValid()) {
        color_ = picked;
        wanted_.color = picked;
        showColor();
        emit settingsChanged();
    }
}

bool CombineDatasetWidget::eventFilter(QObject* watched, QEvent* event) {
    if (watched != handle_) {
        return QWidget::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        passOn(*static_cast<QDropEvent*>(event), handle_);
        return true;
    case QEvent::DragLeave:
        showDropMark(DropMark::None);
        return true;
    default:
        return handleMouse(event) || QWidget::eventFilter(watched, event);
    }
}

bool CombineDatasetWidget::handleMouse(QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto* press = static_cast<const QKeyEvent*>(event);
        const int step = press->key() == Qt::Key_Up ? -1 : press->key() == Qt::Key_Down ? 1 : 0;
        if (step != 0 && press->modifiers() & Qt::AltModifier) {
            emit moveRequested(step);
            return true;
        }
        return false;
    }
    const auto* mouse = dynamic_cast<const QMouseEvent*>(event);
    if (!mouse) {
        return false;
    }
    if (event->type() == QEvent::MouseButtonPress && mouse->button() == Qt::LeftButton) {
        pressedAt_ = mouse->position().toPoint();
        pressed_ = true;
        handle_->setCursor(Qt::ClosedHandCursor);
        return true;
    }
    if (event->type() == QEvent::MouseButtonRelease) {
        pressed_ = false;
        handle_->setCursor(Qt::OpenHandCursor);
        return true;
    }
    if (event->type() == QEvent::MouseMove && pressed_ && mouse->buttons() & Qt::LeftButton) {
        if ((mouse->position().toPoint() - pressedAt_).manhattanLength() >= QApplication::startDragDistance()) {
            pressed_ = false;
            startDrag();
        }
        return true;
    }
    return false;
}

void CombineDatasetWidget::startDrag() {
    const QPointer<CombineDatasetWidget> self(this); // a drop rebuilds the rows
    auto* drag = new QDrag(this);
    drag->setMimeData(makeDragData());
    drag->exec(Qt::MoveAction);
    if (self) {
        handle_->setCursor(Qt::OpenHandCursor);
    }
}

CombineDatasetWidget* CombineDatasetWidget::sourceOf(const QDropEvent* event) const {
    const auto* rowData = dynamic_cast<const RowData*>(event->mimeData());
    CombineDatasetWidget* source = rowData ? rowData->row.data() : nullptr;
    // Rows stay in their list.
    return source && source != this && source->parentWidget() == parentWidget() ? source : nullptr;
}

bool CombineDatasetWidget::isAbove(const QPointF& position) const {
    return position.toPoint().y() < height() / 2;
}

void CombineDatasetWidget::passOn(QDropEvent& event, const QWidget* from) {
    const QPointF position = from->mapTo(this, event.position());
    CombineDatasetWidget* source = sourceOf(&event);
    if (!source) {
        event.ignore();
        showDropMark(DropMark::None);
        return;
    }
    event.acceptProposedAction();
    if (event.type() == QEvent::Drop) {
        showDropMark(DropMark::None);
        emit dropReceived(source, this, isAbove(position));
    } else {
        showDropMark(isAbove(position) ? DropMark::Above : DropMark::Below);
    }
}

void CombineDatasetWidget::dragEnterEvent(QDragEnterEvent* event) {
    passOn(*event, this);
}

void CombineDatasetWidget::dragMoveEvent(QDragMoveEvent* event) {
    passOn(*event, this);
}

void CombineDatasetWidget::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
    showDropMark(DropMark::None);
}

void CombineDatasetWidget::dropEvent(QDropEvent* event) {
    passOn(*event, this);
}

void CombineDatasetWidget::showDropMark(DropMark mark) {
    if (mark != dropMark_) {
        dropMark_ = mark;
        update();
    }
}

void CombineDatasetWidget::paintEvent(QPaintEvent* event) {
    QWidget::paintEvent(event);
    if (dropMark_ != DropMark::None) {
        QPainter painter(this);
        const int y = dropMark_ == DropMark::Above ? 0 : height() - 2;
        painter.fillRect(QRect(0, y, width(), 2), palette().color(QPalette::Highlight));
    }
}

} // namespace Tessaly
