#pragma once

#include <QStringList>

#include <cstdint>
#include <functional>

namespace Tessaly {

/// What is known of a measurement file before anything is done with it.
struct ListedFile {
    enum class State {
        Readable,
        Foreign,   ///< it opens, but doesn't come from the instrument
        Unreadable ///< it can't be opened, or looking into it ends the process that does
    };
    State state = State::Unreadable;
    std::uint64_t events = 0;
    std::uint64_t size = 0; ///< bytes

    bool operator==(const ListedFile&) const = default;
};

/// The measurement files among files and folders, in path order: those that a run would take.
QStringList measurementFilesIn(const QStringList& filesAndFolders);

/// Looks into files one after the other, in a process of their own, which a damaged one may take down. A few
/// milliseconds a file. To be called while this process has one thread.
/// @param take  called in this process, in order, as soon as a file is known
void lookIntoFiles(const QStringList& files, const std::function<void(const QString&, const ListedFile&)>& take);

} // namespace Tessaly
