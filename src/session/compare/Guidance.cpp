#include "session/compare/Guidance.h"

#include "stats/RankTests.h"

#include <QCoreApplication>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::Guidance)
};

constexpr std::size_t fewMatched = 10;

QStringList distributionParagraphs(const Comparison& comparison, DistributionMode mode) {
    QStringList paragraphs{
        Texts::tr("Explore the full event-level distributions of selected features across categories. This helps "
                  "identify whether groups differ in location, spread, or shape.")};
    paragraphs += mode == DistributionMode::PerCategory
                      ? Texts::tr("Per-category mode: for each category, the per-dataset density curves are averaged "
                                  "pointwise (equal weight per dataset). The shaded band shows ±1 SD of the density "
                                  "across datasets, indicating how consistently the distribution shape is reproduced "
                                  "within a category.")
                      : Texts::tr("Per-dataset mode: each dataset is shown as an individual density curve, colored by "
                                  "its category.");
    if (comparison.features.empty()) {
        paragraphs += Texts::tr("Select one or more features to display.");
    }
    if (comparison.categories.empty()) {
        paragraphs += Texts::tr("Add categories with datasets to explore distributions.");
    }
    return paragraphs;
}

QString summaryParagraph(SampleSummary summary) {
    switch (summary) {
    case SampleSummary::Median:
        return Texts::tr("Each dataset is summarized by its median — robust against outliers.");
    case SampleSummary::Mean:
        return Texts::tr("Each dataset is summarized by its mean — sensitive to outliers.");
    case SampleSummary::Sd:
        return Texts::tr("Each dataset is summarized by its standard deviation — compares variability, not location.");
    case SampleSummary::Cv:
        return Texts::tr("Each dataset is summarized by its coefficient of variation (SD/mean) — compares relative "
                         "variability.");
    case SampleSummary::Iqr:
        return Texts::tr("Each dataset is summarized by its interquartile range — compares spread, robust against "
                         "outliers.");
    }
    return {};
}

QString testParagraph(std::size_t categories, bool matched) {
    if (matched) {
        return categories == 2
                   ? Texts::tr("Wilcoxon signed-rank test: tests whether matched differences are systematically "
                               "shifted from zero.")
                   : Texts::tr("Friedman test (omnibus): tests whether at least one group differs across repeated "
                               "measures. Followed by pairwise Wilcoxon signed-rank post-hoc tests.");
    }
    return categories == 2
               ? Texts::tr("Mann-Whitney U test: tests whether values in one group tend to be larger than the other. "
                           "Does not require equal group sizes.")
               : Texts::tr("Kruskal-Wallis test (omnibus): tests whether at least one group differs. Followed by "
                           "pairwise Mann-Whitney U post-hoc tests.");
}

/// Empty for different subjects without replicates.
QString replicatesParagraph(const CompareSettings& settings) {
    if (!settings.matched()) {
        return settings.replicates
                   ? Texts::tr("Replicates with the same ID are aggregated within each category before the independent "
                               "test, avoiding pseudoreplication. Double-click a dataset to assign its ID.")
                   : QString();
    }
    return settings.replicates
               ? Texts::tr("IDs use the format ID.BioRep.TechRep. Technical replicates (same ID and bio rep) are "
                           "aggregated first, then biological replicates (same ID) are aggregated. Matching uses the "
                           "ID number. Double-click a dataset to assign its IDs.")
               : Texts::tr("Datasets sharing the same ID are treated as biological replicates and aggregated. Matching "
                           "uses the ID number. Double-click a dataset to assign its ID.");
}

/// Empty for a single test.
QString correctionParagraph(const Comparison& comparison) {
    const std::size_t tests = comparison.testCount();
    if (tests <= 1) {
        return {};
    }
    const double level = comparison.settings.alpha / static_cast<double>(tests);
    switch (comparison.settings.correction) {
    case Correction::Bonferroni:
        return Texts::tr("Bonferroni correction: %1 is divided by %2 tests (%3=%4). Simple and conservative.")
            .arg(QStringLiteral("α"), QString::number(tests), QStringLiteral("α*"), QString::number(level, 'g', 4));
    case Correction::Holm:
        return Texts::tr(
                   "Holm-Bonferroni step-down correction across %1 tests. Less conservative than Bonferroni while "
                   "controlling the family-wise error rate.")
            .arg(tests);
    case Correction::None:
        break;
    }
    return Texts::tr("No correction applied across %1 tests. Risk of false positives increases with the number of "
                     "comparisons.")
        .arg(tests);
}

