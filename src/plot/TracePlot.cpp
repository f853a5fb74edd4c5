#include "plot/TracePlot.h"

#include "plot/AxisScaleDraw.h"
#include "plot/AxisTicks.h"
#include "plot/PlotItems.h"
#include "plot/PseudoLogScaleEngine.h"

#include <qwt_plot_curve.h>
#include <qwt_plot_legenditem.h>
#include <qwt_scale_widget.h>
#include <qwt_text.h>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

constexpr double LowestValue = -10.0;
constexpr double HighestValue = 35000.0;

void setUpAxis(QwtPlot& plot, int axis, const QString& title) {
    QFont font = plot.font();
    font.setPointSize(7);
    plot.setAxisFont(axis, font);
    QwtText text(title);
    font.setPointSize(8);
    text.setFont(font);
    plot.setAxisTitle(axis, text);
}

/// The names of the channels over the upper right corner, where traces rarely reach; curves shine through.
void addLegend(QwtPlot& plot) {
    auto* legend = new QwtPlotLegendItem;
    QFont font = plot.font();
    font.setPointSize(7);
    legend->setFont(font);
    legend->setMaxColumns(1);
    legend->setAlignmentInCanvas(Qt::AlignRight | Qt::AlignTop);
    legend->setOffsetInCanvas(Qt::Vertical | Qt::Horizontal, 2);
    legend->setMargin(0);
    legend->setSpacing(2);
    legend->setItemMargin(1);
    legend->setItemSpacing(3);
    legend->setBackgroundBrush(QColor(255, 255, 255, 150));
    legend->setBorderPen(Qt::NoPen);
    legend->attach(&plot);
}

/// Shows a curve with its name in the legend, or neither.
void showCurve(QwtPlotCurve& curve, bool shown) {
    curve.setItemAttribute(QwtPlotItem::Legend, shown);
    curve.setVisible(shown);
}

QVector<QPointF> curvePoints(const std::vector<float>& samples, double step, double offset) {
    QVector<QPointF> points;
    points.reserve(static_cast<qsizetype>(samples.size()));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double value = static_cast<double>(samples[i]) + offset;
        if (std::isfinite(value)) {
            points.append({static_cast<double>(i) * step, value});
        }
    }
    return points;
}

int colorByte(double share, double factor) {
    if (share <= 0.0) {
        return 0;
    }
    return std::min(static_cast<int>(255.0 * std::pow(factor * share, 0.8)), 255);
}

} // namespace

QColor wavelengthColor(int wavelength) {
    if (wavelength < 380 || wavelength > 780) {
        return {128, 128, 128};
    }
    const double w = wavelength;
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    if (w < 440) {
        red = (440 - w) / 60;
        blue = 1;
    } else if (w < 490) {
        green = (w - 440) / 50;
        blue = 1;
    } else if (w < 510) {
        green = 1;
        blue = (510 - w) / 20;
    } else if (w < 580) {
        red = (w - 510) / 70;
        green = 1;
    } else if (w < 645) {
        red = 1;
        green = (645 - w) / 65;
    } else {
        red = 1;
    }
    // The eye's response falls off at both ends of the spectrum.
    double factor = 1.0;
    if (w < 420) {
        factor = 0.3 + 0.7 * (w - 380) / 40;
    } else if (w > 700) {
        factor = 0.3 + 0.7 * (780 - w) / 80;
    }
    return {colorByte(red, factor), colorByte(green, factor), colorByte(blue, factor)};
}

int channelWavelength(const QString& channelName) {
    return channelName.section(QLatin1Char('/'), 0, 0).toInt();
}

TracePlot::TracePlot(QWidget* parent) : QwtPlot(parent) {
    setObjectName("tracePlot");
    setAccessibleName(tr("Fluorescence traces of the event"));
    setCanvasBackground(Qt::white);
    setMinimumSize(260, 180);
    setMaximumHeight(260);

    setUpAxis(*this, xBottom, tr("Time [µs]"));
    setUpAxis(*this, yLeft, tr("Fluorescence [a.u.]"));
    setAxisScaleEngine(yLeft, new PseudoLogScaleEngine);
    setAxisScale(yLeft, LowestValue, HighestValue);
    setAxisAutoScale(xBottom);

    setUpAxisNumbers(*this);
    addGrid(*this);
    addLegend(*this);
}

TracePlot::~TracePlot() = default;

void TracePlot::setupChannels(const std::map<int, QString>& channelNames, const std::map<int, double>& offsets,
                              double sampleRate, const std::vector<std::string>& traceNames, bool preferRefined) {
    for (QwtPlotCurve* curve : curves_) {
        curve->detach();
        delete curve;
    }
    curves_.clear();
    channels_.clear();
    sampleRate_ = sampleRate;

    for (const auto& [number, name] : channelNames) {
        TraceChannel channel;
        channel.channel = number;
        channel.channelName = name.toStdString();
        const int wavelength = channelWavelength(name);
        channel.color = wavelength < 1 ? QColor(Qt::gray) : wavelengthColor(wavelength);
        channel.traceName = "fl" + std::to_string(number) + "_median";
        const std::string refinedName = channel.traceName + "_rf";
        const bool refined =
            preferRefined && std::find(traceNames.begin(), traceNames.end(), refinedName) != traceNames.end();
        if (refined) {
            channel.traceName = refinedName;
        }
        if (const auto offset = offsets.find(number); offset != offsets.end()) {
            channel.offset = offset->second;
        }

        const QString title = refined ? tr("FL%1 refined (%2)") : tr("FL%1 (%2)");
        auto* curve = new QwtPlotCurve(title.arg(QString::number(number), name));
        curve->setPen(channel.color, 2.0, Qt::SolidLine);
        curve->setRenderHint(QwtPlotItem::RenderAntialiased);
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine);
        curve->setLegendIconSize(QSize(10, 8));
        curve->attach(this);
        showCurve(*curve, false);
        curves_.push_back(curve);
        channels_.push_back(channel);
    }
    replot();
}

void TracePlot::setTraces(const std::map<std::string, std::vector<float>>& traces) {
    if (channels_.empty() || traces.empty()) {
        clearTraces();
        return;
    }
    for (QwtPlotCurve* curve : curves_) {
        showCurve(*curve, false); // so that the legend takes them in order
    }
    const double step = sampleRate_ > 0.0 ? 1e6 / sampleRate_ : 1.0;
    for (std::size_t i = 0; i < channels_.size(); ++i) {
        const auto trace = traces.find(channels_[i].traceName);
        const bool shown = trace != traces.end() && !trace->second.empty();
        curves_[i]->setSamples(shown ? curvePoints(trace->second, step, channels_[i].offset) : QVector<QPointF>());
        showCurve(*curves_[i], shown);
    }
    setAxisAutoScale(xBottom);
    setAxisScale(yLeft, LowestValue, HighestValue);
    replot();
}

void TracePlot::clearTraces() {
    for (QwtPlotCurve* curve : curves_) {
        curve->setSamples(QVector<QPointF>());
        showCurve(*curve, false);
    }
    replot();
}

} // namespace Tessaly
