#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tessaly {

class VQDReader;

/// Masks and traces for work that goes through all events of a measurement. Gives what the reader would, but fetches
/// whole pieces of the file, unpacks each of them once and outside of hdf5Mutex(), and keeps the last one: cheap in
/// rising order, and for one kind of rows after the other. What lies in a piece that can't be read is read by event, so
/// that a damaged place costs its own events only.
///
/// One thread at a time, any thread; the reader outlives it. Keeps up to 64 MB.
class EventSeries {
public:
    explicit EventSeries(VQDReader& reader);
    ~EventSeries();
    EventSeries(const EventSeries&) = delete;
    EventSeries& operator=(const EventSeries&) = delete;

    /// As VQDReader::getMask().
    std::vector<std::uint8_t> getMask(std::size_t index, int* width, int* height, std::string* problem = nullptr);
    /// As VQDReader::getTrace() for a stored trace.
    std::vector<float> getTrace(const std::string& name, std::size_t index, std::string* problem = nullptr);

private:
    struct Stack;

    /// Opens the rows of this name unless they are open. Null if they can't be had.
    Stack* stackOf(const std::string& name, bool pictures);

    VQDReader& reader_;
    std::string name_;
    std::unique_ptr<Stack> stack_;
};

} // namespace Tessaly
