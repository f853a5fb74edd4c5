#pragma once

#include <QStringList>

namespace Tessaly {

class Session;

/// The colour map that the user has chosen for all plots; kept in the settings from run to run.
class ColorMapSetting {
public:
    /// Reads the settings and tells the session's notices the colour map, so those who show it listen by now. An index
    /// that isn't in the list counts as the first.
    explicit ColorMapSetting(Session& session);

    /// All colour maps in the order of their indices.
    static QStringList names();

    int index() const { return index_; }
    /// Takes a colour map, stores it and tells SessionNotices::colorMapChanged().
    void choose(int index);
    /// Takes the colour map of a session without storing it. An index that isn't in the list counts as the first.
    void show(int index);

private:
    Session& session_;
    int index_ = 0;
};

} // namespace Tessaly
