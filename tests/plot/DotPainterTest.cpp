#include "plot/ColorMaps.h"
#include "plot/PlainDotCurve.h"
#include "plot/PointSeries.h"
#include "plot/RoundSpectroCurve.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QPicture>
#include <QSvgGenerator>
#include <qwt_color_map.h>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

using namespace Tessaly;

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
const QSize LogicalSize(240, 160);

using Points = std::shared_ptr<const PlotPoints>;

/// A crowd with sparse surroundings that reaches over the borders; pixels are data units.
Points randomPoints(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    std::vector<double> x(count);
    std::vector<double> y(count);
    std::vector<double> colors(count);
    for (std::size_t i = 0; i < count; ++i) {
        const bool crowd = uniform(random) < 0.7;
        x[i] = crowd ? 90.0 + 25.0 * normal(random) : 260.0 * uniform(random) - 10.0;
        y[i] = crowd ? 70.0 + 15.0 * normal(random) : 180.0 * uniform(random) - 10.0;
        colors[i] = uniform(random);
    }
    return std::make_shared<const PlotPoints>(std::move(x), std::move(y), std::move(colors));
}

/// Data units to pixels with y upwards.
std::pair<QwtScaleMap, QwtScaleMap> maps() {
    QwtScaleMap x;
    x.setScaleInterval(0.0, LogicalSize.width());
    x.setPaintInterval(0.0, LogicalSize.width());
    QwtScaleMap y;
    y.setScaleInterval(0.0, LogicalSize.height());
    y.setPaintInterval(LogicalSize.height(), 0.0);
    return {x, y};
}

std::unique_ptr<RoundSpectroCurve> colorCurve(const Points& points) {
    auto curve = std::make_unique<RoundSpectroCurve>();
    curve->setPenWidth(6.0);
    curve->setColorMap(colorMapFor(1));
    curve->setColorRange(QwtInterval(0.0, 1.0));
    curve->setData(new ColorPointSeries(points));
    return curve;
}

QwtSymbol* dotSymbol() {
    return new QwtSymbol(QwtSymbol::Ellipse, QColor(0, 68, 108, 100), QPen(QColor(0, 68, 108), 1.0), QSize(6, 6));
}

/// The same dots drawn one by one.
void drawReference(QPainter& painter, const PlotPoints& points) {
    const auto [xMap, yMap] = maps();
    const std::unique_ptr<QwtLinearColorMap> colors(colorMapFor(1));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (std::size_t i = 0; i < points.size(); ++i) {
        painter.setBrush(QColor::fromRgb(colors->rgb(QwtInterval(0.0, 1.0), points.colors()[i])));
        painter.drawEllipse(QPointF(xMap.transform(points.x()[i]), yMap.transform(points.y()[i])), 3.0, 3.0);
    }
    painter.restore();
}

void drawCurve(QPainter& painter, const QwtPlotItem& curve) {
    const auto [xMap, yMap] = maps();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, curve.testRenderHint(QwtPlotItem::RenderAntialiased));
    curve.draw(&painter, xMap, yMap, QRectF(QPointF(), QSizeF(LogicalSize)));
    painter.restore();
}

/// A white canvas onto which something is drawn.
template <typename Draw>
QImage picture(double devicePixelRatio, Draw draw) {
    QImage image(LogicalSize * devicePixelRatio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::white);
    QPainter painter(&image);
    draw(painter);
    return image;
}

struct Difference {
    double mean = 0.0; ///< grey levels, over the pixels that either picture has drawn on
    double largest = 0.0;
    int drawn = 0;
};

Difference difference(const QImage& a, const QImage& b) {
    Difference result;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            if ((p & 0xffffff) == 0xffffff && (q & 0xffffff) == 0xffffff) {
                continue;
            }
            const double pixel =
                (std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q))) / 3.0;
            result.mean += pixel;
            result.largest = std::max(result.largest, pixel);
            ++result.drawn;
        }
    }
    result.mean /= std::max(result.drawn, 1);
    return result;
}

/// How the coloured dots differ from ellipses drawn one by one with the same painter.
Difference colorDifference(
    const Points& points, double ratio, void (*prepare)(QPainter&) = [](QPainter&) {}) {
    const auto curve = colorCurve(points);
    const auto drawn = [&](QPainter& painter) {
        prepare(painter);
        drawCurve(painter, *curve);
    };
    const auto expected = [&](QPainter& painter) {
        prepare(painter);
        drawReference(painter, *points);
    };
    return difference(picture(ratio, drawn), picture(ratio, expected));
}

