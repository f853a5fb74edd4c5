// Opens randomly damaged files the way the program does and counts the ends that the opening process takes.
//
// usage: fuzz_files [--files N] [--first I] [--seed S] [--without-probe] [--keep FOLDER]
//   --keep  keeps the files that crash or hang in that folder
// Exit code 0 if every file came back. File number I of a seed is always the same,
// but for the times that the file library writes into its objects.

#include "core/DatasetEntry.h"
#include "fuzz/SeedFiles.h"
#include "io/VQDReader.h"
#include "session/DatasetOpening.h"
#include "support/TemporaryFolder.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <poll.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace Tessaly;

namespace {

struct Plan {
    unsigned seed = 1;
    std::size_t first = 0;
    std::size_t files = 10'000;
    FileProbing probing;
    std::string keepFolder;
};

/// A number of at most eight bytes that is likely to be taken for a size or an address.
void putNumber(Bytes& bytes, std::size_t at, std::mt19937_64& random) {
    const std::array<std::uint64_t, 8> numbers{
        0, 1, random() % 256, random() % 65536, ~std::uint64_t{0}, 1ULL << 31, 1ULL << 62, bytes.size()};
    const std::uint64_t number = numbers[random() % numbers.size()];
    std::memcpy(bytes.data() + at, &number, std::min<std::size_t>(std::size_t{1} << random() % 4, bytes.size() - at));
}

Bytes damaged(Bytes bytes, std::mt19937_64& random) {
    const auto place = [&] { return static_cast<std::size_t>(random() % bytes.size()); };
    const auto blockAt = [&](std::size_t at) { return std::min<std::size_t>(1 + random() % 512, bytes.size() - at); };
    switch (random() % 8) {
    case 0: {
        const std::size_t at = place();
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), blockAt(at), '\0');
        return bytes;
    }
    case 1: { // a block from elsewhere, as a lost write leaves it
        const std::size_t at = place();
        const std::size_t from = place();
        const std::size_t length = std::min(blockAt(at), blockAt(from));
        std::memmove(bytes.data() + at, bytes.data() + from, length);
        return bytes;
    }
    case 2: { // cut off, and filled up again with zeros half of the time, so that the length fits
        const std::size_t whole = bytes.size();
        bytes.resize(place());
        bytes.resize(random() % 2 == 0 ? whole : std::max<std::size_t>(bytes.size(), 1));
        return bytes;
    }
    case 3:
        for (std::size_t changes = 1 + random() % 3; changes > 0; --changes) {
            putNumber(bytes, place(), random);
        }
        return bytes;
    default:
        for (std::size_t changes = std::size_t{1} << random() % 6; changes > 0; --changes) {
            bytes[place()] = static_cast<char>(random());
        }
        return bytes;
    }
}

/// Everything that the program asks of a file, up to every single event.
char openAndReadAll(const std::string& path, const FileProbing& probing) {
    DatasetEntry entry;
    switch (openMeasurement(QString::fromStdString(path), entry, probing)) {
    case OpenOutcome::Unreadable:
        return 'r';
    case OpenOutcome::Unsupported:
        return 'u';
    case OpenOutcome::Opened:
        break;
    }
    entry.reader->cacheAllFeatures();
    int width = 0;
    int height = 0;
    for (std::size_t event = 0; event < std::min<std::size_t>(entry.reader->eventCount(), 100); ++event) {
        entry.reader->getImage(event, &width, &height);
        entry.reader->getMask(event, &width, &height);
        for (const std::string& name : entry.reader->traceNames()) {
            entry.reader->getTrace(name, event);
        }
    }
    return 'o';
}

std::string pathOf(const TemporaryFolder& folder, std::size_t number) {
    return folder.file(std::to_string(number) + ".vqd");
}

/// The process that opens: it tells each outcome by one letter.
[[noreturn]] void work(const Plan& plan, const std::vector<SeedFile>& seeds, const TemporaryFolder& folder,
                       std::size_t begin, int result) {
    int argc = 1;
    std::string name = "fuzz_files";
    char* argv[] = {name.data(), nullptr};
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    freopen("/dev/null", "w", stderr);
    for (std::size_t number = begin; number < plan.first + plan.files; ++number) {
        std::mt19937_64 random(plan.seed * 1'000'003ULL + number);
        const Bytes bytes = damaged(seeds[number % seeds.size()].bytes, random);
        const std::string path = pathOf(folder, number);
        std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        const char outcome = openAndReadAll(path, plan.probing);
        std::filesystem::remove(path);
        if (write(result, &outcome, 1) != 1) {
            break;
        }
    }
    _exit(0);
}

/// Reads outcomes until the process ends, or for longer than a file may take. Returns how many came.
std::size_t collect(int results, pid_t worker, std::map<char, std::size_t>& outcomes, bool& hung) {
    constexpr int longestMilliseconds = 60'000;
    std::size_t count = 0;
    pollfd waiting{results, POLLIN, 0};
    char outcome = 0;
    while (true) {
        if (poll(&waiting, 1, longestMilliseconds) == 0) {
            kill(worker, SIGKILL);
            hung = true;
            return count;
        }
        if (read(results, &outcome, 1) != 1) {
            return count;
        }
        ++outcomes[outcome];
        ++count;
    }
}

int run(const Plan& plan) {
    const TemporaryFolder folder;
    const std::vector<SeedFile> seeds = makeSeedFiles(folder.path().string());
    std::map<char, std::size_t> outcomes;
    std::size_t number = plan.first;
    const std::size_t end = plan.first + plan.files;
    while (number < end) {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            return 2;
        }
        const pid_t worker = fork();
        if (worker == 0) {
            close(ends[0]);
            work(plan, seeds, folder, number, ends[1]);
        }
        close(ends[1]);
        bool hung = false;
        number += collect(ends[0], worker, outcomes, hung);
        close(ends[0]);
        waitpid(worker, nullptr, 0);
        if (number < end) {
            ++outcomes[hung ? 'H' : 'C'];
            std::printf("%s: file %zu (%s)\n", hung ? "hang" : "crash", number,
                        seeds[number % seeds.size()].title.c_str());
            std::fflush(stdout);
            std::error_code unknown;
            if (!plan.keepFolder.empty()) {
                std::filesystem::copy_file(pathOf(folder, number),
                                           plan.keepFolder + "/" + std::to_string(number) + ".vqd",
                                           std::filesystem::copy_options::overwrite_existing, unknown);
            }
            ++number;
        }
    }
    std::printf("%zu files: %zu opened, %zu foreign, %zu refused, %zu crashes, %zu hangs\n", plan.files, outcomes['o'],
                outcomes['u'], outcomes['r'], outcomes['C'], outcomes['H']);
    return outcomes['C'] + outcomes['H'] == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    Plan plan;
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    QCommandLineParser parser;
    parser.addOptions({{"files", "", "n", "10000"},
                       {"first", "", "i", "0"},
                       {"seed", "", "s", "1"},
                       {"without-probe", ""},
                       {"keep", "", "folder"}});
    parser.process(arguments);
    plan.files = parser.value("files").toULongLong();
    plan.first = parser.value("first").toULongLong();
    plan.seed = parser.value("seed").toUInt();
    plan.keepFolder = parser.value("keep").toStdString();
    if (parser.isSet("without-probe")) {
        plan.probing.program = QStringLiteral("no helper");
    }
    return run(plan);
}
