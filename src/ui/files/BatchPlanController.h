#pragma once

#include <QObject>
#include <QString>

class QWidget;

namespace Tessaly {

class CalculationsDockWidget;
class ExportController;
class Session;

/// Writes down what is set up for the selected dataset, to be done with many files without a window.
class BatchPlanController : public QObject {
    Q_OBJECT

public:
    /// @param calculations  tells the inputs of the calculations
    /// @param exports       knows the features and figures of the last summary
    /// @param window        parent of dialogs
    BatchPlanController(const Session& session, const CalculationsDockWidget& calculations,
                        const ExportController& exports, QWidget* window);

    /// Asks for a file and writes a plan with the dataset's rules, the groups that it has switched on, the calculations
    /// that were done for it, and the summary as it was last exported: before that, of the features of the plot and the
    /// gates, and of computed ones.
    void saveBatchPlan();

signals:
    void statusChanged(const QString& text);

private:
    const Session& session_;
    const CalculationsDockWidget& calculations_;
    const ExportController& exports_;
    QWidget* window_;
    QString path_; ///< of the plan saved last
};

} // namespace Tessaly
