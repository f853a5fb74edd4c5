#include "io/RowReader.h"

#include "io/DatasetAccess.h"
#include "io/StorageCheck.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <future>
#include <libdeflate.h>
#include <span>
#include <type_traits>

namespace Tessaly {

namespace {

/// More chunks than this aren't worth the time for one reading; a million events with a chunk for each pass.
constexpr std::uint64_t mostChunks = 1ULL << 20;
constexpr std::uint64_t mostChunksAtOnce = 1ULL << 16;

/// Chunks are fetched in batches of about so many stored bytes; two threads are worth it from the lower number on.
constexpr std::size_t batchBytes = std::size_t{1} << 20;
constexpr std::size_t smallestSharedBatch = std::size_t{128} << 10;

/// Shuffling stores the first bytes of all elements, then the second bytes, and so on.
void unshuffle(std::span<const std::byte> planes, std::size_t elementSize, std::byte* target) {
    const auto restore = [&planes, target](auto size) {
        const std::size_t elements = planes.size() / size;
        for (std::size_t i = 0; i < elements; ++i) {
            for (std::size_t byte = 0; byte < size; ++byte) {
                target[i * size + byte] = planes[byte * elements + i];
            }
        }
    };
    // A size that the compiler knows makes it some times as fast.
    switch (elementSize) {
    case 2:
        return restore(std::integral_constant<std::size_t, 2>());
    case 4:
        return restore(std::integral_constant<std::size_t, 4>());
    case 8:
        return restore(std::integral_constant<std::size_t, 8>());
    default:
        return restore(elementSize);
    }
}

constexpr std::size_t checksumLength = 4;

/// Fletcher's sum of 16-bit words, the first byte of each the higher one; an odd byte at the end is a higher one.
/// Method: J. G. Fletcher, An arithmetic checksum for serial transmissions, IEEE Trans. Commun. 30 (1982).
std::uint32_t fletcherSum(std::span<const std::byte> bytes) {
    constexpr std::uint64_t modulus = 65535;
    constexpr std::size_t wordsBeforeOverflow = std::size_t{1} << 20;
    std::uint64_t sum = 0;
    std::uint64_t sumOfSums = 0;
    const std::size_t words = (bytes.size() + 1) / 2;
    for (std::size_t begin = 0; begin < words; begin += wordsBeforeOverflow) {
        const std::size_t end = std::min(words, begin + wordsBeforeOverflow);
        for (std::size_t i = begin; i < end; ++i) {
            const auto low = 2 * i + 1 < bytes.size() ? std::to_integer<std::uint64_t>(bytes[2 * i + 1]) : 0;
            sum += std::to_integer<std::uint64_t>(bytes[2 * i]) << 8 | low;
            sumOfSums += sum;
        }
        sum %= modulus;
        sumOfSums %= modulus;
    }
    return static_cast<std::uint32_t>(sumOfSums << 16 | sum);
}

/// Whether two sums agree; either half may be stored as 0 or as 65535, which are the same.
bool sameSum(std::uint32_t a, std::uint32_t b) {
    return (a >> 16) % 65535 == (b >> 16) % 65535 && (a & 65535) % 65535 == (b & 65535) % 65535;
}

/// A stored chunk without the checksum at its end. Old writers on machines of this byte order swapped the bytes of
/// each half, which counts as right too.
std::span<const std::byte> withoutChecksum(std::span<const std::byte> stored) {
    if (stored.size() < checksumLength) {
        throw FileError("a chunk is too short for its checksum");
    }
    std::uint32_t kept = 0;
    std::memcpy(&kept, stored.data() + stored.size() - checksumLength, checksumLength);
    if constexpr (std::endian::native == std::endian::big) {
        kept = kept << 24 | (kept & 0xff00) << 8 | (kept >> 8 & 0xff00) | kept >> 24;
    }
    const std::span<const std::byte> packed = stored.first(stored.size() - checksumLength);
    const std::uint32_t sum = fletcherSum(packed);
    const std::uint32_t swapped = (kept & 0x00ff00ff) << 8 | (kept >> 8 & 0x00ff00ff);
    if (!sameSum(sum, kept) && !sameSum(sum, swapped)) {
        throw FileError("the checksum of a chunk is wrong");
    }
    return packed;
}

} // namespace

RowReader::Workspace::Workspace() : decompressor_(libdeflate_alloc_decompressor()) {}

RowReader::Workspace::~Workspace() {
    libdeflate_free_decompressor(decompressor_);
}

void RowReader::Workspace::inflate(std::span<const std::byte> packed, std::span<std::byte> target) const {
    std::size_t length = 0;
    if (decompressor_ == nullptr ||
        libdeflate_zlib_decompress(decompressor_, packed.data(), packed.size(), target.data(), target.size(),
                                   &length) != LIBDEFLATE_SUCCESS ||
        length != target.size()) {
        throw FileError("a chunk can't be unpacked to its declared length");
    }
}

RowReader::RowReader(std::int64_t dataset, std::int64_t memoryType)
    : dataset_(dataset),
      memoryType_(memoryType),
      fileType_(H5Dget_type(dataset), H5Tclose, "H5Dget_type"),
      elementSize_(H5Tget_size(fileType_.get())),
      memorySize_(H5Tget_size(memoryType)) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    extent_.assign(extent.begin(), extent.end());
    const Hdf5Id properties(H5Dget_create_plist(dataset), H5Pclose, "H5Dget_create_plist");
    if (H5Pget_layout(properties.get()) != H5D_CHUNKED) {
        return;
    }
    chunk_.resize(extent_.size());
    unsigned options = 0;
    const int rank = H5Pget_chunk(properties.get(), static_cast<int>(chunk_.size()), chunk_.data());
    requireSuccess(H5Pget_chunk_opts(properties.get(), &options), "H5Pget_chunk_opts");
    chunkElements_ = productOf(chunk_);
    if (rank != static_cast<int>(chunk_.size()) || chunkElements_ == 0) {
        throw FileError("the chunks don't fit the dataset");
    }
    filtersAccepted_ = acceptFilters(properties.get());
    converting_ = H5Tequal(fileType_.get(), memoryType_) <= 0;
    rawEdges_ = (options & H5D_CHUNK_DONT_FILTER_PARTIAL_CHUNKS) != 0;
}