Points pointsOf(std::vector<double> x, std::vector<double> y, std::vector<double> colors) {
    return std::make_shared<const PlotPoints>(std::move(x), std::move(y), std::move(colors));
}

template <typename Curve = PlainDotCurve>
std::unique_ptr<Curve> plainCurve(const Points& points, bool antialiased = true) {
    auto curve = std::make_unique<Curve>();
    curve->setStyle(QwtPlotCurve::NoCurve);
    curve->setPaintAttribute(QwtPlotCurve::FilterPoints, false);
    curve->setRenderHint(QwtPlotItem::RenderAntialiased, antialiased);
    curve->setSymbol(dotSymbol());
    curve->setData(new PointSeries(points));
    return curve;
}

} // namespace

TEST(DotPainter, ColoredDotsHaveThePictureOfEllipses) {
    const auto scaleAndClip = [](QPainter& painter) {
        painter.translate(13.3, -4.6);
        painter.scale(0.8, 0.8);
        painter.setClipRect(QRectF(20.0, 30.0, 120.5, 80.5));
    };
    for (const Difference& d :
         {colorDifference(randomPoints(1500, 7), 2.0), colorDifference(randomPoints(20000, 7), 1.0),
          colorDifference(randomPoints(5000, 3), 1.5, scaleAndClip)}) {
        EXPECT_GT(d.drawn, 10000);
        EXPECT_LT(d.mean, 1.5);
    }
    // On a turned painter no dot can be stamped: there they are ellipses.
    const auto turn = [](QPainter& painter) {
        painter.translate(60.0, 0.0);
        painter.rotate(20.0);
    };
    EXPECT_EQ(colorDifference(randomPoints(2000, 9), 1.0, turn).largest, 0.0);
}

TEST(DotPainter, EveryPlaceWithinAPixelIsKept) {
    // Single dots on a grid of distances that is no whole number of pixels, so that every dot has a place of its own.
    std::vector<double> x;
    std::vector<double> y;
    for (int i = 0; i < 600; ++i) {
        x.push_back(5.0 + 7.77 * (i % 30));
        y.push_back(5.0 + 7.61 * (i / 30));
    }
    // Enough points far outside to be taken for a crowd.
    x.resize(2000, -500.0);
    y.resize(2000, 80.0);
    const Difference d = colorDifference(pointsOf(x, y, std::vector<double>(2000, 0.0)), 1.0);
    EXPECT_LT(d.mean, 1.5);
    // A dot moved by a whole pixel differs by far more than one moved by a sixteenth.
    EXPECT_LT(d.largest, 30.0);
}

TEST(DotPainter, LaterDotsCoverEarlierOnes) {
    std::vector<double> colors(3000, 0.0);
    colors.back() = 1.0;
    const auto curve = colorCurve(pointsOf(std::vector<double>(3000, 100.0), std::vector<double>(3000, 80.0), colors));
    const QImage drawn = picture(1.0, [&](QPainter& painter) { drawCurve(painter, *curve); });
    EXPECT_EQ(drawn.pixelColor(100, 80), QColor(Qt::red));
}

TEST(DotPainter, PlainDotsHaveThePictureOfTheSymbol) {
    for (const auto& [antialiased, count] : {std::pair{true, 1500U}, {true, 20000U}, {false, 20000U}}) {
        SCOPED_TRACE(testing::Message() << "antialiased " << antialiased << ", dots " << count);
        const Points points = randomPoints(count, 11);
        const auto curve = plainCurve(points, antialiased);
        const auto stock = plainCurve<QwtPlotCurve>(points, antialiased);
        const QImage drawn = picture(1.0, [&](QPainter& painter) { drawCurve(painter, *curve); });
        const QImage expected = picture(1.0, [&](QPainter& painter) { drawCurve(painter, *stock); });
        // The library leaves out dots whose centres lie beyond the border; ours reach into the picture.
        const QRect inner = drawn.rect().adjusted(4, 4, -4, -4);
        const Difference d = difference(drawn.copy(inner), expected.copy(inner));
        EXPECT_GT(d.drawn, 10000);
        EXPECT_LT(d.mean, 0.6);
        EXPECT_LT(d.largest, 5.0);
    }
}

