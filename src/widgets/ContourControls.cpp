#include "widgets/ContourControls.h"

#include "widgets/WideCombo.h"

#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

constexpr int DefaultInnerPercent = 10;
constexpr int DefaultOuterPercent = 67;

QSpinBox* makeLevel(int percent) {
    auto* box = new QSpinBox;
    box->setRange(1, 99);
    box->setSingleStep(5);
    box->setSuffix(QStringLiteral("%"));
    box->setValue(percent);
    return box;
}

void setPercent(QSpinBox* box, double fraction) {
    if (std::isfinite(fraction)) {
        const QSignalBlocker blocker(box);
        box->setValue(static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * 100.0)));
    }
}

} // namespace

ContourControls::ContourControls(QObject* parent, const QString& labelEnd)
    : QObject(parent),
      mode_(new WideCombo),
      inner_(makeLevel(DefaultInnerPercent)),
      outer_(makeLevel(DefaultOuterPercent)) {
    mode_->addItems({tr("Off"), tr("Overlay"), tr("Only")});
    makeRow(rows_[0], mode_, tr("Contour Overlay") + labelEnd, "contourModeCombo", tr("Contour Overlay"));
    makeRow(rows_[1], inner_, tr("Inner") + labelEnd, "innerFractionSpinBox", tr("Inner contour level"));
    makeRow(rows_[2], outer_, tr("Outer") + labelEnd, "outerFractionSpinBox", tr("Outer contour level"));
    connect(mode_, &QComboBox::currentIndexChanged, this, &ContourControls::changed);
    connect(inner_, &QSpinBox::valueChanged, this, &ContourControls::changed);
    connect(outer_, &QSpinBox::valueChanged, this, &ContourControls::changed);
}

void ContourControls::makeRow(Row& row, QWidget* control, const QString& text, const char* name,
                              const QString& accessibleName) {
    control->setObjectName(QLatin1String(name));
    control->setAccessibleName(accessibleName);
    row.label = new QLabel(text);
    row.label->setBuddy(control);
    row.control = control;
}

std::array<ContourControls::Row, 3> ContourControls::rows() const {
    return rows_;
}

void ContourControls::setChoice(int mode, double innerFraction, double outerFraction) {
    const QSignalBlocker blocker(mode_);
    mode_->setCurrentIndex(mode >= 0 && mode < mode_->count() ? mode : 0);
    setPercent(inner_, innerFraction);
    setPercent(outer_, outerFraction);
}

int ContourControls::mode() const {
    return mode_->currentIndex();
}

double ContourControls::innerFraction() const {
    return inner_->value() / 100.0;
}

double ContourControls::outerFraction() const {
    return outer_->value() / 100.0;
}

} // namespace Tessaly
