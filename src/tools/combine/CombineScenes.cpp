#include "tools/combine/CombineScenes.h"

#include "core/DatasetEntry.h"
#include "core/ScaleMath.h"
#include "io/VQDReader.h"
#include "plot/PlotPoints.h"
#include "session/Session.h"
#include "session/SessionHost.h"
#include "session/compare/CombineModel.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

constexpr std::size_t MinContourEvents = 4;

QColor opaque(QColor color) {
    color.setAlpha(255);
    return color;
}

/// Makes the scenes of one refresh.
class SceneMaker {
public:
    SceneMaker(const Session& session, SessionHost& host, const CombineModel& model, const CombineDataList& data)
        : session_(session),
          host_(host),
          model_(model),
          data_(data) {
        for (const auto& each : data_) {
            smallestX_ = std::min(smallestX_, each->xSurvey.smallestPositive);
            smallestY_ = std::min(smallestY_, each->ySurvey.smallestPositive);
        }
        if (options().syncAxes) {
            limits_ = options().manualLimits ? options().limits : automaticLimits(data_);
        }
    }

    /// All datasets over each other.
    CompareScene samePlot() const {
        CompareScene scene = emptyScene(row(0));
        scene.compact = false;
        scene.legend = options().showLegend;
        for (std::size_t i = 0; i < data_.size(); ++i) {
            scene.series.push_back(seriesOf(i, 0));
        }
        addIsoelastics(scene, 0);
        return scene;
    }

    /// One dataset of an array.
    CompareScene single(std::size_t index) const {
        CompareScene scene = emptyScene(options().syncAxes ? row(0) : row(index));
        scene.xLabel = data_[index]->xLabel;
        scene.yLabel = data_[index]->yLabel;
        scene.title = nameOf(index);
        scene.titleColor = combineColors(model_, index).title;
        scene.series.push_back(seriesOf(index, index));
        addIsoelastics(scene, index);
        if (options().showCount) {
            scene.count = static_cast<qsizetype>(data_[index]->x.size());
        }
        return scene;
    }

    /// The contours of all datasets.
    CompareScene overlay() const {
        CompareScene scene = emptyScene(row(0));
        scene.title = QCoreApplication::translate("Tessaly::CombinePlotWindow", "Contour Overlay");
        scene.background = QColor(245, 245, 255, 255);
        scene.legend = options().showLegend;
        const SceneColors colors = combineColors(model_, data_.size());
        for (std::size_t i = 0; i < data_.size(); ++i) {
            CompareSeries series;
            series.name = nameOf(i);
            series.colors = colors.series[i];
            if (data_[i]->x.size() >= MinContourEvents) {
                series.contours = data_[i]->overlayContours;
            }
            scene.series.push_back(std::move(series));
        }
        addIsoelastics(scene, 0);
        return scene;
    }

private:
    const CombineOptions& options() const { return model_.options(); }
    const CombineDatasetSettings& row(std::size_t index) const { return model_.datasets()[index]; }

    QString nameOf(std::size_t index) const {
        const DatasetEntry* entry = session_.findById(row(index).datasetId);
        return entry ? entry->displayName : QString();
    }

    CompareScene emptyScene(const CombineDatasetSettings& scales) const {
        CompareScene scene;
        scene.xLabel = data_.front()->xLabel;
        scene.yLabel = data_.front()->yLabel;
        scene.xScaleMode = scales.scaleXMode;
        scene.yScaleMode = scales.scaleYMode;
        scene.colorMapIndex = host_.colorMapIndex();
        if (limits_) {
            scene.xBounds = boundsOf(limits_->xMin, limits_->xMax, scales.scaleXMode, smallestX_);
            scene.yBounds = boundsOf(limits_->yMin, limits_->yMax, scales.scaleYMode, smallestY_);
        }
        return scene;
    }

    static std::optional<AxisBounds> boundsOf(double lower, double upper, int mode, double smallestPositive) {
        if (!std::isfinite(lower) || !std::isfinite(upper) || lower == upper) {
            return std::nullopt; // nothing that an axis can show
        }
        return mode == ScaleMode::Log ? drawableOnLogAxis(lower, upper, smallestPositive) : AxisBounds(lower, upper);
    }

