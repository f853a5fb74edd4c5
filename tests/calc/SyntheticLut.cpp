#include "SyntheticLut.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace Tessaly {

EModulusLut syntheticLut() {
    EModulusLut lut;
    for (int i = 0; i < 12; ++i) {
        for (int j = 0; j < 9; ++j) {
            const int k = 9 * i + j;
            const double area = 40.0 + 20.0 * i + 6.0 * std::sin(12.9898 * k);
            const double deform = 0.01 + 0.02 * j + 0.006 * std::sin(78.233 * k + 1.0);
            lut.area.push_back(area);
            lut.deform.push_back(deform);
            lut.emodulus.push_back(0.0005 * std::pow(area, 1.5) / (deform + 0.01));
        }
    }
    return lut;
}

std::string lutText(const EModulusLut& lut) {
    char line[128];
    std::snprintf(line, sizeof line, "#   \"channel_width\": %.17g, \"flow_rate\": %.17g, \"fluid_viscosity\": %.17g\n",
                  lut.channelWidth, lut.flowRate, lut.viscosity);
    std::string text = "# A table\n# - BEGIN METADATA\n# {\n" + std::string(line) + "# }\n# - END METADATA\n";
    text += "area [um^2]\tdeform\temodulus [kPa]\n";
    for (std::size_t i = 0; i < lut.area.size(); ++i) {
        std::snprintf(line, sizeof line, "%.17g\t%.17g\t%.17g\n", lut.area[i], lut.deform[i], lut.emodulus[i]);
        text += line;
    }
    return text;
}

void installLut(const std::string& executableFolder, const std::string& text) {
    const std::filesystem::path folder = std::filesystem::path(executableFolder) / "data";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "LUT_LE_2D_FEM.txt", std::ios::binary) << text;
}

} // namespace Tessaly
