#include "session/compare/GroupComparison.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::GroupComparison)
};

constexpr std::size_t leastDatasets = 3;

UserMessage warning(const QString& text) {
    return {UserMessage::Kind::Warning, Texts::tr("Analysis"), text};
}

QString shortNumber(double value, int digits) {
    return QString::number(value, 'g', digits);
}

/// Values of the entries of each category for one feature.
std::vector<std::vector<double>> valuesOf(const Comparison& comparison, const ValueTable& table, std::size_t feature) {
    std::vector<std::vector<double>> values;
    for (const Category& category : comparison.categories) {
        std::vector<double>& row = values.emplace_back();
        for (const CategoryEntry& entry : category.entries) {
            row.push_back(valueIn(table, entry.datasetId, feature));
        }
    }
    return values;
}

JudgedTest testPair(const std::vector<CategorySamples>& samples, int first, int second, bool matched) {
    const std::vector<double>& a = samples[static_cast<std::size_t>(first)].values;
    const std::vector<double>& b = samples[static_cast<std::size_t>(second)].values;
    if (!matched) {
        return {first, second, Texts::tr("Mann-Whitney U"), mannWhitneyU(a, b), 0.0, {}};
    }
    std::vector<double> differences(a.size());
    std::ranges::transform(b, a, differences.begin(), std::minus<>());
    return {first, second, Texts::tr("Wilcoxon"), wilcoxonSignedRank(differences), 0.0, {}};
}

JudgedTest testAll(const std::vector<CategorySamples>& samples, bool matched) {
    std::vector<std::vector<double>> groups;
    for (const CategorySamples& category : samples) {
        groups.push_back(category.values);
    }
    const int last = static_cast<int>(samples.size()) - 1;
    return matched ? JudgedTest{0, last, Texts::tr("Friedman"), friedman(groups), 0.0, {}}
                   : JudgedTest{0, last, Texts::tr("Kruskal-Wallis"), kruskalWallis(groups), 0.0, {}};
}

FeatureComparison compareFeature(const Comparison& comparison, const ValueTable& table, std::size_t number) {
    FeatureComparison result;
    result.feature = comparison.features[number];
    const CompareSettings& settings = comparison.settings;
    result.samples = samplesOf(comparison.categories, valuesOf(comparison, table, number), settings);
    const int count = static_cast<int>(comparison.categories.size());
    if (count == 2) {
        result.omnibus = testPair(result.samples, 0, 1, settings.matched());
        return result;
    }
    result.omnibus = testAll(result.samples, settings.matched());
    for (int first = 0; first < count; ++first) {
        for (int second = first + 1; second < count; ++second) {
            result.pairs.push_back(testPair(result.samples, first, second, settings.matched()));
        }
    }
    return result;
}

/// The tests that share the level: all pairs, and the only test of a feature without pairs.
std::vector<JudgedTest*> testsToJudge(std::vector<FeatureComparison>& features) {
    std::vector<JudgedTest*> tests;
    const auto add = [&tests](JudgedTest& test) {
        if (test.result.valid) {
            tests.push_back(&test);
        }
    };
    for (FeatureComparison& feature : features) {
        if (feature.pairs.empty()) {
            add(feature.omnibus);
        } else {
            std::ranges::for_each(feature.pairs, add);
        }
    }
    return tests;
}

void judge(GroupComparison& comparison) {
    const std::vector<JudgedTest*> tests = testsToJudge(comparison.features);
    std::vector<double> pValues;
    std::ranges::transform(tests, std::back_inserter(pValues),
                           [](const JudgedTest* test) { return test->result.pValue; });
    const std::vector<double> levels =
        correctedLevels(pValues, comparison.settings.alpha, comparison.settings.correction);
    for (std::size_t i = 0; i < tests.size(); ++i) {
        tests[i]->level = levels[i];
        tests[i]->stars = QString::fromStdString(significanceStars(pValues[i], levels[i]));
    }
    comparison.correctedTests = tests.size();
}

/// Heading of the column of stars: the level, or how it is divided.
QString significanceHeading(const GroupComparison& comparison) {
    const CompareSettings& settings = comparison.settings;
    const QString text = Texts::tr("Sig. (%1=%2)");
    if (comparison.correctedTests >= 2 && settings.correction == Correction::Bonferroni) {
        const double level = settings.alpha / static_cast<double>(comparison.correctedTests);
        return text.arg(QStringLiteral("α*"), shortNumber(level, 4));
    }
    if (comparison.correctedTests >= 2 && settings.correction == Correction::Holm) {
        return Texts::tr("Sig. (Holm)");
    }
    return text.arg(QStringLiteral("α"), shortNumber(settings.alpha, 4));
}

/// Appends the test's name, its p-value and the judgement.
void appendTest(ResultRow& row, const JudgedTest& test, const QString& judgement) {
    row.append(test.name);
    if (test.result.valid) {
        row.append(shortNumber(test.result.pValue, 4), test.result.pValue);
        row.append(judgement);
    } else {
        row.append(Texts::tr("n/a"));
        row.append(Texts::tr("n/a"));
    }
}

