#include "calc/fluorescence/FLCompensation.h"

#include "core/ErrorReport.h"
#include "io/VQDReader.h"

#include <algorithm>
#include <array>
#include <limits>

namespace Tessaly {

namespace {

constexpr std::size_t progressStep = 256;

bool hasSize(const SquareMatrix& matrix, std::size_t size) {
    return matrix.size() == size &&
           std::ranges::all_of(matrix, [size](const std::vector<double>& row) { return row.size() == size; });
}

using Block = std::array<double, progressStep>;

/// A block of heights, NaN behind their end.
void loadBlock(std::span<const double> heights, std::size_t begin, std::size_t count, Block& block) {
    const std::size_t there = heights.size() > begin ? std::min(count, heights.size() - begin) : 0;
    std::copy_n(heights.begin() + static_cast<std::ptrdiff_t>(there > 0 ? begin : 0), there, block.begin());
    std::fill(block.begin() + static_cast<std::ptrdiff_t>(there), block.end(),
              std::numeric_limits<double>::quiet_NaN());
}

/// One row of the product of a matrix and a block of events.
void multiply(const std::vector<double>& row, const std::vector<Block>& measured, Block& result) {
    result.fill(0.0);
    for (std::size_t j = 0; j < row.size(); ++j) {
        for (std::size_t i = 0; i < progressStep; ++i) {
            result[i] += row[j] * measured[j][i];
        }
    }
}

} // namespace

StepResult compensateCrosstalk(const std::vector<CompensationChannel>& channels, std::size_t events,
                               const SquareMatrix& matrix, const StepControl& control) {
    StepResult result;
    if (channels.size() < 2 || !hasSize(matrix, channels.size()) || events == 0) {
        return result;
    }
    const std::optional<SquareMatrix> inverse = inverseOf(matrix);
    if (!inverse) {
        reportError("FLCompensation: spillover matrix is singular");
        return result;
    }
    ComputedColumns columns;
    for (const CompensationChannel& channel : channels) {
        columns.push_back({"fl" + std::to_string(channel.number) + "_max_ctc", {}});
        columns.back().values.reserve(events);
    }
    // Block by block, so that columns are touched once, and appended rather than filled first.
    std::vector<Block> measured(channels.size());
    Block computed;
    for (std::size_t begin = 0; begin < events; begin += progressStep) {
        if (control.isStopped()) {
            return result;
        }
        control.report(begin * 100 / events);
        const std::size_t count = std::min(progressStep, events - begin);
        for (std::size_t j = 0; j < channels.size(); ++j) {
            loadBlock(channels[j].heights, begin, count, measured[j]);
        }
        for (std::size_t i = 0; i < channels.size(); ++i) {
            multiply((*inverse)[i], measured, computed);
            columns[i].values.insert(columns[i].values.end(), computed.begin(),
                                     computed.begin() + static_cast<std::ptrdiff_t>(count));
        }
    }
    result.columns = std::move(columns);
    result.done = true;
    control.report(100);
    return result;
}

StepResult compensateCrosstalk(VQDReader& reader, const std::vector<int>& channels, const SquareMatrix& matrix,
                               const StepControl& control) {
    std::vector<CompensationChannel> sources;
    std::vector<SharedColumn> held;
    for (const int channel : channels) {
        const std::string measured = "fl" + std::to_string(channel) + "_max";
        const std::string refined = measured + "_rf";
        held.push_back(reader.column(reader.isComputedFeature(refined) ? refined : measured));
        sources.push_back({channel, *held.back()});
    }
    return compensateCrosstalk(sources, reader.eventCount(), matrix, control);
}

bool FLCompensation::compensate(VQDReader* reader, const std::vector<int>& channels, const SquareMatrix& matrix) {
    if (reader == nullptr) {
        return false;
    }
    StepResult result =
        compensateCrosstalk(*reader, channels, matrix, {{}, [this](int percent) { emit progressChanged(percent); }});
    installColumns(std::move(result.columns), *reader);
    return result.done;
}

} // namespace Tessaly
