#include "batch/FileListing.h"

#include "batch/GuardedProcess.h"
#include "batch/ResultRow.h"
#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/DatasetOpening.h"

#include <QUrl>

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <sys/mman.h>

namespace Tessaly {

namespace {

constexpr std::chrono::seconds timeLimit{600}; // for a round of files
constexpr qsizetype filesAtOnce = 64;

/// What both processes see of a round of files.
struct Shared {
    qsizetype known = 0;
    std::array<ListedFile, filesAtOnce> files;
};

ListedFile lookInto(const QString& path) {
    DatasetEntry entry;
    ListedFile file;
    const std::optional<InputStamp> stamp = stampOf(path.toStdString());
    file.size = stamp ? stamp->size : 0;
    switch (openMeasurementUnprobed(path, entry)) {
    case OpenOutcome::Opened:
        file.state = ListedFile::State::Readable;
        file.events = entry.reader->eventCount();
        break;
    case OpenOutcome::Unsupported:
        file.state = ListedFile::State::Foreign;
        break;
    case OpenOutcome::Unreadable:
        break;
    }
    return file;
}

} // namespace

QStringList measurementFilesIn(const QStringList& filesAndFolders) {
    QList<QUrl> urls;
    for (const QString& path : filesAndFolders) {
        urls.append(QUrl::fromLocalFile(path));
    }
    return collectMeasurementFiles(urls);
}

void lookIntoFiles(const QStringList& files, const std::function<void(const QString&, const ListedFile&)>& take) {
    void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    for (qsizetype begin = 0; begin < files.size();) {
        auto* shared = new (memory) Shared;
        const qsizetype count = std::min(filesAtOnce, files.size() - begin);
        const GuardedEnd end = runGuarded(
            [&] {
                for (; shared->known < count; ++shared->known) {
                    shared->files.at(static_cast<std::size_t>(shared->known)) = lookInto(files[begin + shared->known]);
                }
                return 0;
            },
            timeLimit);
        // The file at which the process ended is a damaged one.
        const qsizetype told = end.exitCode ? shared->known : std::min(shared->known + 1, count);
        for (qsizetype i = 0; i < std::max<qsizetype>(told, 1); ++i) {
            take(files[begin + i], shared->files.at(static_cast<std::size_t>(i)));
        }
        begin += std::max<qsizetype>(told, 1);
    }
    munmap(memory, sizeof(Shared));
}

} // namespace Tessaly
