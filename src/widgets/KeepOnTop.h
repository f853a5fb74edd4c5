#pragma once

class QAction;
class QMainWindow;

namespace Tessaly {

/// Gives a window the entry "Keep on &Top", unchecked at first, in its menu "View", which is added if it has none.
/// Checked, the window stays above the main window. Returns the entry, owned by the menu.
QAction* installKeepOnTop(QMainWindow& window);

} // namespace Tessaly
