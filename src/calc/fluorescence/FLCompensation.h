#pragma once

#include "calc/CalculationStep.h"
#include "calc/LinearAlgebra.h"

#include <QObject>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace Tessaly {

class VQDReader;

/// Peak heights of one fluorescence channel.
struct CompensationChannel {
    int number = 0;
    std::span<const double> heights; ///< one per event; what is missing at the end counts as NaN
};

/// Undoes crosstalk between channels: with y the measured heights of an event and M the spillover matrix, of which
/// element (i, j) is how much of the light of channel j shows in channel i, y = M x is solved for x, the true ones.
/// Gives a column "fl<c>_max_ctc" for each channel; NaN in one channel spreads to all channels of the event.
/// @param matrix  one row and one column for each channel
/// @return not done below two channels, without events, and for a matrix of another size or without an inverse; the
///         latter with one line on the standard error stream
/// O(events * channels^2), any thread. Source: C. B. Bagwell, E. G. Adams, Ann. N.Y. Acad. Sci. 677 (1993), 167.
StepResult compensateCrosstalk(const std::vector<CompensationChannel>& channels, std::size_t events,
                               const SquareMatrix& matrix, const StepControl& control = {});

/// The same for a reader's columns: "fl<c>_max_rf" where it was computed, else "fl<c>_max". Leaves the reader as it is.
StepResult compensateCrosstalk(VQDReader& reader, const std::vector<int>& channels, const SquareMatrix& matrix,
                               const StepControl& control = {});

/// Crosstalk compensation on the spot, for one reader. Holds no data between calls.
class FLCompensation : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Computes the columns and puts them into the reader.
    /// @return false, leaving the reader as it was, where compensateCrosstalk() isn't done, and without a reader
    bool compensate(VQDReader* reader, const std::vector<int>& channels, const SquareMatrix& matrix);

signals:
    void progressChanged(int percent);
};

} // namespace Tessaly
