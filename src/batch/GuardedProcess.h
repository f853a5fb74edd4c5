#pragma once

#include <chrono>
#include <functional>
#include <optional>

namespace Tessaly {

/// How a piece of work in a process of its own ended.
struct GuardedEnd {
    std::optional<int> exitCode; ///< nothing if it didn't come to its end
    int signal = 0;              ///< that ended it
    bool timedOut = false;
    bool notStarted = false; ///< the machine has no room for another process
};

/// Does work in a copy of this process, which a damaged file may take down or hold for ever. The copy dies with this
/// process, however that ends. To be called while this process has one thread. Costs about a millisecond.
/// @param work  its result is the exit code, 0 to 255; what it changes in memory stays in the copy
GuardedEnd runGuarded(const std::function<int()>& work, std::chrono::seconds timeLimit);

} // namespace Tessaly
