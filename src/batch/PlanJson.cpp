#include "batch/BatchPlan.h"
#include "session/filters/RuleJson.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::BatchPlan)
};

constexpr qint64 mostBytes = 128LL << 20;

// Names of choices as stored, by their number.
constexpr std::array<const char*, 3> temperatureSources{"manual", "event", "metadata"};

/// What is wrong with a plan; ends the reading.
struct PlanError : std::runtime_error {
    explicit PlanError(const QString& text) : std::runtime_error(text.toStdString()) {}
};

// Writing.

QJsonArray textsOf(const std::vector<std::string>& texts) {
    QJsonArray array;
    for (const std::string& text : texts) {
        array.append(QString::fromStdString(text));
    }
    return array;
}

/// Calls `visit` with the name and the place of each parameter.
template <typename Params, typename Visit>
void visitRefinement(Params& params, const Visit& visit) {
    visit("hampel1", params.hampel1);
    visit("hampel1HalfWindow", params.hampel1HalfWindow);
    visit("hampel1Threshold", params.hampel1Threshold);
    visit("hampel2", params.hampel2);
    visit("hampel2HalfWindow", params.hampel2HalfWindow);
    visit("hampel2Threshold", params.hampel2Threshold);
    visit("median", params.median);
    visit("medianHalfWindow", params.medianHalfWindow);
    visit("rolling", params.rolling);
    visit("rollingHalfWindow", params.rollingHalfWindow);
    visit("savitzkyGolay", params.savitzkyGolay);
    visit("savitzkyGolayHalfWindow", params.savitzkyGolayHalfWindow);
    visit("flMaxThreshold", params.flMaxThreshold);
}

QJsonObject refinementToJson(const FLRefinementParams& params) {
    QJsonObject object;
    visitRefinement(params, [&object](const char* name, auto value) { object[QLatin1String(name)] = value; });
    return object;
}

QJsonObject compensationToJson(const PlanCompensation& compensation) {
    QJsonArray channels;
    QJsonArray matrix;
    for (const int channel : compensation.channels) {
        channels.append(channel);
    }
    for (const std::vector<double>& row : compensation.matrix) {
        QJsonArray values;
        for (const double value : row) {
            values.append(value);
        }
        matrix.append(values);
    }
    return {{"channels", channels}, {"matrix", matrix}};
}

QJsonObject modulusToJson(const EModulusSettings& settings) {
    const auto source = static_cast<std::size_t>(std::clamp(settings.temperatureSource, 0, 2));
    return {{"temperatureSource", QLatin1String(temperatureSources.at(source))},
            {"temperature", settings.temperature},
            {"viscosity", settings.viscosity},
            {"deformation", QString::fromStdString(settings.deformFeature)}};
}

QJsonObject calculationsToJson(const BatchPlan& plan) {
    QJsonObject object;
    if (plan.refinement) {
        object["refinement"] = refinementToJson(*plan.refinement);
    }
    if (plan.compensation) {
        object["compensation"] = compensationToJson(*plan.compensation);
    }
    if (plan.fourier) {
        object["fourier"] = true;
    }
    if (plan.modulus) {
        object["modulus"] = modulusToJson(*plan.modulus);
    }
    return object;
}

QJsonObject filterToJson(const BatchPlan& plan) {
    QJsonArray gates;
    for (const PlanGate& gate : plan.gates) {
        QJsonArray rules;
        for (const FilterRule& rule : gate.rules) {
            rules.append(ruleToJson(rule));
        }
        gates.append(QJsonObject{{"name", QString::fromStdString(gate.name)}, {"rules", rules}});
    }
    return {{"enabled", plan.filterEnabled},
            {"combineMode", plan.combineMode == EventFilter::ShowPassing ? "AND" : "NOT"},
            {"gates", gates}};
}

QJsonObject outputsToJson(const BatchPlan& plan) {
    QJsonObject object;
    if (plan.summary) {
        QJsonArray figures;
        for (const NamedFigure& figure : namedFigures()) {
            if ((*plan.summary).*figure.field) {
                figures.append(QLatin1String(figure.name));
            }
        }
        QJsonObject summary{{"features", textsOf(plan.summary->features)}, {"statistics", figures}};
        if (plan.summary->percentileOn) {
            summary["percentile"] = plan.summary->percentile;
        }
        object["summary"] = summary;
    }
    if (plan.table) {
        object["table"] = QJsonObject{{"features", textsOf(plan.table->features)}};
    }
    if (plan.measurement) {
        object["measurement"] = QJsonObject{{"features", textsOf(plan.measurement->features)},
                                            {"images", plan.measurement->images},
                                            {"masks", plan.measurement->masks},
                                            {"traces", plan.measurement->traces}};
    }
    if (plan.counts) {
        object["counts"] = true;
    }
    return object;
}

