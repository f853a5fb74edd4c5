#include "plot/PlotFiles.h"

#include "calc/density/Contours.h"
#include "calc/emodulus/EModulus.h"
#include "plot/PlotAppearance.h"
#include "plot/PlotPoints.h"
#include "plot/PlotScene.h"
#include "plot/ScatterPlot.h"
#include "plot/VectorDots.h"
#include "support/TemporaryFolder.h"
#include "support/Tools.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QXmlStreamReader>
#include <qwt_plot_layout.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

using namespace Tessaly;

namespace {

const QSizeF Size(200.0, 150.0);

struct PlotFiles : testing::Test {
    PlotFiles() {
        plot.resize(500, 400);
        plot.show();
        QApplication::processEvents();
    }

    /// Points in [1, 9], half of them coloured, contours, isoelastics, gates and a mark.
    void fill(std::size_t count, bool colored = true) {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> value(1.0, 9.0);
        std::vector<double> x(count);
        std::vector<double> y(count);
        for (std::size_t i = 0; i < count; ++i) {
            x[i] = value(random);
            y[i] = value(random);
        }
        PlotScene scene;
        scene.points = std::make_shared<const PlotPoints>(x, y, colored ? y : std::vector<double>());
        scene.xLabel = "Area [µm²]";
        scene.yLabel = "Deformation";
        scene.colorLabel = "Brightness";
        scene.contours = {{0.1, 1.0, {{{3, 3}, {5, 7}, {7, 3}, {3, 3}}}}};
        IsoelasticLine line;
        line.value = 1.2;
        line.points = {{1, 1}, {4, 5}, {8, 9}};
        scene.isoelastics = {line};
        scene.isoelasticLabels = true;
        scene.gates = {{1, QPolygonF{{2, 2}, {30, 2}, {30, 8}, {2, 8}}, true}}; // reaches beyond the axes when zoomed
        scene.markedPoint = 0;
        scene.wholeRange = true;
        plot.showScene(scene);
    }
    void zoom() {
        plot.setAxisScale(QwtAxis::XBottom, 4.0, 6.0);
        plot.setAxisScale(QwtAxis::YLeft, 4.0, 6.0);
        plot.replot();
    }
    QString file(const char* name) const { return QString::fromStdString(folder.file(name)); }
    bool write(const QString& path) {
        PlotAppearance look(plot);
        look.applyForPrint();
        return writePlots(path, pageOf(plot, Size));
    }
    QByteArray bytes(const char* name) {
        EXPECT_TRUE(write(file(name)));
        QFile written(file(name));
        return written.open(QIODevice::ReadOnly) ? written.readAll() : QByteArray();
    }
    std::string tool(const std::string& command, const char* name) {
        return outputOf(command + " '" + folder.file(name) + "'");
    }

    TemporaryFolder folder;
    ScatterPlot plot;
};

/// Elements of an SVG by name with how often they occur, and its texts.
struct Parsed {
    std::map<QString, int> count;
    QStringList texts;
    QXmlStreamAttributes root;
    bool wellFormed = true;
};

Parsed parse(const QByteArray& svg) {
    Parsed parsed;
    QXmlStreamReader xml(svg);
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement()) {
            continue;
        }
        const QString name = xml.name().toString();
        ++parsed.count[name];
        if (name == "svg") {
            parsed.root = xml.attributes();
        } else if (name == "text") {
            parsed.texts.append(xml.readElementText());
        }
    }
    parsed.wellFormed = !xml.hasError();
    return parsed;
}

/// Share of pixels that differ from white.
double inkOf(const QImage& image, const QRect& area) {
    int inked = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            inked += image.pixelColor(x, y) == QColor(Qt::white) ? 0 : 1;
        }
    }
    return static_cast<double>(inked) / (area.width() * area.height());
}

} // namespace

