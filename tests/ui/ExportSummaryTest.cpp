#include "ExportFixture.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QFileInfo>
#include <QGroupBox>
#include <QRadioButton>

namespace Tessaly {
namespace {

class ExportSummary : public ExportFixture {
protected:
    QStringList linesOf(const QString& file) {
        QFile table(file);
        EXPECT_TRUE(table.open(QIODevice::ReadOnly)) << file.toStdString();
        return QString::fromUtf8(table.readAll()).split('\n');
    }
    static bool isChecked(const QWidget& dialog, const char* name) {
        return dialog.findChild<QAbstractButton*>(name)->isChecked();
    }
    static bool isShown(const QWidget& dialog, const char* name) {
        return dialog.findChild<QAbstractButton*>(name)->isVisible();
    }
    static void typePercentile(QWidget& dialog, const char* value) {
        auto* box = dialog.findChild<QDoubleSpinBox*>("percentileSpin");
        ASSERT_TRUE(box->isEnabled());
        box->selectAll();
        QTest::keyClicks(box, value);
        QTest::keyClick(box, Qt::Key_Tab);
    }
    static const inline QStringList AllOtherFigures{"q1Box",  "q3Box", "percentileBox", "meanBox", "sdBox",
                                                    "semBox", "cvBox", "minBox",        "maxBox",  "skewnessBox"};
};

} // namespace

TEST_F(ExportSummary, DialogAsItOpens) {
    load("a", {{"area_um", {1, 2}}, {"bright_avg", {3, 4}}});
    const DatasetEntry& current = load("b", {{"area_um", {1, 2}}, {"deform", {3, 4}}});
    StatSummaryExportDialog dialog(current, window->datasets(), nullptr, window.get());
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Export Statistical Summary");
    EXPECT_EQ(dialog.minimumWidth(), 450);
    QStringList groups;
    for (const QGroupBox* group : dialog.findChildren<QGroupBox*>()) {
        groups << group->title();
    }
    EXPECT_EQ(groups, (QStringList{"Export Scope", "Scalar Features", "Statistics", "Output File"}));
    QStringList figures;
    for (const QCheckBox* box : dialog.findChildren<QGroupBox*>()[2]->findChildren<QCheckBox*>()) {
        figures << box->text() + (box->isChecked() ? "+" : "");
    }
    EXPECT_EQ(figures, (QStringList{"N+", "Median+", "IQR+", "Q1 (25th)", "Q3 (75th)", "Percentile:", "Mean", "SD",
                                    "SEM", "CV (%)", "Min", "Max", "Skewness"}));
    const auto* percentile = dialog.findChild<QDoubleSpinBox*>("percentileSpin");
    EXPECT_FALSE(percentile->isEnabled());
    EXPECT_EQ(percentile->text(), "95.0%");
    EXPECT_EQ(dialog.findChild<QLineEdit*>("outputEdit")->text(), path("statistical_summary.tsv"));

    EXPECT_FALSE(isShown(dialog, "feature:bright_avg"));
    EXPECT_TRUE(isChecked(dialog, "feature:area_um") && isChecked(dialog, "feature:deform"));
    clickAll(dialog, {"deselectAllButton", "selectAllButton"});
    EXPECT_EQ(dialog.config().features, (std::vector<std::string>{"area_um", "deform"}));
    click(dialog, "allDatasetsRadio");
    EXPECT_TRUE(isShown(dialog, "feature:bright_avg"));
    EXPECT_FALSE(isChecked(dialog, "feature:bright_avg"));
    click(dialog, "selectAllButton");
    click(dialog, "currentDatasetRadio");
    EXPECT_FALSE(isShown(dialog, "feature:bright_avg"));
    click(dialog, "deselectAllButton");
    EXPECT_TRUE(dialog.config().features.empty()) << "hidden ones too";
}

TEST_F(ExportSummary, AgreesWithNumPyAndSciPyAndIsRemembered) {
    SampleFileOptions options;
    options.events = 400;
    options.images = options.masks = options.traces = false;
    DatasetEntry& dataset = load("a", options);
    std::string events;
    const std::vector<double> area = dataset.reader->getFeature("area_um");
    for (std::size_t i = 0; i < area.size(); ++i) {
        if (area[i] >= 50.0 && area[i] <= 150.0) {
            events += std::to_string(i) + ",";
        }
    }
    events.pop_back();
    dataset.filter.addRule(rangeRule("area_um", 50, 150));
    inSummary = [](StatSummaryExportDialog& dialog) {
        EXPECT_FALSE(dialog.findChild<QWidget*>("allDatasetsRadio")->isEnabled());
        clickAll(dialog, AllOtherFigures);
        typePercentile(dialog, "12.5");
    };
    choose("exportSummaryAction");
    const QString target = path("statistical_summary.tsv");
    EXPECT_EQ(told(), joined({"Export", "Statistical summary exported to:\n" + target}));
    EXPECT_EQ(
        script("check_exports.py", "summary " + folder.file("a.vqd") + " " + target.toStdString() + " 12.5 " + events),
        "");

    // The second one begins with what the first ended with, also where it goes.
    inSummary = [](StatSummaryExportDialog& dialog) {
        for (const QString& name : AllOtherFigures) {
            EXPECT_TRUE(isChecked(dialog, name.toUtf8())) << name.toStdString();
        }
        EXPECT_EQ(dialog.config().percentile, 12.5);
        clickAll(dialog, {"deselectAllButton", "feature:deform"});
        clickAll(dialog, AllOtherFigures);
        auto* field = dialog.findChild<QLineEdit*>("outputEdit");
        type(dialog, "outputEdit", field->text() + ".2");
    };
    choose("exportSummaryAction");
    EXPECT_EQ(told(), joined({"Export", "Statistical summary exported to:\n" + target + ".2"}));
    EXPECT_EQ(linesOf(target + ".2")[0], "Dataset\tDeformation N\tDeformation Median\tDeformation IQR");
    inSummary = [&](StatSummaryExportDialog& dialog) {
        EXPECT_EQ(dialog.config().features, std::vector<std::string>{"deform"});
        EXPECT_EQ(dialog.config().outputPath, target + ".2");
    };
    choose("exportSummaryAction");
}

TEST_F(ExportSummary, AllDatasetsEmptyOnesAndMissingFeatures) {
    load("a", {{"area_um", {1, 2, 3, 10}}, {"deform", {0.1, 0.2, 0.3, 0.4}}});
    load("b", {{"area_um", {5, 5}}}).filter.addRule(rangeRule("area_um", 6, 7));
    inSummary = [](StatSummaryExportDialog& dialog) { clickAll(dialog, {"allDatasetsRadio", "selectAllButton"}); };
    choose("exportSummaryAction");
    // Median of 1, 2, 3, 10 is 2.5; its quartiles are 1.75 and 4.75.
    EXPECT_EQ(linesOf(path("statistical_summary.tsv")).mid(1),
              (QStringList{"a\t4\t2.5\t3\t4\t0.25\t0.15", "b\t0\t\t\t\t\t", ""}));
    window->session().remove(window->datasets()[0]->id);
    inSummary = [](StatSummaryExportDialog& dialog) {
        EXPECT_FALSE(isChecked(dialog, "allDatasetsRadio")) << "there is only one left";
        EXPECT_TRUE(isChecked(dialog, "currentDatasetRadio"));
    };
    choose("exportSummaryAction");
}

TEST_F(ExportSummary, WhatIsRefused) {
    load("a", {{"area_um", {1, 2}}});
    const QString target = path("statistical_summary.tsv");
    inSummary = [](StatSummaryExportDialog& dialog) { clickAll(dialog, {"deselectAllButton", "meanBox"}); };
    choose("exportSummaryAction");
    EXPECT_EQ(told(), joined({"Export", "No features selected."}));
    inSummary = [](StatSummaryExportDialog& dialog) {
        EXPECT_FALSE(isChecked(dialog, "meanBox")) << "nothing was remembered";
        clickAll(dialog, {"countBox", "medianBox", "iqrBox"});
    };
    choose("exportSummaryAction");
    EXPECT_EQ(told(), joined({"Export", "No statistics selected."}));
    EXPECT_FALSE(QFileInfo::exists(target));
    inSummary = [&](StatSummaryExportDialog& dialog) {
        EXPECT_FALSE(isChecked(dialog, "countBox")) << "this was";
        click(dialog, "maxBox");
        type(dialog, "outputEdit", path("missing/s.tsv"));
    };
    choose("exportSummaryAction");
    EXPECT_EQ(told(), joined({"Export", "Could not open file for writing:\n" + path("missing/s.tsv")}));
    // The file dialog's answer goes into the field, a cancelled one doesn't.
    StatSummaryExportDialog dialog(*window->datasets()[0], window->datasets(), nullptr, window.get());
    dialog.show();
    for (const QString& answer : {path("chosen.tsv"), QString()}) {
        answerFileDialogs(answer, [&] { click(dialog, "browseButton"); });
        EXPECT_EQ(dialog.config().outputPath, path("chosen.tsv"));
    }
    inSummary = nullptr;
    choose("exportSummaryAction");
    EXPECT_EQ(told(), "");
}

} // namespace Tessaly
