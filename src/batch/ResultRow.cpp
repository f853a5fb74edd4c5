#include "batch/ResultRow.h"

#include <array>
#include <charconv>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tessaly {

namespace {

constexpr std::string_view firstLine = "tessaly_batch row\t1";
constexpr std::string_view lastLine = "end";

void appendEscaped(std::string& text, std::string_view value) {
    for (const char c : value) {
        switch (c) {
        case '\t':
            text += "\\t";
            break;
        case '\n':
            text += "\\n";
            break;
        case '\r':
            text += "\\r";
            break;
        case '\\':
            text += "\\\\";
            break;
        default:
            text += c;
        }
    }
}

std::string unescaped(std::string_view value) {
    std::string text;
    text.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        const char c = value[++i];
        text += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    }
    return text;
}

template <typename Number>
bool readNumber(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

/// What stands before the first tab; what is behind it stays.
std::string_view takeField(std::string_view& line) {
    const std::size_t tab = line.find('\t');
    const std::string_view field = line.substr(0, tab);
    line.remove_prefix(tab == std::string_view::npos ? line.size() : tab + 1);
    return field;
}

bool readInput(std::string_view value, InputStamp& input) {
    return readNumber(takeField(value), input.size) && readNumber(value, input.modified);
}

bool readLine(std::string_view key, std::string_view value, ResultRow& row) {
    if (key == "source") {
        row.source = unescaped(value);
    } else if (key == "input") {
        return readInput(value, row.input);
    } else if (key == "plan") {
        row.plan = value;
    } else if (key == "program") {
        row.program = value;
    } else if (key == "status") {
        row.done = value == "done";
    } else if (key == "message") {
        row.message = unescaped(value);
    } else if (key == "note") {
        row.notes.push_back(unescaped(value));
    } else if (key == "result") {
        ResultRow::Result result;
        result.name = unescaped(takeField(value));
        row.results.push_back(result);
        return readNumber(value, row.results.back().size);
    } else if (key == "features") {
        for (const char c : value) {
            row.features.push_back(c == '1');
        }
    } else if (key == "heading") {
        row.heading = value;
    } else if (key == "summary") {
        row.summary = value;
    } else if (key == "countsHeading") {
        row.countsHeading = value;
    } else if (key == "counts") {
        row.counts = value;
    }
    return true;
}

} // namespace

std::optional<InputStamp> stampOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return InputStamp{static_cast<std::uint64_t>(status.st_size),
                      static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec};
}

std::string rowText(const ResultRow& row) {
    std::string text(firstLine);
    text += '\n';
    const auto add = [&text](std::string_view key, std::string_view value) {
        text.append(key).append("\t").append(value).append("\n");
    };
    const auto addEscaped = [&text](std::string_view key, std::string_view value) {
        text.append(key).append("\t");
        appendEscaped(text, value);
        text += '\n';
    };
    addEscaped("source", row.source);
    add("input", std::to_string(row.input.size) + '\t' + std::to_string(row.input.modified));
    add("plan", row.plan);
    add("program", row.program);
    add("status", row.done ? "done" : "failed");
    if (!row.message.empty()) {
        addEscaped("message", row.message);
    }
    for (const std::string& note : row.notes) {
        addEscaped("note", note);
    }
    for (const ResultRow::Result& result : row.results) {
        text += "result\t";
        appendEscaped(text, result.name);
        text.append("\t").append(std::to_string(result.size)).append("\n");
    }
    if (!row.heading.empty()) {
        std::string flags;
        for (const bool has : row.features) {
            flags += has ? '1' : '0';
        }
        add("features", flags);
        add("heading", row.heading);
        add("summary", row.summary);
    }
    if (!row.countsHeading.empty()) {
        add("countsHeading", row.countsHeading);
        add("counts", row.counts);
    }
    return text.append(lastLine).append("\n");
}

std::optional<ResultRow> rowFrom(std::string_view text) {
    ResultRow row;
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        if (isFirst) {
            if (line != firstLine) {
                return std::nullopt;
            }
            isFirst = false;
        } else if (line == lastLine) {
            return text.empty() ? std::optional(std::move(row)) : std::nullopt;
        } else if (const std::string_view key = takeField(line); !readLine(key, line, row)) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

bool readSmallFile(const std::string& path, std::string& buffer) {
    buffer.clear();
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    std::array<char, 16384> part;
    ssize_t length = 0;
    while ((length = ::read(file, part.data(), part.size())) > 0) {
        buffer.append(part.data(), static_cast<std::size_t>(length));
    }
    ::close(file);
    return length == 0;
}

} // namespace Tessaly
