#pragma once

#include "calc/ComputedColumns.h"
#include "calc/emodulus/Coverage.h"
#include "calc/emodulus/Quality.h"

#include <QObject>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace Tessaly {

class VQDReader;
struct VQDMetadata;

/// A look-up table as read from its file: rows of projected area, deformation and Young's modulus, and the conditions
/// for which they hold.
struct EModulusLut {
    std::vector<double> area;     ///< um^2
    std::vector<double> deform;   ///< dimensionless
    std::vector<double> emodulus; ///< kPa at the reference conditions
    double channelWidth = 20.0;   ///< um
    double flowRate = 0.16;       ///< uL/s
    double viscosity = 1.002;     ///< mPa s
};

/// Delaunay triangulation of a table in coordinates normalised to the unit square, with a grid that tells which
/// triangles a cell touches.
struct EModulusMesh {
    static constexpr int GridSize = 100;

    std::vector<double> x; ///< (area - xMin) / xRange
    std::vector<double> y; ///< (deform - yMin) / yRange
    std::vector<double> z; ///< modulus, as in the table
    double xMin = 0.0, xMax = 0.0, yMin = 0.0, yMax = 0.0;
    double xRange = 0.0, yRange = 0.0;
    std::vector<std::array<std::int32_t, 3>> triangles; ///< counter-clockwise node indices
    /// GridSize x GridSize cells, row * GridSize + column: triangles whose bounding box touches the cell, ascending.
    std::vector<std::vector<std::int32_t>> grid;
};

/// Models of viscosity, as stored.
namespace ViscosityModel {
inline constexpr std::int32_t Herold = 0;
inline constexpr std::int32_t Kestin = 1;
inline constexpr std::int32_t PowerLaw = 2;
inline constexpr std::int32_t Manual = 3;
} // namespace ViscosityModel

/// Media that cells are measured in, as stored.
namespace Medium {
inline constexpr std::int32_t Sorvex = 0;
inline constexpr std::int32_t SorvexB = 1;
inline constexpr std::int32_t Water = 2;
inline constexpr std::int32_t Methylcellulose = 3; ///< 0.83 % in PBS
inline constexpr std::int32_t Other = 4;
} // namespace Medium

/// Where the temperature of an event comes from, as stored.
namespace TemperatureSource {
inline constexpr std::int32_t Manual = 0;
inline constexpr std::int32_t PerEvent = 1;
inline constexpr std::int32_t Metadata = 2;
} // namespace TemperatureSource

/// Everything that a computation of Young's moduli needs to know. The defaults stand for what a file doesn't say.
struct EModulusParams {
    std::int32_t lutId = 0;
    std::int32_t viscosityModel = ViscosityModel::Herold;
    std::int32_t medium = Medium::SorvexB;
    double temperature = 23.0; ///< degrees Celsius
    std::int32_t temperatureSource = TemperatureSource::Metadata;
    double viscosity = 0.0;     ///< mPa s, for the manual model
    double channelWidth = 20.0; ///< um
    double flowRate = 0.04;     ///< uL/s
    double pixelSize = 0.34;    ///< um
    std::string deformFeature = "deform";
    bool pixelationCorrection = true;

    bool operator==(const EModulusParams&) const = default;
};

/// The columns from which moduli are computed, held for as long as a job takes.
struct EModulusInput {
    std::shared_ptr<const std::vector<double>> area;         ///< um^2
    std::shared_ptr<const std::vector<double>> deform;       ///< dimensionless, as long as area
    std::shared_ptr<const std::vector<double>> temperatures; ///< degrees Celsius, as long as area; null for one for all
};

/// What the parameters ask of a measurement; nothing if area or deformation is missing, empty or of another length.
/// A temperature per event that can't be had leaves the one of the parameters. Any thread.
std::optional<EModulusInput> emodulusInput(VQDReader& reader, const EModulusParams& params);

/// A line of equal modulus over area and measured deformation.
struct IsoelasticLine {
    double value = 0.0;                            ///< kPa at the measurement's conditions
    std::vector<std::pair<double, double>> points; ///< (area in um^2, deformation)
};

/// The parameters that a dataset's metadata give, with defaults where a value is absent or does not parse.
/// The temperature is that of the metadata when it is above 0, also where each event has its own; the viscosity is what
/// the medium's model gives for it, so that no field depends on what was there before.
/// @param allowEvent       take the temperature per event ("temp" exists and the user chose so)
/// @param manualViscosity  mPa s, for media without a viscosity model of their own
EModulusParams emodulusParamsFor(const VQDMetadata& metadata, bool allowEvent, double manualViscosity);

