#include "plot/ComparePlot.h"

#include "plot/AxisScaleDraw.h"
#include "plot/PlainDotCurve.h"
#include "plot/PlotItems.h"
#include "plot/PlotPoints.h"
#include "plot/PointSeries.h"
#include "plot/RoundSpectroCurve.h"
#include "widgets/EmptyHint.h"

#include <QFontMetrics>
#include <QResizeEvent>
#include <qwt_plot_curve.h>
#include <qwt_plot_legenditem.h>
#include <qwt_plot_textlabel.h>
#include <qwt_scale_widget.h>
#include <qwt_symbol.h>
#include <qwt_text.h>
#include <qwt_text_label.h>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int AxisX = QwtAxis::XBottom;
constexpr int AxisY = QwtAxis::YLeft;
constexpr int SmallPointSize = 8;
constexpr int TitlePointSize = 10;
constexpr int TitleMargin = 4;

QFont sized(const QFont& font, int pointSize) {
    QFont changed(font);
    changed.setPointSize(pointSize);
    return changed;
}

/// Names of datasets may look like markup.
QwtText plainText(const QString& text) {
    return {text, QwtText::PlainText};
}

} // namespace

ComparePlot::ComparePlot(const CompareScene& scene, QWidget* parent) : QwtPlot(parent), title_(scene.title) {
    setUpAxisNumbers(*this);
    setUpCanvas(scene);
    setUpTexts(scene);
    addGrid(*this);
    setUpAxis(AxisX, scene.xScaleMode, scene.xBounds);
    setUpAxis(AxisY, scene.yScaleMode, scene.yBounds);
    for (const CompareSeries& series : scene.series) {
        addSeries(series, scene);
    }
    addIsoelastics(*this, scene.isoelastics, scene.isoelasticLabels);
    if (scene.count) {
        addCount(*scene.count);
    }
    if (scene.legend && !scene.series.empty()) {
        addLegend();
    }
    replot();
}

void ComparePlot::setUpCanvas(const CompareScene& scene) {
    setCanvasBackground(scene.background);
    addCanvasFrame(*this);
    if (scene.compact) {
        setMinimumSize(300, 250);
    }
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    const bool empty = std::ranges::all_of(scene.series, [](const CompareSeries& series) {
        return (!series.points || series.points->size() == 0) && series.contours.empty();
    });
    if (empty) {
        // Lies over the canvas and is no part of what is exported.
        new EmptyHint(tr("No events to show"), canvas());
    }
}

void ComparePlot::setUpTexts(const CompareScene& scene) {
    const auto axisTitle = [&](int axis, const QString& label) {
        QwtText text = plainText(label);
        if (scene.compact) {
            text.setFont(sized(axisWidget(axis)->font(), TitlePointSize));
            setAxisFont(axis, sized(axisFont(axis), SmallPointSize));
        }
        setAxisTitle(axis, text);
    };
    axisTitle(AxisX, scene.xLabel);
    axisTitle(AxisY, scene.yLabel);
    if (!title_.isEmpty()) {
        QwtText text = plainText(title_);
        QFont font = sized(titleLabel()->font(), TitlePointSize);
        font.setWeight(QFont::Normal);
        text.setFont(font);
        setTitle(text);
        colorTitle(scene.titleColor);
    }
}

void ComparePlot::colorTitle(const QColor& color) {
    if (color.isValid() && !title_.isEmpty()) {
        QwtText text = title();
        text.setColor(color);
        setTitle(text);
    }
}

void ComparePlot::setUpAxis(int axis, int mode, const std::optional<AxisBounds>& bounds) {
    setScaleMode(*this, axis, mode);
    if (bounds) {
        setAxisScale(axis, bounds->first, bounds->second);
    }
}

void ComparePlot::addSeries(const CompareSeries& series, const CompareScene& scene) {
    Items items;
    items.points = series.points;
    if (series.points && series.points->hasColors()) {
        items.colorDots = addColorDots(*this);
        setDotColors(*items.colorDots, dotColorRange(*series.points), scene.colorMapIndex);
        items.colorDots->setData(new ColorPointSeries(series.points));
        items.colorDots->setItemAttribute(QwtPlotItem::Legend, false);
    } else if (series.points) {
        items.dots = addPlainDots(*this, series.colors.dots);
        items.dots->setData(new PointSeries(series.points));
        items.dots->setItemAttribute(QwtPlotItem::Legend, false);
    }
    items.contours = addContours(*this, series.contours, series.colors.lines);
    if (scene.legend) {
        QwtText name = plainText(series.name);
        name.setColor(series.colors.legend);
        items.legend = new QwtPlotCurve(name);
        items.legend->setStyle(QwtPlotCurve::NoCurve);
        items.legend->setItemAttribute(QwtPlotItem::AutoScale, false);
        items.legend->attach(this);
    }
    items_.push_back(std::move(items));
}

void ComparePlot::addCount(qsizetype count) {
    QwtText text = plainText(tr("N = %1").arg(count));
    text.setFont(sized(font(), SmallPointSize));
    text.setRenderFlags(Qt::AlignTop | Qt::AlignRight);
    auto* label = new QwtPlotTextLabel;
    label->setMargin(4);
    label->setText(text);
    label->attach(this);
}

void ComparePlot::addLegend() {
    auto* legend = new QwtPlotLegendItem;
    legend->setAlignmentInCanvas(Qt::AlignTop | Qt::AlignRight);
    legend->setMaxColumns(1);
    legend->setBackgroundMode(QwtPlotLegendItem::LegendBackground);
    legend->setBackgroundBrush(QColor(255, 255, 255, 200));
    legend->setBorderPen(QPen(Qt::gray));
    legend->attach(this);
}

void ComparePlot::setColors(const std::vector<CompareColors>& colors, const QColor& titleColor, int colorMapIndex) {
    for (std::size_t i = 0; i < items_.size() && i < colors.size(); ++i) {
        Items& items = items_[i];
        if (items.dots) {
            QColor fill = colors[i].dots;
            fill.setAlpha(items.dots->symbol()->brush().color().alpha());
            QPen rim = items.dots->symbol()->pen();
            rim.setColor(colors[i].dots);
            items.dots->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, fill, rim, items.dots->symbol()->size()));
        }
        if (items.colorDots) {
            setDotColors(*items.colorDots, dotColorRange(*items.points), colorMapIndex);
        }
        for (QwtPlotCurve* contour : items.contours) {
            QPen pen = contour->pen();
            pen.setColor(colors[i].lines);
            contour->setPen(pen);
        }
        if (items.legend) {
            QwtText name = items.legend->title();
            name.setColor(colors[i].legend);
            items.legend->setTitle(name);
        }
    }
    colorTitle(titleColor);
    replot();
}

void ComparePlot::resizeEvent(QResizeEvent* event) {
    QwtPlot::resizeEvent(event);
    if (!title_.isEmpty()) {
        QwtText text = title();
        // The layout gives it the width of the canvas.
        const int room = titleLabel()->width() - TitleMargin;
        text.setText(QFontMetrics(text.font()).elidedText(title_, Qt::ElideMiddle, room), QwtText::PlainText);
        setTitle(text);
        setToolTip(text.text() == title_ ? QString() : title_.toHtmlEscaped());
    }
}

} // namespace Tessaly
