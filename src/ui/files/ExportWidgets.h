#pragma once

#include <QLatin1String>
#include <QString>

#include <initializer_list>

class QGroupBox;
class QWidget;

namespace Tessaly {

// What the export dialogs are made of.

/// A radio button or check box.
template <typename Button>
Button* makeChoice(const QString& text, const char* objectName) {
    auto* button = new Button(text);
    button->setObjectName(QLatin1String(objectName));
    return button;
}

/// Widgets side by side, from the left.
QWidget* makeRow(std::initializer_list<QWidget*> widgets);

/// Widgets, one beneath the other, in a box with a title.
QGroupBox* makeGroup(const QString& title, std::initializer_list<QWidget*> contents);

} // namespace Tessaly