ResultRow featureRow(const FeatureComparison& feature) {
    ResultRow row;
    row.append(feature.feature.label);
    for (const CategorySamples& samples : feature.samples) {
        const MeanAndSd moments = meanAndSd(samples.values);
        row.append(
            Texts::tr("%1 %2 %3").arg(shortNumber(moments.mean, 4), QStringLiteral("±"), shortNumber(moments.sd, 3)),
            moments.mean);
    }
    appendTest(row, feature.omnibus, feature.pairs.empty() ? feature.omnibus.stars : Texts::tr("(omnibus)"));
    return row;
}

ResultRow pairRow(const GroupComparison& comparison, const JudgedTest& pair) {
    const auto nameOf = [&](int category) { return comparison.categories[static_cast<std::size_t>(category)].name; };
    ResultRow row;
    row.isDetail = true;
    row.append(Texts::tr("  %1 vs %2").arg(nameOf(pair.first), nameOf(pair.second)));
    for (std::size_t i = 0; i < comparison.categories.size(); ++i) {
        row.append(QString());
    }
    appendTest(row, pair, pair.stars);
    return row;
}

} // namespace

std::optional<UserMessage> groupRefusal(const Comparison& comparison) {
    const std::vector<Category>& categories = comparison.categories;
    if (categories.size() < 2) {
        return warning(Texts::tr("Need at least 2 categories."));
    }
    for (const Category& category : categories) {
        if (category.entries.size() < leastDatasets) {
            return warning(Texts::tr("Category \"%1\" has fewer than 3 datasets. Minimum is 3.").arg(category.name));
        }
    }
    if (comparison.features.empty()) {
        return warning(Texts::tr("Select at least one feature."));
    }
    const CompareSettings& settings = comparison.settings;
    if (!settings.matched() && settings.replicates && anyIdMissing(categories)) {
        return warning(
            Texts::tr("Replicates are enabled but not all datasets have IDs assigned.\nUse \"Auto-detect IDs\" "
                      "or assign IDs manually."));
    }
    if (settings.matched() && !idsArePaired(categories)) {
        return warning(Texts::tr("Pairing is enabled but IDs are not valid.\nEnsure all categories have matching "
                                 "IDs.\nUse \"Auto-detect IDs\" or assign IDs manually."));
    }
    return std::nullopt;
}

std::optional<UserMessage> powerQuestion(const Comparison& comparison) {
    const CompareSettings& settings = comparison.settings;
    const std::size_t matched = settings.matched() ? matchedCount(comparison.categories) : 0;
    const std::size_t tests = comparison.testCount();
    const bool divided = settings.correction == Correction::Bonferroni && tests > 1;
    const double level = divided ? settings.alpha / static_cast<double>(tests) : settings.alpha;
    const double best = smallestMatchedPValue(matched);
    if (matched == 0 || level >= best) {
        return std::nullopt;
    }
    const QString correction =
        divided ? Texts::tr(" (after %1 correction)").arg(correctionNames()[static_cast<int>(settings.correction)])
                : QString();
    return warning(Texts::tr("With %1 matched observations, the minimum achievable p-value (Wilcoxon) is %2%3.\n\nThis "
                             "exceeds the effective significance level %4=%5%6.\n\nSignificance cannot be reached "
                             "regardless of effect size. More matched observations are needed.\n\nRun anyway?")
                       .arg(QString::number(matched), QStringLiteral("≈"), shortNumber(best, 3), QStringLiteral("α"),
                            shortNumber(level, 4), correction));
}

GroupComparison compareGroups(const Comparison& comparison, const ValueTable& values) {
    GroupComparison result;
    result.categories = comparison.categories;
    result.settings = comparison.settings;
    for (std::size_t i = 0; i < comparison.features.size(); ++i) {
        result.features.push_back(compareFeature(comparison, values, i));
    }
    judge(result);
    return result;
}

ResultTable groupTable(const GroupComparison& comparison) {
    ResultTable table;
    table.headings += Texts::tr("Feature");
    table.rightAligned.push_back(false);
    for (const Category& category : comparison.categories) {
        table.headings += category.name;
        table.rightAligned.push_back(true);
    }
    table.headings += {Texts::tr("Test"), Texts::tr("p"), significanceHeading(comparison)};
    table.rightAligned.insert(table.rightAligned.end(), {false, true, false});
    for (const FeatureComparison& feature : comparison.features) {
        table.rows.push_back(featureRow(feature));
        for (const JudgedTest& pair : feature.pairs) {
            table.rows.push_back(pairRow(comparison, pair));
        }
    }
    return table;
}

std::vector<Bracket> bracketsOf(const FeatureComparison& feature, double top, double range) {
    std::vector<Bracket> brackets;
    const auto add = [&brackets](const JudgedTest& test) {
        if (test.significant()) {
            brackets.push_back({test.first, test.second, test.stars, 0.0});
        }
    };
    if (feature.pairs.empty()) {
        add(feature.omnibus);
    } else {
        std::ranges::for_each(feature.pairs, add);
    }
    std::ranges::stable_sort(brackets, {}, [](const Bracket& bracket) { return bracket.second - bracket.first; });
    const double unit = range > 0.0 ? range : std::fabs(top) * 0.5;
    double height = top + 0.08 * unit;
    for (Bracket& bracket : brackets) {
        bracket.height = height;
        height += 0.06 * unit;
    }
    return brackets;
}

} // namespace Tessaly
