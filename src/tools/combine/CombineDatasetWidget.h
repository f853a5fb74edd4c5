#pragma once

#include "session/compare/CombineSettings.h"

#include <QPoint>
#include <QWidget>

class QDropEvent;
class QLabel;
class QMimeData;
class QToolButton;

namespace Tessaly {

class ElidedLabel;
class FeatureCombo;
class ScaleModeCombo;
struct DatasetEntry;

/// Format of a row that is being dragged to another place of its list.
inline constexpr char CombineReorderMimeType[] = "application/x-combine-dataset-reorder";

/// One dataset of a combine window: its colour, features and scales. Rows of one list are put in order by dragging
/// their handles, or with Alt and the arrow keys on a handle.
class CombineDatasetWidget : public QWidget {
    Q_OBJECT

public:
    CombineDatasetWidget(const DatasetEntry& dataset, const CombineDatasetSettings& settings,
                         QWidget* parent = nullptr);

    int datasetId() const { return datasetId_; }
    /// What the controls say.
    CombineDatasetSettings settings() const;
    /// Shows settings without a signal; the dataset stays.
    void showSettings(const CombineDatasetSettings& settings);
    /// Shows the dataset's name and features anew, without a signal.
    void showDataset(const DatasetEntry& dataset);
    /// Marks the scale boxes with the number of events that a logarithmic axis can't show; 0 takes the mark away.
    void markLogAxes(int xCount, int yCount);

    QWidget* handle() const;
    /// What a drag of this row carries. The caller owns it.
    QMimeData* makeDragData();

signals:
    void settingsChanged();
    void removeRequested();
    /// A row was dropped on this one, in its upper half (above) or the lower.
    void dropReceived(CombineDatasetWidget* source, CombineDatasetWidget* target, bool above);
    /// By the keys: one place up (-1) or down (1).
    void moveRequested(int step);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private slots:
    void onColorButtonClicked();

private:
    enum class DropMark { None, Above, Below };

    void build();
    void buildHeader(class QBoxLayout& layout);
    void nameControls(const QString& name);
    void showColor();
    bool handleMouse(QEvent* event);
    void startDrag();
    CombineDatasetWidget* sourceOf(const QDropEvent* event) const;
    void showDropMark(DropMark mark);
    bool isAbove(const QPointF& position) const;
    void passOn(QDropEvent& event, const QWidget* from);

    int datasetId_ = -1;
    QColor color_;
    CombineDatasetSettings wanted_; ///< features that the dataset lacks stay wanted
    QToolButton* colorButton_ = nullptr;
    QToolButton* removeButton_ = nullptr;
    QLabel* handle_ = nullptr;
    ElidedLabel* name_ = nullptr;
    FeatureCombo* xFeature_ = nullptr;
    FeatureCombo* yFeature_ = nullptr;
    ScaleModeCombo* xScale_ = nullptr;
    ScaleModeCombo* yScale_ = nullptr;
    QPoint pressedAt_;
    bool pressed_ = false;
    DropMark dropMark_ = DropMark::None;
};

} // namespace Tessaly
