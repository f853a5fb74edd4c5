#include "calc/ContrastTable.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <numeric>

namespace Tessaly {

ContrastTable contrastTable(int lo, int hi) {
    ContrastTable table{};
    lo = std::max(lo, 0);
    hi = std::min(hi, 255);
    if (lo >= hi) {
        return table;
    }
    std::iota(table.begin(), table.end(), std::uint8_t{0});
    if (lo == 0 && hi == 255) {
        return table;
    }
    const cv::Mat greys(1, static_cast<int>(table.size()), CV_8UC1, table.data());
    const double scale = 255.0 / (hi - lo);
    cv::Mat stretched;
    greys.convertTo(stretched, -1, scale, -lo * scale);
    std::copy_n(stretched.ptr<std::uint8_t>(), table.size(), table.begin());
    return table;
}

} // namespace Tessaly
