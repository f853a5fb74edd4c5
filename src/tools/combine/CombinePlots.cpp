#include "tools/combine/CombinePlots.h"

#include "plot/ComparePlot.h"
#include "tools/combine/AspectRatioLabel.h"
#include "tools/combine/CombineExport.h"
#include "tools/combine/CombineScenes.h"
#include "widgets/EmptyHint.h"

#include <QGridLayout>

#include <utility>

namespace Tessaly {

CombinePlots::CombinePlots(QWidget* parent) : QScrollArea(parent) {
    setObjectName(QStringLiteral("combinePlots"));
    setAccessibleName(tr("Plots"));
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setMinimumSize(320, 270); // a plot of an array
    auto* content = new QWidget;
    grid_ = new QGridLayout(content);
    grid_->setContentsMargins(4, 4, 4, 4);
    grid_->setSpacing(4);
    setWidget(content);
    hint_ = new EmptyHint(tr("Add datasets to compare their plots."), viewport());
}

void CombinePlots::clear() {
    hidePreview();
    for (ComparePlot* plot : std::exchange(plots_, {})) {
        delete plot;
    }
    for (int i = 0; i < grid_->columnCount(); ++i) {
        grid_->setColumnStretch(i, 0);
    }
    for (int i = 0; i < grid_->rowCount(); ++i) {
        grid_->setRowStretch(i, 0);
    }
}

void CombinePlots::showScenes(const std::vector<CompareScene>& scenes, const ArraySize& size) {
    setUpdatesEnabled(false);
    clear();
    size_ = size;
    for (int i = 0; i < static_cast<int>(scenes.size()); ++i) {
        const CompareScene& scene = scenes[static_cast<std::size_t>(i)];
        auto* plot = new ComparePlot(scene, widget());
        plot->setObjectName(QStringLiteral("comparePlot%1").arg(i + 1));
        plot->setAccessibleName(scene.title.isEmpty() ? tr("Plot of all datasets") : tr("Plot of %1").arg(scene.title));
        grid_->addWidget(plot, i / size.cols, i % size.cols); // NOLINT: whole rows
        plot->show();
        plots_.push_back(plot);
    }
    for (int i = 0; !scenes.empty() && i < size.cols; ++i) {
        grid_->setColumnStretch(i, 1);
    }
    for (int i = 0; !scenes.empty() && i < size.rows; ++i) {
        grid_->setRowStretch(i, 1);
    }
    hint_->setVisible(scenes.empty());
    setUpdatesEnabled(true);
}

void CombinePlots::setColors(std::size_t index, const SceneColors& colors, int colorMapIndex) {
    if (index < plots_.size()) {
        plots_[index]->setColors(colors.series, colors.title, colorMapIndex);
    }
}

void CombinePlots::showPreview(const CombineExportSettings& settings) {
    setUpdatesEnabled(false);
    hidePreview();
    for (ComparePlot* plot : plots_) {
        const QImage picture = previewOf(*plot, settings);
        auto* label = new AspectRatioLabel(settings.plotWidthMm / settings.plotHeightMm, widget());
        label->setObjectName(plot->objectName() + QStringLiteral("Preview"));
        label->setAccessibleName(tr("Preview: %1").arg(plot->accessibleName()));
        label->setPixmap(QPixmap::fromImage(picture));
        const int place = static_cast<int>(previewLabels_.size());
        grid_->addWidget(label, place / size_.cols, place % size_.cols); // NOLINT: whole rows
        plot->hide();
        label->show();
        previewLabels_.push_back(label);
    }
    setUpdatesEnabled(true);
}

void CombinePlots::hidePreview() {
    for (AspectRatioLabel* label : std::exchange(previewLabels_, {})) {
        delete label;
    }
    for (ComparePlot* plot : plots_) {
        plot->show();
    }
}

} // namespace Tessaly
