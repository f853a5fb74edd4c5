#include "ui/files/ExportWidgets.h"

#include <QGroupBox>
#include <QVBoxLayout>

namespace Tessaly {

QGroupBox* makeGroup(const QString& title, std::initializer_list<QWidget*> contents) {
    auto* group = new QGroupBox(title);
    auto* layout = new QVBoxLayout(group);
    for (QWidget* one : contents) {
        layout->addWidget(one);
    }
    return group;
}

} // namespace Tessaly
