#include "widgets/FeatureCombo.h"

#include <QSignalBlocker>

namespace Tessaly {

namespace {

constexpr char SelectorSheet[] = "QComboBox { padding: 2px 6px; min-height: 0; }";

} // namespace

FeatureCombo::FeatureCombo(QWidget* parent) : WideCombo(parent) {
    setStyleSheet(QString::fromLatin1(SelectorSheet));
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QComboBox::currentIndexChanged, this, &FeatureCombo::updateToolTip);
}

void FeatureCombo::setFeatures(const std::vector<FeatureItem>& features) {
    const QSignalBlocker blocker(this);
    clear();
    for (const FeatureItem& feature : features) {
        addItem(feature.label, QString::fromStdString(feature.key));
    }
    updateToolTip();
}

void FeatureCombo::select(const std::string& key) {
    const int index = key.empty() ? -1 : findData(QString::fromStdString(key));
    if (index >= 0) {
        const QSignalBlocker blocker(this);
        setCurrentIndex(index);
        updateToolTip();
    }
}

std::string FeatureCombo::key() const {
    return currentData().toString().toStdString();
}

void FeatureCombo::updateToolTip() {
    setToolTip(currentText()); // a narrow box cuts long names
}

} // namespace Tessaly