// Reading.

/// An object of a plan with its place, which gives up its members one by one; what is left over at the end is unknown.
class Reader {
public:
    Reader(const QJsonValue& value, QString place) : place_(std::move(place)) {
        if (!value.isObject()) {
            throw PlanError(Texts::tr("%1 must be an object").arg(place_));
        }
        object_ = value.toObject();
    }

    bool has(QLatin1StringView key) const { return object_.contains(key); }
    QString placeOf(QLatin1StringView key) const { return place_.isEmpty() ? QString(key) : place_ + '.' + key; }

    QJsonValue take(QLatin1StringView key) {
        taken_.insert(key);
        return object_.value(key);
    }
    /// A member that may be missing: then the default stands.
    void read(QLatin1StringView key, bool& flag) {
        if (const QJsonValue value = take(key); !value.isUndefined()) {
            require(value.isBool(), key, Texts::tr("true or false"));
            flag = value.toBool();
        }
    }
    void read(QLatin1StringView key, double& number) {
        if (const QJsonValue value = take(key); !value.isUndefined()) {
            require(value.isDouble(), key, Texts::tr("a number"));
            number = value.toDouble();
        }
    }
    void read(QLatin1StringView key, float& number) {
        double wide = number;
        read(key, wide);
        number = static_cast<float>(wide);
    }
    void read(QLatin1StringView key, int& number) {
        double wide = number;
        read(key, wide);
        require(wide == std::floor(wide) && std::fabs(wide) < 1e6, key, Texts::tr("a whole number"));
        number = static_cast<int>(wide);
    }
    void read(QLatin1StringView key, std::string& text) {
        if (const QJsonValue value = take(key); !value.isUndefined()) {
            require(value.isString(), key, Texts::tr("a text"));
            text = value.toString().toStdString();
        }
    }
    QJsonArray list(QLatin1StringView key) {
        const QJsonValue value = take(key);
        require(value.isArray(), key, Texts::tr("a list"));
        return value.toArray();
    }
    std::vector<std::string> texts(QLatin1StringView key) {
        std::vector<std::string> result;
        for (const QJsonValue entry : list(key)) {
            require(entry.isString() && !entry.toString().isEmpty(), key, Texts::tr("a list of texts"));
            result.push_back(entry.toString().toStdString());
        }
        return result;
    }
    void require(bool holds, QLatin1StringView key, const QString& wanted) const {
        if (!holds) {
            throw PlanError(Texts::tr("%1 must be %2").arg(placeOf(key), wanted));
        }
    }
    /// To be called when all is read.
    void finish() const {
        for (const QString& key : object_.keys()) {
            if (!taken_.contains(key)) {
                throw PlanError(Texts::tr("unknown key %1").arg(place_.isEmpty() ? key : place_ + '.' + key));
            }
        }
    }

private:
    QString place_;
    QJsonObject object_;
    QSet<QString> taken_;
};

using namespace Qt::StringLiterals;

FLRefinementParams refinementFrom(const QJsonValue& value) {
    Reader reader(value, QStringLiteral("calculations.refinement"));
    FLRefinementParams params;
    visitRefinement(params, [&reader](const char* name, auto& field) { reader.read(QLatin1StringView(name), field); });
    reader.finish();
    return params;
}

PlanCompensation compensationFrom(const QJsonValue& value) {
    Reader reader(value, QStringLiteral("calculations.compensation"));
    PlanCompensation compensation;
    const QString numbers = Texts::tr("a list of numbers");
    for (const QJsonValue channel : reader.list("channels"_L1)) {
        reader.require(channel.isDouble(), "channels"_L1, numbers);
        compensation.channels.push_back(channel.toInt(-1));
    }
    const std::size_t count = compensation.channels.size();
    reader.require(count >= 2 && std::ranges::is_sorted(compensation.channels), "channels"_L1,
                   Texts::tr("two or more rising numbers"));
    for (const QJsonValue row : reader.list("matrix"_L1)) {
        compensation.matrix.emplace_back();
        for (const QJsonValue element : row.toArray()) {
            reader.require(element.isDouble(), "matrix"_L1, numbers);
            compensation.matrix.back().push_back(element.toDouble());
        }
        reader.require(compensation.matrix.back().size() == count, "matrix"_L1,
                       Texts::tr("a row and a column for each channel"));
    }
    reader.require(compensation.matrix.size() == count, "matrix"_L1, Texts::tr("a row and a column for each channel"));
    reader.finish();
    return compensation;
}

