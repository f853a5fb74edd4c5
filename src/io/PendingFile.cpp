#include "io/PendingFile.h"

#include "io/Hdf5Library.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Tessaly {

namespace {

/// Names longer than this are refused by most file systems.
constexpr std::size_t longestName = 255;

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw FileError(what + " '" + path + "': " + std::generic_category().message(errno));
}

/// Brings a file or folder to the disk.
void synchronise(const std::string& path, bool mustSucceed) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool synchronised = file >= 0 && ::fsync(file) == 0;
    const int reason = errno;
    if (file >= 0) {
        ::close(file);
    }
    if (!synchronised && mustSucceed) {
        errno = reason;
        fail("can't bring to the disk", path);
    }
}

} // namespace

PendingFile::PendingFile(std::string target, const std::string& ending) : target_(std::move(target)) {
    const std::filesystem::path path(target_);
    std::string name = path.filename().string();
    const std::string unique = ".XXXXXX" + ending;
    name.resize(std::min(name.size(), longestName - unique.size()));
    temporaryPath_ = (path.parent_path() / (name + unique)).string();
    const int file = ::mkostemps(temporaryPath_.data(), static_cast<int>(ending.size()), O_CLOEXEC);
    if (file < 0) {
        fail("can't create", temporaryPath_);
    }
    // As any new file would have them; temporary ones are for their owner alone.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(file, 0666 & ~mask);
    ::close(file);
}

void PendingFile::commit() {
    synchronise(temporaryPath_, true);
    std::error_code error;
    std::filesystem::rename(temporaryPath_, target_, error);
    if (error) {
        throw FileError("can't give '" + temporaryPath_ + "' its name: " + error.message());
    }
    // The name too; not every file system can.
    const std::string folder = std::filesystem::path(target_).parent_path().string();
    synchronise(folder.empty() ? "." : folder, false);
}

void PendingFile::discard() const {
    std::error_code ignored;
    std::filesystem::remove(temporaryPath_, ignored);
}

} // namespace Tessaly
