// tessaly_batch: the plan of one measurement for any number of them, without a window.

#include "batch/Commands.h"
#include "io/VQDReader.h"

#include <QCoreApplication>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <memory>
#ifdef __GLIBC__
#include <malloc.h>
#include <sys/mman.h>
#endif

namespace {

/// Clusters start programs in the plainest of locales; names of files are UTF-8 all the same.
void preferUtf8() {
    if (std::setlocale(LC_CTYPE, "") == nullptr || std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        setenv("LC_ALL", "C.UTF-8", 1);
    }
}

/// Columns are large and short-lived, and each process for a file meets its memory for the first time, page by page: a
/// sixth of its time. So freed memory is kept for the next column, and the first megabytes come in large pages.
void keepMemoryInLargePages() {
#ifdef __GLIBC__
    constexpr int most = 1 << 30;
    constexpr std::size_t first = std::size_t{32} << 20;
    constexpr std::size_t page = std::size_t{2} << 20;
    mallopt(M_MMAP_THRESHOLD, most);
    mallopt(M_TRIM_THRESHOLD, most);
    void* memory = std::malloc(first); // not written to: it takes no room yet
    void* begin = memory;
    std::size_t left = first;
    if (memory != nullptr && std::align(page, page, begin, left) != nullptr) {
        madvise(begin, left / page * page, MADV_HUGEPAGE);
    }
    std::free(memory);
#endif
}

} // namespace

int main(int argc, char** argv) {
    preferUtf8();
    keepMemoryInLargePages();
    // One process works on one file on one core; whoever starts the processes spreads them.
    setenv("OPENBLAS_NUM_THREADS", "1", 0);
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tessaly_batch"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TESSALY_VERSION));
    Tessaly::initializeHdf5();
    return Tessaly::batchMain(QCoreApplication::arguments());
}
