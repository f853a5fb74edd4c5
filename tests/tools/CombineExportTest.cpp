#include "tools/combine/CombineExport.h"

#include "CombineFixture.h"

#include "plot/ComparePlot.h"
#include "tools/combine/AspectRatioLabel.h"
#include "tools/combine/PaperStyle.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFileDialog>
#include <QImage>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_textlabel.h>
#include <qwt_scale_draw.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

namespace Tessaly {
namespace {

class CombineExportTest : public CombineFixture {
protected:
    /// Exports through the menu: types a name into the file dialog and takes a button of the question, if it comes.
    /// Returns the titles of the dialogs.
    QStringList exportTo(const QString& file, const QString& button, const char* action = "exportPlotsAction") {
        QStringList seen;
        const QWidget* last = nullptr;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (!dialog || dialog == last || !dialog->isVisible()) {
                return;
            }
            last = dialog;
            seen << dialog->windowTitle();
            if (auto* files = qobject_cast<QFileDialog*>(dialog)) {
                proposal = files->findChild<QLineEdit*>("fileNameEdit")->text();
                files->findChild<QLineEdit*>("fileNameEdit")->setText(file);
                files->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
                return;
            }
            for (auto* each : dialog->findChildren<QPushButton*>()) {
                if (each->text().remove(u'&') == button || dialog->findChildren<QPushButton*>().size() == 1) {
                    message = qobject_cast<QMessageBox*>(dialog)->text();
                    each->click();
                    return;
                }
            }
        });
        timer.start(20);
        window->findChild<QAction*>(action)->trigger();
        return seen;
    }

    QTemporaryDir folder;
    QString message;
    QString proposal;
};

// 100 mm at 150 dots per inch are 590.55 pixels: 590 in grids and previews, 591 for a page of its own.
TEST_F(CombineExportTest, SizesAreExact) {
    show();
    const QString one = folder.filePath("one.png");
    EXPECT_EQ(exportTo(one, {}), QStringList{"Export Plots"});
    EXPECT_EQ(QImage(one).size(), QSize(591, 591));
    show();
    show();
    show();
    show();
    const QString grid = folder.filePath("grid.png");
    EXPECT_EQ(exportTo(grid, "Single Grid Image"), (QStringList{"Export Plots", "Export Mode"}));
    EXPECT_EQ(message, "How would you like to export?");
    EXPECT_EQ(QImage(grid).size(), QSize(1889, 1240)); // 320 x 210 mm
    click("manualArraySizeCheckBox");
    type("arrayColsBox", "2");
    type("plotWidthBox", "60");
    type("plotHeightBox", "50");
    exportTo(grid.chopped(3) + "2.png", "Single Grid Image");
    EXPECT_EQ(QImage(grid.chopped(3) + "2.png").size(), QSize(767, 1003)); // 130 x 170 mm
    exportTo(folder.filePath("each.dots.png"), "Individual Plots");
    for (int i = 1; i <= 5; ++i) {
        EXPECT_EQ(QImage(folder.filePath(QStringLiteral("each.dots_%1.png").arg(i))).size(), QSize(354, 295)) << i;
    }
    EXPECT_FALSE(QFile::exists(folder.filePath("each.dots.png")));
    const auto files = QDir(folder.path()).entryList(QDir::Files).size();
    exportTo(folder.filePath("none.png"), "Cancel");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files).size(), files);
}

TEST_F(CombineExportTest, VectorsKeepSizesAndTexts) {
    show();
    show();
    const QString svg = folder.filePath("grid.svg");
    exportTo(svg, "Single Grid Image");
    QFile file(svg);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.contains("width=\"210mm\" height=\"100mm\""));
    EXPECT_TRUE(text.contains("viewBox=\"0 0 210 100\""));
    EXPECT_TRUE(text.contains("Combine Plot Export"));
    EXPECT_TRUE(text.contains(">dataset 0<"));
    const QString pdf = folder.filePath("grid.pdf");
    exportTo(pdf, "Single Grid Image");
    QFile document(pdf);
    ASSERT_TRUE(document.open(QIODevice::ReadOnly));
    // 210 x 100 mm in points of 1/72 inch: 595.3 x 283.5.
    EXPECT_TRUE(document.readAll().contains("/MediaBox [0 0 595"));
}

TEST_F(CombineExportTest, FailuresAreTold) {
    show();
    const QString nowhere = folder.filePath("missing/figure.png");
    const QStringList seen = exportTo(folder.filePath("figure.gifx"), {});
    EXPECT_EQ(seen, (QStringList{"Export Plots", "Export Plots"}));
    EXPECT_EQ(message, "Could not write:\n" + folder.filePath("figure.gifx"));
    EXPECT_EQ(exportTo(folder.path() + "/table.tsv", {}, "exportStatisticsAction"),
              QStringList{"Export Plot Statistics"});
    EXPECT_EQ(proposal, "plot_statistical_summary.tsv");
    QFile table(folder.filePath("table.tsv"));
    ASSERT_TRUE(table.open(QIODevice::ReadOnly));
    EXPECT_TRUE(table.readLine().startsWith("Dataset\tN\t"));
    EXPECT_TRUE(table.readLine().startsWith("dataset 0\t40\t"));
}

