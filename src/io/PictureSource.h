#pragma once

#include "io/Hdf5Library.h"
#include "io/RowReader.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Tessaly {

/// Pictures of a dataset (events, height, width), many at a time and in any order. Rows that share a chunk are unpacked
/// once. Internal to the io layer; the caller holds hdf5Mutex(); failures are FileError.
class PictureSource {
public:
    /// @param dataset  an open dataset of numbers with three dimensions
    explicit PictureSource(Hdf5Id dataset);

    std::uint64_t rows() const { return rows_; }
    std::uint64_t height() const { return height_; }
    std::uint64_t width() const { return width_; }
    std::size_t pictureBytes() const { return pictureBytes_; }
    /// Pictures as rows.
    RowReader& rowReader() { return reader_; }

    /// Reads pictures one behind the other as 8-bit grey. Every event is below rows().
    void read(std::span<const int> events, std::uint8_t* target);

    /// Whether every chunk is one whole picture of 8-bit grey, deflated at most: it then may be copied as it is stored.
    bool isStoredByPicture() const { return storedByPicture_; }
    /// One picture's chunk as it is stored.
    /// @param skippedFilters  set to the filters that were not applied, a bit for each
    /// @return false if the chunk was never written
    bool readStored(std::size_t event, std::vector<std::byte>& chunk, std::uint32_t& skippedFilters) const;

private:
    void inspectStorage();

    Hdf5Id dataset_;
    std::uint64_t rows_ = 0;
    std::uint64_t height_ = 0;
    std::uint64_t width_ = 0;
    std::size_t pictureBytes_ = 0;
    std::uint64_t rowsPerChunk_ = 1;
    bool storedByPicture_ = false;
    RowReader reader_;
    std::vector<std::uint8_t> scratch_;
};

} // namespace Tessaly
