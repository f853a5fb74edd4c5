#pragma once

#include <QMessageBox>
#include <QString>

namespace Tessaly {

/// A tool tip that shows a text as it is, whatever it holds: names and paths may look like markup.
QString plainToolTip(const QString& text);

/// A name for a place that has one line: line breaks and tabs become blanks.
QString singleLine(QString text);

/// A message box with one button whose text is shown as it is. Returns when it was closed.
void showMessage(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text);

/// A message box whose text is shown as it is, to be opened without waiting for it: the program may be closed while it
/// stands. Deletes itself when it is closed.
QMessageBox* newMessage(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text,
                        QMessageBox::StandardButtons buttons = QMessageBox::Ok);

/// A question whose text is shown as it is. Returns the button that was pressed, or No or Cancel if the box was closed.
QMessageBox::StandardButton askQuestion(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                        const QString& text, QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton byDefault);

} // namespace Tessaly
