#pragma once

#include "session/UserMessage.h"

class QWidget;

namespace Tessaly {

/// Shows the message in a modal box with the icon of its kind; texts are shown as they stand, not as markup.
void showMessage(QWidget* parent, const UserMessage& message);

} // namespace Tessaly
