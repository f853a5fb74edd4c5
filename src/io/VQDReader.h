#pragma once

#include "core/VQDMetadata.h"
#include "io/TraceFilters.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace Tessaly {

/// Guards every call into the file library: the library's build must be assumed not to be thread-safe. Recursive,
/// because locked operations call each other.
std::recursive_mutex& hdf5Mutex();

/// Prepares the file library for the process: no clean-up at exit, no error stacks printed. Must be the first call into
/// the library; further calls do nothing.
void initializeHdf5();

/// A column that stays as it is for as long as somebody holds it, also when its name is replaced or the reader closed.
using SharedColumn = std::shared_ptr<const std::vector<double>>;

class Hdf5Id;

/// A picture as it is handed out, 8-bit grey, row by row. Its pixels live as long as the call that brings it.
struct PictureView {
    std::span<const std::uint8_t> pixels;
    int width = 0;
    int height = 0;
};

/// Takes a picture; `place` is the event's position in the list that was asked for.
using PictureTaker = std::function<void(std::size_t place, const PictureView& picture)>;

/// The only door to a measurement file: lists what it holds, turns attributes into text, serves feature columns as
/// doubles from a cache, and reads images, masks and traces one event at a time.
///
/// Columns are kept in the number type of the file until they are asked for as doubles; then the stored form goes.
///
/// No exception of the file library leaves it: failures give a neutral result (false, empty, zero) and one line on the
/// standard error stream. Every operation may be called from any thread, but open(), close(), readMetadata(),
/// setFeature(), addTraceAlias() and setTraceProcessing(), which change what others see: these belong to the thread
/// that owns the reader (the interface thread). Operations that touch the file hold hdf5Mutex(); lists and cache have a
/// lock of their own that is held briefly, so that what is cached can be had while a file is read.
class VQDReader {
public:
    VQDReader();
    ~VQDReader();
    VQDReader(const VQDReader&) = delete;
    VQDReader& operator=(const VQDReader&) = delete;

    /// Opens a file read-only and lists its contents. Any file that the library can open counts as opened.
    bool open(const std::string& path);
    void close();
    bool isOpen() const;
    std::string path() const;

    /// Reads the attributes of the file anew; empty if it is not open. Also decides isInstrumentData().
    VQDMetadata readMetadata();
    /// Whether the file comes from the maker's instrument. Meaningful only after readMetadata().
    bool isInstrumentData() const;

    /// Length of the first feature in name order that can be read; 0 without any.
    std::uint64_t eventCount() const;
    /// Names of stored and computed features, ascending bytewise: a copy, which nobody changes.
    std::vector<std::string> featureNames() const;
    bool hasFeature(const std::string& name) const;
    bool isComputedFeature(const std::string& name) const;
    /// A feature's column, from the cache or the file. A shared empty vector if there is nothing to give.
    /// The reference stays valid until the name is replaced by setFeature() or the reader is closed: for the interface
    /// thread, which does both. Other threads hold a column().
    const std::vector<double>& getFeature(const std::string& name);
    /// The same column for those who keep it longer, such as a job; never null.
    SharedColumn column(const std::string& name);
    /// One value of a feature's column, in whatever form that is kept; nothing if there is no such value.
    std::optional<double> valueAt(const std::string& name, std::size_t index);
    /// Adds or replaces a computed feature, in memory only. The replaced column lives on where it is held.
    void setFeature(const std::string& name, std::vector<double>&& values);
    /// Reads every scalar column into the cache, as stored; takes the lock once per column. Runs on a background
    /// thread. Ends early, between two columns, if it is asked to stop.
    void cacheAllFeatures(const std::stop_token& stop = {});

    bool hasImage() const;
    bool hasMask() const;
    bool hasTraces() const;

    /// One camera frame, row by row, 8-bit grey. Empty for an index out of range or on failure; then width and height
    /// are left alone.
    std::vector<std::uint8_t> getImage(std::size_t index, int* width, int* height);
    /// The frames of many events in any order, each piece of the file once: fetched under the lock, some at a time, and
    /// unpacked outside of it on two threads. What getImage() would give empty is left out, with a line for each event
    /// that fails.
    /// @param take  called once for every other place of `events`, in no order, by two threads at once
    void readImages(std::span<const int> events, const PictureTaker& take);
    /// One segmentation mask; non-zero is inside. As getImage().
    /// @param problem  takes what went wrong, which then isn't written to the standard error stream; null to have it
    ///                 written
    std::vector<std::uint8_t> getMask(std::size_t index, int* width, int* height, std::string* problem = nullptr);
    /// Names of the traces, aliases included, ascending.
    std::vector<std::string> traceNames() const;
    /// Samples per event of the first trace listed.
    std::uint64_t traceLength() const;
    /// One event's samples of a trace; under an alias those of its source, filtered. Empty for an index out of range or
    /// on failure. The last filtered trace is kept, so that asking for it again costs a copy.
    /// @param problem  as getMask()
    std::vector<float> getTrace(const std::string& name, std::size_t index, std::string* problem = nullptr);
    /// Makes a stored trace readable through the filters, under another name.
    void addTraceAlias(const std::string& alias, const std::string& source);
    /// Sets the filters that traces under an alias pass through, for all users of this reader.
    void setTraceProcessing(const TraceProcessing& processing);

    /// How many readings of columns, pictures and traces have failed; each left a line on the standard error stream, or
    /// with the caller who asked for it. Tells what can't be read from what isn't there.
    std::uint64_t failedReadings() const;
    /// For the io layer: a dataset below "/events" as it is stored. Throws FileError. The caller holds hdf5Mutex().
    Hdf5Id openStored(const std::string& name) const;

    /// Label of a feature for this file, see Tessaly::featureLabel().
    std::string featureLabel(const std::string& key) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace Tessaly
