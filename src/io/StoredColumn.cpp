#include "io/StoredColumn.h"

#include <cstring>
#include <new>
#include <sys/mman.h>

namespace Tessaly {

namespace {

/// Below this the common allocator is as good, and mappings are a limited good.
constexpr std::size_t smallestMapping = std::size_t{256} << 10;
constexpr std::size_t pageSize = 4096;

/// All pages at once, since all will be filled: a tenth less work than page by page. Large pages would be a fifth, but
/// the system may take three times as long to find some.
std::byte* mapPages(std::size_t bytes) {
    void* const block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (block == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return static_cast<std::byte*>(block);
}

/// Calls `use` with a null pointer of the kind's type.
template <typename Use>
auto withType(StoredKind kind, Use use) {
    switch (kind) {
    case StoredKind::Int8:
        return use(static_cast<const std::int8_t*>(nullptr));
    case StoredKind::UInt8:
        return use(static_cast<const std::uint8_t*>(nullptr));
    case StoredKind::Int16:
        return use(static_cast<const std::int16_t*>(nullptr));
    case StoredKind::UInt16:
        return use(static_cast<const std::uint16_t*>(nullptr));
    case StoredKind::Int32:
        return use(static_cast<const std::int32_t*>(nullptr));
    case StoredKind::UInt32:
        return use(static_cast<const std::uint32_t*>(nullptr));
    case StoredKind::Int64:
        return use(static_cast<const std::int64_t*>(nullptr));
    case StoredKind::Float:
        return use(static_cast<const float*>(nullptr));
    case StoredKind::Zeros:
    case StoredKind::Double:
        break;
    }
    return use(static_cast<const double*>(nullptr));
}

} // namespace

ColumnMemory::ColumnMemory(std::size_t bytes) {
    if (bytes < smallestMapping) {
        data_ = new std::byte[bytes];
        return;
    }
    mapped_ = (bytes + pageSize - 1) / pageSize * pageSize;
    data_ = mapPages(mapped_);
}

ColumnMemory::~ColumnMemory() {
    if (mapped_ != 0) {
        munmap(data_, mapped_);
    } else {
        delete[] data_;
    }
}

ColumnMemory& ColumnMemory::operator=(ColumnMemory&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(mapped_, other.mapped_);
    return *this;
}

std::size_t storedWidth(StoredKind kind) {
    return kind == StoredKind::Zeros ? 0 : withType(kind, [](const auto* type) { return sizeof(*type); });
}

StoredColumn::StoredColumn(StoredKind kind, std::size_t count)
    : kind_(kind),
      count_(count),
      memory_(count * storedWidth(kind)) {}

double StoredColumn::at(std::size_t index) const {
    if (kind_ == StoredKind::Zeros) {
        return 0.0;
    }
    return withType(kind_, [this, index]<typename Value>(const Value*) {
        Value value;
        std::memcpy(&value, memory_.data() + index * sizeof(Value), sizeof(Value));
        return static_cast<double>(value);
    });
}

std::vector<double> StoredColumn::widened() const {
    if (kind_ == StoredKind::Zeros) {
        return std::vector<double>(count_, 0.0);
    }
    // Straight from the range: zeros before the values would touch the fresh memory twice.
    return withType(kind_, [this]<typename Value>(const Value*) {
        const auto* values = reinterpret_cast<const Value*>(memory_.data());
        return std::vector<double>(values, values + count_);
    });
}

} // namespace Tessaly
