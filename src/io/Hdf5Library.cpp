#include "io/Hdf5Library.h"

#include "io/BackgroundThread.h"
#include "io/VQDReader.h"

#include <hdf5.h>
#ifdef __linux__
#include <sys/resource.h>
#endif

#include <atomic>
#include <chrono>
#include <limits>
#include <thread>
#include <type_traits>

namespace Tessaly {

static_assert(std::is_same_v<hid_t, std::int64_t> && std::is_same_v<herr_t, int>);

namespace {

/// The innermost message tells most, e.g. "unable to open file: ... No such file or directory".
herr_t keepInnermost(unsigned, const H5E_error2_t* error, void* target) {
    if (error->desc != nullptr) {
        *static_cast<const char**>(target) = error->desc;
    }
    return 1;
}

std::string libraryDetail(const char* call) {
    const char* innermost = nullptr;
    // Upwards starts at the innermost entry; the callback stops there.
    H5Ewalk2(H5E_DEFAULT, H5E_WALK_UPWARD, keepInnermost, &innermost);
    const bool known = innermost != nullptr && *innermost != '\0';
    return std::string(call) + ": " + (known ? innermost : "the call failed");
}

thread_local bool isBackground = false;
thread_local int locksHeld = 0;     ///< by this thread
std::atomic<int> othersWaiting = 0; ///< threads that aren't in the background and wait for the mutex

/// A mutex that is taken again at once never reaches those who wait: a background thread leaves it to them first. Not
/// for ever, as they may wait for somebody who waits for this thread.
void giveWay() {
    using std::chrono::steady_clock;
    constexpr std::chrono::milliseconds longest(20);
    constexpr std::chrono::microseconds pause(50);
    const auto end = steady_clock::now() + longest;
    while (othersWaiting > 0 && steady_clock::now() < end) {
        std::this_thread::sleep_for(pause);
    }
}

std::recursive_mutex& lockInTurn() {
    std::recursive_mutex& mutex = hdf5Mutex();
    if (isBackground) {
        if (locksHeld == 0) {
            giveWay();
        }
        mutex.lock();
    } else if (!mutex.try_lock()) {
        ++othersWaiting;
        mutex.lock();
        --othersWaiting;
    }
    ++locksHeld;
    return mutex;
}

} // namespace

std::recursive_mutex& hdf5Mutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

void initializeHdf5() {
    static std::once_flag once;
    std::call_once(once, [] { H5dont_atexit(); });
    // A thread-safe build of the library keeps this setting for every thread on its own.
    thread_local bool silenced = false;
    if (!silenced && H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr) >= 0) {
        silenced = true;
    }
}

void markBackgroundThread() {
    isBackground = true;
#ifdef __linux__
    constexpr int niceness = 5;
    setpriority(PRIO_PROCESS, 0, niceness); // of this thread alone
#endif
}

Hdf5Lock::Hdf5Lock() : lock_(lockInTurn(), std::adopt_lock) {
    initializeHdf5();
}

Hdf5Lock::~Hdf5Lock() {
    --locksHeld;
    H5Eclear2(H5E_DEFAULT);
}

Hdf5Id::Hdf5Id(std::int64_t id, Closer closer, const char* call) : id_(id), closer_(closer) {
    requireSuccess(id, call);
}

Hdf5Id& Hdf5Id::operator=(Hdf5Id&& other) noexcept {
    if (this != &other) {
        reset();
        id_ = std::exchange(other.id_, -1);
        closer_ = other.closer_;
    }
    return *this;
}

void Hdf5Id::reset() {
    if (id_ >= 0) {
        closer_(id_);
    }
    id_ = -1;
}

void Hdf5Id::close(const char* call) {
    if (id_ >= 0) {
        requireSuccess(closer_(std::exchange(id_, -1)), call);
    }
}

void requireSuccess(std::int64_t status, const char* call) {
    if (status < 0) {
        throw FileError(libraryDetail(call));
    }
}

std::string hdf5VersionProblem() {
    unsigned major = 0;
    unsigned minor = 0;
    unsigned release = 0;
    if (H5get_libversion(&major, &minor, &release) < 0) {
        return "the version of the HDF5 library can't be told";
    }
    if (major == H5_VERS_MAJOR && minor == H5_VERS_MINOR && release == H5_VERS_RELEASE) {
        return {};
    }
    const auto text = [](unsigned a, unsigned b, unsigned c) {
        return std::to_string(a) + "." + std::to_string(b) + "." + std::to_string(c);
    };
    return "HDF5 library " + text(major, minor, release) + " was loaded, but the program was built with " +
           text(H5_VERS_MAJOR, H5_VERS_MINOR, H5_VERS_RELEASE);
}

std::uint64_t saturatedProduct(std::uint64_t a, std::uint64_t b) {
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    return b != 0 && a > largest / b ? largest : a * b;
}

} // namespace Tessaly
