#include "io/RowPacking.h"

#include "io/Hdf5Library.h"

#include <future>
#include <libdeflate.h>

namespace Tessaly {

namespace {

constexpr int compressionLevel = 4;
/// Less is packed sooner than a thread starts.
constexpr std::size_t worthAThread = 64 << 10;

} // namespace

struct RowPacking::Packer {
    libdeflate_compressor* const compressor = libdeflate_alloc_compressor(compressionLevel);

    Packer() {
        if (compressor == nullptr) {
            throw FileError("no memory to pack data");
        }
    }
    ~Packer() { libdeflate_free_compressor(compressor); }
    Packer(const Packer&) = delete;
    Packer& operator=(const Packer&) = delete;

    void pack(std::span<const std::byte> rows, std::size_t rowBytes, std::span<std::vector<std::byte>> packed) const {
        for (std::size_t i = 0; i < packed.size(); ++i) {
            packed[i].resize(libdeflate_zlib_compress_bound(compressor, rowBytes));
            const std::size_t length = libdeflate_zlib_compress(compressor, rows.data() + i * rowBytes, rowBytes,
                                                                packed[i].data(), packed[i].size());
            packed[i].resize(length);
        }
    }
};

RowPacking::RowPacking() : here_(std::make_unique<Packer>()), beside_(std::make_unique<Packer>()) {}

RowPacking::~RowPacking() = default;

const std::vector<std::vector<std::byte>>& RowPacking::pack(std::span<const std::byte> rows, std::size_t rowBytes) {
    const std::size_t count = rows.size() / rowBytes;
    packed_.resize(count);
    const std::span all(packed_);
    if (rows.size() < worthAThread || count < 2) {
        here_->pack(rows, rowBytes, all);
        return packed_;
    }
    const std::size_t half = count / 2;
    std::future<void> second = std::async(
        std::launch::async, [&, this] { beside_->pack(rows.subspan(half * rowBytes), rowBytes, all.subspan(half)); });
    here_->pack(rows, rowBytes, all.first(half));
    second.get();
    return packed_;
}

} // namespace Tessaly
