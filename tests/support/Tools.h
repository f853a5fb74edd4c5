#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace Tessaly {

/// What another program says: its standard output, and "\nfailed" behind it if it ends with an error.
inline std::string outputOf(const std::string& command) {
    std::string output;
    FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    std::array<char, 4096> part;
    while (const std::size_t length = std::fread(part.data(), 1, part.size(), pipe)) {
        output.append(part.data(), length);
    }
    return pclose(pipe) == 0 ? output : output + "\nfailed";
}

/// The first interpreter that has h5py, NumPy and SciPy; not every one in the path does.
inline std::string python() {
    static const std::string found = [] {
        for (const std::string candidate : {"python3", "/usr/bin/python3"}) {
            if (std::system((candidate + " -c 'import h5py, scipy' 2>/dev/null").c_str()) == 0) {
                return candidate;
            }
        }
        return std::string("false # no python3 with h5py and SciPy, scripts/setup.sh installs them;");
    }();
    return found;
}

/// Runs a script of tests/support; "" if it is content.
inline std::string script(const std::string& name, const std::string& arguments) {
    const char* const given = std::getenv("TESSALY_TEST_TOOLS");
    const std::string folder = given != nullptr ? given : std::filesystem::path(__FILE__).parent_path().string();
    return outputOf(python() + " '" + folder + "/" + name + "' " + arguments);
}

} // namespace Tessaly
