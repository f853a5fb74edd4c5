#include "session/compare/CombineStatistics.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/compare/CombineModel.h"
#include "stats/DistributionStats.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QtConcurrent/QtConcurrentMap>

#include <algorithm>
#include <array>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::CombineStatistics)
};

constexpr int FiguresPerFeature = 6;
constexpr int FirstFigure = 2; ///< behind name and number

QStringList figureNames() {
    return {Texts::tr("Mean"),   Texts::tr("SD"), Texts::tr("Q1"),
            Texts::tr("Median"), Texts::tr("Q3"), Texts::tr("IQR")};
}

std::vector<std::string> featuresOf(const CombineModel& model) {
    std::vector<std::string> features;
    for (const CombineDatasetSettings& row : model.datasets()) {
        for (const std::string& feature : {row.xFeatureName, row.yFeatureName}) {
            if (!feature.empty() && std::ranges::find(features, feature) == features.end()) {
                features.push_back(feature);
            }
        }
    }
    return features;
}

/// The label that the first dataset with the feature gives it.
QString labelOf(const std::string& feature, const Session& session, const CombineModel& model) {
    for (const CombineDatasetSettings& row : model.datasets()) {
        const DatasetEntry* entry = session.findById(row.datasetId);
        if (entry && entry->reader && entry->reader->hasFeature(feature)) {
            return QString::fromStdString(entry->reader->featureLabel(feature));
        }
    }
    return QString::fromStdString(feature);
}

/// One feature of one row, to be worked out on any core.
struct Job {
    std::size_t row = 0;
    int column = 0;
    const std::vector<double>* values = nullptr;
};

} // namespace

CombineTable combineStatistics(const Session& session, const CombineModel& model, const CombineDataList& data) {
    CombineTable table;
    table.headings = {Texts::tr("Dataset"), Texts::tr("N")};
    const std::vector<std::string> features = featuresOf(model);
    for (const std::string& feature : features) {
        for (const QString& figure : figureNames()) {
            table.headings << labelOf(feature, session, model) + u' ' + figure;
        }
    }
    std::vector<Job> jobs;
    for (std::size_t i = 0; i < model.datasets().size() && i < data.size(); ++i) {
        const CombineDatasetSettings& row = model.datasets()[i];
        const DatasetEntry* entry = session.findById(row.datasetId);
        QStringList cells(table.headings.size());
        cells[0] = entry ? entry->displayName : QString();
        cells[1] = QString::number(data[i]->x.size());
        table.rows.push_back(std::move(cells));
        const auto add = [&](const std::string& feature, const std::vector<double>& values) {
            const auto place = std::ranges::find(features, feature);
            if (!values.empty() && place != features.end()) {
                const int before = static_cast<int>(place - features.begin());
                jobs.push_back({i, FirstFigure + FiguresPerFeature * before, &values});
            }
        };
        add(row.xFeatureName, data[i]->x);
        if (row.yFeatureName != row.xFeatureName) {
            add(row.yFeatureName, data[i]->y);
        }
    }
    const auto figures = QtConcurrent::blockingMapped<std::vector<DistributionStats>>(
        jobs, [](const Job& job) { return computeDistributionStats(*job.values); });
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const DistributionStats& stats = figures[i];
        int column = jobs[i].column;
        for (const double figure : {stats.mean, stats.sd, stats.q1, stats.median, stats.q3, stats.iqr}) {
            table.rows[jobs[i].row][column++] = QString::number(figure, 'g', 6);
        }
    }
    return table;
}

QByteArray tableToTsv(const CombineTable& table) {
    const auto lineOf = [](QStringList cells) {
        // Names may hold what separates cells and lines.
        cells.replaceInStrings(QRegularExpression(QStringLiteral("[\\t\\r\\n]")), QStringLiteral(" "));
        return cells.join(u'\t').toUtf8() + '\n';
    };
    QByteArray text = lineOf(table.headings);
    for (const QStringList& row : table.rows) {
        text += lineOf(row);
    }
    return text;
}

} // namespace Tessaly
