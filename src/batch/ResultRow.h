#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessaly {

/// What a file of inputs was when it was worked on.
struct InputStamp {
    std::uint64_t size = 0;    ///< bytes
    std::int64_t modified = 0; ///< nanoseconds since 1970

    bool operator==(const InputStamp&) const = default;
};

/// The stamp of a regular file; nothing if there is none.
std::optional<InputStamp> stampOf(const std::string& path);

/// The record of one measurement file in the folder of results, a text file named after it with ".row" behind. It is
/// put in place last: who sees it finds all other results of the file, too.
struct ResultRow {
    /// A file that was written beside the record.
    struct Result {
        std::string name;
        std::uint64_t size = 0; ///< bytes

        bool operator==(const Result&) const = default;
    };

    std::string source; ///< absolute path of the measurement file
    InputStamp input;
    std::string plan;    ///< digest
    std::string program; ///< version
    bool done = false;
    std::string message;            ///< why not
    std::vector<std::string> notes; ///< what of the plan couldn't be done, though the file counts as done
    std::vector<Result> results;
    std::vector<bool> features; ///< which features of the summary the file has
    std::string heading;        ///< line of the summary's heading, for this file alone; empty without a summary
    std::string summary;        ///< line of the summary
    std::string countsHeading;  ///< the same for the counts of gates
    std::string counts;

    bool operator==(const ResultRow&) const = default;
};

/// Lines of a key and its value, with a tab between them; ended by a line "end". UTF-8. Tabs, line breaks and
/// backslashes in paths and messages are escaped.
std::string rowText(const ResultRow& row);
/// Reads a record; nothing if it isn't a whole one of this version. O(length), about 2 us.
std::optional<ResultRow> rowFrom(std::string_view text);

/// Reads a small file into a buffer that is used again and again; false if it can't be read.
bool readSmallFile(const std::string& path, std::string& buffer);

} // namespace Tessaly
