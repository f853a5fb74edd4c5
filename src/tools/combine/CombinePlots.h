#pragma once

#include "session/compare/CombineSettings.h"

#include <QScrollArea>

#include <vector>

class QGridLayout;

namespace Tessaly {

class AspectRatioLabel;
class ComparePlot;
class EmptyHint;
struct CompareScene;
struct SceneColors;

/// The plots of a combine window in their array, or pictures of them as they will be exported.
class CombinePlots : public QScrollArea {
    Q_OBJECT

public:
    explicit CombinePlots(QWidget* parent = nullptr);

    /// Shows plots in place of those that were there; the preview goes.
    /// @param size  of the array; 1 x 1 for a single plot
    void showScenes(const std::vector<CompareScene>& scenes, const ArraySize& size);
    /// Other colours for the plot at a place.
    void setColors(std::size_t index, const SceneColors& colors, int colorMapIndex);

    const std::vector<ComparePlot*>& plots() const { return plots_; }
    int columns() const { return size_.cols; }

    /// Shows a picture of every plot in its place.
    void showPreview(const CombineExportSettings& settings);
    /// Shows the plots again.
    void hidePreview();
    const std::vector<AspectRatioLabel*>& previewLabels() const { return previewLabels_; }

private:
    void clear();

    QGridLayout* grid_ = nullptr;
    EmptyHint* hint_ = nullptr;
    ArraySize size_;
    std::vector<ComparePlot*> plots_;
    std::vector<AspectRatioLabel*> previewLabels_;
};

} // namespace Tessaly
