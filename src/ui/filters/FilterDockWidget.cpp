#include "ui/filters/FilterDockWidget.h"

#include "core/DatasetEntry.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace Tessaly {

FilterDockWidget::FilterDockWidget(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("filterPanel"));
    box_ = new QGroupBox(tr("Active Dataset Filter"));
    box_->setObjectName(QStringLiteral("activeFilterBox"));
    box_->setEnabled(false);
    enabled_ = new QCheckBox(tr("Filtering Enabled"));
    enabled_->setObjectName(QStringLiteral("filteringEnabledCheckBox"));
    enabled_->setChecked(true);
    excluded_ = new QCheckBox(tr("Show Excluded Events"));
    excluded_->setObjectName(QStringLiteral("showExcludedCheckBox"));
    excluded_->setToolTip(tr("Invert the filter result so the events the rules normally reject are shown instead."));
    counts_ = new QLabel(tr("No filter active"));
    counts_->setObjectName(QStringLiteral("eventCountLabel"));
    counts_->setStyleSheet(QStringLiteral("QLabel { color: #6b6f76; font-style: italic; }"));
    counts_->setWordWrap(true);

    auto* boxLayout = new QVBoxLayout(box_);
    boxLayout->addWidget(enabled_);
    boxLayout->addWidget(excluded_);
    boxLayout->addSpacing(4);
    boxLayout->addWidget(counts_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(box_);
    layout->addStretch();

    connect(enabled_, &QCheckBox::toggled, this, [this](bool checked) {
        if (dataset_) {
            dataset_->filter.setEnabled(checked);
            emit filterChanged();
        }
    });
    connect(excluded_, &QCheckBox::toggled, this, [this](bool checked) {
        if (dataset_) {
            dataset_->filter.setCombineMode(checked ? EventFilter::ShowExcluded : EventFilter::ShowPassing);
            emit filterChanged();
        }
    });
}

void FilterDockWidget::setDataset(DatasetEntry* dataset) {
    const bool other = dataset != dataset_;
    dataset_ = dataset;
    box_->setEnabled(dataset != nullptr);
    const QSignalBlocker blockEnabled(enabled_);
    const QSignalBlocker blockExcluded(excluded_);
    enabled_->setChecked(!dataset || dataset->filter.isEnabled());
    excluded_->setChecked(dataset && dataset->filter.combineMode() == EventFilter::ShowExcluded);
    if (!dataset) {
        counts_->setText(tr("No dataset selected"));
    } else if (other) {
        // Until the counts come in.
        const bool filtered = dataset->filter.isEnabled() && dataset->filter.ruleCount() > 0;
        counts_->setText(filtered ? QString() : tr("No filter active"));
    }
}

void FilterDockWidget::setEventCounts(int shown, int total) {
    if (total == 0) {
        counts_->setText(tr("No events"));
    } else if (shown != total) {
        counts_->setText(tr("%1 / %2 events shown (%3%)").arg(shown).arg(total).arg(100.0 * shown / total, 0, 'f', 1));
    } else {
        counts_->setText(tr("%1 events (no filter active)").arg(total));
    }
}

} // namespace Tessaly
