#include "widgets/ScaleModeCombo.h"

#include <QSignalBlocker>

namespace Tessaly {

namespace {

constexpr int LogItem = 1;
constexpr char LogProblemSheet[] = "QComboBox { background-color: #fff8e1; border: 1px solid #f9a825; }";

} // namespace

ScaleModeCombo::ScaleModeCombo(const QString& axisName, QWidget* parent) : WideCombo(parent), axisName_(axisName) {
    setAccessibleName(axisName);
    setToolTip(axisName);
    addItems({tr("Linear"), tr("Log"), tr("PseudoLog")});
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ScaleModeCombo::setMode(int mode) {
    const QSignalBlocker blocker(this);
    setCurrentIndex(mode >= 0 && mode < count() ? mode : 0);
}

int ScaleModeCombo::mode() const {
    return currentIndex();
}

void ScaleModeCombo::markLogAxisProblem(int count) {
    setItemText(LogItem, count > 0 ? tr("Log ⚠") : tr("Log"));
    const QLatin1String sheet(count > 0 ? LogProblemSheet : "");
    // A new sheet polishes the widget anew, which is not for free on every refresh.
    if (styleSheet() != sheet) {
        setStyleSheet(sheet);
    }
    if (count == 0) {
        setToolTip(axisName_);
        return;
    }
    const QString problem = tr("%1 point%2 with value ≤ 0 not shown (cannot be drawn on a log axis)")
                                .arg(count)
                                .arg(count == 1 ? QString() : QStringLiteral("s"));
    setToolTip(axisName_.isEmpty() ? problem : axisName_ + QStringLiteral(": ") + problem);
}

} // namespace Tessaly
