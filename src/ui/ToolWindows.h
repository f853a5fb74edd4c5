#pragma once

#include "session/SessionWindow.h"

#include <QJsonArray>
#include <QObject>

#include <functional>
#include <vector>

namespace Tessaly {

class CombinePlotWindow;
class FilterGroupsMatrixWindow;
class ImageGalleryWindow;
class Session;
class SessionHost;
class StatisticalEvalWindow;
struct SessionDocument;

/// The open tool windows, one list a kind. They have no parent: each stands on its own and leaves its list when it is
/// closed. All close, without a question, when the session is cleared or this object ends.
class ToolWindows : public QObject {
    Q_OBJECT

public:
    /// How a session file keeps one kind of windows.
    struct SessionKind {
        QJsonArray SessionDocument::*objects;                  ///< the windows' place in the document
        std::function<QJsonArray(const DatasetNumbers&)> save; ///< the objects of the windows that are open
        std::function<void(const QJsonObject&, const DatasetNumbers&)> reopen; ///< opens a window for an object
    };

    ToolWindows(Session& session, SessionHost& host, QObject* parent);
    ~ToolWindows() override;

    // Each always opens another window.
    CombinePlotWindow* openCombinePlot();
    FilterGroupsMatrixWindow* openFilterGroupsMatrix();
    /// Over the active dataset.
    ImageGalleryWindow* openImageGallery();
    StatisticalEvalWindow* openStatisticalEval();

    const std::vector<CombinePlotWindow*>& combinePlots() const { return combinePlots_; }
    const std::vector<FilterGroupsMatrixWindow*>& filterGroupsMatrices() const { return matrices_; }
    const std::vector<ImageGalleryWindow*>& imageGalleries() const { return galleries_; }
    const std::vector<StatisticalEvalWindow*>& statisticalEvals() const { return statisticalEvals_; }

    /// Adds a kind that session files keep.
    void keepInSessions(SessionKind kind) { sessionKinds_.push_back(std::move(kind)); }
    /// Whether a window is open that a session file would keep.
    bool anyForSession() const;
    /// Puts the objects of the open windows into a document.
    void saveInto(SessionDocument& document, const DatasetNumbers& idToIndex) const;
    /// Opens the windows of a document, kind after kind.
    void reopen(const SessionDocument& document, const DatasetNumbers& indexToId);

    /// Closes all windows of all kinds without a question; they are gone on return.
    void closeAll();

private:
    template <typename Window>
    Window* make(std::vector<Window*>& list);
    template <typename Window>
    Window* open(std::vector<Window*>& list);
    /// Lets session files keep the windows of a list, which are SessionWindows. For the constructor.
    template <typename Window>
    void keepInSessions(QJsonArray SessionDocument::*objects, std::vector<Window*>& list);

    Session& session_;
    SessionHost& host_;
    std::vector<CombinePlotWindow*> combinePlots_;
    std::vector<FilterGroupsMatrixWindow*> matrices_;
    std::vector<ImageGalleryWindow*> galleries_;
    std::vector<StatisticalEvalWindow*> statisticalEvals_;
    std::vector<SessionKind> sessionKinds_;
};

} // namespace Tessaly
