#pragma once

#include <QString>

class QCheckBox;
class QPushButton;

namespace Tessaly {

// What the pages of the calculations dock have in common.

/// "Apply to All Datasets".
QCheckBox* makeApplyToAll(const char* objectName, const QString& accessibleName);

/// A start button, disabled until its calculation is on offer.
QPushButton* makeStartButton(const QString& text, const char* objectName);

/// Enables a button, with its own tool tip, or disables it with one that says why.
/// @param whyNot  empty to enable
void offer(QPushButton* button, const QString& whyNot, const QString& toolTip = QString());

} // namespace Tessaly
