#include "io/FileProbe.h"

#include "io/DatasetAccess.h"
#include "io/Hdf5Library.h"
#include "io/RowReader.h"
#include "io/StorageCheck.h"
#include "io/VQDReader.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <vector>

namespace Tessaly {

namespace {

/// A larger piece takes too long to unpack for a look.
constexpr std::uint64_t largestPiece = 4ULL << 20;

/// Looks for the chunk of a row without unpacking it. Returns whether reading the row is quick and tells anything.
bool lookForRow(hid_t dataset, const std::vector<std::uint64_t>& extent, std::uint64_t row) {
    const Hdf5Id properties(H5Dget_create_plist(dataset), H5Pclose, "H5Dget_create_plist");
    if (H5Pget_layout(properties.get()) != H5D_CHUNKED) {
        // In one piece, one row is found like another.
        return row == 0 && productOf(extent) / extent[0] < largestPiece;
    }
    std::vector<hsize_t> chunk(extent.size());
    H5Pget_chunk(properties.get(), static_cast<int>(chunk.size()), chunk.data());
    std::vector<hsize_t> start(extent.size(), 0);
    start[0] = row / std::max<hsize_t>(chunk[0], 1) * chunk[0];
    hsize_t stored = 0;
    H5Dget_chunk_storage_size(dataset, start.data(), &stored);
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    return productOf(chunk, H5Tget_size(type.get())) < largestPiece;
}

/// Reads the first and the last row of a dataset of numbers, as the reader would read them.
void lookAtEnds(hid_t dataset) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    const H5T_class_t kind = H5Tget_class(type.get());
    if (extent.empty() || productOf(extent) == 0 || (kind != H5T_INTEGER && kind != H5T_FLOAT && kind != H5T_ENUM)) {
        return;
    }
    const std::uint64_t rowElements = productOf(std::vector<std::uint64_t>(extent.begin() + 1, extent.end()));
    requirePlausible(dataset, rowElements, sizeof(double));
    for (const std::uint64_t row : {std::uint64_t{0}, extent[0] - 1}) {
        if (lookForRow(dataset, extent, row)) {
            std::vector<double> values(rowElements);
            RowReader(dataset, H5T_NATIVE_DOUBLE).read(row, 1, reinterpret_cast<std::byte*>(values.data()));
        }
    }
}

class Probe {
public:
    explicit Probe(std::chrono::milliseconds budget)
        : end_(std::chrono::steady_clock::now() + budget),
          budget_(static_cast<std::clock_t>(budget.count() * CLOCKS_PER_SEC / 1000)) {}

    bool run(const std::string& path) {
        if (!reader_.open(path)) {
            return false;
        }
        reader_.readMetadata();
        lookAtEvent(0);
        lookAtColumns(path);
        readColumns();
        for (std::uint64_t event = 1; event < reader_.eventCount() && isQuick(); ++event) {
            lookAtEvent(event);
        }
        reader_.close();
        return true;
    }

private:
    /// For what must be looked at: a busy machine or a slow disk doesn't count.
    bool hasTime() const { return std::clock() - begin_ < budget_; }
    /// For the rest.
    bool isQuick() const { return hasTime() && std::chrono::steady_clock::now() < end_; }

    void lookAtEvent(std::uint64_t event) {
        int width = 0;
        int height = 0;
        reader_.getImage(event, &width, &height);
        reader_.getMask(event, &width, &height);
        for (const std::string& name : reader_.traceNames()) {
            if (hasTime()) {
                reader_.getTrace(name, event);
            }
        }
    }

    void lookAtColumns(const std::string& path) const {
        const Hdf5Lock lock;
        try {
            const DatasetAccess access;
            const Hdf5Id file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), H5Fclose, "H5Fopen");
            const Hdf5Id events = access.openGroup(file.get(), "events");
            std::string problem;
            for (const std::string& name : access.datasetNames(events.get(), problem)) {
                if (!hasTime()) {
                    return;
                }
                try {
                    lookAtEnds(access.openDataset(events.get(), name).get());
                } catch (const std::exception&) {
                    continue; // a column that can't be read isn't the end of its file
                }
            }
        } catch (const std::exception&) {
            return; // what the reader makes of it is known by now
        }
    }

    void readColumns() {
        for (const std::string& name : reader_.featureNames()) {
            if (!isQuick()) {
                return;
            }
            if (name != "image" && name != "mask") {
                reader_.valueAt(name, 0);
            }
        }
    }

    std::clock_t begin_ = std::clock();
    std::chrono::steady_clock::time_point end_;
    std::clock_t budget_;
    VQDReader reader_;
};

} // namespace

bool probeFile(const std::string& path, std::chrono::milliseconds budget) {
    return Probe(budget).run(path);
}

} // namespace Tessaly
