#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Tessaly {

/// What writeSampleFile() puts into a file. Equal options give equal contents.
struct SampleFileOptions {
    std::size_t events = 100;
    std::string sample = "Sample"; ///< attribute experiment:sample
    /// Attributes by full name ("section:key"); they add to the default ones or replace them.
    std::map<std::string, std::string> textAttributes;
    std::map<std::string, double> numberAttributes;
    /// Gates stored by the instrument: attribute name to x, y, x, y, ...
    std::map<std::string, std::vector<float>> polygons;
    /// Scalar columns, written as they are; they add to the default ones or replace them.
    std::map<std::string, std::vector<double>> columns;
    bool defaultColumns = true;
    bool images = true;
    bool masks = true;
    bool traces = true;
    int imageWidth = 64;
    int imageHeight = 32;
    int traceSamples = 50;
    unsigned seed = 1;
    bool instrument = true; ///< whether the file passes as one of the maker's instrument
    bool gzip = false;      ///< chunked and compressed instead of contiguous
};

/// The columns that a sample file gets by default, e.g. area_um (20 to 200), deform (0 to 0.3), bright_avg, time
/// (ascending), fl1_max. Positive and finite throughout.
std::map<std::string, std::vector<double>> sampleColumns(std::size_t events, unsigned seed);

/// Writes a small valid measurement file through the plain C interface of the file library.
///
/// Images show a bright ellipse on grey, masks are 255 inside of it and 0 outside. Traces fl1_raw to fl3_raw and
/// fl1_median to fl3_median are 16-bit pulses. Throws std::runtime_error if the file can't be written.
void writeSampleFile(const std::string& path, const SampleFileOptions& options = {});

/// Writes a file of three events with the columns area_um, {1, 2, 3}, and deform, which can't be read.
void writeUnreadableColumn(const std::string& path);

} // namespace Tessaly
