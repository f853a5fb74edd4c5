#include "io/PictureSource.h"

#include "io/DatasetAccess.h"
#include "io/StorageCheck.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace Tessaly {

namespace {

/// Rows that aren't asked for are read along with their neighbours up to this distance.
constexpr std::uint64_t mostRowsBetween = 64;

/// The dataset if it is a stack of pictures of numbers that may be believed.
Hdf5Id requirePictures(Hdf5Id dataset) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset.get());
    const Hdf5Id type(H5Dget_type(dataset.get()), H5Tclose, "H5Dget_type");
    const H5T_class_t kind = H5Tget_class(type.get());
    if (extent.size() != 3 || (kind != H5T_INTEGER && kind != H5T_FLOAT && kind != H5T_ENUM)) {
        throw FileError("the dataset doesn't hold pictures");
    }
    requirePlausible(dataset.get(), saturatedProduct(extent[1], extent[2]), sizeof(std::uint8_t));
    return dataset;
}

bool isByte(hid_t dataset) {
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    return H5Tequal(type.get(), H5T_STD_U8LE) > 0 || H5Tequal(type.get(), H5T_STD_U8BE) > 0;
}

bool isDeflatedOnly(hid_t properties) {
    unsigned flags = 0;
    std::size_t parameters = 0;
    return H5Pget_nfilters(properties) == 1 &&
           H5Pget_filter2(properties, 0, &flags, &parameters, nullptr, 0, nullptr, nullptr) == H5Z_FILTER_DEFLATE;
}

/// Whether pictures that were never written are black.
bool isBlackByDefault(hid_t properties) {
    std::uint8_t value = 0;
    return H5Pget_fill_value(properties, H5T_NATIVE_UINT8, &value) >= 0 && value == 0;
}

} // namespace

PictureSource::PictureSource(Hdf5Id dataset)
    : dataset_(requirePictures(std::move(dataset))),
      reader_(dataset_.get(), H5T_NATIVE_UINT8) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset_.get());
    rows_ = extent[0];
    height_ = extent[1];
    width_ = extent[2];
    pictureBytes_ = height_ * width_;
    inspectStorage();
}

void PictureSource::inspectStorage() {
    const Hdf5Id properties(H5Dget_create_plist(dataset_.get()), H5Pclose, "H5Dget_create_plist");
    std::array<hsize_t, 3> chunk{};
    if (H5Pget_layout(properties.get()) != H5D_CHUNKED ||
        H5Pget_chunk(properties.get(), static_cast<int>(chunk.size()), chunk.data()) != 3) {
        return;
    }
    rowsPerChunk_ = chunk[0];
    storedByPicture_ = chunk == std::array<hsize_t, 3>{1, height_, width_} && isByte(dataset_.get()) &&
                       isDeflatedOnly(properties.get()) && isBlackByDefault(properties.get());
}

void PictureSource::read(std::span<const int> events, std::uint8_t* target) {
    const auto row = [&events](std::size_t i) { return static_cast<std::uint64_t>(events[i]); };
    std::size_t begin = 0;
    while (begin < events.size()) {
        // A run is read at once: neighbours, and what lies near by in one chunk.
        const auto belongs = [&](std::size_t next) {
            const bool near =
                row(next) - row(begin) < mostRowsBetween && row(next) / rowsPerChunk_ == row(begin) / rowsPerChunk_;
            return row(next) > row(next - 1) && (row(next) == row(next - 1) + 1 || near);
        };
        std::size_t end = begin + 1;
        while (end < events.size() && belongs(end)) {
            ++end;
        }
        const std::uint64_t span = row(end - 1) - row(begin) + 1;
        if (span == end - begin) {
            reader_.read(row(begin), span, reinterpret_cast<std::byte*>(target));
            target += span * pictureBytes_;
        } else {
            scratch_.resize(span * pictureBytes_);
            reader_.read(row(begin), span, reinterpret_cast<std::byte*>(scratch_.data()));
            for (std::size_t i = begin; i < end; ++i, target += pictureBytes_) {
                std::memcpy(target, scratch_.data() + (row(i) - row(begin)) * pictureBytes_, pictureBytes_);
            }
        }
        begin = end;
    }
}

bool PictureSource::readStored(std::size_t event, std::vector<std::byte>& chunk, std::uint32_t& skippedFilters) const {
    const std::array<hsize_t, 3> place{event, 0, 0};
    hsize_t size = 0;
    requireSuccess(H5Dget_chunk_storage_size(dataset_.get(), place.data(), &size), "H5Dget_chunk_storage_size");
    if (size == 0) {
        return false;
    }
    // Packing never makes data much longer.
    if (size > 2 * pictureBytes_ + 1024) {
        throw FileError("a chunk is longer than its data can be");
    }
    chunk.resize(size);
    requireSuccess(H5Dread_chunk(dataset_.get(), H5P_DEFAULT, place.data(), &skippedFilters, chunk.data()),
                   "H5Dread_chunk");
    const auto byte = [&chunk](std::size_t i) { return std::to_integer<unsigned>(chunk[i]); };
    const bool packed = skippedFilters == 0;
    // Unpacking would tell more and take most of the time; these two bytes tell packed data from others.
    if (packed ? size < 2 || byte(0) % 16 != 8 || (byte(0) * 256 + byte(1)) % 31 != 0 : size != pictureBytes_) {
        throw FileError("a chunk doesn't hold what it should");
    }
    return true;
}

} // namespace Tessaly
