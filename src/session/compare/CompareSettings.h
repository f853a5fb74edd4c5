#pragma once

#include "session/SessionWindow.h"
#include "session/compare/Categories.h"
#include "stats/Corrections.h"
#include "stats/SampleSummary.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <vector>

namespace Tessaly {

class Session;

/// Whether the categories hold different subjects, or the same ones again.
enum class CompareDesign { Independent, Matched };

/// How categories are compared.
struct CompareSettings {
    SampleSummary summary = SampleSummary::Median;
    CompareDesign design = CompareDesign::Independent;
    bool replicates = false; ///< several datasets of one sample; with matched samples: technical replicates, too
    bool connectionLines = false;
    double alpha = 0.05;
    Correction correction = Correction::Bonferroni;

    bool matched() const { return design == CompareDesign::Matched; }
    bool operator==(const CompareSettings&) const = default;
};

/// Names of the choices in the order of their numbers, as shown and as kept in session files.
QStringList summaryNames();
QStringList designNames();
QStringList correctionNames();

/// A feature to compare.
struct ComparedFeature {
    std::string name;
    QString label;

    bool operator==(const ComparedFeature&) const = default;
};

/// What is compared, and how.
struct Comparison {
    std::vector<Category> categories;
    std::vector<ComparedFeature> features;
    CompareSettings settings;

    /// How many pairs of categories are tested for each feature: one for up to two categories.
    std::size_t pairCount() const;
    /// How many tests that makes in all.
    std::size_t testCount() const { return pairCount() * features.size(); }
};

/// All that a session file keeps of a window of comparisons.
struct CompareState {
    std::vector<Category> categories;
    QStringList selectedFeatures; ///< names
    CompareSettings settings;
    int nextCategoryIndex = 2;
    int activeTab = 0;

    bool operator==(const CompareState&) const = default;
};

QJsonObject compareStateToJson(const CompareState& state, const DatasetNumbers& idToIndex);
/// Reads an object of any shape: what is missing or of the wrong type gets its default, and so does an unknown name of
/// a choice; entries whose dataset isn't there are left out. Names come from the datasets.
CompareState compareStateFromJson(const QJsonObject& object, const DatasetNumbers& indexToId, const Session& session);

} // namespace Tessaly
