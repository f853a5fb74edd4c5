#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Tessaly {

class EModulus;

/// One population of cells.
struct CellKind {
    double share = 0.5;          ///< of the cells
    double area = 0.0;           ///< median, um^2
    double areaSpread = 0.0;     ///< sd of the logarithm
    double modulus = 0.0;        ///< median, kPa
    double modulusSpread = 0.0;  ///< sd of the logarithm
    std::array<double, 3> light; ///< median fluorescence of the channels
};

/// One measurement to be made.
struct DemoRun {
    std::string sample;
    std::string date = "2024-05-14";
    std::string time = "10:00:00";
    std::int64_t runIndex = 1;
    std::uint64_t seed = 1;
    std::size_t events = 0;
    bool images = true;     ///< images, masks and traces; without them cells are described by formulas
    bool reservoir = false; ///< taken before the channel, where cells are not deformed
    double temperature = 23.0;
    std::array<CellKind, 2> kinds{};
    std::string changedSampleName; ///< of an exported file; empty for a file as the instrument wrote it
};

/// The median modulus of each population in kPa.
using KindMedians = std::array<double, 2>;

/// Makes a measurement and writes it. The populations' numbers, 1 and 2, are in the column "userdef9"; what is no
/// single cell has 0 there. Images, masks and scalars agree: outline features are those of the event's mask. Equal runs
/// give equal files. Throws std::runtime_error without a look-up table and when writing fails.
/// @return the medians of the moduli that the cells were made with
KindMedians writeDemoRun(const std::string& path, const DemoRun& run, EModulus& engine);

/// Computes the moduli of a file's stored areas and deformations, as the program does, and gives their medians.
KindMedians computedMedians(const std::string& path, EModulus& engine);

} // namespace Tessaly
