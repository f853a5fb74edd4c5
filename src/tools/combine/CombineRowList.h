#pragma once

#include "session/compare/CombineSettings.h"

#include <QScrollArea>
#include <QTimer>

#include <vector>

class QVBoxLayout;

namespace Tessaly {

class CombineDatasetWidget;
class CombineModel;
class Session;

/// The rows of a combine window, one under the other, in a view that scrolls while a row is dragged near its edge. A
/// sentence where there are none.
class CombineRowList : public QScrollArea {
    Q_OBJECT

public:
    explicit CombineRowList(QWidget* parent = nullptr);

    /// Makes all rows anew.
    void rebuild(const Session& session, const CombineModel& model);
    /// Shows the model's settings in the rows that are there, without a signal.
    void showSettings(const CombineModel& model);

    const std::vector<CombineDatasetWidget*>& rows() const { return rows_; }
    /// Row of a widget, -1 for none.
    int indexOf(const CombineDatasetWidget* row) const;
    /// Pixels by which the view scrolls at every tick: -6, 0 or 6.
    int scrollStep() const { return scrollStep_; }

signals:
    void settingsChanged(int row);
    void removeRequested(int row);
    void dropReceived(CombineDatasetWidget* source, CombineDatasetWidget* target, bool above);
    /// By the keys.
    void moveRequested(int row, int step);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void addRow(const Session& session, const CombineDatasetSettings& settings);
    void addHint();
    void watchDrag(const QWidget* under, QEvent* event);
    void setScrollStep(int step);

    std::vector<CombineDatasetWidget*> rows_;
    QVBoxLayout* layout_ = nullptr;
    QTimer scrollTimer_;
    int scrollStep_ = 0;
};

} // namespace Tessaly
