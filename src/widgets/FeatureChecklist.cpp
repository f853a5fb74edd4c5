#include "widgets/FeatureChecklist.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace Tessaly {

namespace {

QCheckBox* makeBox(const CheckedFeature& feature) {
    const QString key = QString::fromStdString(feature.key);
    QString text = feature.label + QStringLiteral("  [") + key + ']';
    auto* box = new QCheckBox(text.replace('&', QLatin1String("&&")));
    box->setObjectName(QStringLiteral("feature:") + key);
    box->setChecked(feature.ofCurrent);
    markAsOfOthers(*box, !feature.ofCurrent);
    box->setHidden(!feature.ofCurrent);
    return box;
}

} // namespace

FeatureChecklist::FeatureChecklist(const std::vector<CheckedFeature>& features, QWidget* parent)
    : QWidget(parent),
      features_(features) {
    const auto makeButton = [this](const QString& text, const char* name) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1String(name));
        button->setAutoDefault(false);
        buttons_.push_back(button);
        return button;
    };
    QPushButton* all = makeButton(tr("Select All"), "selectAllButton");
    QPushButton* none = makeButton(tr("Deselect All"), "deselectAllButton");
    connect(all, &QPushButton::clicked, this, &FeatureChecklist::selectAllClicked);
    connect(none, &QPushButton::clicked, this, &FeatureChecklist::deselectAllClicked);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(all);
    buttons->addWidget(none);
    buttons->addStretch();

    auto* contents = new QWidget;
    auto* rows = new QVBoxLayout(contents);
    for (const CheckedFeature& feature : features_) {
        boxes_.push_back(makeBox(feature));
        rows->addWidget(boxes_.back());
    }
    rows->addStretch();
    list_ = new QScrollArea;
    list_->setObjectName(QStringLiteral("featureList"));
    list_->setAccessibleName(tr("Features"));
    list_->setWidgetResizable(true);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    list_->setWidget(contents);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(buttons);
    layout->addWidget(list_);
}

std::vector<std::string> FeatureChecklist::checked() const {
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < boxes_.size(); ++i) {
        if (boxes_[i]->isChecked()) {
            keys.push_back(features_[i].key);
        }
    }
    return keys;
}

void FeatureChecklist::setChecked(const std::vector<std::string>& keys) {
    for (std::size_t i = 0; i < boxes_.size(); ++i) {
        boxes_[i]->setChecked(std::ranges::find(keys, features_[i].key) != keys.end());
    }
}

void FeatureChecklist::showOthers(bool shown) {
    for (std::size_t i = 0; i < boxes_.size(); ++i) {
        boxes_[i]->setHidden(!shown && !features_[i].ofCurrent);
    }
}

void FeatureChecklist::setBoxesEnabled(bool enabled) {
    for (QCheckBox* box : boxes_) {
        box->setEnabled(enabled);
    }
    for (QWidget* button : buttons_) {
        button->setEnabled(enabled);
    }
}

void FeatureChecklist::checkShown() {
    for (QCheckBox* box : boxes_) {
        if (!box->isHidden()) {
            box->setChecked(true);
        }
    }
}

void FeatureChecklist::uncheckAll() {
    for (QCheckBox* box : boxes_) {
        box->setChecked(false);
    }
}

void FeatureChecklist::setListHeight(int minimum, int maximum) {
    list_->setMinimumHeight(minimum);
    list_->setMaximumHeight(maximum);
}

void markAsOfOthers(QCheckBox& box, bool marked) {
    box.setStyleSheet(marked ? QStringLiteral("QCheckBox { color: rgb(160, 160, 160); }") : QString());
    box.setToolTip(marked ? FeatureChecklist::tr("Not available in current dataset (available in other datasets)")
                          : QString());
}

} // namespace Tessaly