RowReader::~RowReader() = default;

bool RowReader::acceptFilters(std::int64_t properties) {
    const int filters = H5Pget_nfilters(properties);
    for (int i = 0; i < filters; ++i) {
        std::array<unsigned, 1> shuffled{};
        std::size_t parameters = shuffled.size();
        unsigned flags = 0;
        const H5Z_filter_t filter = H5Pget_filter2(properties, static_cast<unsigned>(i), &flags, &parameters,
                                                   shuffled.data(), 0, nullptr, nullptr);
        const bool first = shuffleFilter_ < 0 && deflateFilter_ < 0;
        if (filter == H5Z_FILTER_SHUFFLE && first && parameters == 1 && shuffled[0] == elementSize_) {
            shuffleFilter_ = i;
        } else if (filter == H5Z_FILTER_DEFLATE && deflateFilter_ < 0) {
            deflateFilter_ = i;
        } else if (filter == H5Z_FILTER_FLETCHER32 && i == filters - 1) {
            checksumFilter_ = i;
        } else {
            return false;
        }
    }
    return filters >= 0;
}

bool RowReader::isWhole(const Position& chunkStart) const {
    for (std::size_t i = 0; i < extent_.size(); ++i) {
        if (extent_[i] - chunkStart[i] < chunk_[i]) {
            return false;
        }
    }
    return true;
}

bool RowReader::moveToNextChunk(Position& chunkStart, const Box& wanted) const {
    for (std::size_t i = extent_.size(); i-- > 0;) {
        chunkStart[i] += chunk_[i];
        if (chunkStart[i] < wanted.end[i]) {
            return true;
        }
        chunkStart[i] = wanted.begin[i] / chunk_[i] * chunk_[i];
    }
    return false;
}

bool RowReader::fetchChunk(const Position& chunkStart, PackedRows& rows) const {
    hsize_t size = 0;
    if (H5Dget_chunk_storage_size(dataset_, chunkStart.data(), &size) < 0 || size == 0) {
        return false;
    }
    // Packing never makes data much longer.
    if (size > 2 * chunkElements_ * elementSize_ + 1024) {
        throw FileError("a chunk is longer than its data can be");
    }
    PackedChunk chunk{chunkStart, rows.bytes.size(), size, 0};
    rows.bytes.resize(rows.bytes.size() + size);
    requireSuccess(
        H5Dread_chunk(dataset_, H5P_DEFAULT, chunkStart.data(), &chunk.skipped, rows.bytes.data() + chunk.offset),
        "H5Dread_chunk");
    if (rawEdges_ && !isWhole(chunkStart)) {
        chunk.skipped = ~0U;
    }
    rows.chunks.push_back(std::move(chunk));
    return true;
}

void RowReader::unpackBatch(const Box& wanted, std::byte* target) {
    const auto unpack = [&](std::size_t begin, std::size_t end, std::unique_ptr<Workspace>& workspace) {
        if (!workspace) {
            workspace = std::make_unique<Workspace>();
        }
        for (std::size_t i = begin; i < end; ++i) {
            unpackChunk(batch_.chunks[i], batch_.bytes, wanted, target, *workspace);
        }
    };
    // Converting needs the library, which this thread alone may call.
    const std::size_t chunks = batch_.chunks.size();
    const bool shared = !converting_ && chunks > 1 && batch_.bytes.size() >= smallestSharedBatch;
    const std::size_t middle = shared ? chunks / 2 : chunks;
    std::future<void> helper;
    if (shared) {
        helper = std::async(std::launch::async, [&] { unpack(middle, chunks, workspaces_[1]); });
    }
    unpack(0, middle, workspaces_[0]); // if it throws, the future waits for the helper
    if (shared) {
        helper.get();
    }
    batch_.chunks.clear();
    batch_.bytes.clear();
}

