#include "tools/combine/CombineExport.h"

#include "plot/ComparePlot.h"
#include "plot/PlotFiles.h"
#include "tools/combine/PaperStyle.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <memory>

namespace Tessaly {

namespace {

constexpr double MillimetresPerInch = 25.4;
constexpr int DotsPerInch = 150;

QSizeF plotSizeMm(const CombineExportSettings& settings) {
    return {settings.plotWidthMm, settings.plotHeightMm};
}

PlotPage singlePage(ComparePlot& plot, const CombineExportSettings& settings) {
    PlotPage page = pageOf(plot, plotSizeMm(settings), DotsPerInch);
    page.framedByScales = settings.showRightTopAxes;
    return page;
}

} // namespace

int exportPixels(double millimetres) {
    return static_cast<int>(millimetres / MillimetresPerInch * DotsPerInch);
}

QImage previewOf(ComparePlot& plot, const CombineExportSettings& settings) {
    const PaperStyle style(plot, settings);
    PlotPage page = singlePage(plot, settings);
    page.pixels = QSize(exportPixels(settings.plotWidthMm), exportPixels(settings.plotHeightMm));
    QImage picture = pictureOf(page);
    static constexpr int DotsPerMetre = 5905;
    picture.setDotsPerMeterX(DotsPerMetre);
    picture.setDotsPerMeterY(DotsPerMetre);
    return picture;
}

bool writePlot(const QString& fileName, ComparePlot& plot, const CombineExportSettings& settings) {
    const PaperStyle style(plot, settings);
    return writePlots(fileName, singlePage(plot, settings));
}

QSizeF gridSizeMm(const ArraySize& size, const CombineExportSettings& settings) {
    return {size.cols * settings.plotWidthMm + (size.cols - 1) * GridGapMm,
            size.rows * settings.plotHeightMm + (size.rows - 1) * GridGapMm};
}

bool writeGrid(const QString& fileName, const std::vector<ComparePlot*>& plots, int columns,
               const CombineExportSettings& settings) {
    const int count = static_cast<int>(plots.size());
    std::vector<std::unique_ptr<PaperStyle>> styles;
    PlotPage page;
    page.size = gridSizeMm({columns, (count + columns - 1) / columns}, settings);
    page.pixels = QSize(exportPixels(page.size.width()), exportPixels(page.size.height()));
    page.title = QCoreApplication::translate("Tessaly::CombinePlotWindow", "Combine Plot Export");
    page.resolution = DotsPerInch;
    page.svgUnits = 1.0;
    page.framedByScales = settings.showRightTopAxes;
    for (int i = 0; i < count; ++i) {
        ComparePlot& plot = *plots[static_cast<std::size_t>(i)];
        styles.push_back(std::make_unique<PaperStyle>(plot, settings));
        const QPointF corner(i % columns * (settings.plotWidthMm + GridGapMm),
                             i / columns * (settings.plotHeightMm + GridGapMm)); // NOLINT: whole rows
        page.plots.push_back({&plot, QRectF(corner, plotSizeMm(settings))});
    }
    return writePlots(fileName, page);
}

QStringList writeEach(const QString& fileName, const std::vector<ComparePlot*>& plots,
                      const CombineExportSettings& settings) {
    const QFileInfo chosen(fileName);
    QStringList failed;
    for (std::size_t i = 0; i < plots.size(); ++i) {
        const QString name =
            QStringLiteral("%1/%2_%3.%4")
                .arg(chosen.path(), chosen.completeBaseName(), QString::number(i + 1), chosen.suffix());
        if (!writePlot(name, *plots[i], settings)) {
            failed << name;
        }
    }
    return failed;
}

} // namespace Tessaly