    CompareSeries seriesOf(std::size_t index, std::size_t scene) const {
        const std::shared_ptr<const CombineData>& data = data_[index];
        CompareSeries series;
        series.name = nameOf(index);
        const SceneColors colors = combineColors(model_, scene);
        series.colors = colors.series[options().displayMode == CombineDisplay::SamePlot ? index : 0];
        const bool heatmap = options().colorMode == CombineColor::Heatmap;
        const bool hasColors = !data->density.empty();
        if (options().contourMode != ContourMode::Only && !data->x.empty() && (!heatmap || hasColors)) {
            // The plot reads the columns where they are.
            series.points = std::make_shared<const PlotPoints>(PlotPoints::Column(data, &data->x),
                                                               PlotPoints::Column(data, &data->y),
                                                               PlotPoints::Column(data, &data->density));
        }
        series.contours = data->contours;
        return series;
    }

    void addIsoelastics(CompareScene& scene, std::size_t index) const {
        const CombineDatasetSettings& shown = row(index);
        const bool swapped = shown.xFeatureName == "deform" && shown.yFeatureName == "area_um";
        const bool straight = shown.xFeatureName == "area_um" && shown.yFeatureName == "deform";
        const DatasetEntry* entry = session_.findById(shown.datasetId);
        if (!options().isoelasticity || (!swapped && !straight) || !entry || !entry->featuresLoaded || !entry->reader ||
            !host_.emodulus()) {
            return;
        }
        scene.isoelastics =
            host_.emodulus()->isoelastics(host_.emodulusParamsFor(entry->metadata, entry->reader->hasFeature("temp")));
        scene.isoelasticLabels = options().isoLabels;
        if (swapped) {
            for (IsoelasticLine& line : scene.isoelastics) {
                for (auto& [area, deformation] : line.points) {
                    std::swap(area, deformation);
                }
            }
        }
    }

    const Session& session_;
    SessionHost& host_;
    const CombineModel& model_;
    const CombineDataList& data_;
    double smallestX_ = std::numeric_limits<double>::infinity();
    double smallestY_ = std::numeric_limits<double>::infinity();
    std::optional<PlotLimits> limits_;
};

} // namespace

std::vector<CompareScene> combineScenes(const Session& session, SessionHost& host, const CombineModel& model,
                                        const CombineDataList& data) {
    std::vector<CompareScene> scenes;
    if (data.empty()) {
        return scenes;
    }
    const SceneMaker maker(session, host, model, data);
    if (model.options().displayMode == CombineDisplay::SamePlot) {
        scenes.push_back(maker.samePlot());
        return scenes;
    }
    for (std::size_t i = 0; i < data.size(); ++i) {
        scenes.push_back(maker.single(i));
    }
    if (model.options().displayMode == CombineDisplay::ArrayAndContour) {
        scenes.push_back(maker.overlay());
    }
    return scenes;
}

SceneColors combineColors(const CombineModel& model, std::size_t scene) {
    const CombineOptions& options = model.options();
    const bool uniform = options.colorMode == CombineColor::Uniform;
    const bool samePlot = options.displayMode == CombineDisplay::SamePlot;
    const std::size_t rows = model.datasets().size();
    const auto colorsOf = [&](std::size_t row) {
        const QColor color = model.datasets()[row].color;
        CompareColors colors;
        colors.dots = opaque(uniform ? model.exportSettings().uniformColor : color);
        colors.lines = color;
        colors.legend = opaque(uniform && samePlot ? model.exportSettings().uniformColor : color);
        return colors;
    };
    SceneColors colors;
    if (!samePlot && scene < rows) {
        colors.series.push_back(colorsOf(scene));
        colors.title = opaque(model.datasets()[scene].color);
        return colors;
    }
    for (std::size_t row = 0; row < rows; ++row) {
        colors.series.push_back(colorsOf(row));
    }
    return colors;
}

} // namespace Tessaly