TEST(DotPainter, PlainDotsAreSharpOnFineScreensAndInScaledPictures) {
    const Points points = randomPoints(8000, 5);
    const auto curve = plainCurve(points);
    for (const auto& [ratio, scale] : {std::pair{2.0, 1.0}, {1.0, 1.7}}) {
        const QImage drawn = picture(ratio, [&, factor = scale](QPainter& painter) {
            painter.scale(factor, factor);
            drawCurve(painter, *curve);
        });
        const QImage expected = picture(ratio, [&, factor = scale](QPainter& painter) {
            const auto [xMap, yMap] = maps();
            painter.scale(factor, factor);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(QPen(QColor(0, 68, 108), 1.0));
            painter.setBrush(QColor(0, 68, 108, 100));
            for (std::size_t i = 0; i < points->size(); ++i) {
                const QPointF center(xMap.transform(points->x()[i]), yMap.transform(points->y()[i]));
                painter.drawEllipse(factor == 1.0 ? QPointF(center.toPoint()) : center, 3.0, 3.0);
            }
        });
        EXPECT_LT(difference(drawn, expected).mean, 1.5) << ratio;
    }
}

TEST(DotPainter, ValuesWithoutAPixelAreLeftOut) {
    for (const std::size_t count : {10U, 5000U}) {
        SCOPED_TRACE(count);
        std::vector<double> x(count, NaN);
        std::vector<double> colors(count, 0.5);
        x[0] = -std::numeric_limits<double>::infinity();
        x[1] = 1e300;
        x[2] = 100.0;
        colors[2] = NaN;
        const Points points = pointsOf(x, std::vector<double>(count, 80.0), colors);
        const auto curve = colorCurve(points);
        const auto plain = plainCurve(points);
        for (const QwtPlotItem* item : std::initializer_list<const QwtPlotItem*>{curve.get(), plain.get()}) {
            const QImage drawn = picture(1.0, [&](QPainter& painter) { drawCurve(painter, *item); });
            const int pixels = difference(drawn, picture(1.0, [](QPainter&) {})).drawn;
            EXPECT_GT(pixels, 20);
            EXPECT_LT(pixels, 70);
        }
        // NaN has the colour of the smallest value.
        const QImage drawn = picture(1.0, [&](QPainter& painter) { drawCurve(painter, *curve); });
        EXPECT_EQ(drawn.pixelColor(100, 80), QColor(Qt::blue));
    }
}

TEST(DotPainter, LogarithmicPositionsAgreeWithTheLogarithm) {
    std::vector<double> x;
    std::vector<double> logOfX;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> uniform;
    for (int i = 0; i < 4000; ++i) {
        x.push_back(i % 10 == 0 ? -uniform(random) : std::pow(10.0, 3.0 * uniform(random)));
        logOfX.push_back(x.back() > 0.0 ? 80.0 * std::log10(x.back()) : NaN);
    }
    const Points crowd = randomPoints(4000, 1);
    const auto curve = colorCurve(pointsOf(x, crowd->y(), crowd->colors()));
    const auto linear = colorCurve(pointsOf(logOfX, crowd->y(), crowd->colors()));
    auto [xMap, yMap] = maps();
    xMap.setTransformation(new QwtLogTransform);
    xMap.setScaleInterval(1.0, 1000.0);
    const QRectF rect{QPointF(), QSizeF(LogicalSize)};
    const QImage drawn = picture(1.0, [&](QPainter& painter) { curve->draw(&painter, xMap, yMap, rect); });
    const QImage expected = picture(1.0, [&](QPainter& painter) { drawCurve(painter, *linear); });
    const Difference d = difference(drawn, expected);
    EXPECT_GT(d.drawn, 10000);
    EXPECT_LT(d.mean, 1.5);
}

TEST(DotPainter, VectorDevicesGetOneShapePerDot) {
    static constexpr int Count = 1500;
    std::vector<double> x(Count, 100.0);
    x.front() = -50.0; // beyond the clip
    const Points points = pointsOf(x, std::vector<double>(Count, 80.0), std::vector<double>(Count, 0.5));
    const auto curve = colorCurve(points);
    const auto plain = plainCurve(points);
    for (const QwtPlotItem* item : std::initializer_list<const QwtPlotItem*>{curve.get(), plain.get()}) {
        QBuffer buffer;
        QSvgGenerator svg;
        svg.setOutputDevice(&buffer);
        svg.setSize(LogicalSize);
        QPainter painter(&svg);
        painter.setClipRect(QRectF(QPointF(), QSizeF(LogicalSize)));
        drawCurve(painter, *item);
        painter.end();
        const QByteArray text = buffer.data();
        EXPECT_EQ(text.count("<image"), 0);
        EXPECT_EQ(text.count("<path") + text.count("<circle") + text.count("<ellipse"), Count - 1);
    }
}