/// Where a chunk's values can be written at once: it holds whole rows, all of them wanted. Null if they have to be
/// copied.
std::byte* RowReader::directTarget(const Position& chunkStart, const Box& wanted, std::byte* target) const {
    if (converting_ || chunkStart[0] < wanted.begin[0] || chunkStart[0] + chunk_[0] > wanted.end[0] ||
        !std::equal(chunk_.begin() + 1, chunk_.end(), extent_.begin() + 1)) {
        return nullptr;
    }
    return target + (chunkStart[0] - wanted.begin[0]) * productOf(std::span(extent_).subspan(1)) * elementSize_;
}

void RowReader::unpackChunk(const PackedChunk& chunk, std::span<const std::byte> stored, const Box& wanted,
                            std::byte* target, Workspace& workspace) const {
    const std::size_t length = chunkElements_ * elementSize_;
    const auto applies = [&chunk](int filter) { return filter >= 0 && (chunk.skipped >> filter & 1U) == 0; };
    std::byte* const direct = directTarget(chunk.start, wanted, target);
    const auto whereTo = [direct, length](std::vector<std::byte>& buffer) {
        if (direct == nullptr) {
            buffer.resize(length);
        }
        return std::span(direct != nullptr ? direct : buffer.data(), length);
    };

    std::span<const std::byte> bytes = stored.subspan(chunk.offset, chunk.size);
    if (applies(checksumFilter_)) {
        bytes = withoutChecksum(bytes);
    }
    if (applies(deflateFilter_)) {
        std::span<std::byte> inflated;
        if (applies(shuffleFilter_)) {
            workspace.inflated_.resize(length);
            inflated = workspace.inflated_;
        } else {
            inflated = whereTo(workspace.values_);
        }
        workspace.inflate(bytes, inflated);
        bytes = inflated;
    }
    if (bytes.size() != length) {
        throw FileError("a chunk isn't of its declared length");
    }
    if (applies(shuffleFilter_)) {
        unshuffle(bytes, elementSize_, whereTo(workspace.values_).data());
    } else if (!applies(deflateFilter_)) {
        std::memcpy(whereTo(workspace.values_).data(), bytes.data(), length);
    }
    if (direct == nullptr) {
        convertValues(workspace.values_);
        copyValues(chunk.start, wanted, 0, workspace.values_.data(), target);
    }
}

void RowReader::convertValues(std::vector<std::byte>& values) const {
    if (!converting_) {
        return;
    }
    // Conversion takes place in the same memory.
    values.resize(chunkElements_ * std::max(elementSize_, memorySize_));
    requireSuccess(H5Tconvert(fileType_.get(), memoryType_, chunkElements_, values.data(), nullptr, H5P_DEFAULT),
                   "H5Tconvert");
}

void RowReader::copyValues(const Position& chunkStart, const Box& wanted, std::size_t dimension,
                           const std::byte* source, std::byte* target) const {
    const hsize_t begin = std::max(chunkStart[dimension], wanted.begin[dimension]);
    const hsize_t end = std::min(chunkStart[dimension] + chunk_[dimension], wanted.end[dimension]);
    const std::size_t sourceStep = productOf(std::span(chunk_).subspan(dimension + 1)) * memorySize_;
    const std::size_t targetStep = productOf(std::span(extent_).subspan(dimension + 1)) * memorySize_;
    source += (begin - chunkStart[dimension]) * sourceStep;
    target += (begin - wanted.begin[dimension]) * targetStep;
    const auto behind = static_cast<std::ptrdiff_t>(dimension + 1);
    if (std::equal(chunk_.begin() + behind, chunk_.end(), extent_.begin() + behind)) {
        std::memcpy(target, source, (end - begin) * sourceStep);
        return;
    }
    for (hsize_t i = begin; i < end; ++i, source += sourceStep, target += targetStep) {
        copyValues(chunkStart, wanted, dimension + 1, source, target);
    }
}

std::uint64_t RowReader::chunksPerRow() const {
    std::uint64_t chunks = 1;
    for (std::size_t i = 1; i < chunk_.size(); ++i) {
        chunks = saturatedProduct(chunks, (extent_[i] - 1) / chunk_[i] + 1);
    }
    return chunks;
}

