#include "StatisticsFixture.h"

#include "support/TemporaryFolder.h"
#include "ui/UserActions.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QDir>
#include <QFile>
#include <QImage>
#include <qwt_plot.h>

namespace Tessaly {
namespace {

class StatisticsExportsTest : public StatisticsFixture {
protected:
    TemporaryFolder folder;

    QString path(const char* name) const { return QString::fromStdString(folder.file(name)); }
    static QByteArray contents(const QString& file) {
        QFile opened(file);
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
    }
    /// Takes an entry of the export menu and answers its dialog. Returns what was told.
    QStringList exportTo(const char* action, const QString& file) {
        DialogAnswers answers({chooseFile(file)});
        trigger(action);
        return answers.seen;
    }
};

TEST_F(StatisticsExportsTest, NothingToExport) {
    open();
    const std::pair<const char*, const char*> rows[] = {
        {"exportPlots", "Export: No plots to export. Run analysis first."},
        {"exportTable", "Export: No results to export. Run analysis first."},
        {"exportRocPlots", "Export: No ROC plots to export. Run ROC analysis first."},
        {"exportRocTable", "Export: No ROC results to export. Run ROC analysis first."},
        {"exportRocData", "Export: No ROC data to export. Run ROC analysis first."},
        {"exportDistributions", "Export: No distribution plots to export. Run distribution explorer first."},
    };
    for (const auto& [action, text] : rows) {
        DialogAnswers answers;
        trigger(action);
        EXPECT_EQ(answers.seen, QStringList(text));
    }
}

TEST_F(StatisticsExportsTest, Tables) {
    open();
    fillTwo();
    typeName(1, ", \"b\"");
    selectFeatures({0});
    run("runAnalysis");
    EXPECT_EQ(exportTo("exportTable", path("groups.csv")), QStringList("Export Table"));
    EXPECT_EQ(contents(path("groups.csv")), "Feature,Baseline,\"Condition 1, \"\"b\"\"\",Test,p,Sig. (α=0.05)\n"
                                            "Area [µm²],11 ± 1,21 ± 1,Mann-Whitney U,0.04953,*\n");
    exportTo("exportTable", path("groups.tsv"));
    EXPECT_TRUE(contents(path("groups.tsv")).startsWith("Feature\tBaseline\tCondition 1, \"b\"\tTest\tp\t"));
    showTab(1);
    run("runRoc");
    EXPECT_EQ(exportTo("exportRocTable", path("roc.tsv")), QStringList("Export ROC Table"));
    EXPECT_EQ(contents(path("roc.tsv")).count('\n'), 2);
    EXPECT_EQ(exportTo("exportRocData", path("curve.csv")), QStringList("Export ROC Curve Data"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return QFile::exists(path("curve.csv")); }));
    EXPECT_EQ(contents(path("curve.csv")), "# Area [µm²]\nFPR,TPR,Threshold\n0,0,23\n0,0.333333,22\n0,0.666667,21\n"
                                           "0,1,20\n0.333333,1,12\n0.666667,1,11\n1,1,10\n\n");
    // Where nothing can be written it is said.
    const QStringList told = exportTo("exportRocTable", path("no/such/folder.tsv"));
    EXPECT_EQ(told.last(), "Export: Could not write:\n" + path("no/such/folder.tsv"));
}

TEST_F(StatisticsExportsTest, Plots) {
    open();
    fillTwo();
    selectFeatures({0});
    run("runAnalysis");
    exportTo("exportPlots", path("one.png"));
    const QImage one(path("one.png"));
    EXPECT_NEAR(one.width(), 708, 1); // 120 x 80 mm at 150 DPI
    EXPECT_NEAR(one.height(), 472, 1);
    selectFeatures({0, 1});
    run("runAnalysis");
    EXPECT_EQ(exportTo("exportPlots", path("two.png")), QStringList("Export Plots"));
    EXPECT_EQ(QImage(path("two.png")).size(), QSize(708, 992)); // 168 mm
    exportTo("exportPlots", path("two.svg"));
    EXPECT_TRUE(contents(path("two.svg")).contains("<svg"));
    exportTo("exportPlots", path("two.pdf"));
    EXPECT_TRUE(contents(path("two.pdf")).startsWith("%PDF"));
    showTab(1);
    run("runRoc");
    EXPECT_EQ(exportTo("exportRocPlots", path("roc.png")), QStringList("Export ROC Plots"));
    EXPECT_EQ(QImage(path("roc.png")).size(), QSize(708, 2220)); // three of 120 mm and two gaps: 376 mm
    const QStringList told = exportTo("exportPlots", path("no/such/folder.png"));
    EXPECT_EQ(told.last(), "Export: Could not write:\n" + path("no/such/folder.png"));
}

TEST_F(StatisticsExportsTest, DistributionsGoToAFolder) {
    open();
    fillTwo();
    showTab(2);
    selectFeatures({0, 1});
    run("runDistribution");
    const QString target = QString::fromStdString(folder.path().string());
    const QStringList told = exportTo("exportDistributions", target);
    EXPECT_EQ(told, (QStringList{"Export Distribution Plots", "Export: Exported 2 distribution plot(s) to " + target}));
    EXPECT_TRUE(contents(path("distribution_1.svg")).contains("<svg"));
    EXPECT_TRUE(QFile::exists(path("distribution_2.svg")));
}

TEST_F(StatisticsExportsTest, MenuOfAPlot) {
    open();
    fillTwo();
    selectFeatures({0});
    run("runAnalysis");
    QwtPlot& plot = *control<PlotStack>("groupPlots").plots().at(0);
    const auto take = [&](const char* action) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(50, 50), plot.mapToGlobal(QPoint(50, 50)));
        QApplication::sendEvent(&plot, &event);
        chooseInOpenMenu(action);
    };
    take("copyPicture");
    EXPECT_NEAR(QGuiApplication::clipboard()->image().width(), 708, 1);
    DialogAnswers answers({chooseFile(path("single.svg"))});
    take("exportPlot");
    EXPECT_EQ(answers.seen, QStringList("Export This Plot"));
    EXPECT_TRUE(QFile::exists(path("single.svg")));
}

} // namespace
} // namespace Tessaly
