#pragma once

#include "calc/ComputedColumns.h"

#include <cstddef>
#include <functional>
#include <stop_token>
#include <string>

namespace Tessaly {

/// How a calculation learns that it is no longer wanted, and tells how far it is. The callback runs on the thread that
/// calculates.
struct StepControl {
    std::stop_token stop;
    std::function<void(int percent)> progress; ///< may be empty

    bool isStopped() const { return stop.stop_requested(); }
    void report(std::size_t percent) const {
        if (progress) {
            progress(static_cast<int>(percent));
        }
    }
};

/// What a calculation made of one dataset. It changes no reader: who runs it puts the columns into one.
struct StepResult {
    ComputedColumns columns; ///< those that were finished, also if the whole wasn't
    bool done = false;       ///< false if inputs are missing or the step was stopped
    /// Masks or traces that couldn't be read or made sense of. Each cost its own event only.
    std::size_t unreadable = 0;
    std::string firstProblem; ///< of the unreadable ones, empty if unknown
};

/// Writes the one line on the standard error stream that tells of unreadable events; nothing if there were none.
/// @param engine  "FourierDeform"
/// @param what    in the plural, "masks"
void reportUnreadable(const std::string& engine, const std::string& what, const StepResult& result,
                      const std::string& path);

} // namespace Tessaly
