#include "io/PictureFetch.h"

#include "io/PictureSource.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <limits>
#include <numeric>
#include <optional>
#include <vector>

namespace Tessaly {

namespace {

/// Bytes after which the lock is released, so that others get their turn; a second thread pays from the lower number
/// on.
constexpr std::size_t batchBytes = std::size_t{4} << 20;
constexpr std::size_t smallestShared = std::size_t{128} << 10;
/// Unpacked bytes of pictures that are read at once.
constexpr std::size_t largestRun = std::size_t{64} << 20;

/// Places of the list whose events lie in the same chunk.
struct Run {
    std::span<const std::size_t> places;
    RowReader::PackedRows packed;
    std::vector<std::uint8_t> pixels; ///< of each place, if the library had to read them
    std::string failure;
};

/// The stack of pictures while the lock is released now and then.
class OpenStack {
public:
    explicit OpenStack(const std::function<Hdf5Id()>& open) {
        const Hdf5Lock lock;
        if (Hdf5Id dataset = open()) {
            source_.emplace(std::move(dataset));
            constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<int>::max());
            if (source_->width() > largest || source_->height() > largest) {
                throw FileError("the pictures are too large");
            }
        }
    }
    ~OpenStack() {
        const Hdf5Lock lock;
        source_.reset();
    }
    OpenStack(const OpenStack&) = delete;
    OpenStack& operator=(const OpenStack&) = delete;

    bool hasPictures() const { return source_ && source_->pictureBytes() > 0; }
    PictureSource& source() { return *source_; }

private:
    std::optional<PictureSource> source_;
};

/// One list of events on its way out of the file.
class Fetch {
public:
    Fetch(PictureSource& source, std::span<const int> events, const PictureTaker& take)
        : source_(source),
          events_(events),
          take_(take),
          order_(events.size()) {
        std::iota(order_.begin(), order_.end(), std::size_t{0});
        std::erase_if(order_, [&](std::size_t place) {
            return events[place] < 0 || static_cast<std::uint64_t>(events[place]) >= source.rows();
        });
        std::ranges::stable_sort(order_, {}, [&](std::size_t place) { return events[place]; });
    }

    /// Empty when all are fetched.
    std::vector<Run> fetchBatch();
    void handOut(std::vector<Run>& runs) const;

private:
    std::uint64_t rowAt(std::size_t place) const { return static_cast<std::uint64_t>(events_[place]); }
    Run nextRun();
    void fetchRun(Run& run);
    void handOutRun(Run& run, RowReader::Workspace& workspace, std::vector<std::uint8_t>& scratch) const;

    PictureSource& source_;
    std::span<const int> events_;
    const PictureTaker& take_;
    std::vector<std::size_t> order_; ///< places in rising order of their events
    std::size_t next_ = 0;
};

Run Fetch::nextRun() {
    const std::uint64_t rowsPerChunk = source_.rowReader().rowsPerChunk();
    const std::uint64_t chunk = rowAt(order_[next_]) / rowsPerChunk;
    const std::size_t most = std::max<std::size_t>(1, largestRun / source_.pictureBytes());
    const std::size_t begin = next_;
    while (next_ < order_.size() && next_ - begin < most && rowAt(order_[next_]) / rowsPerChunk == chunk) {
        ++next_;
    }
    Run run;
    run.places = std::span(order_).subspan(begin, next_ - begin);
    return run;
}

void Fetch::fetchRun(Run& run) {
    const std::uint64_t first = rowAt(run.places.front());
    try {
        if (!source_.rowReader().fetch(first, rowAt(run.places.back()) - first + 1, run.packed)) {
            std::vector<int> rows(run.places.size());
            std::ranges::transform(run.places, rows.begin(), [&](std::size_t place) { return events_[place]; });
            run.pixels.resize(rows.size() * source_.pictureBytes());
            source_.read(rows, run.pixels.data());
        }
    } catch (const std::exception& error) {
        run.failure = error.what();
    }
}

std::vector<Run> Fetch::fetchBatch() {
    const Hdf5Lock lock;
    std::vector<Run> runs;
    std::size_t bytes = 0;
    while (next_ < order_.size() && bytes < batchBytes) {
        Run& run = runs.emplace_back(nextRun());
        fetchRun(run);
        bytes += run.packed.bytes.size() + run.pixels.size();
    }
    return runs;
}

void Fetch::handOutRun(Run& run, RowReader::Workspace& workspace, std::vector<std::uint8_t>& scratch) const {
    const bool isPacked = run.pixels.empty();
    if (isPacked && run.failure.empty()) {
        try {
            scratch.resize(run.packed.count * source_.pictureBytes());
            source_.rowReader().unpack(run.packed, reinterpret_cast<std::byte*>(scratch.data()), workspace);
        } catch (const std::exception& error) {
            run.failure = error.what();
        }
    }
    if (!run.failure.empty()) {
        return;
    }
    const std::span<const std::uint8_t> pixels(isPacked ? scratch : run.pixels);
    for (std::size_t i = 0; i < run.places.size(); ++i) {
        const std::size_t place = run.places[i];
        const std::size_t picture = isPacked ? rowAt(place) - run.packed.first : i;
        take_(place, {pixels.subspan(picture * source_.pictureBytes(), source_.pictureBytes()),
                      static_cast<int>(source_.width()), static_cast<int>(source_.height())});
    }
}

void Fetch::handOut(std::vector<Run>& runs) const {
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        RowReader::Workspace workspace;
        std::vector<std::uint8_t> scratch;
        for (std::size_t i = next++; i < runs.size(); i = next++) {
            handOutRun(runs[i], workspace, scratch);
        }
    };
    std::future<void> helper;
    if (runs.size() > 1 && runs.size() * source_.pictureBytes() >= smallestShared) {
        helper = std::async(std::launch::async, work);
    }
    work(); // if it throws, the future waits for the helper
    if (helper.valid()) {
        helper.get();
    }
}

} // namespace

void fetchPictures(const std::function<Hdf5Id()>& open, std::span<const int> events, const PictureTaker& take,
                   const std::function<void(int event, const std::string& what)>& failed) {
    if (events.empty()) {
        return;
    }
    std::optional<OpenStack> stack;
    try {
        stack.emplace(open);
    } catch (const std::exception& error) {
        return failed(events.front(), error.what());
    }
    if (!stack->hasPictures()) {
        return;
    }
    Fetch fetch(stack->source(), events, take);
    for (std::vector<Run> runs = fetch.fetchBatch(); !runs.empty(); runs = fetch.fetchBatch()) {
        fetch.handOut(runs);
        for (const Run& run : runs) {
            if (run.failure.empty()) {
                continue;
            }
            for (const std::size_t place : run.places) {
                failed(events[place], run.failure);
            }
        }
    }
}

} // namespace Tessaly
