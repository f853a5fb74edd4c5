#pragma once

#include "calc/CalculationStep.h"
#include "io/TraceFilters.h"

#include <QObject>

#include <cstddef>
#include <functional>
#include <mutex>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace Tessaly {

class VQDReader;
struct VQDMetadata;

/// The filters that traces pass through, and which events tell the speed of the cells.
struct FLRefinementParams : TraceProcessing {
    double flMaxThreshold = 400.0; ///< an event counts for the speed estimate if a peak of its is above

    bool operator==(const FLRefinementParams&) const = default;
};

/// What is known of a dataset before its columns and traces are looked at.
struct FLRefinementPlan {
    struct Channel {
        int number = 0;
        double offset = 0.0; ///< added to every sample
        bool hasTrace = false;
    };

    std::vector<Channel> channels; ///< rising
    std::size_t events = 0;
    std::size_t traceLength = 0; ///< samples
    double sampleTime = 1e6;     ///< us
    double channelCentre = 0.0;  ///< um from the left edge of the image; 0 if unknown
    FLRefinementParams params;
};

/// The columns that a refinement needs. Missing values at the end of a column count as NaN.
struct FLRefinementColumns {
    struct Channel {
        std::span<const double> heights;   ///< "_max"
        std::span<const double> positions; ///< "_pos", us
    };

    std::vector<Channel> channels; ///< as in the plan
    std::span<const double> posX;  ///< um; empty if there is none
    std::span<const double> sizeX; ///< um; empty if there is none
};

/// Gives an event's raw trace of a channel. Empty if it can't be read; `problem` then says why.
using RawTraceSource = std::function<std::vector<float>(int channel, std::size_t event, std::string& problem)>;

/// Speed of the cells and its robust spread in um/us; both 0 if nothing tells them.
struct CellSpeed {
    double speed = 0.0;
    double spread = 0.0;
};

/// The speed that places and times of peaks imply, from the half of the events farthest from the channel's centre.
/// Events with a value that is no finite number, or a peak in the middle of the trace, don't count. O(events *
/// channels).
CellSpeed estimateCellSpeed(const FLRefinementPlan& plan, const FLRefinementColumns& columns);

/// Reads a dataset's settings and lists its channels. Interface thread; reads one image at most.
FLRefinementPlan planRefinement(VQDReader& reader, const VQDMetadata& metadata, const FLRefinementParams& params);

/// Makes the refined traces of a plan readable under their names. Interface thread. Nothing is done without channels.
void installRefinedTraces(VQDReader& reader, const FLRefinementPlan& plan);

/// Measures the peaks of all channels anew in the filtered traces, where the cell's place and speed say that they must
/// be: columns "fl<c>_max_rf", "fl<c>_pos_rf" (us) and "fl<c>_width_rf" (us, at half of the peak). Where there is no
/// trace, or the window lies outside of it, the height is 0, the position that of "fl<c>_pos" (NaN without one), and
/// the width 0. Not done without channels; stopped, the columns of finished channels are there. Any thread; about 10 us
/// an event and channel besides reading.
StepResult refineFluorescence(const FLRefinementPlan& plan, const FLRefinementColumns& columns,
                              const RawTraceSource& traces, const StepControl& control = {});

/// The same for a reader's columns and traces; one line on the standard error stream tells of unreadable ones. Leaves
/// the reader's aliases, settings and last trace alone.
StepResult refineFluorescence(VQDReader& reader, const FLRefinementPlan& plan, const StepControl& control = {});

/// Refinement on the spot, for one reader.
class FLRefinement : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Installs the refined traces, computes the columns and puts them into the reader.
    /// @return false without a reader or channels, and if cancelled: then finished channels stay
    bool refine(VQDReader* reader, const VQDMetadata& metadata, const FLRefinementParams& params);

    /// Ends a refinement at the next event. Any thread; without effect on one that starts later.
    void cancel();

signals:
    void progressChanged(int percent);

private:
    std::mutex stopMutex_; // guards the source, which is replaced at every start
    std::stop_source stop_;
};

} // namespace Tessaly
