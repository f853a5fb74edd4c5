#include "tools/gallery/ImageGalleryWindow.h"

#include "plot/WrappingRow.h"
#include "session/Session.h"
#include "session/SessionHost.h"
#include "tools/gallery/GalleryGridWidget.h"
#include "widgets/ElidedLabel.h"
#include "widgets/EmptyHint.h"
#include "widgets/KeepOnTop.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"
#include "widgets/WideCombo.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int GroupSpacing = 12;
constexpr int ControlSpacing = 8;
constexpr int LabelSpacing = 4;

QSpinBox* spinBox(int minimum, int maximum, int value, const QString& suffix = {}) {
    auto* box = new QSpinBox;
    box->setRange(minimum, maximum);
    box->setValue(value);
    box->setSuffix(suffix);
    box->setKeyboardTracking(false); // a number being typed is no number yet
    return box;
}

QHBoxLayout* row() {
    auto* layout = new QHBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(ControlSpacing);
    return layout;
}

/// A label and its field, which belong together.
void addField(QHBoxLayout* to, const QString& text, QWidget* field) {
    auto* label = new QLabel(text);
    label->setBuddy(field);
    auto* pair = row();
    pair->setSpacing(LabelSpacing);
    pair->addWidget(label);
    pair->addWidget(field);
    to->addLayout(pair);
}

void setName(QWidget* control, const char* objectName, const QString& accessibleName) {
    control->setObjectName(QLatin1String(objectName));
    control->setAccessibleName(accessibleName);
}

/// What may stand in the name of a file.
QString fileNamePart(QString name) {
    for (const QChar forbidden : QStringLiteral("/\\:*?\"<>|")) {
        name.replace(forbidden, u'_');
    }
    return singleLine(name);
}

} // namespace

ImageGalleryWindow::ImageGalleryWindow(Session& session, SessionHost& host)
    : session_(session),
      host_(host),
      model_(session) {
    setObjectName(QStringLiteral("imageGalleryWindow"));
    setWindowTitle(tr("Image Gallery"));
    resize(1100, 800);
    buildLayout();
    nameControls();
    installKeepOnTop(*this);
    connectControls();
    connectModel();
    showName();
    showState();
    showHint();
    scrollArea_->setFocus();
}

void ImageGalleryWindow::buildLayout() {
    auto* centre = new QWidget;
    auto* layout = new QVBoxLayout(centre);
    layout->setContentsMargins(GroupSpacing, ControlSpacing, GroupSpacing, 0);
    layout->setSpacing(ControlSpacing);
    name_ = new ElidedLabel;
    name_->setStyleSheet(QStringLiteral("QLabel { font-weight: bold; }"));
    layout->addWidget(name_);
    for (const auto& [first, second] :
         {std::pair(makePagingRow(), makeShowRow()), std::pair(makeCutoutRow(), makeContrastRow())}) {
        auto* wrapping = new WrappingRow(first, second);
        wrapping->layout()->setSpacing(ControlSpacing);
        wrapping->layout()->setAlignment(first, Qt::AlignLeft);
        wrapping->layout()->setAlignment(second, Qt::AlignLeft);
        layout->addWidget(wrapping);
    }
    scrollArea_ = new QScrollArea;
    scrollArea_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    scrollArea_->setMinimumHeight(160);
    grid_ = new GalleryGridWidget;
    scrollArea_->setWidget(grid_);
    grid_->setAutoFillBackground(false); // a page in a file stands on white
    hint_ = new EmptyHint(QString(), scrollArea_->viewport());
    layout->addWidget(scrollArea_, 1);
    status_ = new QLabel;
    status_->setStyleSheet(QStringLiteral("QLabel { padding: 2px 6px; color: #555; }"));
    layout->addWidget(status_);
    setCentralWidget(centre);
}

QLayout* ImageGalleryWindow::makePagingRow() {
    prevButton_ = new QPushButton(tr("◀ Page"));
    nextButton_ = new QPushButton(tr("Page ▶"));
    pageLabel_ = new QLabel;
    pageLabel_->setMinimumWidth(80);
    pageLabel_->setAlignment(Qt::AlignCenter);
    pageSizeCombo_ = new WideCombo;
    for (const int side : {5, 10, 20}) {
        pageSizeCombo_->addItem(tr("%1 × %1 (%2)").arg(side).arg(side * side), side * side);
    }
    pageSizeCombo_->setCurrentIndex(1);
    QHBoxLayout* paging = row();
    paging->addWidget(prevButton_);
    paging->addWidget(pageLabel_);
    paging->addWidget(nextButton_);
    paging->addSpacing(GroupSpacing - ControlSpacing);
    addField(paging, tr("Page size:"), pageSizeCombo_);
    return paging;
}

