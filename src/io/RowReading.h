#pragma once

#include "io/Hdf5Library.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tessaly {

/// Reads rows of a dataset. Chunks that are packed by shuffle and deflate, or by one of them, with or without a
/// checksum at the end, are taken as they are stored and unpacked here. That is faster than the library's own reading,
/// and safer: the library doesn't check that an unpacked chunk is as long as the dataset's type and chunk size promise,
/// and reads past its end. Everything else is left to the library.
///
/// Internal to the io layer; the caller holds hdf5Mutex().
class RowReader {
public:
    /// @param dataset  an open dataset with at least one dimension, which must outlive the reader
    /// @param memoryType  the number type of the library to which values are converted
    RowReader(std::int64_t dataset, std::int64_t memoryType);
    ~RowReader();
    RowReader(const RowReader&) = delete;
    RowReader& operator=(const RowReader&) = delete;

    /// Reads `count` rows (at least one) from row `first` on, everything behind the first dimension in full, into
    /// memory for them. Throws FileError for a chunk that can't be read or unpacks to another length than it should,
    /// and for rows that lie in more pieces than is sane.
    void read(std::uint64_t first, std::uint64_t count, std::byte* target);

private:
    struct Unpacker;
    using Position = std::vector<unsigned long long>; ///< a number per dimension, of the library's kind
    struct Box {
        Position begin;
        Position end;
    };

    bool acceptFilters(std::int64_t properties);
    std::uint64_t chunksPerRow() const;
    void requireFewChunks(const Box& wanted) const;
    bool readPacked(const Box& wanted, std::byte* target);
    void readByLibrary(const Box& wanted, std::byte* target) const;
    bool isWhole(const Position& chunkStart) const;
    bool moveToNextChunk(Position& chunkStart, const Box& wanted) const;
    /// Returns false for a chunk that was never written.
    bool unpackChunk(const Position& chunkStart);
    void convertValues();
    void copyValues(const Position& chunkStart, const Box& wanted, std::size_t dimension, const std::byte* source,
                    std::byte* target) const;

    std::int64_t dataset_;
    std::int64_t memoryType_;
    Hdf5Id fileType_;
    std::size_t elementSize_ = 0; ///< in the file, in bytes
    std::size_t memorySize_ = 0;  ///< of an element, in bytes
    Position extent_;
    Position chunk_; ///< empty if the dataset isn't stored in chunks
    std::size_t chunkElements_ = 0;
    bool filtersAccepted_ = false;
    bool rawEdges_ = false;  ///< whether chunks that reach beyond the dataset are stored as they are
    int deflateFilter_ = -1; ///< place in the chain of filters, -1 without
    int shuffleFilter_ = -1;
    int checksumFilter_ = -1; ///< the last one
    std::vector<std::byte> stored_;
    std::vector<std::byte> inflated_;
    std::vector<std::byte> values_; ///< of one chunk
    std::unique_ptr<Unpacker> unpacker_;
};

} // namespace Tessaly
