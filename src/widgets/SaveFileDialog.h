#pragma once

#include <QString>

class QWidget;

namespace Tessaly {

/// Asks the user for a file to write. A name without a suffix gets that of the chosen filter; if that makes it the name
/// of a file that exists, the user is asked before it is replaced, as the dialog itself does for names as typed.
/// @param filters   such as "PNG Image (*.png);;All Files (*)"
/// @param proposal  folder or file name to begin with; empty for the current folder
/// @return empty if the user cancelled or doesn't want the file replaced
QString askSaveFileName(QWidget* parent, const QString& title, const QString& filters, const QString& proposal = {});

/// Asks whether a file that exists is to be replaced, in the words of the save dialog.
bool mayReplaceFile(QWidget* parent, const QString& title, const QString& fileName);

} // namespace Tessaly