TEST_F(PlotFiles, PictureOfStatedSizeAndResolution) {
    fill(2000);
    ASSERT_TRUE(write(file("plot.png")));
    const QImage image(file("plot.png"));
    EXPECT_EQ(image.size(), QSize(1181, 886)); // 200 / 25.4 * 150 and 150 / 25.4 * 150, rounded
    EXPECT_EQ(image.dotsPerMeterX(), 5906);    // 150 / 0.0254
    EXPECT_EQ(image.dotsPerMeterY(), 5906);
    EXPECT_EQ(image.pixelColor(0, 0), QColor(Qt::white));
    EXPECT_GT(inkOf(image, image.rect()), 0.1);
    PlotPage page = pageOf(plot, Size);
    page.pixels = QSize(300, 200);
    EXPECT_EQ(pictureOf(page).size(), QSize(300, 200));
}

TEST_F(PlotFiles, SvgHasTextsShapesAndItsSize) {
    fill(300);
    const Parsed svg = parse(bytes("plot.svg"));
    EXPECT_TRUE(svg.wellFormed);
    EXPECT_EQ(svg.root.value("width").toString(), "200mm");
    EXPECT_EQ(svg.root.value("height").toString(), "150mm");
    const QStringList box = svg.root.value("viewBox").toString().split(' ');
    ASSERT_EQ(box.size(), 4);
    EXPECT_NEAR(box[2].toDouble(), 1181.1, 0.1);
    for (const char* text : {"Scatter Plot", "Area [µm²]", "Deformation", "Brightness", "1.2 kPa"}) {
        EXPECT_TRUE(svg.texts.contains(text)) << text << " in " << svg.texts.join('|').toStdString();
    }
    EXPECT_TRUE(svg.texts.filter("tessaly").isEmpty());
    EXPECT_EQ(svg.count.at("clipPath"), 1);
    EXPECT_GE(svg.count.at("circle"), 300); // a shape for each dot
}

TEST_F(PlotFiles, PdfHasItsSizeEmbeddedFontsAndText) {
    fill(300);
    ASSERT_TRUE(write(file("plot.pdf")));
    const std::string info = tool("pdfinfo", "plot.pdf");
    EXPECT_NE(info.find("Page size:       567 x 425 pts"), std::string::npos) << info; // 200 and 150 / 25.4 * 72
    EXPECT_NE(info.find("Pages:           1\n"), std::string::npos) << info;
    EXPECT_NE(info.find("Scatter Plot"), std::string::npos) << info;
    const QStringList fonts = QString::fromStdString(tool("pdffonts", "plot.pdf")).trimmed().split('\n');
    ASSERT_GE(fonts.size(), 3) << "no font";
    for (const QString& font : fonts.mid(2)) { // name, type, encoding, then whether it is embedded and a subset
        EXPECT_TRUE(font.contains(" yes no ") || font.contains(" yes yes ")) << font.toStdString();
    }
    const std::string text = outputOf("pdftotext '" + folder.file("plot.pdf") + "' -");
    EXPECT_NE(text.find("Area [µm²]"), std::string::npos) << text;
}

TEST_F(PlotFiles, VeryManyDotsAreOnePicture) {
    for (const bool colored : {true, false}) {
        fill(MaxVectorDots, colored);
        EXPECT_EQ(parse(bytes("plot.svg")).count["image"], colored ? 1 : 0); // the colour bar
        fill(100000, colored);
        const QByteArray svg = bytes("plot.svg");
        const Parsed parsed = parse(svg);
        EXPECT_EQ(parsed.count.at("image"), colored ? 2 : 1);
        EXPECT_LT(svg.size(), 40'000'000) << colored;
        EXPECT_TRUE(parsed.texts.contains("Deformation"));
        ASSERT_TRUE(write(file("plot.pdf")));
        EXPECT_LT(QFileInfo(file("plot.pdf")).size(), 40'000'000) << colored;
        // The picture, and its transparency, without loss.
        const std::string images = tool("pdfimages -list", "plot.pdf");
        EXPECT_NE(images.find("smask"), std::string::npos) << images;
        EXPECT_EQ(images.find("jpeg"), std::string::npos) << images;
    }
}

