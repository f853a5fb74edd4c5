// The same functions in the program, which pass the call on to the module. They are linked instead of those of the
// layer.

#include "batch/ondemand/Entries.h"

#include <QCoreApplication>

#include <dlfcn.h>
#include <stdexcept>
#include <string>

namespace Tessaly {

namespace {

/// Throws std::runtime_error if the module isn't where the program was installed.
const OnDemandEntries& entries() {
    static const OnDemandEntries& loaded = [&]() -> const OnDemandEntries& {
        const std::string path = QCoreApplication::applicationDirPath().toStdString() + "/../lib/" TESSALY_ON_DEMAND;
        void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        void* function = module == nullptr ? nullptr : dlsym(module, OnDemandName);
        if (function == nullptr) {
            const char* reason = dlerror();
            throw std::runtime_error(reason == nullptr ? "a part of the program is missing: " + path : reason);
        }
        return *reinterpret_cast<const OnDemandEntries* (*)()>(function)();
    }();
    return loaded;
}

} // namespace

std::vector<OutlinePoint> cellOutline(const MaskPicture& mask) {
    return entries().cellOutline(mask);
}

std::vector<std::pair<double, double>> centredHull(std::span<const OutlinePoint> points) {
    return entries().centredHull(points);
}

PolygonSize polygonSize(std::span<const std::array<float, 2>> corners) {
    return entries().polygonSize(corners);
}

ContrastTable contrastTable(int lo, int hi) {
    return entries().contrastTable(lo, hi);
}

std::optional<SquareMatrix> inverseOf(const SquareMatrix& matrix) {
    return entries().inverseOf(matrix);
}

void interpolateLinearly(std::span<const double> x, std::span<const double> y, std::span<const double> places,
                         std::span<double> result) {
    entries().interpolateLinearly(x, y, places, result);
}

} // namespace Tessaly
