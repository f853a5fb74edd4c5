#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Tessaly {

/// Packs rows of equal length for chunks of one row each, on two cores. The result is what the file library's own
/// compression of this level would make, up to the choice among equivalent codes. Knows no file; any thread.
class RowPacking {
public:
    RowPacking();
    ~RowPacking();
    RowPacking(const RowPacking&) = delete;
    RowPacking& operator=(const RowPacking&) = delete;

    /// Packs each row by itself. The result is valid until the next call. Throws FileError if memory is short.
    const std::vector<std::vector<std::byte>>& pack(std::span<const std::byte> rows, std::size_t rowBytes);

private:
    struct Packer;
    std::unique_ptr<Packer> here_;
    std::unique_ptr<Packer> beside_;
    std::vector<std::vector<std::byte>> packed_;
};

} // namespace Tessaly
