#pragma once

#include <array>
#include <cstddef>

namespace Tessaly {

/// The scalar columns of a demo file, in the order of featureTable.
enum class Feature : std::size_t {
    AreaCvx,
    AreaMsd,
    AreaRatio,
    AreaUm,
    AreaUmRaw,
    Aspect,
    BgMed,
    BgOff,
    BrightAvg,
    BrightSd,
    BrightBcAvg,
    BrightBcSd,
    Circ,
    Deform,
    DeformRaw,
    EccentrPrnc,
    FlowRate,
    Frame,
    Index,
    IndexOnline,
    InertRatioCvx,
    InertRatioPrnc,
    InertRatioRaw,
    MlClass,
    PerRatio,
    PerUmRaw,
    PosX,
    PosY,
    SizeX,
    SizeY,
    Temp,
    TempAmb,
    Time,
    Volume,
    Fl1Area,
    Fl1Dist,
    Fl1Max,
    Fl1Npeaks,
    Fl1Pos,
    Fl1Width,
    Fl2Area,
    Fl2Dist,
    Fl2Max,
    Fl2Npeaks,
    Fl2Pos,
    Fl2Width,
    Fl3Area,
    Fl3Dist,
    Fl3Max,
    Fl3Npeaks,
    Fl3Pos,
    Fl3Width,
    Userdef0,
    Userdef1,
    Userdef2,
    Userdef9,
    Count
};

inline constexpr std::size_t FeatureCount = static_cast<std::size_t>(Feature::Count);

/// How a column is stored. Files of the instrument mix types, so demo files do.
enum class StoredType { Float64, Float32, UInt8, UInt16, Int32, UInt64 };

struct FeatureColumn {
    const char* name;
    StoredType type;
};

/// Name and type of each column.
extern const std::array<FeatureColumn, FeatureCount> featureTable;

/// The values of one event.
class EventScalars {
public:
    double& operator[](Feature feature) { return values_[static_cast<std::size_t>(feature)]; }
    double operator[](Feature feature) const { return values_[static_cast<std::size_t>(feature)]; }
    double at(std::size_t column) const { return values_[column]; }

private:
    std::array<double, FeatureCount> values_{};
};

/// The column of a fluorescence channel (1 to 3) that corresponds to one of channel 1.
constexpr Feature ofChannel(Feature featureOfChannel1, std::size_t channel) {
    constexpr auto stride = static_cast<std::size_t>(Feature::Fl2Area) - static_cast<std::size_t>(Feature::Fl1Area);
    return static_cast<Feature>(static_cast<std::size_t>(featureOfChannel1) + (channel - 1) * stride);
}

} // namespace Tessaly
