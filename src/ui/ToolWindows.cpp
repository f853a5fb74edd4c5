#include "ui/ToolWindows.h"

#include "session/Session.h"
#include "tools/matrix/FilterGroupsMatrixWindow.h"

#include <utility>

namespace Tessaly {

namespace {

template <typename Window>
void closeWindows(std::vector<Window*>& list, const QObject* receiver) {
    // The list is empty before the first window goes, so that nobody finds one that is going.
    for (Window* window : std::exchange(list, {})) {
        window->disconnect(receiver);
        window->close();
        delete window;
    }
}

} // namespace

ToolWindows::ToolWindows(Session& session, SessionHost& host, QObject* parent)
    : QObject(parent),
      session_(session),
      host_(host) {
    connect(&session_.notices(), &SessionNotices::aboutToClear, this, &ToolWindows::closeAll);
}

ToolWindows::~ToolWindows() {
    closeAll();
}

template <typename Window>
Window* ToolWindows::open(std::vector<Window*>& list) {
    auto* window = new Window(session_, host_);
    list.push_back(window);
    connect(window, &Window::windowClosed, this, [&list](Window* self) {
        std::erase(list, self);
        self->deleteLater();
    });
    window->show();
    return window;
}

FilterGroupsMatrixWindow* ToolWindows::openFilterGroupsMatrix() {
    return open(matrices_);
}

void ToolWindows::closeAll() {
    closeWindows(matrices_, this);
}

} // namespace Tessaly
