#include "io/EventSeries.h"

#include "io/EventReading.h"
#include "io/RowReader.h"
#include "io/StorageCheck.h"
#include "io/VQDReader.h"

#include <algorithm>
#include <optional>
#include <span>

namespace Tessaly {

namespace {

/// Unpacked bytes of a piece: enough to take the lock seldom, and little enough to give it back soon. A chunk that is
/// larger is unpacked in one go up to the upper bound.
constexpr std::size_t pieceBytes = std::size_t{512} << 10;
constexpr std::size_t largestPiece = std::size_t{64} << 20;

} // namespace

/// The rows of one dataset, and the piece of them that was read last.
struct EventSeries::Stack {
    /// The caller holds hdf5Mutex(), also when it goes. Throws FileError.
    Stack(Hdf5Id opened, bool pictures)
        : dataset(std::move(opened)),
          layout(pictures ? pictureLayout(dataset.get()) : traceLayout(dataset.get())),
          rows(dataset.get(), layout.memoryType) {
        requirePlausible(dataset.get(), saturatedProduct(layout.height, layout.width), layout.elementSize);
        const std::uint64_t perChunk = std::max<std::uint64_t>(1, rows.rowsPerChunk());
        const std::size_t rowBytes = std::max<std::size_t>(1, layout.rowBytes());
        const std::uint64_t wanted = std::max(perChunk, pieceBytes / rowBytes / perChunk * perChunk);
        rowsPerPiece = std::clamp<std::uint64_t>(wanted, 1, std::max<std::size_t>(1, largestPiece / rowBytes));
    }

    bool has(std::size_t index) const { return index < layout.rows && layout.rowBytes() > 0; }
    /// One row that it has. Nothing if its piece can't be read. Takes the lock.
    std::optional<std::span<const std::byte>> row(std::size_t index);
    void readPiece();

    Hdf5Id dataset;
    EventLayout layout;
    RowReader rows;
    RowReader::Workspace workspace;
    RowReader::PackedRows packed;
    std::uint64_t rowsPerPiece = 1;
    std::uint64_t first = 0;
    std::uint64_t count = 0; ///< of the piece; 0 before the first one
    std::vector<std::byte> bytes;
    bool readable = false; ///< whether the piece could be read
};

std::optional<std::span<const std::byte>> EventSeries::Stack::row(std::size_t index) {
    if (index < first || index - first >= count) {
        first = index / rowsPerPiece * rowsPerPiece;
        count = std::min(rowsPerPiece, layout.rows - first);
        try {
            readPiece();
            readable = true;
        } catch (const std::exception&) {
            readable = false; // whoever asks learns it of each row by itself
        }
    }
    if (!readable) {
        return std::nullopt;
    }
    return std::span(bytes).subspan((index - first) * layout.rowBytes(), layout.rowBytes());
}

void EventSeries::Stack::readPiece() {
    bytes.resize(count * layout.rowBytes());
    {
        const Hdf5Lock lock;
        if (!rows.fetch(first, count, packed)) {
            rows.read(first, count, bytes.data());
            return;
        }
    }
    rows.unpack(packed, bytes.data(), workspace);
}

EventSeries::EventSeries(VQDReader& reader) : reader_(reader) {}

EventSeries::~EventSeries() {
    const Hdf5Lock lock;
    stack_.reset();
}

EventSeries::Stack* EventSeries::stackOf(const std::string& name, bool pictures) {
    if (name != name_) {
        const Hdf5Lock lock;
        name_ = name;
        stack_.reset();
        try {
            stack_ = std::make_unique<Stack>(reader_.openStored(name), pictures);
        } catch (const std::exception&) {
            // Reading by event tells what is wrong.
        }
    }
    return stack_.get();
}

std::vector<std::uint8_t> EventSeries::getMask(std::size_t index, int* width, int* height, std::string* problem) {
    Stack* const stack = stackOf("mask", true);
    const auto row = stack && stack->has(index) ? stack->row(index) : std::nullopt;
    if (!row) {
        return reader_.getMask(index, width, height, problem);
    }
    *width = static_cast<int>(stack->layout.width);
    *height = static_cast<int>(stack->layout.height);
    std::vector<std::uint8_t> pixels(row->size());
    std::ranges::transform(*row, pixels.begin(), [](std::byte value) { return std::to_integer<std::uint8_t>(value); });
    return pixels;
}

std::vector<float> EventSeries::getTrace(const std::string& name, std::size_t index, std::string* problem) {
    Stack* const stack = stackOf("trace/" + name, false);
    const auto row = stack && stack->has(index) ? stack->row(index) : std::nullopt;
    return row ? samplesOf(stack->layout, *row) : reader_.getTrace(name, index, problem);
}

} // namespace Tessaly
