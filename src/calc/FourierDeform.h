#pragma once

#include "calc/CalculationStep.h"
#include "calc/Outlines.h"

#include <QObject>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tessaly {

class VQDReader;

/// Deformations of a cell's outline rebuilt from some of its harmonics.
struct FourierResult {
    double deformOdd = std::numeric_limits<double>::quiet_NaN();  ///< from the odd orders
    double deformEven = std::numeric_limits<double>::quiet_NaN(); ///< from the even orders
    double deformFc = std::numeric_limits<double>::quiet_NaN();   ///< from all orders
};

/// Gives an event's mask; one without pixels if it can't be read, and `problem` then says why.
using MaskSource = std::function<MaskPicture(std::size_t event, std::string& problem)>;

/// Fourier deformations of all events: columns "deform_odd", "deform_even" (both or neither of an event) and
/// "deform_fc", NaN where a mask is missing, unreadable or without a usable outline.
/// Any thread; about 25 us an event besides reading. Not done only if stopped: then nothing is there.
StepResult fourierDeformations(std::size_t events, const MaskSource& masks, const StepControl& control = {});

/// The same for a reader's masks; one line on the standard error stream tells of unreadable ones. Leaves the reader as
/// it is. Not done without masks.
StepResult fourierDeformations(VQDReader& reader, const StepControl& control = {});

/// Fourier deformation on the spot, for one reader. Holds no data between calls.
class FourierDeform : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Orders 0 to 10.
    static constexpr int Harmonics = 11;

    /// Computes the columns and puts them into the reader. False without a reader or masks, which leaves it as it was.
    bool compute(VQDReader* reader);

    /// Describes the convex hull of an outline as radius over angle around its centroid, expands that into a Fourier
    /// series, and measures the deformation 1 - 2 sqrt(pi A) / L of what chosen orders rebuild.
    /// @param harmonics  number of orders, 0 included
    /// @param resample   quadrature over 100 equal angles; otherwise over the hull's own points, more finely divided
    /// @return NaN throughout, and one line on the standard error stream, for an outline without an inside
    static FourierResult analyzeContour(std::span<const OutlinePoint> points, int harmonics = Harmonics,
                                        bool resample = true);

signals:
    void progressChanged(int percent);
};

} // namespace Tessaly
