#include "ChunkReading.h"

#include "io/DatasetAccess.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <libdeflate.h>
#include <type_traits>

namespace Tessaly {

namespace {

/// Shuffling stores the first bytes of all elements, then the second bytes, and so on.
void unshuffle(const std::vector<std::byte>& planes, std::size_t elementSize, std::byte* target) {
    const auto restore = [&planes, target](auto size) {
        const std::size_t elements = planes.size() / size;
        for (std::size_t i = 0; i < elements; ++i)
            for (std::size_t byte = 0; byte < size; ++byte)
                target[i * size + byte] = planes[byte * elements + i];
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

} // namespace

struct ChunkReader::Unpacker {
    libdeflate_decompressor* const decompressor = libdeflate_alloc_decompressor();

    Unpacker() = default;
    ~Unpacker() { libdeflate_free_decompressor(decompressor); }
    Unpacker(const Unpacker&) = delete;
    Unpacker& operator=(const Unpacker&) = delete;

    void inflate(const std::vector<std::byte>& packed, std::vector<std::byte>& target) const {
        std::size_t length = 0;
        if (decompressor == nullptr ||
            libdeflate_zlib_decompress(decompressor, packed.data(), packed.size(), target.data(), target.size(),
                                       &length) != LIBDEFLATE_SUCCESS ||
            length != target.size())
            throw FileError("a chunk can't be unpacked to its declared length");
    }
};

ChunkReader::ChunkReader(std::int64_t dataset, std::int64_t memoryType)
    : dataset_(dataset),
      memoryType_(memoryType),
      fileType_(H5Dget_type(dataset), H5Tclose, "H5Dget_type"),
      elementSize_(H5Tget_size(fileType_.get())) {
    const Hdf5Id properties(H5Dget_create_plist(dataset), H5Pclose, "H5Dget_create_plist");
    if (H5Pget_layout(properties.get()) != H5D_CHUNKED)
        return;
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    std::array<hsize_t, H5S_MAX_RANK> chunk{};
    if (extent.empty() ||
        H5Pget_chunk(properties.get(), H5S_MAX_RANK, chunk.data()) != static_cast<int>(extent.size()) ||
        !acceptFilters(properties.get()))
        return;
    rank_ = extent.size();
    chunkRows_ = chunk[0];
    chunkElements_ = chunkRows_;
    for (std::size_t i = 1; i < extent.size(); ++i) {
        rowElements_ *= extent[i];
        chunkElements_ *= chunk[i];
    }
    wholeRows_ = std::equal(extent.begin() + 1, extent.end(), chunk.begin() + 1);
}

ChunkReader::~ChunkReader() = default;

bool ChunkReader::acceptFilters(std::int64_t properties) {
    const int filters = H5Pget_nfilters(properties);
    for (int i = 0; i < filters; ++i) {
        std::array<unsigned, 1> shuffled{};
        std::size_t parameters = shuffled.size();
        unsigned flags = 0;
        const H5Z_filter_t filter = H5Pget_filter2(properties, static_cast<unsigned>(i), &flags, &parameters,
                                                   shuffled.data(), 0, nullptr, nullptr);
        const bool first = shuffleFilter_ < 0 && deflateFilter_ < 0;
        if (filter == H5Z_FILTER_SHUFFLE && first && parameters == 1 && shuffled[0] == elementSize_)
            shuffleFilter_ = i;
        else if (filter == H5Z_FILTER_DEFLATE && deflateFilter_ < 0)
            deflateFilter_ = i;
        else
            return false;
    }
    return filters >= 0;
}

bool ChunkReader::unpackChunk(std::uint64_t firstRow) {
    const std::size_t length = chunkElements_ * elementSize_;
    if (shuffleFilter_ < 0 && deflateFilter_ < 0) {
        // Asked for the size of one such chunk, the library gives the declared one, not what is stored.
        if (H5Dget_storage_size(dataset_) % length != 0)
            throw FileError("a chunk isn't of its declared length");
        return false;
    }
    std::vector<hsize_t> offset(rank_, 0);
    offset[0] = firstRow;
    hsize_t size = 0;
    if (H5Dget_chunk_storage_size(dataset_, offset.data(), &size) < 0 || size == 0)
        return false;
    // Packing never makes data much longer.
    if (size > 2 * length + 1024)
        throw FileError("a chunk is longer than its data can be");
    stored_.resize(size);
    std::uint32_t skipped = 0;
    requireSuccess(H5Dread_chunk(dataset_, H5P_DEFAULT, offset.data(), &skipped, stored_.data()), "H5Dread_chunk");
    const auto applies = [skipped](int filter) { return filter >= 0 && (skipped >> filter & 1U) == 0; };

    std::vector<std::byte>* bytes = &stored_;
    if (applies(deflateFilter_)) {
        if (!unpacker_)
            unpacker_ = std::make_unique<Unpacker>();
        bytes = &inflated_;
        bytes->resize(length);
        unpacker_->inflate(stored_, *bytes);
    }
    if (bytes->size() != length)
        throw FileError("a chunk isn't of its declared length");
    if (applies(shuffleFilter_)) {
        values_.resize(length);
        unshuffle(*bytes, elementSize_, values_.data());
    } else {
        values_.swap(*bytes);
    }
    return true;
}

void ChunkReader::convertValues() {
    if (H5Tequal(fileType_.get(), memoryType_) > 0)
        return;
    // Conversion takes place in the same memory.
    values_.resize(chunkElements_ * std::max(elementSize_, H5Tget_size(memoryType_)));
    requireSuccess(H5Tconvert(fileType_.get(), memoryType_, chunkElements_, values_.data(), nullptr, H5P_DEFAULT),
                   "H5Tconvert");
}

bool ChunkReader::readRows(std::uint64_t first, std::uint64_t count, std::byte* target) {
    if (chunkElements_ == 0)
        return false;
    if (!wholeRows_) {
        unpackChunk(0);
        return false;
    }
    const std::size_t rowSize = rowElements_ * H5Tget_size(memoryType_);
    const std::uint64_t end = first + count;
    for (std::uint64_t row = first; row < end;) {
        const std::uint64_t inChunk = row % chunkRows_;
        const std::uint64_t rows = std::min<std::uint64_t>(chunkRows_ - inChunk, end - row);
        if (!unpackChunk(row - inChunk))
            return false;
        convertValues();
        std::memcpy(target, values_.data() + inChunk * rowSize, rows * rowSize);
        target += rows * rowSize;
        row += rows;
    }
    return true;
}

} // namespace Tessaly
