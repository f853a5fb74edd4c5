#pragma once

#include "core/ErrorReport.h"

#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

/// What the io layer shares around the file library. Internal to the layer, but for FileError. The
/// library's own handles are 64-bit integers; they appear here as such, so that its headers stay in the source files.
///
/// The plain C interface is used on purpose: the library's C++ wrapper opens the library from static initialisers and
/// registers a full close at exit, which brings back the crash at exit after a failed write that H5dont_atexit()
/// avoids.
namespace Tessaly {

/// A failed library call or an object that is refused; what() is the detail for the standard error stream.
struct FileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Owns one handle of the library.
class Hdf5Id {
public:
    using Closer = int (*)(std::int64_t);

    Hdf5Id() = default;
    /// Takes over a handle. Throws FileError, naming the call, if it is not a valid one.
    Hdf5Id(std::int64_t id, Closer closer, const char* call);
    ~Hdf5Id() { reset(); }
    Hdf5Id(Hdf5Id&& other) noexcept : id_(std::exchange(other.id_, -1)), closer_(other.closer_) {}
    Hdf5Id& operator=(Hdf5Id&& other) noexcept;

    std::int64_t get() const { return id_; }
    explicit operator bool() const { return id_ >= 0; }
    void reset();
    /// Closes the handle now and tells of a failure, which everything else passes over: what was written may only fail
    /// at this point. Throws FileError, naming the call.
    void close(const char* call);

private:
    std::int64_t id_ = -1;
    Closer closer_ = nullptr;
};

/// Holds hdf5Mutex(), prepares the library and silences it on this thread.
class Hdf5Lock {
public:
    Hdf5Lock();
    /// Forgets the errors that the library keeps for this thread; they would leak with the thread.
    ~Hdf5Lock();
    Hdf5Lock(const Hdf5Lock&) = delete;
    Hdf5Lock& operator=(const Hdf5Lock&) = delete;

private:
    std::lock_guard<std::recursive_mutex> lock_;
};

/// Throws FileError with the library's own words if a call failed.
void requireSuccess(std::int64_t status, const char* call);

/// Empty if the library loaded at run time is the version that the program was built with, else what is wrong.
std::string hdf5VersionProblem();

/// "a" times "b" without wrapping: too large a product becomes the largest number.
std::uint64_t saturatedProduct(std::uint64_t a, std::uint64_t b);

} // namespace Tessaly
