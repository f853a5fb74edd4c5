#pragma once

#include <QString>

#include <chrono>

namespace Tessaly {

/// How a helper program looks into a file.
struct FileProbing {
    /// Path of the helper program; empty for the one beside this program.
    QString program;
    /// The helper ends loops without end by itself, after five seconds of computing. This is for what doesn't compute:
    /// a disk that has to start up takes ten seconds, a network share may never answer.
    std::chrono::milliseconds timeLimit{30'000};
};

/// Whether a file may be opened in this process: a damaged one can crash the file library or never come back from it.
/// So a helper process does first what the reader will do. False if that process crashes or exceeds its time, with one
/// line in the log. True without more if it says that the file is refused, since the reader will refuse it in its own
/// words, and if the helper can't be run, with one line in the log.
///
/// Costs about 10 ms, up to 30 for large files; blocks until the helper has ended. Any thread.
bool mayBeOpened(const QString& path, const FileProbing& probing = {});

} // namespace Tessaly