EModulusSettings modulusFrom(const QJsonValue& value) {
    Reader reader(value, QStringLiteral("calculations.modulus"));
    EModulusSettings settings;
    std::string source = temperatureSources[TemperatureSource::Metadata];
    reader.read("temperatureSource"_L1, source);
    const auto* found = std::ranges::find(temperatureSources, source);
    reader.require(found != temperatureSources.end(), "temperatureSource"_L1,
                   Texts::tr("\"metadata\", \"event\" or \"manual\""));
    settings.temperatureSource = static_cast<std::int32_t>(found - temperatureSources.begin());
    reader.read("temperature"_L1, settings.temperature);
    reader.read("viscosity"_L1, settings.viscosity);
    reader.read("deformation"_L1, settings.deformFeature);
    reader.finish();
    return settings;
}

FilterRule ruleFrom(const QJsonValue& value, const QString& place) {
    Reader reader(value, place);
    // Only looked at here: the rule is made below, as of a session's.
    bool flag = false;
    int mode = 0;
    std::string link;
    std::string type;
    std::string feature;
    std::string second;
    reader.read("enabled"_L1, flag);
    reader.read("inverted"_L1, flag);
    reader.read("scaleXMode"_L1, mode);
    reader.read("scaleYMode"_L1, mode);
    reader.read("propagationId"_L1, link);
    reader.read("type"_L1, type);
    reader.read("featureName"_L1, feature);
    reader.read("featureNameY"_L1, second);
    reader.require(type == "Range" || type == "Polygon", "type"_L1, Texts::tr("\"Range\" or \"Polygon\""));
    reader.require(!feature.empty(), "featureName"_L1, Texts::tr("the name of a feature"));
    const auto isNumber = [](const QJsonValue& number) { return number.isDouble(); };
    if (type == "Range") {
        reader.require(isNumber(reader.take("minValue"_L1)), "minValue"_L1, Texts::tr("a number"));
        reader.require(isNumber(reader.take("maxValue"_L1)), "maxValue"_L1, Texts::tr("a number"));
        reader.take("polygonVertices"_L1);
    } else {
        reader.require(!second.empty(), "featureNameY"_L1, Texts::tr("the name of a feature"));
        const QJsonArray corners = reader.list("polygonVertices"_L1);
        const bool arePairs = std::ranges::all_of(corners, [&](const QJsonValue& corner) {
            return corner.toArray().size() == 2 && std::ranges::all_of(corner.toArray(), isNumber);
        });
        reader.require(arePairs && corners.size() >= 3, "polygonVertices"_L1,
                       Texts::tr("a list of three or more pairs of numbers"));
        reader.take("minValue"_L1);
        reader.take("maxValue"_L1);
    }
    reader.finish();
    return ruleFromJson(value.toObject());
}

void readFilter(const QJsonValue& value, BatchPlan& plan) {
    Reader reader(value, QStringLiteral("filter"));
    reader.read("enabled"_L1, plan.filterEnabled);
    std::string mode = "AND";
    reader.read("combineMode"_L1, mode);
    reader.require(mode == "AND" || mode == "NOT", "combineMode"_L1, Texts::tr("\"AND\" or \"NOT\""));
    plan.combineMode = mode == "AND" ? EventFilter::ShowPassing : EventFilter::ShowExcluded;
    if (reader.has("gates"_L1)) {
        int number = 0;
        for (const QJsonValue entry : reader.list("gates"_L1)) {
            Reader gateReader(entry, QStringLiteral("filter.gates[%1]").arg(number++));
            PlanGate gate;
            gateReader.read("name"_L1, gate.name);
            int ruleNumber = 0;
            for (const QJsonValue rule : gateReader.list("rules"_L1)) {
                gate.rules.push_back(
                    ruleFrom(rule, gateReader.placeOf("rules"_L1) + QStringLiteral("[%1]").arg(ruleNumber++)));
            }
            gateReader.finish();
            plan.gates.push_back(std::move(gate));
        }
    }
    reader.finish();
}

void readCalculations(const QJsonValue& value, BatchPlan& plan) {
    Reader reader(value, QStringLiteral("calculations"));
    if (const QJsonValue refinement = reader.take("refinement"_L1); !refinement.isUndefined()) {
        plan.refinement = refinementFrom(refinement);
    }
    if (const QJsonValue compensation = reader.take("compensation"_L1); !compensation.isUndefined()) {
        plan.compensation = compensationFrom(compensation);
    }
    reader.read("fourier"_L1, plan.fourier);
    if (const QJsonValue modulus = reader.take("modulus"_L1); !modulus.isUndefined()) {
        plan.modulus = modulusFrom(modulus);
    }
    reader.finish();
}

