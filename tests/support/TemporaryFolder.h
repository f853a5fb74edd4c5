#pragma once

#include <filesystem>
#include <string>

namespace Tessaly {

/// A fresh, empty folder that vanishes with this object, contents and all.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// Full path of a file in the folder; creates nothing.
    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

} // namespace Tessaly
