#include "ui/ToolWindows.h"

#include "session/Session.h"
#include "session/document/SessionDocument.h"
#include "tools/combine/CombinePlotWindow.h"
#include "tools/gallery/ImageGalleryWindow.h"
#include "tools/matrix/FilterGroupsMatrixWindow.h"
#include "tools/statistics/StatisticalEvalWindow.h"

#include <algorithm>
#include <utility>

namespace Tessaly {

namespace {

constexpr qsizetype MostWindows = 100; // of a kind, from a session file

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
    keepInSessions(&SessionDocument::combineWindows, combinePlots_);
    keepInSessions(&SessionDocument::statEvalWindows, statisticalEvals_);
}

ToolWindows::~ToolWindows() {
    closeAll();
}

template <typename Window>
Window* ToolWindows::make(std::vector<Window*>& list) {
    auto* window = new Window(session_, host_);
    list.push_back(window);
    connect(window, &Window::windowClosed, this, [&list](Window* self) {
        std::erase(list, self);
        self->deleteLater();
    });
    return window;
}

template <typename Window>
Window* ToolWindows::open(std::vector<Window*>& list) {
    Window* window = make(list);
    window->show();
    return window;
}

template <typename Window>
void ToolWindows::keepInSessions(QJsonArray SessionDocument::*objects, std::vector<Window*>& list) {
    const auto save = [&list](const DatasetNumbers& idToIndex) {
        QJsonArray states;
        for (const Window* window : list) {
            states.append(window->sessionState(idToIndex));
        }
        return states;
    };
    const auto reopen = [this, &list](const QJsonObject& state, const DatasetNumbers& indexToId) {
        Window* window = make(list);
        window->restoreSessionState(state, indexToId);
        window->show();
    };
    sessionKinds_.push_back({objects, save, reopen});
}

CombinePlotWindow* ToolWindows::openCombinePlot() {
    return open(combinePlots_);
}

FilterGroupsMatrixWindow* ToolWindows::openFilterGroupsMatrix() {
    return open(matrices_);
}

ImageGalleryWindow* ToolWindows::openImageGallery() {
    return open(galleries_);
}

StatisticalEvalWindow* ToolWindows::openStatisticalEval() {
    return open(statisticalEvals_);
}

bool ToolWindows::anyForSession() const {
    return std::ranges::any_of(sessionKinds_, [](const SessionKind& kind) { return !kind.save({}).isEmpty(); });
}

void ToolWindows::saveInto(SessionDocument& document, const DatasetNumbers& idToIndex) const {
    for (const SessionKind& kind : sessionKinds_) {
        document.*kind.objects = kind.save(idToIndex);
    }
}

void ToolWindows::reopen(const SessionDocument& document, const DatasetNumbers& indexToId) {
    for (const SessionKind& kind : sessionKinds_) {
        const QJsonArray& states = document.*kind.objects;
        // More than anybody arranges by hand come from a damaged file, and would keep the program busy for hours.
        for (qsizetype i = 0; i < std::min(states.size(), MostWindows); ++i) {
            kind.reopen(states[i].toObject(), indexToId);
        }
    }
}

void ToolWindows::closeAll() {
    closeWindows(combinePlots_, this);
    closeWindows(matrices_, this);
    closeWindows(galleries_, this);
    closeWindows(statisticalEvals_, this);
}

} // namespace Tessaly
