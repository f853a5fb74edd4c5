#pragma once

#include "io/Hdf5Library.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tessaly {

/// Takes the chunks of a dataset as they are stored and unpacks them itself. That is faster than the library's own
/// reading, and safer: the library doesn't check that an unpacked chunk is as long as the dataset's type and chunk size
/// promise, and reads past its end.
///
/// Serves chunks that span whole rows (every dimension but the first in full), packed by shuffle and deflate or by one
/// of them. Internal to the io layer; the caller holds hdf5Mutex().
class ChunkReader {
public:
    /// @param dataset  an open dataset, which must outlive the reader
    /// @param memoryType  the number type of the library to which values are converted
    ChunkReader(std::int64_t dataset, std::int64_t memoryType);
    ~ChunkReader();
    ChunkReader(const ChunkReader&) = delete;
    ChunkReader& operator=(const ChunkReader&) = delete;

    /// Reads `count` rows from row `first` on into memory for them.
    /// Returns false, with the memory in any state, if they are stored in another way than those above or not all of
    /// them were ever written; the library can read them then.
    /// Throws FileError for a chunk that can't be read or unpacks to another length than it should; of chunks that
    /// don't span whole rows, the first is looked at.
    bool readRows(std::uint64_t first, std::uint64_t count, std::byte* target);

private:
    struct Unpacker;

    bool acceptFilters(std::int64_t properties);
    bool unpackChunk(std::uint64_t firstRow);
    void convertValues();

    std::int64_t dataset_;
    std::int64_t memoryType_;
    Hdf5Id fileType_;
    std::size_t elementSize_ = 0; ///< in the file, in bytes
    std::size_t rank_ = 0;
    std::size_t rowElements_ = 1;
    bool wholeRows_ = false; ///< whether chunks span every dimension but the first
    std::size_t chunkRows_ = 0;
    std::size_t chunkElements_ = 0; ///< 0 if the dataset isn't served
    int deflateFilter_ = -1;        ///< place in the chain of filters, -1 without
    int shuffleFilter_ = -1;
    std::vector<std::byte> stored_;
    std::vector<std::byte> inflated_;
    std::vector<std::byte> values_; ///< of one chunk
    std::unique_ptr<Unpacker> unpacker_;
};

} // namespace Tessaly
