#include "ExportFixture.h"

#include "plot/ScatterPlot.h"
#include "ui/plot/PlotSettingsPanel.h"

#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QImage>

#include <cstdlib>

namespace Tessaly {
namespace {

class ExportPlot : public ExportFixture {
protected:
    ScatterPlot& plot() { return *window->panels().plot; }

    /// 60 cells, contours over them and one of them selected.
    void fill() {
        SampleFileOptions options;
        options.events = 60;
        load("a", options);
        auto* contours = window->findChild<QComboBox*>("contourModeCombo");
        QTest::keyClick(contours, Qt::Key_Down);
        ASSERT_GT(plot().contourCurveCount(), 0);
        QTest::mouseClick(plot().canvas(), Qt::LeftButton, {},
                          plot().toCanvas({plot().xData()[5], plot().yData()[5]}).toPoint());
        ASSERT_GE(plot().highlightedPoint(), 0);
        choose("exportPlotAction"); // cancelled; brings up menu and dialog for the first time
        QTest::qWait(50);
    }
    QImage exported(const char* name) {
        fileName = path(name);
        choose("exportPlotAction");
        EXPECT_EQ(told(), "");
        return QImage(fileName);
    }
    static int countOf(const QImage& image, QRgb color) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                count += (image.pixel(x, y) & 0xffffffU) == (color & 0xffffffU) ? 1 : 0;
            }
        }
        return count;
    }
    static int coloredOf(const QImage& image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                count += std::abs(qRed(image.pixel(x, y)) - qBlue(image.pixel(x, y))) > 40 ? 1 : 0;
            }
        }
        return count;
    }
};

} // namespace

TEST_F(ExportPlot, FigureWithContoursWithoutTheMark) {
    fill();
    const int marked = plot().highlightedPoint();
    const QImage before = plot().grab().toImage();
    const QImage image = exported("figure.png");
    EXPECT_EQ(image.size(), QSize(1181, 886));
    EXPECT_EQ(image.dotsPerMeterX(), 5906);
    EXPECT_EQ(countOf(image, qRgb(254, 204, 0)), 0) << "no pixel of the mark";
    EXPECT_GT(countOf(before, qRgb(254, 204, 0)), 0);
    QTest::qWait(50);
    EXPECT_EQ(plot().grab().toImage(), before);
    EXPECT_EQ(plot().highlightedPoint(), marked);

    // Contours only, and without them: what differs is in the figure.
    auto* contours = window->findChild<QComboBox*>("contourModeCombo");
    QTest::keyClick(contours, Qt::Key_Down);
    const QImage only = exported("only.png");
    QTest::keyClicks(contours, "Off");
    ASSERT_EQ(contours->currentText(), "Off");
    const QImage without = exported("without.png");
    const QRgb black = qRgb(0, 0, 0);
    EXPECT_GT(countOf(only, black), countOf(without, black) + 500) << "lines, two pixels wide";
    EXPECT_EQ(coloredOf(only), 0);
    EXPECT_GT(coloredOf(without), 500) << "dots";
}

TEST_F(ExportPlot, VectorFilesAndSuffixes) {
    fill();
    exported("figure.svg");
    QFile svg(path("figure.svg"));
    ASSERT_TRUE(svg.open(QIODevice::ReadOnly));
    EXPECT_TRUE(svg.readAll().contains(">Deformation</text>"));
    exported("figure.pdf");
    EXPECT_NE(outputOf("pdfinfo " + folder.file("figure.pdf")).find("567 x 425 pts"), std::string::npos);
    fileName = path("plain");
    choose("exportPlotAction");
    EXPECT_TRUE(QFileInfo::exists(path("plain.png"))) << "the first filter's";
}

TEST_F(ExportPlot, FailuresAreToldAndCancellingIsQuiet) {
    fill();
    const QImage before = plot().grab().toImage();
    for (const char* name : {"missing/figure.png", "missing/figure.svg", "missing/figure.pdf", "figure.xyz"}) {
        fileName = path(name);
        choose("exportPlotAction");
        EXPECT_EQ(told(), joined({"Export Plot", "Could not write:\n" + fileName})) << name;
        EXPECT_EQ(plot().grab().toImage(), before) << name;
    }
    fileName.clear();
    choose("exportPlotAction");
    EXPECT_EQ(told(), "");
}

} // namespace Tessaly
