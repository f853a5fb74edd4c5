#include "ui/plot/StatisticsDockWidget.h"

#include "stats/DistributionStats.h"
#include "widgets/EmptyHint.h"
#include "widgets/ToolTips.h"

#include <QHeaderView>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

namespace Tessaly {

StatisticsDockWidget::StatisticsDockWidget(QWidget* parent) : QWidget(parent), table_(new QTreeWidget) {
    setObjectName(QStringLiteral("statisticsPanel"));
    table_->setObjectName(QStringLiteral("statisticsTable"));
    table_->setAccessibleName(tr("Plot Statistics"));
    table_->setColumnCount(3);
    table_->setRootIsDecorated(false);
    table_->setAlternatingRowColors(true);
    table_->setStyleSheet(QStringLiteral("QTreeWidget::item { padding: 1px 0; }"));
    table_->header()->setStretchLastSection(false);
    table_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    table_->header()->setTextElideMode(Qt::ElideRight);
    table_->header()->setMinimumSectionSize(40);
    // The two value columns share what the first leaves, so that nothing scrolls sideways in a narrow dock.
    table_->header()->setSectionResizeMode(1, QHeaderView::Stretch);
    table_->header()->setSectionResizeMode(2, QHeaderView::Stretch);
    new EmptyHint(tr("No events yet. Mean, spread and quartiles of the plotted events will be here."), table_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(table_);
    clearStatistics();
}

void StatisticsDockWidget::clearStatistics() {
    showHeader(tr("X"), tr("Y"));
}

void StatisticsDockWidget::showHeader(const QString& xLabel, const QString& yLabel) {
    table_->clear();
    table_->setHeaderLabels({tr("Statistic"), xLabel, yLabel});
    // A narrow dock cuts long names.
    table_->headerItem()->setToolTip(1, plainToolTip(xLabel));
    table_->headerItem()->setToolTip(2, plainToolTip(yLabel));
}

void StatisticsDockWidget::updateStatistics(const std::vector<double>& x, const std::vector<double>& y,
                                            const QString& xLabel, const QString& yLabel) {
    showHeader(xLabel, yLabel);
    if (x.empty() || y.empty()) {
        return;
    }
    const auto addRow = [this](const QString& name, const QString& xText, const QString& yText) {
        auto* row = new QTreeWidgetItem(table_, {name, xText, yText});
        row->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
        row->setToolTip(1, xText);
        row->setToolTip(2, yText);
        row->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
    };
    const auto number = [](double value) { return QString::number(value, 'g', 6); };
    // One axis on each core; result() does the work itself if no thread is free.
    const QFuture<DistributionStats> ofY = QtConcurrent::run([&y] { return computeDistributionStats(y); });
    const DistributionStats xStats = computeDistributionStats(x);
    const DistributionStats yStats = ofY.result();
    const QString count = QString::number(x.size());
    addRow(tr("N"), count, count);
    addRow(tr("Mean"), number(xStats.mean), number(yStats.mean));
    addRow(tr("SD"), number(xStats.sd), number(yStats.sd));
    addRow(tr("Q1"), number(xStats.q1), number(yStats.q1));
    addRow(tr("Median"), number(xStats.median), number(yStats.median));
    addRow(tr("Q3"), number(xStats.q3), number(yStats.q3));
    addRow(tr("IQR"), number(xStats.iqr), number(yStats.iqr));
    table_->resizeColumnToContents(0);
}

} // namespace Tessaly