/// Empty unless few samples are matched.
QString powerParagraph(const Comparison& comparison) {
    const std::size_t matched = matchedCount(comparison.categories);
    if (!comparison.settings.matched() || comparison.categories.size() < 2 || matched < 1 || matched > fewMatched) {
        return {};
    }
    const double alpha = comparison.settings.alpha;
    const double best = smallestMatchedPValue(matched);
    QString paragraph = Texts::tr("With %1 matched observations, the minimum achievable p-value (Wilcoxon) is %2%3.")
                            .arg(QString::number(matched), QStringLiteral("≈"), QString::number(best, 'g', 3));
    if (best > alpha) {
        paragraph += u' ' + Texts::tr("This exceeds %1=%2 — significance cannot be reached regardless of effect size. "
                                      "More matched observations are needed.")
                                .arg(QStringLiteral("α"), QString::number(alpha, 'g', 3));
    }
    return paragraph;
}

QStringList testsParagraphs(const Comparison& comparison) {
    const CompareSettings& settings = comparison.settings;
    QStringList paragraphs{summaryParagraph(settings.summary)};
    if (comparison.categories.size() >= 2) {
        paragraphs += testParagraph(comparison.categories.size(), settings.matched());
    }
    paragraphs += {replicatesParagraph(settings), correctionParagraph(comparison), powerParagraph(comparison)};
    return paragraphs;
}

QStringList rocParagraphs(const Comparison& comparison) {
    QStringList paragraphs{
        summaryParagraph(comparison.settings.summary),
        Texts::tr("ROC analysis evaluates how well each feature separates two categories. Each dataset is reduced to a "
                  "single summary value, then receiver operating characteristic curves are computed per feature.")};
    if (comparison.settings.replicates) {
        paragraphs +=
            Texts::tr("Replicates are included: datasets sharing the same ID are aggregated before ROC analysis "
                      "to avoid pseudoreplication. Double-click a dataset to assign its IDs.");
    }
    if (comparison.categories.size() < 2) {
        paragraphs += Texts::tr("Add at least 2 categories with datasets to run ROC analysis.");
    } else if (comparison.categories.size() > 2) {
        paragraphs += Texts::tr("More than 2 categories present — you will be asked to select the negative (reference) "
                                "and positive (condition) classes.");
    }
    return paragraphs;
}

QString testName(std::size_t categories, bool matched) {
    if (matched) {
        return categories == 2 ? Texts::tr("Wilcoxon signed-rank (matched)")
                               : Texts::tr("Friedman (repeated measures)");
    }
    return categories == 2 ? Texts::tr("Mann-Whitney U (independent)") : Texts::tr("Kruskal-Wallis (independent)");
}

} // namespace

QString testLabelText(const Comparison& comparison) {
    QString notes;
    for (const Category& category : comparison.categories) {
        if (!category.entries.empty() && category.entries.size() < 3) {
            notes += Texts::tr("%1: fewer than 3 datasets\n").arg(category.name);
        }
    }
    const CompareSettings& settings = comparison.settings;
    if (settings.matched()) {
        if (!idsArePaired(comparison.categories)) {
            notes += Texts::tr("Pairing incomplete: ensure all categories have matching IDs\n");
        }
    } else if (settings.replicates && anyIdMissing(comparison.categories)) {
        notes += Texts::tr("Replicates enabled: assign IDs to all datasets\n");
    }
    return Texts::tr("Test: %1\n%2").arg(testName(comparison.categories.size(), settings.matched()), notes);
}

QString guidanceText(CompareTab tab, const Comparison& comparison, DistributionMode mode,
                     const QStringList& withoutValues) {
    QStringList paragraphs;
    switch (tab) {
    case CompareTab::Tests:
        paragraphs = testsParagraphs(comparison);
        break;
    case CompareTab::Roc:
        paragraphs = rocParagraphs(comparison);
        break;
    case CompareTab::Distributions:
        paragraphs = distributionParagraphs(comparison, mode);
        break;
    }
    if (!withoutValues.isEmpty()) {
        paragraphs += Texts::tr("No values: %1").arg(withoutValues.join(QStringLiteral(", ")));
    }
    paragraphs.removeAll(QString());
    return paragraphs.join(QStringLiteral("\n\n"));
}

} // namespace Tessaly
