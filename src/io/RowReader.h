#pragma once

#include "io/Hdf5Library.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct libdeflate_decompressor;

namespace Tessaly {

/// Reads rows of a dataset. Chunks that are packed by shuffle and deflate, or by one of them, with or without a
/// checksum at the end, are taken as they are stored and unpacked here, on two threads if there is enough to do. That
/// is faster than the library's own reading, and safer: the library doesn't check that an unpacked chunk is as long as
/// the dataset's type and chunk size promise, and reads past its end. Everything else is left to the library.
///
/// Internal to the io layer; the caller holds hdf5Mutex(), but for unpack().
class RowReader {
    using Position = std::vector<unsigned long long>; ///< a number per dimension, of the library's kind

    /// A chunk as it lies in the file.
    struct PackedChunk {
        Position start;
        std::size_t offset = 0; ///< in PackedRows::bytes
        std::size_t size = 0;
        std::uint32_t skipped = 0; ///< filters that don't apply to it, a bit each
    };

public:
    /// What one thread needs to unpack chunks; to be used again and again.
    class Workspace {
    public:
        Workspace();
        ~Workspace();
        Workspace(const Workspace&) = delete;
        Workspace& operator=(const Workspace&) = delete;

    private:
        friend class RowReader;
        void inflate(std::span<const std::byte> packed, std::span<std::byte> target) const;

        libdeflate_decompressor* const decompressor_;
        std::vector<std::byte> inflated_;
        std::vector<std::byte> values_;
    };

    /// Rows as they are stored, for unpack().
    struct PackedRows {
        std::uint64_t first = 0;
        std::uint64_t count = 0;
        std::vector<PackedChunk> chunks;
        std::vector<std::byte> bytes;
    };

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

    /// The first half of read(): takes rows as they are stored. Returns false if read() alone can give them, since they
    /// aren't packed, or of another number type, or were never written. Throws as read().
    bool fetch(std::uint64_t first, std::uint64_t count, PackedRows& rows) const;
    /// The second half, without the library: on any thread, on several at once, and without the lock. Throws as read().
    void unpack(const PackedRows& rows, std::byte* target, Workspace& workspace) const;

    /// Rows that share a chunk; 1 without chunks.
    std::uint64_t rowsPerChunk() const { return chunk_.empty() ? 1 : chunk_[0]; }

private:
    struct Box {
        Position begin;
        Position end;
    };

    bool acceptFilters(std::int64_t properties);
    std::uint64_t chunksPerRow() const;
    void requireFewChunks(const Box& wanted) const;
    bool readPacked(const Box& wanted, std::byte* target);
    void readByLibrary(const Box& wanted, std::byte* target) const;
    bool isPacked() const { return shuffleFilter_ >= 0 || deflateFilter_ >= 0 || checksumFilter_ >= 0; }
    Box rows(std::uint64_t first, std::uint64_t count) const;
    bool isWhole(const Position& chunkStart) const;
    bool moveToNextChunk(Position& chunkStart, const Box& wanted) const;
    /// Adds a chunk. Returns false for one that was never written.
    bool fetchChunk(const Position& chunkStart, PackedRows& rows) const;
    /// Unpacks the batch to where it belongs, and empties it.
    void unpackBatch(const Box& wanted, std::byte* target);
    void unpackChunk(const PackedChunk& chunk, std::span<const std::byte> bytes, const Box& wanted, std::byte* target,
                     Workspace& workspace) const;
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
    PackedRows batch_;
    std::array<std::unique_ptr<Workspace>, 2> workspaces_;
};

} // namespace Tessaly
