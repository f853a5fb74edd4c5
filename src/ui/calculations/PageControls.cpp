#include "ui/calculations/PageControls.h"

#include "widgets/ElidedButton.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QPushButton>

namespace Tessaly {

QCheckBox* makeApplyToAll(const char* objectName, const QString& accessibleName) {
    auto* box = new QCheckBox(QCoreApplication::translate("Tessaly::CalculationsDockWidget", "Apply to All Datasets"));
    box->setObjectName(QLatin1String(objectName));
    box->setAccessibleName(accessibleName);
    return box;
}

QPushButton* makeStartButton(const QString& text, const char* objectName) {
    auto* button = new ElidedButton(text);
    button->setObjectName(QLatin1String(objectName));
    button->setAutoDefault(false);
    button->setEnabled(false);
    return button;
}

void offer(QPushButton* button, const QString& whyNot, const QString& toolTip) {
    button->setEnabled(whyNot.isEmpty());
    button->setToolTip(whyNot.isEmpty() ? toolTip : whyNot);
}

} // namespace Tessaly
