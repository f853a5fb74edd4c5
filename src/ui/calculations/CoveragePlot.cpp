#include "ui/calculations/CoveragePlot.h"

#include <QPainterPath>
#include <qwt_legend.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_shapeitem.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

#include <algorithm>

namespace Tessaly {

namespace {

struct FateStyle {
    EModulusFate fate;
    const char* name;
    QRgb colour;
    QwtSymbol::Style mark; ///< of the legend and the events: colour isn't the only carrier
};

constexpr FateStyle FateStyles[] = {
    {EModulusFate::Mapped, QT_TRANSLATE_NOOP("Tessaly::CoveragePlot", "Mapped"), 0xff00897b, QwtSymbol::Ellipse},
    {EModulusFate::AreaTooSmall, QT_TRANSLATE_NOOP("Tessaly::CoveragePlot", "Area too small"), 0xff1565c0,
     QwtSymbol::Cross},
    {EModulusFate::AreaTooLarge, QT_TRANSLATE_NOOP("Tessaly::CoveragePlot", "Area too large"), 0xff6a1b9a,
     QwtSymbol::XCross},
    {EModulusFate::DeformTooLow, QT_TRANSLATE_NOOP("Tessaly::CoveragePlot", "Deform too low"), 0xffc62828,
     QwtSymbol::DTriangle},
    {EModulusFate::DeformTooHigh, QT_TRANSLATE_NOOP("Tessaly::CoveragePlot", "Deform too high"), 0xffb45f00,
     QwtSymbol::UTriangle}};

/// More dots than this say nothing more in a small picture.
constexpr std::size_t MostDots = 5000;

QwtText small(const QString& text) {
    QwtText title(text);
    QFont font = title.font();
    font.setPointSize(8);
    title.setFont(font);
    return title;
}

} // namespace

CoveragePlot::CoveragePlot(const EModulusCoverage& coverage, QWidget* parent) : QwtPlot(parent) {
    setObjectName(QStringLiteral("coveragePlot"));
    setAccessibleName(tr("Look-up table and events over area and deformation"));
    setMinimumHeight(200);
    setCanvasBackground(Qt::white);
    static_cast<QwtPlotCanvas*>(canvas())->setFrameStyle(QFrame::NoFrame);
    for (const auto& [axis, title] :
         {std::pair(QwtAxis::XBottom, tr("Area [µm²]")), std::pair(QwtAxis::YLeft, tr("Deformation"))}) {
        setAxisTitle(axis, small(title));
        QFont font = axisFont(axis);
        font.setPointSize(7);
        setAxisFont(axis, font);
    }
    addOutline(coverage);
    addEvents(coverage);
    insertLegend(new QwtLegend, QwtPlot::BottomLegend);
    replot();
}

QSize CoveragePlot::sizeHint() const {
    return {400, 210}; // small, beneath figures that say more
}

void CoveragePlot::addOutline(const EModulusCoverage& coverage) {
    areaMin_ = deformMin_ = 1e300;
    areaMax_ = deformMax_ = -1e300;
    QPainterPath path;
    for (const auto& [area1, deform1, area2, deform2] : coverage.outline) {
        path.moveTo(area1, deform1);
        path.lineTo(area2, deform2);
        areaMin_ = std::min({areaMin_, area1, area2});
        areaMax_ = std::max({areaMax_, area1, area2});
        deformMin_ = std::min({deformMin_, deform1, deform2});
        deformMax_ = std::max({deformMax_, deform1, deform2});
    }
    auto* outline = new QwtPlotShapeItem;
    outline->setShape(path);
    outline->setPen(QPen(QColor(60, 60, 60), 1.5));
    outline->setRenderHint(QwtPlotItem::RenderAntialiased);
    outline->setZ(30);
    outline->attach(this);
    const double areaMargin = 0.15 * (areaMax_ - areaMin_);
    const double deformMargin = 0.15 * (deformMax_ - deformMin_);
    areaMin_ -= areaMargin;
    areaMax_ += areaMargin;
    deformMin_ -= deformMargin;
    deformMax_ += deformMargin;
    setAxisScale(QwtAxis::XBottom, areaMin_, areaMax_);
    setAxisScale(QwtAxis::YLeft, deformMin_, deformMax_);
}

void CoveragePlot::addEvents(const EModulusCoverage& coverage) {
    const std::size_t step = coverage.events.size() / MostDots + 1;
    for (const FateStyle& style : FateStyles) {
        QVector<QPointF> points;
        for (std::size_t i = 0; i < coverage.events.size(); ++i) {
            const EModulusCoverage::Event& event = coverage.events[i];
            // The few that didn't get a modulus are all shown.
            if (event.fate == style.fate && (event.fate != EModulusFate::Mapped || i % step == 0)) {
                points << QPointF(std::clamp(event.area, areaMin_, areaMax_),
                                  std::clamp(event.deform, deformMin_, deformMax_));
            }
        }
        if (points.isEmpty()) {
            continue;
        }
        auto* curve = new QwtPlotCurve(tr(style.name));
        const bool mapped = style.fate == EModulusFate::Mapped;
        const int size = mapped ? 3 : 5;
        curve->setStyle(QwtPlotCurve::NoCurve);
        curve->setSymbol(new QwtSymbol(style.mark, QBrush(QColor(style.colour)),
                                       mapped ? QPen(Qt::NoPen) : QPen(QColor(style.colour), 1), QSize(size, size)));
        curve->setLegendAttribute(QwtPlotCurve::LegendShowSymbol);
        curve->setRenderHint(QwtPlotItem::RenderAntialiased);
        curve->setSamples(points);
        curve->attach(this);
    }
}

} // namespace Tessaly
