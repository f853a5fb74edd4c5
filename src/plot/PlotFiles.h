#pragma once

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>

#include <vector>

class QwtPlot;

namespace Tessaly {

/// A plot and where it goes.
struct PlacedPlot {
    QwtPlot* plot = nullptr;
    QRectF place; ///< on the page, in millimetres
};

/// Plots on a page, to be written as a picture or document. They are rendered as they are: see PlotAppearance for the
/// look on paper.
struct PlotPage {
    QSizeF size; ///< in millimetres
    std::vector<PlacedPlot> plots;
    QString title;              ///< of the document
    int resolution = 150;       ///< dots per inch of pictures
    QSize pixels;               ///< of pictures; rounded from size and resolution if not valid
    double svgUnits = 0.0;      ///< units of an SVG's view box per millimetre; 0: one for each dot
    bool framedByScales = true; ///< closed frames about the canvases in place of the axes' own lines
};

/// A page with one plot that fills it and gives it its title.
PlotPage pageOf(QwtPlot& plot, const QSizeF& size, int resolution = 150);

/// The page as a picture on white that knows its resolution. Null if there is no memory for it.
QImage pictureOf(const PlotPage& page);

/// Writes a page as the suffix of the name says: "svg" with texts as text, "pdf" with embedded fonts, or any format of
/// pictures that can be written. Both are vectors but for plots of very many dots, whose dots are a picture
/// (MaxVectorDots). The target is as it was or complete.
/// @return false if it can't be written, or not in that format. Interface thread only.
bool writePlots(const QString& fileName, const PlotPage& page);

} // namespace Tessaly
