#include "batch/RowWalk.h"

#include <QString>

#include <algorithm>
#include <dirent.h>
#include <sys/stat.h>

namespace Tessaly {

namespace {

constexpr std::string_view rowSuffix = ".row";
constexpr std::string_view workSuffix = ".part";

/// Entries of a folder, in one piece of memory.
class Names {
public:
    struct Entry {
        std::uint32_t start;
        std::uint16_t length;
        bool isFolder;
    };

    void add(std::string_view name, bool isFolder) {
        entries_.push_back(
            {static_cast<std::uint32_t>(text_.size()), static_cast<std::uint16_t>(name.size()), isFolder});
        text_.append(name);
    }
    std::string_view nameOf(const Entry& entry) const {
        return std::string_view(text_).substr(entry.start, entry.length);
    }
    void sort() {
        std::ranges::sort(entries_, [this](const Entry& left, const Entry& right) {
            return componentComesBefore(nameOf(left), nameOf(right));
        });
    }
    const std::vector<Entry>& entries() const { return entries_; }

private:
    std::string text_;
    std::vector<Entry> entries_;
};

bool isFolderAt(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Records, without their suffix, and folders.
bool listFolder(const std::string& folder, Names& names) {
    DIR* const stream = ::opendir(folder.c_str());
    if (stream == nullptr) {
        return false;
    }
    while (const dirent* entry = ::readdir(stream)) {
        const std::string_view name(entry->d_name);
        if (name == "." || name == ".." || (name.starts_with('.') && name.ends_with(workSuffix))) {
            continue;
        }
        const bool isFolder =
            entry->d_type == DT_DIR || (entry->d_type == DT_UNKNOWN && isFolderAt(folder + '/' + std::string(name)));
        if (isFolder) {
            names.add(name, true);
        } else if (name.ends_with(rowSuffix)) {
            names.add(name.substr(0, name.size() - rowSuffix.size()), false);
        }
    }
    ::closedir(stream);
    return true;
}

bool isPlain(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

bool componentComesBefore(std::string_view left, std::string_view right) {
    if (isPlain(left) && isPlain(right)) {
        const auto [l, r] = std::ranges::mismatch(left, right, {}, lowered, lowered);
        if (l != left.end() && r != right.end()) {
            return lowered(*l) < lowered(*r);
        }
        return left.size() != right.size() ? left.size() < right.size() : left < right;
    }
    const QString wideLeft = QString::fromUtf8(left.data(), static_cast<qsizetype>(left.size()));
    const QString wideRight = QString::fromUtf8(right.data(), static_cast<qsizetype>(right.size()));
    const int order = wideLeft.compare(wideRight, Qt::CaseInsensitive);
    return order != 0 ? order < 0 : left < right;
}

bool walkRows(const std::string& folder, const std::function<bool(const std::string& path)>& take,
              std::string& problem) {
    Names names;
    if (!listFolder(folder, names)) {
        problem = problem.empty() ? folder : problem;
        return true;
    }
    names.sort();
    std::string path;
    for (const Names::Entry& entry : names.entries()) {
        path.assign(folder).append("/").append(names.nameOf(entry));
        const bool goOn = entry.isFolder ? walkRows(path, take, problem) : take(path.append(rowSuffix));
        if (!goOn) {
            return false;
        }
    }
    return true;
}

} // namespace Tessaly
