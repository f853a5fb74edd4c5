#pragma once

#include <csignal>
#include <cstddef>
#include <sys/resource.h>

namespace Tessaly {

/// While it lives, no file of this process grows beyond a size: a disk that is full, as far as writing goes.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before_{};
};

} // namespace Tessaly
