#pragma once

#include <QJsonObject>

#include <map>

namespace Tessaly {

/// Names of datasets in other terms: ids by session index, or session indices by id. A dataset's session index is its
/// position in the list of a session file.
using DatasetNumbers = std::map<int, int>;

/// The other name of a dataset, -1 if there is none.
inline int otherNumber(const DatasetNumbers& numbers, int number) {
    const auto found = numbers.find(number);
    return found == numbers.end() ? -1 : found->second;
}

/// A tool window that session files keep: it gives an object and takes it back, and nobody else looks inside. User
/// interface thread only.
class SessionWindow {
public:
    virtual ~SessionWindow() = default;

    /// All that is to come back with the session. Datasets are named by their session indices, never by ids.
    /// @param idToIndex  session index of every dataset that the file names
    virtual QJsonObject sessionState(const DatasetNumbers& idToIndex) const = 0;

    /// Takes over an object that was read from a file, so of any shape: what is missing or of another type reads as its
    /// default, and a dataset that isn't in the map is left out. Called once on a new window, before it is shown; all
    /// datasets are loaded by then.
    /// @param indexToId  id of every dataset that has come back
    virtual void restoreSessionState(const QJsonObject& state, const DatasetNumbers& indexToId) = 0;
};

} // namespace Tessaly
