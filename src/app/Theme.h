#pragma once

#include <QPalette>
#include <QString>

class QApplication;

namespace Tessaly {

/// The colours of the program: one light theme with a single accent.
QPalette applicationPalette();

/// The style sheet of the whole program. Needs the resources, see initResources().
QString applicationStyleSheet();

/// Sets style, palette and style sheet, in this order.
void applyTheme(QApplication& application);

} // namespace Tessaly