QLayout* ImageGalleryWindow::makeShowRow() {
    showIdsCheck_ = new QCheckBox(tr("Show event IDs"));
    showIdsCheck_->setChecked(true);
    followActiveCheck_ = new QCheckBox(tr("Follow active dataset"));
    QHBoxLayout* show = row();
    show->addWidget(showIdsCheck_);
    show->addWidget(followActiveCheck_);
    return show;
}

QLayout* ImageGalleryWindow::makeCutoutRow() {
    autoCutoutCheck_ = new QCheckBox(tr("Auto cutout (99th percentile)"));
    autoCutoutCheck_->setChecked(true);
    cutoutWSpin_ = spinBox(8, 1024, 64, tr(" px"));
    cutoutHSpin_ = spinBox(8, 1024, 64, tr(" px"));
    cutoutWSpin_->setSingleStep(2);
    cutoutHSpin_->setSingleStep(2);
    marginSpin_ = spinBox(0, 100, 5, tr(" px"));
    QHBoxLayout* cutout = row();
    cutout->addWidget(autoCutoutCheck_);
    addField(cutout, tr("W:"), cutoutWSpin_);
    addField(cutout, tr("H:"), cutoutHSpin_);
    addField(cutout, tr("Margin:"), marginSpin_);
    return cutout;
}

QLayout* ImageGalleryWindow::makeContrastRow() {
    contrastCombo_ = new WideCombo;
    contrastCombo_->addItem(tr("Full range"), static_cast<int>(GalleryContrast::FullRange));
    contrastCombo_->addItem(tr("Auto (dataset)"), static_cast<int>(GalleryContrast::Auto));
    contrastCombo_->addItem(tr("Manual"), static_cast<int>(GalleryContrast::Manual));
    loSpin_ = spinBox(0, 254, 0);
    hiSpin_ = spinBox(1, 255, 255);
    exportButton_ = new QPushButton(tr("Export page as PNG…"));
    QHBoxLayout* contrast = row();
    addField(contrast, tr("Contrast:"), contrastCombo_);
    addField(contrast, tr("lo:"), loSpin_);
    addField(contrast, tr("hi:"), hiSpin_);
    contrast->addSpacing(GroupSpacing - ControlSpacing);
    contrast->addWidget(exportButton_);
    return contrast;
}

void ImageGalleryWindow::nameControls() {
    setName(name_, "galleryNameLabel", tr("Dataset shown"));
    setName(prevButton_, "prevPageButton", tr("Previous page"));
    setName(pageLabel_, "pageLabel", tr("Page of pages"));
    setName(nextButton_, "nextPageButton", tr("Next page"));
    setName(pageSizeCombo_, "pageSizeCombo", tr("Pictures on a page"));
    setName(showIdsCheck_, "showIdsCheckBox", tr("Show event IDs"));
    setName(followActiveCheck_, "followActiveCheckBox", tr("Follow active dataset"));
    setName(autoCutoutCheck_, "autoCutoutCheckBox", tr("Cutout size from the 99th percentile of cell sizes"));
    setName(cutoutWSpin_, "cutoutWidthSpinBox", tr("Width of a cutout"));
    setName(cutoutHSpin_, "cutoutHeightSpinBox", tr("Height of a cutout"));
    setName(marginSpin_, "marginSpinBox", tr("Margin around a cell"));
    setName(contrastCombo_, "contrastCombo", tr("Contrast"));
    setName(loSpin_, "contrastLoSpinBox", tr("Grey value shown as black"));
    setName(hiSpin_, "contrastHiSpinBox", tr("Grey value shown as white"));
    setName(exportButton_, "exportPageButton", tr("Export page as PNG"));
    setName(scrollArea_, "galleryScrollArea", tr("Page of pictures"));
    setName(status_, "galleryStatusLabel", tr("Status"));
    prevButton_->setToolTip(tr("Previous page (Left, Up or Page Up)"));
    nextButton_->setToolTip(tr("Next page (Right, Down or Page Down)"));
    marginSpin_->setToolTip(tr("Added on all sides of the automatic cutout"));
    followActiveCheck_->setToolTip(tr("Always show the dataset that is selected in the main window"));
}