void RowReader::requireFewChunks(const Box& wanted) const {
    const std::uint64_t chunks = (wanted.end[0] - 1) / chunk_[0] - wanted.begin[0] / chunk_[0] + 1;
    if (chunksPerRow() > mostChunksAtOnce || saturatedProduct(chunks, chunksPerRow()) > mostChunks) {
        throw FileError("the data are stored in too many pieces");
    }
    if (saturatedProduct(chunks, chunksPerRow()) <= mostChunksAtOnce) {
        return;
    }
    // The library takes its time for every piece that was never written, too.
    const Hdf5Id space(H5Dget_space(dataset_), H5Sclose, "H5Dget_space");
    hsize_t written = 0;
    requireSuccess(H5Dget_num_chunks(dataset_, space.get(), &written), "H5Dget_num_chunks");
    if (saturatedProduct(chunks, chunksPerRow()) > saturatedProduct(written, 2)) {
        throw FileError("most pieces of the data were never written");
    }
}

bool RowReader::readPacked(const Box& wanted, std::byte* target) {
    Position chunkStart(extent_.size(), 0);
    chunkStart[0] = wanted.begin[0] / chunk_[0] * chunk_[0];
    bool allWritten = true;
    batch_.chunks.clear(); // of a reading that failed
    batch_.bytes.clear();
    do {
        // The chunks behind one that isn't there are looked at nevertheless, before the library reads them.
        allWritten = fetchChunk(chunkStart, batch_) && allWritten;
        if (batch_.bytes.size() >= batchBytes) {
            unpackBatch(wanted, target);
        }
    } while (moveToNextChunk(chunkStart, wanted));
    unpackBatch(wanted, target);
    return allWritten;
}

void RowReader::readByLibrary(const Box& wanted, std::byte* target) const {
    const Hdf5Id fileSpace(H5Dget_space(dataset_), H5Sclose, "H5Dget_space");
    const hsize_t rowElements = productOf(std::span(extent_).subspan(1));
    // The library spends some kilobytes on every chunk that it is asked for at once.
    const hsize_t rowsAtOnce =
        chunk_.empty() ? wanted.end[0] : saturatedProduct(mostChunksAtOnce / chunksPerRow(), chunk_[0]);
    Position start = wanted.begin;
    Position count = extent_;
    while (start[0] < wanted.end[0]) {
        count[0] = std::min<hsize_t>(rowsAtOnce, wanted.end[0] - start[0]);
        const hsize_t length = count[0] * rowElements;
        requireSuccess(
            H5Sselect_hyperslab(fileSpace.get(), H5S_SELECT_SET, start.data(), nullptr, count.data(), nullptr),
            "H5Sselect_hyperslab");
        const Hdf5Id memorySpace(H5Screate_simple(1, &length, nullptr), H5Sclose, "H5Screate_simple");
        requireSuccess(H5Dread(dataset_, memoryType_, memorySpace.get(), fileSpace.get(), H5P_DEFAULT, target),
                       "H5Dread");
        start[0] += count[0];
        target += length * memorySize_;
    }
}

RowReader::Box RowReader::rows(std::uint64_t first, std::uint64_t count) const {
    Box box{Position(extent_.size(), 0), extent_};
    box.begin[0] = first;
    box.end[0] = first + count;
    return box;
}

void RowReader::read(std::uint64_t first, std::uint64_t count, std::byte* target) {
    const Box wanted = rows(first, count);
    if (!chunk_.empty()) {
        requireFewChunks(wanted);
    }
    if (filtersAccepted_) {
        if (isPacked() && readPacked(wanted, target)) {
            return requireWholeFile(dataset_);
        }
        // Asked for the size of one chunk without filters, the library gives the declared one, not what is stored.
        if (!isPacked() && H5Dget_storage_size(dataset_) % (chunkElements_ * elementSize_) != 0) {
            throw FileError("a chunk isn't of its declared length");
        }
    }
    readByLibrary(wanted, target);
    requireWholeFile(dataset_);
}

bool RowReader::fetch(std::uint64_t first, std::uint64_t count, PackedRows& rows) const {
    rows = {first, count, {}, {}};
    if (!filtersAccepted_ || !isPacked() || converting_) {
        return false;
    }
    const Box wanted = this->rows(first, count);
    requireFewChunks(wanted);
    Position chunkStart(extent_.size(), 0);
    chunkStart[0] = wanted.begin[0] / chunk_[0] * chunk_[0];
    do {
        if (!fetchChunk(chunkStart, rows)) {
            return false;
        }
    } while (moveToNextChunk(chunkStart, wanted));
    requireWholeFile(dataset_);
    return true;
}

void RowReader::unpack(const PackedRows& rows, std::byte* target, Workspace& workspace) const {
    const Box wanted = this->rows(rows.first, rows.count);
    for (const PackedChunk& chunk : rows.chunks) {
        unpackChunk(chunk, rows.bytes, wanted, target, workspace);
    }
}

} // namespace Tessaly
