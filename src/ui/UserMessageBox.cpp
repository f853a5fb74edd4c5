#include "ui/UserMessageBox.h"

#include "widgets/PlainText.h"

namespace Tessaly {

namespace {

QMessageBox::Icon iconOf(UserMessage::Kind kind) {
    switch (kind) {
    case UserMessage::Kind::Information:
        return QMessageBox::Information;
    case UserMessage::Kind::Warning:
        return QMessageBox::Warning;
    case UserMessage::Kind::Critical:
        break;
    }
    return QMessageBox::Critical;
}

} // namespace

void showMessage(QWidget* parent, const UserMessage& message) {
    showMessage(parent, iconOf(message.kind), message.title, message.text);
}

} // namespace Tessaly
