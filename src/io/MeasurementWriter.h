#pragma once

#include "core/EventFilter.h"
#include "core/VQDMetadata.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace Tessaly {

class VQDReader;

/// Writes a new measurement file from some events of another.
///
/// The file grows under a temporary name beside its target, and close() gives it the target's name if every step
/// succeeded. No exception of the file library leaves the writer: a step that fails leaves a line on the standard error
/// stream, the next ones still run, and close() tells. Each call does nothing while no file is open, and holds
/// hdf5Mutex(), long ones with pauses in which other threads and `onPause` have their turn.
///
/// The order of the calls: create, copyAttributes, writeOfflineFilter, writeExportAttributes, writeScalars,
/// writeImages, writeMasks, writeTraces, close.
class MeasurementWriter {
public:
    MeasurementWriter();
    /// An open file that was not closed stays under its temporary name.
    ~MeasurementWriter();
    MeasurementWriter(const MeasurementWriter&) = delete;
    MeasurementWriter& operator=(const MeasurementWriter&) = delete;

    /// Called between batches of events without the lock, some hundred times a second.
    void setOnPause(std::function<void()> onPause);

    /// Starts a file. Returns false if the temporary file can't be made.
    bool create(const std::string& path);
    /// Copies the attributes of a source: gates as numbers under their own section, everything else as text.
    void copyAttributes(const VQDMetadata& metadata);
    /// Records the enabled rules of the filter that chose the events; nothing for one that is switched off.
    ///
    /// Further rules on the same features are numbered (" #2") behind the features' names; an inverted rule is marked
    /// " inverted" = "1", and excluded events by "offline_filter:combine mode" = "NOT".
    void writeOfflineFilter(const EventFilter& filter);
    /// @param changedSampleName  empty if the sample's name stands
    void writeExportAttributes(std::uint64_t eventCount, const std::string& changedSampleName);
    /// Writes columns of 64-bit reals, the values at the events. Columns that are empty are left out; an event beyond
    /// the end of a column becomes NaN.
    void writeScalars(std::span<const std::string> features, std::span<const int> events, VQDReader& reader);
    /// Writes pictures, one packed chunk for each. Those that are stored so already are copied as they are; others are
    /// packed on two cores. Nothing is written if the first event has no picture; another event without one is black.
    /// Memory: a batch of some megabytes.
    void writeImages(VQDReader& reader, std::span<const int> events);
    void writeMasks(VQDReader& reader, std::span<const int> events);
    /// Writes every trace that the reader lists, filtered ones as they are filtered, one packed chunk for each event.
    void writeTraces(VQDReader& reader, std::span<const int> events);
    /// Ends the file. Returns true if it is complete and bears its name; otherwise what there is stays under the
    /// temporary name.
    bool close();

    /// Where the file grows, or where it stayed if close() failed. Empty before create().
    const std::string& temporaryPath() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace Tessaly
