#pragma once

#include "io/Hdf5Library.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tessaly {

/// Reads rows of a dataset. Chunks that are packed by shuffle and deflate, or by one of them, with or without a
/// checksum at the end, are taken as they are stored and unpacked here, on two threads if there is enough to do. That
/// is faster than the library's own reading, and safer: the library doesn't check that an unpacked chunk is as long as
/// the dataset's type and chunk size promise, and reads past its end. Everything else is left to the library.
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
    struct Workspace;
    using Position = std::vector<unsigned long long>; ///< a number per dimension, of the library's kind
    struct Box {
        Position begin;
        Position end;
    };

    /// A chunk as it lies in the file.
    struct PackedChunk {
        Position start;
        std::size_t offset = 0; ///< in stored_
        std::size_t size = 0;
        std::uint32_t skipped = 0; ///< filters that don't apply to it, a bit each
    };

    bool acceptFilters(std::int64_t properties);
    std::uint64_t chunksPerRow() const;
    void requireFewChunks(const Box& wanted) const;
    bool readPacked(const Box& wanted, std::byte* target);
    void readByLibrary(const Box& wanted, std::byte* target) const;
    bool isWhole(const Position& chunkStart) const;
    bool moveToNextChunk(Position& chunkStart, const Box& wanted) const;
    /// Adds a chunk to the batch. Returns false for one that was never written.
    bool fetchChunk(const Position& chunkStart);
    /// Unpacks the batch to where it belongs, and empties it.
    void unpackBatch(const Box& wanted, std::byte* target);
    void unpackChunk(const PackedChunk& chunk, const Box& wanted, std::byte* target, Workspace& workspace) const;
    std::byte* directTarget(const Position& chunkStart, const Box& wanted, std::byte* target) const;
    void convertValues(std::vector<std::byte>& values) const;
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
    bool converting_ = false; ///< whether the file's number type isn't the wanted one
    std::vector<PackedChunk> batch_;
    std::vector<std::byte> stored_; ///< bytes of the batch
    std::array<std::unique_ptr<Workspace>, 2> workspaces_;
};

} // namespace Tessaly
