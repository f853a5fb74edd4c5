#pragma once

#include <string>

namespace Tessaly {

/// A file on its way: it is written under a temporary name beside its target and gets the target's name when it is
/// complete, so that whatever happens in between, the target is as it was or complete.
///
/// For libraries that write to a path by themselves. What never gets its name stays under the temporary one, unless it
/// is discarded.
class PendingFile {
public:
    /// Makes an empty file beside the target, named after it. Throws FileError if that fails.
    /// @param ending  last part of the temporary name, for libraries that go by it
    explicit PendingFile(std::string target, const std::string& ending = ".part");

    const std::string& target() const { return target_; }
    const std::string& temporaryPath() const { return temporaryPath_; }

    /// Brings what was written to the disk and gives it the target's name. Throws FileError if a step fails.
    void commit();
    /// Removes the temporary file.
    void discard() const;

private:
    std::string target_;
    std::string temporaryPath_;
};

} // namespace Tessaly
