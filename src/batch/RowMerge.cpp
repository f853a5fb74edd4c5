#include "batch/RowMerge.h"

#include "batch/FileRun.h"
#include "batch/ResultRow.h"
#include "batch/RowWalk.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::RowMerge)
};

/// Why a merge ends without tables.
struct MergeEnd {
    QString problem;
};

std::string inOneCell(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

/// A table that gets its name when it is complete; nothing happens for an empty name.
class Table {
public:
    explicit Table(const QString& path) {
        if (path.isEmpty()) {
            return;
        }
        file_ = std::make_unique<QSaveFile>(path);
        if (!file_->open(QIODevice::WriteOnly)) {
            fail();
        }
    }

    bool isOn() const { return file_ != nullptr; }
    void add(std::string_view path, std::string_view line) {
        if (!file_) {
            return;
        }
        if (!path.empty()) {
            text_.append(path).append("\t");
        }
        text_.append(line).append("\n");
        if (text_.size() > mostKept) {
            flush();
        }
    }
    void commit() {
        if (file_) {
            flush();
            // Flushed here, because commit() takes no notice of what goes wrong in its own flushing.
            if (!file_->flush() || !file_->commit()) {
                fail();
            }
        }
    }

private:
    static constexpr std::size_t mostKept = 1 << 18;

    void flush() {
        const auto size = static_cast<qint64>(text_.size());
        if (file_->write(text_.data(), size) != size) {
            fail();
        }
        text_.clear();
    }
    [[noreturn]] void fail() const {
        throw MergeEnd{Texts::tr("can't write %1: %2").arg(file_->fileName(), file_->errorString())};
    }

    std::unique_ptr<QSaveFile> file_;
    std::string text_;
};

std::vector<std::string_view> cellsOf(std::string_view line) {
    std::vector<std::string_view> cells;
    for (;;) {
        const std::size_t tab = line.find('\t');
        cells.push_back(line.substr(0, tab));
        if (tab == std::string_view::npos) {
            return cells;
        }
        line.remove_prefix(tab + 1);
    }
}

/// The heading of all rows: a feature is labelled as the first file that has it does, for a file without it knows
/// its name only.
class Heading {
public:
    /// Takes a row in; true once no other row can change anything.
    bool take(const ResultRow& row) {
        if (cells_.empty()) {
            for (const std::string_view cell : cellsOf(row.heading)) {
                cells_.emplace_back(cell);
            }
            known_.assign(row.features.size(), false);
            figures_ = known_.empty() ? 0 : (cells_.size() - 1) / known_.size();
        }
        const std::vector<std::string_view> cells = cellsOf(row.heading);
        for (std::size_t feature = 0; feature < std::min(known_.size(), row.features.size()); ++feature) {
            if (known_[feature] || !row.features[feature] || cells.size() != cells_.size()) {
                continue;
            }
            known_[feature] = true;
            for (std::size_t cell = 1 + feature * figures_; cell < 1 + (feature + 1) * figures_; ++cell) {
                cells_[cell] = cells[cell];
            }
        }
        return std::ranges::all_of(known_, [](bool known) { return known; });
    }
    std::string line() const {
        std::string line;
        for (const std::string& cell : cells_) {
            line.append(line.empty() ? "" : "\t").append(cell);
        }
        return line;
    }

private:
    std::vector<std::string> cells_;
    std::vector<bool> known_;
    std::size_t figures_ = 0; ///< columns of a feature
};

class Merge {
public:
    Merge(const MergeRequest& request, const MissingRowTaker& missing)
        : request_(request),
          missing_(missing),
          table_(request.output),
          counts_(request.counts),
          report_(request.report),
          plan_(request.plan) {}

    MergeOutcome run() {
        report_.add("File", "State\tReason");
        forEachRow([this](const std::string& path, const std::optional<ResultRow>& row) {
            addRow(path, row);
            return true;
        });
        reportThoseNeverDone();
        if (outcome_.rows == 0 && (table_.isOn() || counts_.isOn())) {
            throw MergeEnd{Texts::tr("there are no rows in %1").arg(request_.folder)};
        }
        table_.commit();
        counts_.commit();
        report_.commit();
        return outcome_;
    }

private:
    using RowTaker = std::function<bool(const std::string& path, const std::optional<ResultRow>& row)>;

    void forEachRow(const RowTaker& take) {
        std::string problem;
        std::string text;
        walkRows(
            request_.folder.toStdString(),
            [&](const std::string& path) {
                return take(path, readSmallFile(path, text) ? rowFrom(text) : std::nullopt);
            },
            problem);
        if (!problem.empty()) {
            throw MergeEnd{Texts::tr("can't read the folder %1").arg(QString::fromStdString(problem))};
        }
    }

    bool isOfPlan(const ResultRow& row) const { return plan_.empty() || row.plan == plan_; }

    /// Writes the headings. As a rule the first row tells them; others are looked at for features that it lacks.
    void startTables(const ResultRow& first) {
        plan_ = first.plan;
        if (table_.isOn() && first.heading.empty()) {
            throw MergeEnd{Texts::tr("the rows hold no summary")};
        }
        if (counts_.isOn() && first.countsHeading.empty()) {
            throw MergeEnd{Texts::tr("the rows hold no counts")};
        }
        Heading heading;
        if (table_.isOn() && !heading.take(first)) {
            forEachRow([&](const std::string&, const std::optional<ResultRow>& row) {
                return !row || !row->done || !isOfPlan(*row) || !heading.take(*row);
            });
        }
        const std::string_view path = request_.paths ? "File" : "";
        table_.add(path, heading.line());
        counts_.add(path, first.countsHeading);
    }

    void addRow(const std::string& path, const std::optional<ResultRow>& row) {
        if (!row) {
            leaveOut(path.substr(0, path.size() - 4), Texts::tr("its record can't be read"));
            return;
        }
        if (!row->done) {
            leaveOut(row->source, QString::fromStdString(row->message));
            return;
        }
        if (!isOfPlan(*row)) {
            if (request_.plan.empty()) {
                throw MergeEnd{Texts::tr("rows of different plans: %1 and others; run them again, or name the plan")
                                   .arg(QString::fromStdString(row->source))};
            }
            leaveOut(row->source, Texts::tr("its row was made with another plan"));
            return;
        }
        if (outcome_.rows++ == 0) {
            startTables(*row);
        }
        const std::string source = request_.paths ? inOneCell(row->source) : std::string();
        table_.add(source, row->summary);
        counts_.add(source, row->counts);
        for (const std::string& note : row->notes) {
            ++outcome_.notes;
            report_.add(inOneCell(row->source), "note\t" + inOneCell(note));
        }
    }

    void leaveOut(const std::string& source, const QString& reason) {
        ++outcome_.withoutRow;
        missing_(QString::fromStdString(source), reason);
        report_.add(inOneCell(source), "no row\t" + inOneCell(reason.toStdString()));
    }

    /// Those of the list of inputs that have no record at all.
    void reportThoseNeverDone() {
        if (request_.inputs.isEmpty()) {
            return;
        }
        std::ifstream list(request_.inputs.toStdString());
        if (!list) {
            throw MergeEnd{Texts::tr("can't read %1").arg(request_.inputs)};
        }
        for (std::string line; std::getline(list, line);) {
            const QString file = QString::fromStdString(line);
            const auto root = request_.root.isEmpty() ? QFileInfo(file).absolutePath() : request_.root;
            const auto place = file.isEmpty() ? std::nullopt : resultPlace(file, root, request_.folder);
            if (place && !stampOf(place->rowPath().toStdString())) {
                leaveOut(place->source.toStdString(), Texts::tr("it was never done"));
            } else if (!place && !file.isEmpty()) {
                leaveOut(line, Texts::tr("it doesn't lie below the root"));
            }
        }
    }

    const MergeRequest& request_;
    const MissingRowTaker& missing_;
    Table table_;
    Table counts_;
    Table report_;
    std::string plan_;
    MergeOutcome outcome_;
};

} // namespace

MergeOutcome mergeRows(const MergeRequest& request, const MissingRowTaker& missing) {
    try {
        return Merge(request, missing).run();
    } catch (const MergeEnd& end) {
        MergeOutcome outcome;
        outcome.problem = end.problem;
        return outcome;
    }
}

} // namespace Tessaly
