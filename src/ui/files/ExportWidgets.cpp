#include "ui/files/ExportWidgets.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace Tessaly {

QWidget* makeRow(std::initializer_list<QWidget*> widgets) {
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget* widget : widgets) {
        layout->addWidget(widget);
    }
    layout->addStretch();
    return row;
}

QGroupBox* makeGroup(const QString& title, std::initializer_list<QWidget*> contents) {
    auto* group = new QGroupBox(title);
    auto* layout = new QVBoxLayout(group);
    for (QWidget* one : contents) {
        layout->addWidget(one);
    }
    return group;
}

} // namespace Tessaly
