#include "plot/FigureRenderer.h"

#include <QPaintEngine>
#include <QPainter>
#include <QPen>
#include <QRegularExpression>
#include <qwt_painter.h>
#include <qwt_plot.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_widget.h>

#include <algorithm>

namespace Tessaly {

namespace {

const QString MarkPrefix = QStringLiteral("tessaly-canvas:");

/// Leaves a text in a group of its own in the SVG.
void mark(QPainter& painter, const QString& text) {
    painter.save();
    painter.resetTransform();
    painter.setPen(QColor(1, 2, 3)); // differs from what comes before and after
    painter.drawText(QPointF(0.0, 0.0), MarkPrefix + text);
    painter.restore();
}

QString numbersOf(const QRectF& rect) {
    return QStringLiteral("%1;%2;%3;%4").arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height());
}

QPen framePen(const QwtPlot& plot) {
    double width = 0.0;
    for (int axis = 0; axis < QwtAxis::AxisPositions; ++axis) {
        if (plot.isAxisVisible(axis)) {
            width = std::max(width, plot.axisScaleDraw(axis)->penWidthF());
        }
    }
    const QColor color = plot.axisWidget(QwtAxis::YLeft)->palette().color(QPalette::WindowText);
    return {color, width, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin};
}

} // namespace

FigureRenderer::FigureRenderer(bool framedByScales) {
    setDiscardFlags(DiscardBackground | DiscardCanvasBackground | DiscardCanvasFrame);
    setLayoutFlag(FrameWithScales, framedByScales);
}

void FigureRenderer::renderCanvas(const QwtPlot* plot, QPainter* painter, const QRectF& canvasRect,
                                  const QwtScaleMap* maps) const {
    const bool toSvg = painter->paintEngine()->type() == QPaintEngine::SVG;
    if (toSvg) {
        mark(*painter, numbersOf(painter->combinedTransform().mapRect(canvasRect)));
    }
    painter->save();
    painter->setClipRect(canvasRect);
    plot->drawItems(painter, canvasRect, maps);
    painter->restore();
    if (toSvg) {
        mark(*painter, QStringLiteral("end"));
    }
    if (testLayoutFlag(FrameWithScales)) {
        const QPen pen = framePen(*plot);
        const double half = 0.5 * pen.widthF();
        painter->save();
        painter->setPen(pen);
        painter->setBrush(Qt::NoBrush);
        QwtPainter::drawRect(painter, canvasRect.adjusted(-half, -half, half - 1.0, half - 1.0));
        painter->restore();
    }
}

QByteArray finishSvg(const QByteArray& svg, const QSizeF& size) {
    static const QRegularExpression header(QStringLiteral("<svg width=\"[^\"]*\" height=\"[^\"]*\""));
    static const QRegularExpression profile(QStringLiteral("version=\"1.2\" baseProfile=\"tiny\""));
    static const QRegularExpression marks(
        QStringLiteral("<g [^>]*>\\s*<text [^>]*>") + MarkPrefix +
        QStringLiteral("(?:([-0-9.e]+);([-0-9.e]+);([-0-9.e]+);([-0-9.e]+)|end)</text>\\s*</g>"));
    const QString text = QString::fromUtf8(svg);
    QString finished;
    finished.reserve(text.size());
    qsizetype done = 0;
    int canvas = 0;
    for (auto found = marks.globalMatch(text); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        finished += QStringView(text).mid(done, match.capturedStart() - done);
        done = match.capturedEnd();
        if (match.captured(1).isEmpty()) {
            finished += QStringLiteral("</g>");
            continue;
        }
        ++canvas;
        finished += QStringLiteral("<clipPath id=\"canvas%1\"><rect x=\"%2\" y=\"%3\" width=\"%4\" height=\"%5\"/>"
                                   "</clipPath>\n<g clip-path=\"url(#canvas%1)\">\n")
                        .arg(QString::number(canvas), match.captured(1), match.captured(2), match.captured(3),
                             match.captured(4));
    }
    finished += QStringView(text).mid(done);
    // Clip paths are no part of the tiny profile.
    finished.replace(profile, QStringLiteral("version=\"1.1\""));
    finished.replace(header,
                     QStringLiteral("<svg width=\"%1mm\" height=\"%2mm\"").arg(size.width()).arg(size.height()));
    return finished.toUtf8();
}

} // namespace Tessaly
