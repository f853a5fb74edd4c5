#include "tools/combine/PaperStyle.h"

#include "plot/ComparePlot.h"

#include <QFontMetricsF>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_spectrocurve.h>
#include <qwt_plot_textlabel.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_widget.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

#include <ranges>

namespace Tessaly {

namespace {

QFont sized(QFont font, int pointSize) {
    font.setPointSize(pointSize);
    return font;
}

/// The title as it fits on paper: points are as large there as they are on the screen. It stands over the whole plot,
/// or over the canvas if only one side has an axis.
QString fittingTitle(const ComparePlot& plot, const QFont& font, const CombineExportSettings& settings) {
    const double pixels = settings.plotWidthMm / 25.4 * plot.logicalDpiX();
    const double axis = settings.showRightTopAxes ? 0.0 : plot.axisWidget(QwtAxis::YLeft)->sizeHint().width();
    return QFontMetricsF(font, const_cast<ComparePlot*>(&plot)) // NOLINT: asks for the resolution only
        .elidedText(plot.fullTitle(), Qt::ElideMiddle, pixels * 0.95 - axis);
}

QwtSymbol* copyOf(const QwtSymbol& symbol, const QSize& size) {
    return new QwtSymbol(symbol.style(), symbol.brush(), symbol.pen(), size);
}

} // namespace

PaperStyle::PaperStyle(ComparePlot& plot, const CombineExportSettings& settings) : plot_(plot), appearance_(plot) {
    appearance_.applyForPrint();
    styleTexts(settings);
    styleTitle(settings);
    styleItems(settings);
    styleAxes(settings);
    plot_.updateLayout();
}

PaperStyle::~PaperStyle() {
    for (const auto& step : std::views::reverse(undo_)) {
        step();
    }
}

void PaperStyle::styleTexts(const CombineExportSettings& settings) {
    for (int axis = 0; axis < QwtAxis::AxisPositions; ++axis) {
        undo_.emplace_back([this, axis, before = plot_.axisFont(axis)] { plot_.setAxisFont(axis, before); });
        plot_.setAxisFont(axis, sized(plot_.axisFont(axis), settings.tickLabelSize));
    }
    for (const int axis : {int(QwtAxis::YLeft), int(QwtAxis::XBottom)}) {
        const QwtText before = plot_.axisTitle(axis);
        undo_.emplace_back([this, axis, before] { plot_.setAxisTitle(axis, before); });
        QwtText title = before;
        QFont font = sized(before.font(), settings.axisLabelSize);
        font.setWeight(QFont::Normal);
        title.setFont(font);
        plot_.setAxisTitle(axis, title);
    }
    for (QwtPlotItem* item : plot_.itemList(QwtPlotItem::Rtti_PlotTextLabel)) {
        auto* label = static_cast<QwtPlotTextLabel*>(item);
        undo_.emplace_back([label, before = label->text()] { label->setText(before); });
        QwtText text = label->text();
        text.setFont(sized(text.font(), settings.tickLabelSize));
        label->setText(text);
    }
}

void PaperStyle::styleTitle(const CombineExportSettings& settings) {
    const QwtText before = plot_.title();
    undo_.emplace_back([this, before] { plot_.setTitle(before); });
    if (!settings.showTitle) {
        plot_.setTitle(QwtText());
        return;
    }
    if (before.isEmpty()) {
        return;
    }
    QwtText title = before;
    QFont font = sized(before.font(), settings.titleSize);
    font.setWeight(settings.titleBold ? QFont::Bold : QFont::Normal);
    title.setFont(font);
    title.setText(fittingTitle(plot_, font, settings), QwtText::PlainText);
    if (!settings.titleUseColor) {
        title.setColor(Qt::black);
    }
    plot_.setTitle(title);
}

void PaperStyle::styleItems(const CombineExportSettings& settings) {
    for (QwtPlotItem* item : plot_.itemList()) {
        if (auto* spectro = dynamic_cast<QwtPlotSpectroCurve*>(item)) {
            undo_.emplace_back([spectro, before = spectro->penWidth()] { spectro->setPenWidth(before); });
            spectro->setPenWidth(settings.pointSize);
        } else if (auto* curve = dynamic_cast<QwtPlotCurve*>(item); curve && curve->symbol()) {
            const QSize before = curve->symbol()->size();
            undo_.emplace_back([curve, before] { curve->setSymbol(copyOf(*curve->symbol(), before)); });
            curve->setSymbol(copyOf(*curve->symbol(), QSize(settings.pointSize, settings.pointSize)));
        } else if (auto* grid = dynamic_cast<QwtPlotGrid*>(item)) {
            undo_.emplace_back([grid, before = grid->isVisible()] { grid->setVisible(before); });
            grid->setVisible(settings.showGrid);
        }
    }
}

void PaperStyle::styleAxes(const CombineExportSettings& settings) {
    // Restored with the rest of the appearance.
    if (!settings.showRightTopAxes) {
        plot_.setAxisVisible(QwtAxis::YRight, false);
        plot_.setAxisVisible(QwtAxis::XTop, false);
    }
    for (int axis = 0; axis < QwtAxis::AxisPositions; ++axis) {
        if (plot_.isAxisVisible(axis)) {
            QwtScaleDraw* draw = plot_.axisScaleDraw(axis);
            undo_.emplace_back([draw, before = draw->penWidthF()] { draw->setPenWidthF(before); });
            draw->setPenWidthF(settings.axisLineWidth);
        }
    }
}

} // namespace Tessaly