void ImageGalleryWindow::connectControls() {
    connect(prevButton_, &QPushButton::clicked, this, &ImageGalleryWindow::onPrevPage);
    connect(nextButton_, &QPushButton::clicked, this, &ImageGalleryWindow::onNextPage);
    connect(pageSizeCombo_, &QComboBox::currentIndexChanged, this, &ImageGalleryWindow::onPageSizeChanged);
    connect(showIdsCheck_, &QCheckBox::toggled, this, &ImageGalleryWindow::onShowIdsToggled);
    connect(followActiveCheck_, &QCheckBox::toggled, this, &ImageGalleryWindow::onFollowActiveToggled);
    connect(autoCutoutCheck_, &QCheckBox::toggled, this, &ImageGalleryWindow::onAutoCutoutToggled);
    connect(cutoutWSpin_, &QSpinBox::valueChanged, this, &ImageGalleryWindow::onCutoutSpinChanged);
    connect(cutoutHSpin_, &QSpinBox::valueChanged, this, &ImageGalleryWindow::onCutoutSpinChanged);
    connect(marginSpin_, &QSpinBox::valueChanged, this, &ImageGalleryWindow::onMarginChanged);
    connect(contrastCombo_, &QComboBox::currentIndexChanged, this, &ImageGalleryWindow::onContrastModeChanged);
    connect(loSpin_, &QSpinBox::valueChanged, this, &ImageGalleryWindow::onContrastValuesChanged);
    connect(hiSpin_, &QSpinBox::valueChanged, this, &ImageGalleryWindow::onContrastValuesChanged);
    connect(exportButton_, &QPushButton::clicked, this, &ImageGalleryWindow::onExportPagePng);
    connect(grid_, &GalleryGridWidget::eventClicked, this, &ImageGalleryWindow::selectEvent);
    connect(grid_, &GalleryGridWidget::pageShown, this, [this] {
        showHint();
        enableControls();
    });
    // What takes the arrows for itself otherwise.
    for (QWidget* watched : std::initializer_list<QWidget*>{scrollArea_, prevButton_, nextButton_, exportButton_,
                                                            showIdsCheck_, followActiveCheck_, autoCutoutCheck_}) {
        watched->installEventFilter(this);
    }
}

void ImageGalleryWindow::connectModel() {
    connect(&model_, &GalleryModel::datasetShown, this, &ImageGalleryWindow::showName);
    connect(&model_, &GalleryModel::changed, this, &ImageGalleryWindow::showState);
    connect(&model_, &GalleryModel::pageMade, this, &ImageGalleryWindow::showPage);
    connect(&model_, &GalleryModel::datasetGone, this, &ImageGalleryWindow::close);
    connect(&model_, &GalleryModel::autoContrastFound, this, [this] {
        if (state().contrastMode == GalleryContrast::Manual) {
            return; // the boxes show what is in force
        }
        const QSignalBlocker loBlocker(loSpin_);
        const QSignalBlocker hiBlocker(hiSpin_);
        loSpin_->setValue(state().autoLo);
        hiSpin_->setValue(state().autoHi);
    });
}

void ImageGalleryWindow::showName() {
    const QString name = model_.nameText();
    name_->setText(singleLine(name));
    name_->setToolTip(plainToolTip(name));
}

void ImageGalleryWindow::showState() {
    pageLabel_->setText(model_.pageText());
    status_->setText(model_.statusText());
    if (state().autoCutout) {
        const QSignalBlocker widthBlocker(cutoutWSpin_);
        const QSignalBlocker heightBlocker(cutoutHSpin_);
        cutoutWSpin_->setValue(state().cutoutW);
        cutoutHSpin_->setValue(state().cutoutH);
    }
    enableControls();
    showHint();
}

void ImageGalleryWindow::enableControls() {
    const auto enable = [this](QWidget* control, bool on, const QString& toolTip) {
        if (!on && control->hasFocus()) {
            scrollArea_->setFocus(); // the next control in the row is none that anybody chose
        }
        control->setEnabled(on);
        control->setToolTip(toolTip);
    };
    const bool manual = state().contrastMode == GalleryContrast::Manual;
    const QString sizeToolTip = state().autoCutout ? tr("Switch off “Auto cutout” to set the size") : QString();
    const QString contrastToolTip = manual ? QString() : tr("Choose the contrast “Manual” to set the limits");
    enable(prevButton_, state().page > 0, tr("Previous page (Left, Up or Page Up)"));
    enable(nextButton_, state().page + 1 < model_.pageCount(), tr("Next page (Right, Down or Page Down)"));
    enable(cutoutWSpin_, !state().autoCutout, sizeToolTip);
    enable(cutoutHSpin_, !state().autoCutout, sizeToolTip);
    enable(loSpin_, manual, contrastToolTip);
    enable(hiSpin_, manual, contrastToolTip);
    const bool hasPage = grid_->tileCount() > 0 || grid_->isPreparing() || model_.isBusy();
    enable(exportButton_, hasPage, hasPage ? QString() : tr("There is no page to export"));
}

