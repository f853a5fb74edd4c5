#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Tessaly {

/// Memory for the values of one column: not initialised, so that its pages are touched once, by the values themselves.
/// Large blocks come from the operating system and go back to it as soon as they are released; those of the common
/// allocator would stay with the process.
class ColumnMemory {
public:
    ColumnMemory() = default;
    /// Throws std::bad_alloc if there isn't that much memory.
    explicit ColumnMemory(std::size_t bytes);
    ~ColumnMemory();
    ColumnMemory(ColumnMemory&& other) noexcept
        : data_(std::exchange(other.data_, nullptr)),
          mapped_(std::exchange(other.mapped_, 0)) {}
    ColumnMemory& operator=(ColumnMemory&& other) noexcept;

    std::byte* data() { return data_; }
    const std::byte* data() const { return data_; }

private:
    std::byte* data_ = nullptr;
    std::size_t mapped_ = 0; ///< bytes of a block from the operating system, 0 for one of the common allocator
};

/// Number types in which columns are kept. Zeros is for kinds of values that aren't read: a length without memory.
enum class StoredKind { Zeros, Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, Float, Double };

/// Bytes of a value; 0 for Zeros.
std::size_t storedWidth(StoredKind kind);

/// A column in the number type of its file, in this machine's byte order.
class StoredColumn {
public:
    /// The values are whatever the memory holds until data() is filled.
    StoredColumn(StoredKind kind, std::size_t count);

    StoredKind kind() const { return kind_; }
    std::size_t size() const { return count_; }
    std::size_t bytes() const { return count_ * storedWidth(kind_); }
    std::byte* data() { return memory_.data(); }

    /// One value; the index must be below size().
    double at(std::size_t index) const;
    /// All values, in a fresh vector; about a millisecond for a million.
    std::vector<double> widened() const;

private:
    StoredKind kind_;
    std::size_t count_;
    ColumnMemory memory_;
};

} // namespace Tessaly