TEST_F(PlotFiles, AllFormatsShowTheSame) {
    for (const bool zoomed : {false, true}) {
        fill(zoomed ? 25000 : 12000); // as a picture and as shapes
        if (zoomed) {
            zoom();
        }
        ASSERT_TRUE(write(file("plot.png")) && write(file("plot.pdf")));
        const QImage png(file("plot.png"));
        tool("pdftoppm -r 150 -png -singlefile '" + folder.file("plot.pdf") + "'", "drawn");
        QImage pdf(file("drawn.png"));
        ASSERT_FALSE(pdf.isNull());
        pdf = pdf.scaled(png.size());
        // The inside is covered by dots. On paper nothing shows beyond the axes, neither dots nor gates: the corners
        // and the strips between canvas and page are white but for numbers and titles.
        const QRect corner(0, 0, 45, 28);
        for (const QImage& image : {png, pdf}) {
            EXPECT_GT(inkOf(image, QRect(300, 250, 400, 300)), 0.5) << zoomed;
            EXPECT_EQ(inkOf(image, corner), 0.0) << zoomed;
            EXPECT_EQ(inkOf(image, QRect(0, 860, 70, 26)), 0.0) << zoomed;
        }
        double difference = 0.0;
        for (int y = 0; y < png.height(); y += 3) {
            for (int x = 0; x < png.width(); x += 3) {
                difference += std::abs(qGray(png.pixel(x, y)) - qGray(pdf.pixel(x, y)));
            }
        }
        EXPECT_LT(difference * 9.0 / (png.width() * png.height()), 12.0) << zoomed; // mean distance of grey levels
    }
}

TEST_F(PlotFiles, ThePlotLooksTheSameAfterwards) {
    for (const bool colored : {true, false}) {
        fill(3000, colored);
        zoom();
        plot.plotLayout()->setCanvasMargin(7, QwtAxis::YLeft);
        plot.updateLayout();
        const QImage before = plot.grab().toImage();
        for (const char* name : {"plot.png", "plot.svg", "plot.pdf"}) {
            EXPECT_TRUE(write(file(name)));
            EXPECT_EQ(plot.grab().toImage(), before) << name;
        }
        QApplication::processEvents();
        EXPECT_EQ(plot.grab().toImage(), before);
        EXPECT_EQ(plot.isAxisVisible(QwtAxis::YRight), colored);
        EXPECT_FALSE(plot.isAxisVisible(QwtAxis::XTop));
        EXPECT_EQ(plot.plotLayout()->canvasMargin(QwtAxis::YLeft), 7);
        plot.plotLayout()->setCanvasMargin(0, QwtAxis::YLeft);
    }
}

TEST_F(PlotFiles, SeveralPlotsOnAPage) {
    fill(200);
    ScatterPlot other;
    other.setTitle("Other");
    PlotPage page;
    page.size = QSizeF(210.0, 80.0);
    page.plots = {{&plot, QRectF(0, 0, 100, 80)}, {&other, QRectF(110, 0, 100, 80)}};
    page.title = "Two plots";
    page.svgUnits = 1.0;
    const QImage image = pictureOf(page);
    EXPECT_EQ(image.size(), QSize(1240, 472)); // 1240.2 x 472.4
    EXPECT_EQ(inkOf(image, QRect(595, 0, 50, 472)), 0.0) << "the gap";
    EXPECT_GT(inkOf(image, QRect(650, 0, 590, 472)), 0.01);
    ASSERT_TRUE(writePlots(file("page.svg"), page));
    QFile written(file("page.svg"));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const Parsed svg = parse(written.readAll());
    EXPECT_EQ(svg.root.value("viewBox").toString(), "0 0 210 80");
    EXPECT_EQ(svg.root.value("width").toString(), "210mm");
    EXPECT_EQ(svg.count.at("clipPath"), 2);
    EXPECT_TRUE(svg.texts.contains("Other"));
    EXPECT_TRUE(svg.wellFormed);
}

TEST_F(PlotFiles, WhatCantBeWrittenIsTold) {
    fill(10);
    for (const char* name : {"missing/plot.png", "missing/plot.svg", "missing/plot.pdf", "plot.nothing", "plot"}) {
        EXPECT_FALSE(write(file(name))) << name;
        EXPECT_FALSE(QFileInfo::exists(file(name))) << name;
    }
    EXPECT_TRUE(write(file("plot.PNG")));
}
