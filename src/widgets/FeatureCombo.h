#pragma once

#include "widgets/WideCombo.h"

#include <string>
#include <vector>

namespace Tessaly {

/// A feature as combo boxes list it.
struct FeatureItem {
    std::string key;
    QString label;
};

/// Lets the user choose a feature by its label. The program's own changes emit nothing.
class FeatureCombo : public WideCombo {
    Q_OBJECT

public:
    explicit FeatureCombo(QWidget* parent = nullptr);

    /// Replaces the entries; the first of them is chosen.
    void setFeatures(const std::vector<FeatureItem>& features);
    /// Chooses a feature; one that is empty or not listed leaves the choice alone.
    void select(const std::string& key);
    /// The feature chosen, empty for none.
    std::string key() const;

private:
    void updateToolTip();
};

} // namespace Tessaly
