#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Tessaly {

/// Reads the values of scalar attributes whose type is a text of variable length, all of the same file, from the file's
/// bytes. The file is opened once for all of them.
///
/// The library believes the lengths that a damaged file states for such texts: it hangs, allocates gigabytes or writes
/// past its buffers. So it is only asked where the text lies; the rest is checked here.
class HeapTexts {
public:
    HeapTexts();
    ~HeapTexts();

    /// The text up to its first null character; empty if the attribute refers to none.
    /// Throws FileError if the text isn't where the attribute says. The caller holds hdf5Mutex().
    std::string read(std::int64_t attribute);

private:
    class Bytes;
    std::unique_ptr<Bytes> bytes_;
};

} // namespace Tessaly