void ImageGalleryWindow::showPage(const GalleryPage& page) {
    if (gridPage_ != state().page) {
        scrollArea_->verticalScrollBar()->setValue(0);
        scrollArea_->horizontalScrollBar()->setValue(0);
    }
    gridPage_ = state().page;
    const bool empty = !model_.hasImages();
    grid_->showPage(empty ? std::make_shared<const GalleryRenderResult>() : page, state().pageSize, state().showIds);
}

/// Says why the page is empty, if it is.
void ImageGalleryWindow::showHint() {
    QString sentence;
    if (state().datasetId < 0) {
        sentence = tr("Pictures of events will be here. Select a dataset in the main window and tick “Follow active "
                      "dataset”.");
    } else if (state().eventIds.empty()) {
        sentence = tr("No events to display. Wait for the dataset to load, or let its filters pass more events.");
    } else if (!model_.hasImages()) {
        sentence = tr("This dataset has no images.");
    }
    hint_->setText(sentence);
    hint_->setVisible(grid_->tileCount() == 0 && !sentence.isEmpty());
}

void ImageGalleryWindow::turnPage(int by) {
    model_.setPage(state().page + by);
}

void ImageGalleryWindow::onPrevPage() {
    turnPage(-1);
}

void ImageGalleryWindow::onNextPage() {
    turnPage(1);
}

void ImageGalleryWindow::onPageSizeChanged(int comboIdx) {
    model_.setPageSize(pageSizeCombo_->itemData(comboIdx).toInt());
}

void ImageGalleryWindow::onAutoCutoutToggled(bool checked) {
    model_.setAutoCutout(checked);
    showState();
}

void ImageGalleryWindow::onCutoutSpinChanged() {
    model_.setCutout(cutoutWSpin_->value(), cutoutHSpin_->value());
}

void ImageGalleryWindow::onMarginChanged(int v) {
    model_.setMargin(v);
}

void ImageGalleryWindow::onContrastModeChanged(int comboIdx) {
    const auto mode = static_cast<GalleryContrast>(contrastCombo_->itemData(comboIdx).toInt());
    if (mode == GalleryContrast::Manual && state().autoValid) {
        const QSignalBlocker loBlocker(loSpin_);
        const QSignalBlocker hiBlocker(hiSpin_);
        loSpin_->setValue(state().autoLo);
        hiSpin_->setValue(state().autoHi);
    }
    model_.setContrastMode(mode, loSpin_->value(), hiSpin_->value());
}

void ImageGalleryWindow::onContrastValuesChanged() {
    if (hiSpin_->value() <= loSpin_->value()) {
        const QSignalBlocker blocker(hiSpin_);
        hiSpin_->setValue(std::min(loSpin_->value() + 1, 255));
    }
    model_.setManualContrast(loSpin_->value(), hiSpin_->value());
}

void ImageGalleryWindow::onFollowActiveToggled(bool checked) {
    model_.setFollowActive(checked);
}

void ImageGalleryWindow::onShowIdsToggled(bool checked) {
    model_.setShowIds(checked);
}

void ImageGalleryWindow::selectEvent(int event) {
    if (session_.activeId() == state().datasetId) {
        host_.selectEvent(state().datasetId, event);
    }
}

void ImageGalleryWindow::onExportPagePng() {
    const QString name = state().datasetName.isEmpty() ? tr("dataset") : fileNamePart(state().datasetName);
    const QString path = askSaveFileName(this, tr("Export Gallery Page"), tr("PNG image (*.png)"),
                                         QStringLiteral("gallery_%1_p%2.png").arg(name).arg(gridPage_ + 1));
    if (path.isEmpty()) {
        return;
    }
    QPixmap page(grid_->size());
    if (page.isNull()) {
        return;
    }
    page.fill(Qt::white);
    grid_->render(&page, QPoint(), QRegion(), QWidget::DrawChildren);
    if (!page.save(path, "PNG")) {
        showMessage(this, QMessageBox::Warning, tr("Export failed"), tr("Could not write PNG to:\n%1").arg(path));
    }
}

void ImageGalleryWindow::closeEvent(QCloseEvent* event) {
    model_.stop();
    emit windowClosed(this);
    QMainWindow::closeEvent(event);
}

bool ImageGalleryWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto* press = static_cast<const QKeyEvent*>(event);
        const bool plain = (press->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
        switch (plain ? press->key() : 0) {
        case Qt::Key_Left:
        case Qt::Key_Up:
        case Qt::Key_PageUp:
            turnPage(-1);
            return true;
        case Qt::Key_Right:
        case Qt::Key_Down:
        case Qt::Key_PageDown:
            turnPage(1);
            return true;
        default:
            break;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

} // namespace Tessaly