/// What a person sets for the moduli of any number of datasets; everything else each file states itself.
struct EModulusSettings {
    std::int32_t temperatureSource = TemperatureSource::Metadata; ///< PerEvent only where a file has such a column
    double temperature = 23.0;                                    ///< degrees Celsius, for TemperatureSource::Manual
    double viscosity = 1.0; ///< mPa s, for media without a viscosity model of their own
    std::string deformFeature = "deform";

    bool operator==(const EModulusSettings&) const = default;
};

/// The parameters for one of these datasets.
/// @param hasTemperatures  whether it has a temperature of each event
EModulusParams emodulusParamsFor(const VQDMetadata& metadata, bool hasTemperatures, const EModulusSettings& settings);

/// Name of a medium as shown and stored; null for Medium::Other and unknown ones.
const char* mediumName(std::int32_t medium);

/// Viscosity of the medium in mPa s. Pure.
/// Sources: Herold, arXiv:1704.00572 (2017); Kestin et al., J. Phys. Chem. Ref. Data 7 (1978).
double viscosity(const EModulusParams& params, double temperature);

/// Deformation less the bias that the camera's pixels add to it. Pure.
/// @param area  um^2;  @param pixelSize  um
double pixelationCorrected(double deform, double area, double pixelSize);

/// Modulus at a point of the table's plane, linear within each triangle; NaN outside the table. The first triangle of
/// the point's cell that holds it within 1e-10 decides, so that nodes and shared edges have one value.
double interpolate(const EModulusMesh& mesh, double area, double deform);

/// Young's moduli from area and deformation through a finite-element look-up table. Tables and triangulations are built
/// on first use and kept; a table that is missing is sought again on every call. Jobs may compute columns side by side,
/// and lines may be asked for on the interface thread meanwhile.
class EModulus : public QObject {
    Q_OBJECT

public:
    explicit EModulus(QObject* parent = nullptr);
    ~EModulus() override;

    /// Folder of the executable, from which the table's file is sought. For tests; empty for the program's own.
    void setSearchDirectory(const std::string& directory);

    /// Reads the table of a number (only number 0 has one) unless that was done before.
    void loadLut(int lutId);
    /// Builds the mesh of a number unless it exists; tables of fewer than 3 rows get none. 12 ms for
    /// 1,600 rows, index included.
    void triangulate(int lutId);
    /// The table or mesh of a number, or null if there is none.
    const EModulusLut* lut(int lutId) const;
    const EModulusMesh* mesh(int lutId) const;

    /// The column "emodulus": kPa, NaN for events outside the table. Changes nothing that others see: for jobs, on any
    /// thread. Progress is reported from that thread.
    /// @return nothing without a table, or if it was asked to stop (looked at every 256 events)
    std::optional<ComputedColumns> computeColumns(const EModulusInput& input, const EModulusParams& params,
                                                  const std::stop_token& stop = {});

    /// Adds the feature "emodulus" to the reader: emodulusInput(), computeColumns() and installColumns() in one, and so
    /// for the interface thread.
    /// @return false, leaving the reader as it was, without table, area or deformation column
    bool compute(VQDReader* reader, const EModulusParams& params);

    /// How far the moduli of some events can be trusted, see Tessaly::assessQuality(). Not valid without a reader, its
    /// columns "area_um" and "deform", or a table. Any thread.
    EModulusQuality assessQuality(VQDReader* reader, const EModulusParams& params,
                                  std::span<const std::int32_t> events);
    /// The picture that goes with it, see Tessaly::coverageOf(). Empty where the assessment isn't valid, and without a
    /// channel width. Any thread.
    EModulusCoverage coverage(VQDReader* reader, const EModulusParams& params, std::span<const std::int32_t> events);

    /// Lines of equal modulus at the measurement's conditions, in the order of their levels; empty without a table.
    /// Kept from call to call as long as the parameters stay the same.
    std::vector<IsoelasticLine> isoelastics(const EModulusParams& params);

signals:
    void progressChanged(int percent);

private:
    struct Table; // a table with its mesh and look-up index, all or none of the latter two

    /// The table, read and triangulated if need be; null if there is none.
    const Table* prepared(std::int32_t lutId);
    void loadLocked(std::int32_t lutId);
    void triangulateLocked(std::int32_t lutId);

    mutable std::mutex tablesMutex_; // guards the map; its entries never change once they are triangulated
    std::map<std::int32_t, std::unique_ptr<Table>> tables_;
    std::string searchDirectory_;

    EModulusParams isoelasticsParams_;
    std::vector<IsoelasticLine> isoelastics_; // of isoelasticsParams_; empty for none yet
};

} // namespace Tessaly
