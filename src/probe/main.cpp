// tessaly_probe FILE: looks into a measurement file before the program opens it, so that a file that takes the file
// library down ends this process and not the program. No toolkit, no windows: it has to start in a few milliseconds.
//
// Exit codes: 0 the file can be opened, 1 it is refused, 2 wrong usage. Any end by a signal means that it is damaged.

#include "io/FileProbe.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#ifdef __SANITIZE_ADDRESS__
/// What the sanitizer finds is a crash here, not a refused file.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "abort_on_error=1";
}
#endif

namespace {

/// A sound file takes a hundredth of this; a loop without end is stopped by it, however slow the disk is.
constexpr rlim_t mostSeconds = 5;

void limit(__rlimit_resource_t resource, rlim_t most) {
    const rlimit both{most, most};
    setrlimit(resource, &both);
}

void prepareForTheWorst() {
    prctl(PR_SET_DUMPABLE, 0); // no core file, no report: an end by a signal is what this process is for
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_CPU, mostSeconds);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    limit(RLIMIT_AS, rlim_t{2} << 30);
#endif
    // Use of memory that was never filled or was given back shows here rather than in the program.
    mallopt(M_PERTURB, 165);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: tessaly_probe FILE\n", stderr);
        return 2;
    }
    prepareForTheWorst();
    constexpr std::chrono::milliseconds budget{5};
    // Nothing is left to be tidied up.
    std::_Exit(Tessaly::probeFile(argv[1], budget) ? 0 : 1);
}
