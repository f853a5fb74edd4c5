#pragma once

#include "CellShape.h"
#include "DemoFile.h"
#include "DemoRandom.h"
#include "DemoRun.h"
#include "FrameRenderer.h"
#include "MaskMeasures.h"
#include "ModulusMap.h"
#include "TraceMaker.h"

#include <array>
#include <vector>

namespace Tessaly {

struct MadeEvents {
    EventBatch batch;
    std::array<std::vector<double>, 2> moduli; ///< that the cells of each population were made with, kPa
};

/// Draws the cells of a run and turns each into an event. Events do not depend on each other, so any part of a run may
/// be made at any time and on any thread.
class EventMaker {
public:
    static constexpr FrameSize Frame{250, 80};
    static constexpr double PixelSize = 0.34;    ///< um
    static constexpr double ChannelWidth = 20.0; ///< um
    static constexpr double FlowRate = 0.04;     ///< uL/s
    static constexpr double FrameRate = 3000.0;  ///< Hz
    /// Which part of a channel's light (column) shows in another one (row).
    static constexpr std::array<std::array<double, 3>, 3> Spillover{
        {{1.0, 0.0, 0.0}, {0.12, 1.0, 0.0}, {0.0, 0.05, 1.0}}};

    EventMaker(const DemoRun& run, EModulus& engine);

    MadeEvents make(std::size_t first, std::size_t count) const;

private:
    /// What an event shows.
    struct Subject {
        std::size_t kind = 0; ///< 1 or 2; 0 for debris and doublets
        bool doublet = false;
        CellTarget target;
    };

    Subject draw(DemoRandom& random) const;
    CellTarget drawCell(const CellKind& kind, DemoRandom& random) const;
    void makeImaged(const Subject& subject, double x, double y, DemoRandom& random, EventBatch& batch,
                    EventScalars& scalars) const;
    void describe(const Subject& subject, double x, double y, DemoRandom& random, EventScalars& scalars) const;
    void setOutline(const MaskMeasures& measures, EventScalars& scalars) const;
    void setCommon(std::size_t event, const Subject& subject, double velocity, DemoRandom& random,
                   EventScalars& scalars) const;
    Emission emissionOf(const Subject& subject, double velocity, const EventScalars& scalars, DemoRandom& random) const;

    DemoRun run_;
    ModulusMap map_;
    FrameRenderer renderer_;
    TraceMaker traces_;
    std::vector<double> times_; ///< s
};

} // namespace Tessaly
