#include "plot/PlotFiles.h"

#include "core/FileReplacement.h"
#include "plot/FigureRenderer.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImageWriter>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgGenerator>
#include <qwt_plot.h>
#include <qwt_text.h>

namespace Tessaly {

namespace {

constexpr double MillimetresPerInch = 25.4;

/// @param painter  of a device whose units are the dots of the page's resolution
void renderPlots(QPainter& painter, const PlotPage& page, double dotsPerMillimetre) {
    const FigureRenderer renderer(page.framedByScales);
    for (const PlacedPlot& placed : page.plots) {
        const QRectF& place = placed.place;
        renderer.render(placed.plot, &painter,
                        QRectF(place.topLeft() * dotsPerMillimetre, place.size() * dotsPerMillimetre));
    }
}

QByteArray imageBytes(const PlotPage& page, const QByteArray& format) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    return writer.write(pictureOf(page)) ? buffer.data() : QByteArray();
}

QByteArray svgBytes(const PlotPage& page) {
    const double dots = page.svgUnits > 0.0 ? page.svgUnits : page.resolution / MillimetresPerInch;
    const QSizeF box = page.size * dots;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        QSvgGenerator generator;
        generator.setOutputDevice(&buffer);
        generator.setTitle(page.title);
        generator.setResolution(page.resolution);
        generator.setSize(box.toSize());
        generator.setViewBox(QRectF(QPointF(), box));
        QPainter painter;
        if (!painter.begin(&generator)) {
            return {};
        }
        // The renderer takes the generator's units for dots of its resolution.
        const double unit = dots * MillimetresPerInch / page.resolution;
        painter.scale(unit, unit);
        renderPlots(painter, page, page.resolution / MillimetresPerInch);
    }
    return finishSvg(buffer.data(), page.size);
}

QByteArray pdfBytes(const PlotPage& page) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setTitle(page.title);
        writer.setCreator(QStringLiteral("Tessaly"));
        writer.setPageLayout(QPageLayout(QPageSize(page.size, QPageSize::Millimeter, QString(), QPageSize::ExactMatch),
                                         QPageLayout::Portrait, QMarginsF()));
        writer.setResolution(page.resolution);
        QPainter painter;
        if (!painter.begin(&writer)) {
            return {};
        }
        painter.setRenderHint(QPainter::LosslessImageRendering); // of colour bars
        renderPlots(painter, page, page.resolution / MillimetresPerInch);
    }
    return buffer.data();
}

} // namespace

PlotPage pageOf(QwtPlot& plot, const QSizeF& size, int resolution) {
    PlotPage page;
    page.size = size;
    page.plots = {{&plot, QRectF(QPointF(), size)}};
    page.title = plot.title().text();
    page.resolution = resolution;
    return page;
}

QImage pictureOf(const PlotPage& page) {
    const double dots = page.resolution / MillimetresPerInch;
    QImage picture(page.pixels.isValid() ? page.pixels : (page.size * dots).toSize(),
                   QImage::Format_ARGB32_Premultiplied);
    if (picture.isNull()) {
        return picture;
    }
    static constexpr double MillimetresPerMetre = 1000.0;
    picture.setDotsPerMeterX(qRound(dots * MillimetresPerMetre));
    picture.setDotsPerMeterY(qRound(dots * MillimetresPerMetre));
    picture.fill(Qt::white);
    QPainter painter(&picture);
    renderPlots(painter, page, dots);
    return picture;
}

bool writePlots(const QString& fileName, const PlotPage& page) {
    const QString format = QFileInfo(fileName).suffix().toLower();
    const QByteArray bytes = format == QLatin1String("svg")   ? svgBytes(page)
                             : format == QLatin1String("pdf") ? pdfBytes(page)
                                                              : imageBytes(page, format.toLatin1());
    return !bytes.isEmpty() && replaceFile(fileName, bytes);
}

} // namespace Tessaly
