// tessaly_batch: the plan of one measurement for any number of them, without a window.

#include "batch/Commands.h"
#include "io/VQDReader.h"

#include <QCoreApplication>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>

namespace {

/// Clusters start programs in the plainest of locales; names of files are UTF-8 all the same.
void preferUtf8() {
    if (std::setlocale(LC_CTYPE, "") == nullptr || std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        setenv("LC_ALL", "C.UTF-8", 1);
    }
}

} // namespace

int main(int argc, char** argv) {
    preferUtf8();
    // One process works on one file on one core; whoever starts the processes spreads them.
    setenv("OPENBLAS_NUM_THREADS", "1", 0);
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tessaly_batch"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TESSALY_VERSION));
    Tessaly::initializeHdf5();
    return Tessaly::batchMain(QCoreApplication::arguments());
}
