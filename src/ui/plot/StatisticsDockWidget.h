#pragma once

#include <QWidget>

#include <vector>

class QTreeWidget;

namespace Tessaly {

/// Content of the "Plot Statistics" dock: count and distribution of the plotted X and Y values.
class StatisticsDockWidget : public QWidget {
    Q_OBJECT

public:
    explicit StatisticsDockWidget(QWidget* parent = nullptr);

    void updateStatistics(const std::vector<double>& x, const std::vector<double>& y, const QString& xLabel,
                          const QString& yLabel);
    void clearStatistics();

private:
    /// Empties the table under these headings.
    void showHeader(const QString& xLabel, const QString& yLabel);

    QTreeWidget* table_;
};

} // namespace Tessaly
