#include "ui/calculations/EModQualityDialog.h"

#include "ui/calculations/CoveragePlot.h"

#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace Tessaly {

namespace {

/// How good a figure is: the smaller the better.
struct Grade {
    QString light; ///< a circle in the colour of the grade
    QString name;  ///< for whoever doesn't tell the colours apart
};

Grade gradeOf(double figure, double greenBelow, double amberBelow) {
    const auto grade = [](const char* colour, const QString& name) {
        return Grade{
            QStringLiteral("<span style=\"color: %1; font-size: 16px;\">&#x25CF;</span>").arg(QLatin1String(colour)),
            name};
    };
    if (figure < greenBelow) {
        return grade("#2e7d32", EModQualityDialog::tr("Green: good"));
    }
    return figure < amberBelow ? grade("#f9a825", EModQualityDialog::tr("Amber: take care"))
                               : grade("#c62828", EModQualityDialog::tr("Red: don't rely on it"));
}

double share(int count, int whole) {
    return whole > 0 ? static_cast<double>(count) / whole : 0.0;
}

QString countOf(int count, int whole) {
    return whole > 0 ? QStringLiteral("%1 (%2%)").arg(count).arg(100.0 * share(count, whole), 0, 'f', 1)
                     : QStringLiteral("0 (0.0%)");
}

} // namespace

EModQualityDialog::EModQualityDialog(const EModulusQuality& quality, const QString& datasetName, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("qualityDialog"));
    setWindowTitle(tr("YM Quality Assessment"));
    setAttribute(Qt::WA_DeleteOnClose);
    setMinimumWidth(420);
    auto* layout = new QVBoxLayout(this);
    auto* name = new QLabel(tr("<b>Dataset:</b> %1").arg(datasetName.toHtmlEscaped()));
    name->setTextFormat(Qt::RichText);
    name->setWordWrap(true);
    layout->addWidget(name);
    auto* content = new QWidget;
    figures_ = new QVBoxLayout(content);
    figures_->setContentsMargins(0, 0, 0, 0);
    scroll_ = new QScrollArea;
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setWidgetResizable(true);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setFocusPolicy(Qt::NoFocus);
    scroll_->setWidget(content);
    scroll_->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
    layout->addWidget(scroll_, 1);
    if (!quality.valid || quality.total == 0) {
        figures_->addWidget(new QLabel(tr("No data available for quality assessment.")));
    } else {
        addCoverageGroup(quality);
        addBoundaryGroup(quality);
        addSensitivityGroup(quality);
        addBiasGroup(quality);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    layout->addWidget(buttons);
}

void EModQualityDialog::setVisible(bool visible) {
    if (visible && !isVisible()) {
        fitToFigures();
    }
    QDialog::setVisible(visible);
}

void EModQualityDialog::fitToFigures() {
    constexpr int usualWidth = 480;
    constexpr int roomForFrame = 60;
    ensurePolished();
    for (QWidget* part : findChildren<QWidget*>()) {
        part->ensurePolished(); // the style sheet has its say on their sizes
    }
    const QMargins margins = layout()->contentsMargins();
    const int inner = usualWidth - margins.left() - margins.right();
    const int around = layout()->totalMinimumSize().height() - scroll_->minimumSizeHint().height();
    const int figures =
        figures_->hasHeightForWidth() ? figures_->totalHeightForWidth(inner) : figures_->totalSizeHint().height();
    resize(usualWidth, std::min(around + figures, screen()->availableSize().height() - roomForFrame));
}

void EModQualityDialog::addGroup(const QString& title, const QString& gradeName, const QStringList& lines) {
    auto* box = new QGroupBox(title);
    box->setToolTip(gradeName);
    box->setAccessibleDescription(gradeName);
    auto* layout = new QVBoxLayout(box);
    layout->setSpacing(2);
    layout->setContentsMargins(8, 4, 8, 8);
    for (const QString& line : lines) {
        auto* label = new QLabel(line);
        label->setTextFormat(Qt::RichText);
        label->setWordWrap(true);
        layout->addWidget(label);
    }
    figures_->addWidget(box);
}

void EModQualityDialog::addCoverageGroup(const EModulusQuality& quality) {
    const Grade unmapped = gradeOf(1.0 - share(quality.mapped, quality.total), 0.05, 0.2);
    addGroup(tr("Coverage"), unmapped.name,
             {tr("%1 <b>Mapped:</b> %2").arg(unmapped.light, countOf(quality.mapped, quality.total)),
              tr("Area too small: %1").arg(countOf(quality.areaTooSmall, quality.total)),
              tr("Area too large: %1").arg(countOf(quality.areaTooLarge, quality.total)),
              tr("Deform too low: %1").arg(countOf(quality.deformTooLow, quality.total)),
              tr("Deform too high: %1").arg(countOf(quality.deformTooHigh, quality.total))});
}

void EModQualityDialog::addBoundaryGroup(const EModulusQuality& quality) {
    const Grade near = gradeOf(share(quality.nearBoundary, quality.mapped), 0.1, 0.3);
    addGroup(tr("Boundary Proximity"), near.name,
             {tr("%1 <b>Near low-deformation edge:</b> %2 of mapped events")
                  .arg(near.light, countOf(quality.nearBoundary, quality.mapped)),
              tr("Events within 10% of the local lower LUT boundary at their cell size"),
              tr("These events yield less reliable (lower-bound) YM estimates")});
}

void EModQualityDialog::addSensitivityGroup(const EModulusQuality& quality) {
    const Grade sensitivity = gradeOf(quality.medianSensitivity, 0.3, 0.7);
    addGroup(tr("Gradient Sensitivity"), sensitivity.name,
             {tr("%1 <b>Median sensitivity:</b> %2").arg(sensitivity.light).arg(quality.medianSensitivity, 0, 'f', 3),
              tr("|dE/dd| * MAD(deform) / E — ratio of propagated deformation uncertainty to YM value"),
              tr("High sensitivity events (>1.0): %1").arg(countOf(quality.highSensitivity, quality.mapped))});
}

void EModQualityDialog::addBiasGroup(const EModulusQuality& quality) {
    const Grade bias = gradeOf(quality.bias, 0.05, 0.15);
    addGroup(tr("Population Bias"), bias.name,
             {tr("%1 <b>Bias:</b> %2%").arg(bias.light).arg(quality.bias * 100.0, 0, 'f', 1),
              tr("Median YM (all mapped): %1 kPa").arg(quality.medianAll, 0, 'f', 2),
              tr("Median YM (interior only): %1 kPa").arg(quality.medianInterior, 0, 'f', 2)});
}

void EModQualityDialog::setCoverage(const EModulusCoverage& coverage) {
    if (!coverage.isEmpty()) {
        auto* plot = new CoveragePlot(coverage);
        figures_->addWidget(plot, 1);
    }
}

} // namespace Tessaly
