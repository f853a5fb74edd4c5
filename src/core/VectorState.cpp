#include "core/VectorState.h"

namespace Tessaly {

#if defined(__x86_64__) && defined(__GNUC__)

namespace {

__attribute__((target("avx"))) void zeroUpper() {
    __builtin_ia32_vzeroupper();
}

} // namespace

void clearUpperVectorState() {
    if (__builtin_cpu_supports("avx")) {
        zeroUpper();
    }
}

#else

void clearUpperVectorState() {}

#endif

} // namespace Tessaly