StatSummaryConfig summaryFrom(const QJsonValue& value) {
    Reader reader(value, QStringLiteral("outputs.summary"));
    StatSummaryConfig config;
    config.features = reader.texts("features"_L1);
    QStringList names;
    for (const std::string& name : reader.texts("statistics"_L1)) {
        names.append(QString::fromStdString(name));
    }
    if (const QString unknown = chooseFigures(names, config); !unknown.isEmpty()) {
        throw PlanError(Texts::tr("%1: unknown statistic %2").arg(reader.placeOf("statistics"_L1), unknown));
    }
    config.percentileOn = reader.has("percentile"_L1);
    reader.read("percentile"_L1, config.percentile);
    reader.require(config.percentile >= 0.0 && config.percentile <= 100.0, "percentile"_L1,
                   Texts::tr("a number from 0 to 100"));
    reader.finish();
    return config;
}

void readOutputs(const QJsonValue& value, BatchPlan& plan) {
    Reader reader(value, QStringLiteral("outputs"));
    if (const QJsonValue summary = reader.take("summary"_L1); !summary.isUndefined()) {
        plan.summary = summaryFrom(summary);
    }
    if (const QJsonValue table = reader.take("table"_L1); !table.isUndefined()) {
        Reader tableReader(table, QStringLiteral("outputs.table"));
        plan.table.emplace().features = tableReader.texts("features"_L1);
        plan.table->tsv = true;
        tableReader.finish();
    }
    if (const QJsonValue measurement = reader.take("measurement"_L1); !measurement.isUndefined()) {
        Reader fileReader(measurement, QStringLiteral("outputs.measurement"));
        ExportConfig& config = plan.measurement.emplace();
        config.features = fileReader.texts("features"_L1);
        fileReader.read("images"_L1, config.images);
        fileReader.read("masks"_L1, config.masks);
        fileReader.read("traces"_L1, config.traces);
        fileReader.finish();
    }
    reader.read("counts"_L1, plan.counts);
    reader.finish();
}

BatchPlan planFrom(const QJsonDocument& document) {
    Reader reader(document.isObject() ? QJsonValue(document.object()) : QJsonValue(), QString());
    BatchPlan plan;
    const QJsonValue version = reader.take("formatVersion"_L1);
    reader.require(version.isDouble(), "formatVersion"_L1, Texts::tr("a number"));
    if (version.toDouble() != BatchPlan::currentVersion) {
        throw PlanError(
            Texts::tr("format version %1 is not known to this version of the program").arg(version.toDouble()));
    }
    if (const QJsonValue calculations = reader.take("calculations"_L1); !calculations.isUndefined()) {
        readCalculations(calculations, plan);
    }
    if (const QJsonValue filter = reader.take("filter"_L1); !filter.isUndefined()) {
        readFilter(filter, plan);
    }
    readOutputs(reader.take("outputs"_L1), plan);
    reader.finish();
    if (const QString problem = problemOf(plan); !problem.isEmpty()) {
        throw PlanError(problem);
    }
    return plan;
}

} // namespace

QByteArray planToJson(const BatchPlan& plan) {
    return QJsonDocument(QJsonObject{{"formatVersion", BatchPlan::currentVersion},
                                     {"calculations", calculationsToJson(plan)},
                                     {"filter", filterToJson(plan)},
                                     {"outputs", outputsToJson(plan)}})
        .toJson(QJsonDocument::Indented);
}

PlanReading planFromJson(const QByteArray& json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (document.isNull()) {
        return {{}, Texts::tr("not a plan: %1").arg(error.errorString())};
    }
    try {
        return {planFrom(document), {}};
    } catch (const PlanError& problem) {
        return {{}, QString::fromUtf8(problem.what())};
    }
}

PlanReading readPlanFile(const QString& path) {
    const QFileInfo info(path);
    QFile file(path);
    if (!info.isFile()) {
        return {{}, info.exists() ? Texts::tr("not a regular file") : Texts::tr("no such file")};
    }
    if (info.size() > mostBytes || !file.open(QIODevice::ReadOnly)) {
        return {{}, Texts::tr("the file can't be read")};
    }
    return planFromJson(file.readAll());
}

} // namespace Tessaly
