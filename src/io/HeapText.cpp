#include "io/HeapText.h"

#include "io/Hdf5Library.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

namespace Tessaly {

namespace {

/// A longer text in an attribute is no text that anybody wrote.
constexpr std::uint64_t longestText = 16ULL << 20;

struct HeapReference {
    std::uint64_t length = 0;
    std::uint64_t address = 0; ///< of the heap collection, from the start of the file; all bits set for no text
    std::uint64_t index = 0;   ///< of the object in the collection
};

/// How numbers are stored in a file.
struct FileNumbers {
    std::size_t addressSize = 0;
    std::size_t lengthSize = 0;
    std::uint64_t base = 0; ///< where address 0 lies
};

std::uint64_t littleEndian(std::span<const unsigned char> bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        value = value << 8 | bytes[i];
    }
    return value;
}

/// Gives the stored reference of a text as it is: the library has no way of its own to ask for it.
herr_t keepReference(hid_t source, hid_t target, H5T_cdata_t* data, std::size_t, std::size_t, std::size_t, void*, void*,
                     hid_t) {
    if (data->command == H5T_CONV_INIT) {
        data->need_bkg = H5T_BKG_NO;
        return H5Tis_variable_str(source) > 0 && H5Tget_class(target) == H5T_OPAQUE ? 0 : -1;
    }
    return 0;
}

void registerKeepReference() {
    static const bool registered = [] {
        const Hdf5Id text(H5Tcopy(H5T_C_S1), H5Tclose, "H5Tcopy");
        requireSuccess(H5Tset_size(text.get(), H5T_VARIABLE), "H5Tset_size");
        const Hdf5Id raw(H5Tcreate(H5T_OPAQUE, 1), H5Tclose, "H5Tcreate");
        requireSuccess(H5Tregister(H5T_PERS_SOFT, "reference", text.get(), raw.get(), keepReference), "H5Tregister");
        return true;
    }();
    static_cast<void>(registered);
}

FileNumbers numbersOf(hid_t file) {
    const Hdf5Id properties(H5Fget_create_plist(file), H5Pclose, "H5Fget_create_plist");
    FileNumbers numbers;
    hsize_t userBlock = 0;
    requireSuccess(H5Pget_sizes(properties.get(), &numbers.addressSize, &numbers.lengthSize), "H5Pget_sizes");
    requireSuccess(H5Pget_userblock(properties.get(), &userBlock), "H5Pget_userblock");
    if (numbers.addressSize > sizeof(std::uint64_t) || numbers.lengthSize > sizeof(std::uint64_t)) {
        throw FileError("the file has too wide addresses");
    }
    numbers.base = userBlock;
    return numbers;
}

HeapReference referenceOf(hid_t attribute, const FileNumbers& numbers) {
    registerKeepReference();
    constexpr std::size_t part = 4; // length and index take four bytes each
    const Hdf5Id type(H5Tcreate(H5T_OPAQUE, part + numbers.addressSize + part), H5Tclose, "H5Tcreate");
    std::array<unsigned char, 64> bytes{};
    requireSuccess(H5Aread(attribute, type.get(), bytes.data()), "H5Aread");
    const std::span all(bytes);
    HeapReference reference;
    reference.length = littleEndian(all.first(part));
    reference.address = littleEndian(all.subspan(part, numbers.addressSize));
    reference.index = littleEndian(all.subspan(part + numbers.addressSize, part));
    const std::uint64_t undefined = std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * numbers.addressSize);
    if (reference.address == undefined) {
        reference.length = 0;
    }
    return reference;
}

std::string fileNameOf(hid_t object) {
    const ssize_t length = H5Fget_name(object, nullptr, 0);
    requireSuccess(length, "H5Fget_name");
    std::string name(static_cast<std::size_t>(length), '\0');
    requireSuccess(H5Fget_name(object, name.data(), name.size() + 1), "H5Fget_name");
    return name;
}

} // namespace

/// The file as it lies on the disk. What is asked for next mostly lies behind what was asked for last, so that more is
/// read than asked for.
class HeapTexts::Bytes {
public:
    explicit Bytes(const std::string& path) {
        stream_.rdbuf()->pubsetbuf(nullptr, 0); // the buffer is here
        stream_.open(path, std::ios::binary);
    }

    std::span<const unsigned char> read(std::uint64_t position, std::uint64_t length) {
        if (position < begin_ || position - begin_ > held_.size() || held_.size() - (position - begin_) < length) {
            constexpr std::uint64_t most = 8192;
            fill(position, std::max(length, most));
        }
        if (held_.size() - (position - begin_) < length) {
            throw FileError("the text lies behind the end of the file");
        }
        return std::span<const unsigned char>(held_).subspan(position - begin_, length);
    }

private:
    void fill(std::uint64_t position, std::uint64_t length) {
        held_.resize(length);
        begin_ = position;
        stream_.clear();
        stream_.seekg(static_cast<std::streamoff>(position));
        stream_.read(reinterpret_cast<char*>(held_.data()), static_cast<std::streamsize>(length));
        held_.resize(static_cast<std::size_t>(stream_.gcount()));
    }

    std::ifstream stream_;
    std::uint64_t begin_ = 0;
    std::vector<unsigned char> held_;
};

namespace {

/// Walks the objects of a collection: each has index (2 bytes), reference count (2), 4 unused, the length, and the data
/// padded to 8 bytes. Index 0 is the free space at the end.
template <typename Bytes>
std::string textInHeap(Bytes& file, const FileNumbers& numbers, const HeapReference& reference) {
    const std::size_t headerSize = 8 + numbers.lengthSize;
    const std::uint64_t start = numbers.base + reference.address;
    const std::span<const unsigned char> header = file.read(start, headerSize);
    if (std::memcmp(header.data(), "GCOL\1", 5) != 0) {
        throw FileError("the text isn't where the attribute says");
    }
    const std::uint64_t size = littleEndian(header.last(numbers.lengthSize));
    std::uint64_t at = (headerSize + 7) / 8 * 8;
    while (at < size && size - at > headerSize) {
        const std::span<const unsigned char> object = file.read(start + at, headerSize);
        const std::uint64_t index = littleEndian(object.first(2));
        const std::uint64_t length = littleEndian(object.last(numbers.lengthSize));
        at += (headerSize + 7) / 8 * 8;
        if (index == 0 || length > size - std::min(at, size)) {
            break;
        }
        if (index == reference.index) {
            const std::uint64_t wanted = std::min(length, reference.length);
            if (wanted > longestText) {
                throw FileError("the text is too long");
            }
            const std::span<const unsigned char> bytes = file.read(start + at, wanted);
            return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
        }
        at += (length + 7) / 8 * 8;
    }
    throw FileError("the text isn't where the attribute says");
}

} // namespace

HeapTexts::HeapTexts() = default;

HeapTexts::~HeapTexts() = default;

std::string HeapTexts::read(std::int64_t attribute) {
    const Hdf5Id file(H5Iget_file_id(attribute), H5Fclose, "H5Iget_file_id");
    const FileNumbers numbers = numbersOf(file.get());
    const HeapReference reference = referenceOf(attribute, numbers);
    if (reference.length == 0) {
        return {};
    }
    if (!bytes_) {
        bytes_ = std::make_unique<Bytes>(fileNameOf(attribute));
    }
    return textInHeap(*bytes_, numbers, reference);
}

} // namespace Tessaly