TEST_F(CombineExportTest, ThePreviewIsWhatIsExported) {
    show();
    show();
    const QImage before = window->plots()[0]->grab().toImage();
    window->findChild<QAction*>("exportPreviewAction")->trigger();
    finish();
    ASSERT_EQ(window->previewLabels().size(), 2U);
    EXPECT_FALSE(part<QDockWidget>("combineExportDock")->isHidden());
    EXPECT_FALSE(window->plots()[0]->isVisible());
    const auto picture = [this] { return window->previewLabels()[0]->pixmap(Qt::ReturnByValue).toImage(); };
    EXPECT_EQ(picture().size(), QSize(590, 590));
    EXPECT_EQ(picture().dotsPerMeterX(), 5905);
    EXPECT_EQ(window->previewLabels()[0]->minimumSize(), QSize(300, 300));
    EXPECT_EQ(window->previewLabels()[0]->heightForWidth(400), 400);
    const QImage round = picture();
    type("plotHeightBox", "50");
    EXPECT_EQ(picture().size(), QSize(590, 295));
    EXPECT_EQ(window->previewLabels()[0]->heightForWidth(400), 200);
    EXPECT_EQ(window->previewLabels()[0]->minimumSize(), QSize(300, 150));
    type("plotHeightBox", "100");
    EXPECT_EQ(picture(), round);
    for (const char* option : {"showTitleCheckBox", "titleBoldCheckBox", "titleUseColorCheckBox", "showGridCheckBox",
                               "showRightTopAxesCheckBox"}) {
        click(option);
        EXPECT_NE(picture(), round) << option;
        click(option);
        EXPECT_EQ(picture(), round) << option;
    }
    for (const char* box :
         {"tickLabelSizeBox", "axisLabelSizeBox", "titleSizeBox", "pointSizeBox", "axisLineWidthBox"}) {
        const QImage last = picture();
        type(box, QString(box).startsWith("axisLine") ? "3" : "9");
        EXPECT_NE(picture(), last) << box;
    }
    window->findChild<QAction*>("exportPreviewAction")->trigger();
    finish();
    EXPECT_TRUE(window->previewLabels().empty());
    EXPECT_TRUE(part<QDockWidget>("combineExportDock")->isHidden());
    EXPECT_TRUE(window->plots()[0]->isVisible());
}

TEST_F(CombineExportTest, PaperStyleComesAndGoes) {
    show();
    click("showCountCheckBox");
    ComparePlot& plot = *window->plots()[0];
    CombineExportSettings paper;
    paper.tickLabelSize = 7;
    paper.axisLabelSize = 17;
    paper.titleSize = 21;
    paper.titleBold = true;
    paper.titleUseColor = false;
    paper.pointSize = 9;
    paper.axisLineWidth = 2.5;
    paper.showGrid = false;
    const QImage before = plot.grab().toImage();
    const auto itemOf = [&plot](int rtti) { return plot.itemList(rtti).front(); };
    {
        const PaperStyle style(plot, paper);
        for (int axis = 0; axis < QwtAxis::AxisPositions; ++axis) {
            EXPECT_EQ(plot.axisFont(axis).pointSize(), 7);
        }
        EXPECT_EQ(plot.axisScaleDraw(QwtAxis::XBottom)->penWidthF(), 2.5);
        EXPECT_EQ(plot.axisScaleDraw(QwtAxis::YLeft)->penWidthF(), 2.5);
        EXPECT_EQ(plot.axisTitle(QwtAxis::XBottom).font().pointSize(), 17);
        EXPECT_EQ(plot.axisTitle(QwtAxis::XBottom).font().weight(), 400);
        EXPECT_EQ(plot.title().font().pointSize(), 21);
        EXPECT_EQ(plot.title().font().weight(), 700);
        EXPECT_EQ(plot.title().color(), QColor(Qt::black));
        const auto* dots = static_cast<QwtPlotCurve*>(itemOf(QwtPlotItem::Rtti_PlotCurve));
        EXPECT_EQ(dots->symbol()->size(), QSize(9, 9));
        EXPECT_EQ(dots->symbol()->brush().color().alpha(), 100);
        EXPECT_FALSE(itemOf(QwtPlotItem::Rtti_PlotGrid)->isVisible());
        EXPECT_EQ(static_cast<QwtPlotTextLabel*>(itemOf(QwtPlotItem::Rtti_PlotTextLabel))->text().font().pointSize(),
                  7);
    }
    EXPECT_EQ(plot.grab().toImage(), before);
    paper.showRightTopAxes = false;
    paper.showTitle = false;
    {
        const PaperStyle style(plot, paper);
        EXPECT_FALSE(plot.isAxisVisible(QwtAxis::XTop));
        EXPECT_FALSE(plot.isAxisVisible(QwtAxis::YRight));
        EXPECT_TRUE(plot.title().isEmpty());
    }
    EXPECT_EQ(plot.grab().toImage(), before);
}

} // namespace
} // namespace Tessaly
