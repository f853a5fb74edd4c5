#pragma once

#include <QObject>

#include <vector>

namespace Tessaly {

class FilterGroupsMatrixWindow;
class Session;
class SessionHost;

/// The open tool windows, one list a kind. They have no parent: each stands on its own and leaves its list when it is
/// closed. All close, without a question, when the session is cleared or this object ends.
class ToolWindows : public QObject {
    Q_OBJECT

public:
    ToolWindows(Session& session, SessionHost& host, QObject* parent);
    ~ToolWindows() override;

    /// Always opens another window.
    FilterGroupsMatrixWindow* openFilterGroupsMatrix();

    const std::vector<FilterGroupsMatrixWindow*>& filterGroupsMatrices() const { return matrices_; }

    /// Closes all windows of all kinds without a question; they are gone on return.
    void closeAll();

private:
    template <typename Window>
    Window* open(std::vector<Window*>& list);

    Session& session_;
    SessionHost& host_;
    std::vector<FilterGroupsMatrixWindow*> matrices_;
};

} // namespace Tessaly
