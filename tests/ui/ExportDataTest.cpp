#include "ExportFixture.h"
#include "UserActions.h"

#include "support/FileSizeLimit.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"

#include <QCheckBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QRadioButton>

#include <filesystem>

namespace Tessaly {
namespace {

const char* const Elsewhere = "Not available in current dataset (available in other datasets)";

class ExportData : public ExportFixture {
protected:
    struct State {
        bool shown, enabled, checked;
        bool operator==(const State&) const = default;
    };
    static State state(const QWidget& dialog, const char* name) {
        const auto* button = dialog.findChild<QAbstractButton*>(name);
        return {button->isVisible(), button->isEnabled(), button->isChecked()};
    }
    static QString tip(const QWidget& dialog, const char* name) { return dialog.findChild<QWidget*>(name)->toolTip(); }
    static bool isGrey(const QWidget& dialog, const char* name) {
        const auto* box = dialog.findChild<QWidget*>(name);
        return box->palette().color(QPalette::WindowText) == QColor(160, 160, 160);
    }
};

} // namespace

TEST_F(ExportData, MenuHasItsEntriesAndShortcuts) {
    const auto* menu = window->findChild<QMenu*>("exportMenu");
    EXPECT_EQ(window->menuBar()->actions()[1], menu->menuAction());
    EXPECT_EQ(menu->title(), "&Export");
    const struct {
        const char* text;
        const char* keys;
    } rows[] = {
        {"Export &Plot...", "Ctrl+E"}, {"Export &Data...", "Ctrl+Shift+E"}, {"Export Statistical &Summary...", ""}};
    ASSERT_EQ(menu->actions().size(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(menu->actions()[i]->text(), rows[i].text);
        EXPECT_EQ(menu->actions()[i]->shortcut().toString(), rows[i].keys);
    }
}

TEST_F(ExportData, NothingToExport) {
    inExport = [](ExportDialog&) { ADD_FAILURE() << "no dialog"; };
    const std::string refusal = "Export | No loaded dataset available for export.";
    choose("exportDataAction");
    EXPECT_EQ(told(), refusal);
    choose("exportSummaryAction");
    EXPECT_EQ(told(), refusal);
    choose("exportPlotAction"); // says nothing
    EXPECT_EQ(told(), "");
    // The same while the only dataset is loading.
    writeSampleFile(folder.file("a.vqd"));
    window->openDataset(path("a.vqd"));
    if (!window->datasets().back()->featuresLoaded) {
        choose("exportDataAction");
        EXPECT_EQ(told(), refusal);
    }
}

TEST_F(ExportData, WhatTheDialogOffersFollowsFormatAndScope) {
    SampleFileOptions rich;
    rich.events = 4;
    rich.defaultColumns = false;
    rich.columns = {{"area_um", {1, 2, 3, 4}}, {"bright_avg", {1, 1, 1, 1}}};
    load("rich", rich);
    SampleFileOptions poor = rich;
    poor.masks = poor.traces = false;
    poor.columns = {{"area_um", {1, 2, 3, 4}}, {"deform", {5, 6, 7, 8}}};
    ExportDialog dialog(load("poor", poor), window->datasets(), false, window.get());
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Export Data");
    QStringList groups;
    for (const QGroupBox* group : dialog.findChildren<QGroupBox*>()) {
        groups << group->title();
    }
    EXPECT_EQ(groups, (QStringList{"Export Scope", "Export Format", "AVI Options", "Scalar Features", "Non-scalar Data",
                                   "Output Directory"}));
    EXPECT_EQ(dialog.findChild<QRadioButton*>("allDatasetsRadio")->text(), "All datasets (2)");
    EXPECT_EQ(dialog.findChild<QCheckBox*>("feature:area_um")->text(), "Area [µm²]  [area_um]");
    EXPECT_EQ(state(dialog, "feature:deform"), (State{true, true, true}));
    EXPECT_EQ(state(dialog, "feature:bright_avg"), (State{false, true, false}));
    EXPECT_FALSE(dialog.findChild<QWidget*>("feature:image"));
    EXPECT_EQ(state(dialog, "imagesBox"), (State{true, true, false}));
    EXPECT_EQ(state(dialog, "masksBox"), (State{true, false, false}));
    EXPECT_EQ(tip(dialog, "masksBox"), "");

    click(dialog, "allDatasetsRadio");
    EXPECT_EQ(state(dialog, "feature:bright_avg"), (State{true, true, false}));
    EXPECT_EQ(tip(dialog, "feature:bright_avg"), Elsewhere);
    EXPECT_EQ(state(dialog, "masksBox"), (State{true, true, false}));
    EXPECT_EQ(tip(dialog, "masksBox"), Elsewhere);
    EXPECT_EQ(tip(dialog, "imagesBox"), "");
    EXPECT_TRUE(isGrey(dialog, "masksBox") && isGrey(dialog, "feature:bright_avg"));
    EXPECT_FALSE(isGrey(dialog, "imagesBox") || isGrey(dialog, "feature:area_um"));
    clickAll(dialog, {"masksBox", "selectAllButton"});
    EXPECT_TRUE(state(dialog, "feature:bright_avg").checked);

    EXPECT_FALSE(state(dialog, "mjpegRadio").shown);
    click(dialog, "aviRadio");
    EXPECT_EQ(state(dialog, "mjpegRadio"), (State{true, true, true}));
    EXPECT_FALSE(state(dialog, "reanalysisBox").shown);
    EXPECT_EQ(state(dialog, "feature:area_um"), (State{true, false, true}));
    EXPECT_EQ(state(dialog, "imagesBox"), (State{true, false, true}));
    EXPECT_EQ(tip(dialog, "imagesBox"), "Images are always included in AVI export");
    EXPECT_EQ(state(dialog, "masksBox"), (State{true, false, false}));
    EXPECT_EQ(tip(dialog, "tracesBox"), "Only images are exported in AVI format");

    click(dialog, "tsvRadio");
    EXPECT_FALSE(state(dialog, "mjpegRadio").shown);
    EXPECT_EQ(state(dialog, "feature:area_um"), (State{true, true, true}));
    for (const char* box : {"imagesBox", "masksBox", "tracesBox"}) {
        EXPECT_EQ(state(dialog, box), (State{true, false, false})) << box;
        EXPECT_EQ(tip(dialog, box), "Not available in TSV format");
    }
    click(dialog, "vqdRadio");
    EXPECT_EQ(state(dialog, "masksBox"), (State{true, true, false}));
    EXPECT_EQ(tip(dialog, "masksBox"), Elsewhere);
    click(dialog, "currentDatasetRadio");
    EXPECT_FALSE(state(dialog, "feature:bright_avg").shown);
    EXPECT_EQ(state(dialog, "masksBox"), (State{true, false, false}));
    EXPECT_FALSE(isGrey(dialog, "masksBox"));

    click(dialog, "deselectAllButton");
    EXPECT_TRUE(dialog.config().features.empty()) << "hidden ones too";
    click(dialog, "selectAllButton");
    EXPECT_EQ(dialog.config().features, (std::vector<std::string>{"area_um", "deform"})) << "hidden ones not";
    EXPECT_FALSE(state(dialog, "browseButton").enabled);
    click(dialog, "customDirectoryBox");
    EXPECT_TRUE(state(dialog, "browseButton").enabled);
    EXPECT_FALSE(state(dialog, "exportButton").enabled) << "no directory yet";

    ExportDialog expert(*window->session().active(), window->datasets(), true, window.get());
    expert.show();
    clickAll(expert, {"aviRadio", "reanalysisBox"});
    EXPECT_TRUE(expert.config().reanalysis);
}

TEST_F(ExportData, OneDatasetWithoutAWayOut) {
    SampleFileOptions options;
    options.events = 20;
    options.columns = {{"userdef1", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}}};
    DatasetEntry& dataset = load("one & more", options);
    dataset.filter.addRule(rangeRule("userdef1", 4, 6));
    window->onFilterChanged();
    inExport = [](ExportDialog& dialog) {
        EXPECT_FALSE(state(dialog, "allDatasetsRadio").enabled);
        clickAll(dialog, {"imagesBox", "masksBox", "tracesBox"});
    };
    inProgress = [](ExportProgress& progress) {
        EXPECT_FALSE(progress.findChild<QPushButton*>());
        QTest::keyClick(&progress, Qt::Key_Escape);
        progress.close();
        EXPECT_TRUE(progress.isVisible()) << "nothing takes it away";
        EXPECT_EQ(progress.windowModality(), Qt::ApplicationModal);
    };
    choose("exportDataAction");
    EXPECT_EQ(told(), joined({"Export", "Dataset exported successfully."}));
    EXPECT_EQ(progressTexts, QStringList{"Exporting data..."});
    ASSERT_EQ(written(), QStringList{"TSYexport_one & more.vqd"});
    EXPECT_EQ(script("check_exports.py", "measurement '" + folder.file("one & more.vqd") + "' '" +
                                             folder.file("TSYexport_one & more.vqd") + "' 3,4,5"),
              "");
    // The export opens like any measurement.
    EXPECT_EQ(open("TSYexport_one & more.vqd").reader->eventCount(), 3U);

    inExport = nullptr; // cancelled: nothing happens, and nothing is remembered
    choose("exportDataAction");
    EXPECT_EQ(told(), "");
    EXPECT_EQ(written().size(), 1);
}

TEST_F(ExportData, ABatchOverDatasetsOfAllKinds) {
    load("a", {{"area_um", {1, 2, 3}}, {"deform", {4, 5, 6}}}, true).filter.addRule(rangeRule("area_um", 2, 3));
    DatasetEntry& off = load("b", {{"area_um", {7, 8}}, {"bright_avg", {9, 10}}}, true);
    off.filter.addRule(rangeRule("area_um", 7, 7));
    off.filter.setEnabled(false);
    load("c", {{"area_um", {1, 2, 3}}}, true).displayName = "<i>third</i>";
    std::filesystem::resize_file(folder.file("c.vqd"), 3000); // its pictures are gone
    load("d", {{"area_um", {1}}}, true).filter.addRule(rangeRule("area_um", 2, 3));
    window->session().setActive(window->datasets()[0]->id);
    inExport = [](ExportDialog& dialog) {
        clickAll(dialog, {"allDatasetsRadio", "selectAllButton", "imagesBox", "masksBox", "tracesBox"});
    };
    choose("exportDataAction");
    EXPECT_EQ(told(), joined({"Export Error", "Failed to write: " + path("TSYexport_c.vqd"), "Export",
                              "No events pass the filter for: d", "Export", "Exported 2 of 4 dataset(s)."}));
    EXPECT_EQ(joined(progressTexts), joined({"Exporting data...", "Exporting a (1/4)", "Exporting b (2/4)",
                                             "Exporting <i>third</i> (3/4)", "Exporting d (4/4)"}));
    const struct {
        const char* name;
        const char* events;
    } expected[] = {{"a", "1,2"}, {"b", "0,1"}};
    for (const auto& row : expected) {
        const std::string files = folder.file(row.name + std::string(".vqd")) + " " +
                                  folder.file("TSYexport_" + std::string(row.name) + ".vqd ");
        EXPECT_EQ(script("check_exports.py", "measurement " + files + row.events), "") << row.name;
    }
    EXPECT_FALSE(written().contains("TSYexport_c.vqd") || written().contains("TSYexport_d.vqd"));
}

TEST_F(ExportData, TheNextDialogIsAsTheLastOneWasClosed) {
    load("a", {{"area_um", {1, 2}}, {"deform", {3, 4}}});
    load("b", {{"area_um", {1, 2}}, {"bright_avg", {3, 4}}});
    const QString folderName = path("out");
    QDir().mkpath(folderName);
    inExport = [&](ExportDialog& dialog) {
        clickAll(dialog, {"allDatasetsRadio", "feature:deform", "feature:area_um", "customDirectoryBox"});
        type(dialog, "directoryEdit", folderName);
    };
    choose("exportDataAction");
    EXPECT_EQ(told(), joined({"Export", "Exported 2 dataset(s) successfully."}));
    EXPECT_EQ(QDir(folderName).entryList(QDir::Files), (QStringList{"TSYexport_a.vqd", "TSYexport_b.vqd"}));
    ExportConfig expected;
    expected.features = {"bright_avg", "deform"};
    expected.customDirectory = expected.allDatasets = true;
    expected.directory = folderName;
    inExport = [&](ExportDialog& dialog) {
        EXPECT_EQ(dialog.config(), expected);
        clickAll(dialog, {"aviRadio", "rawRadio", "skipDuplicatesBox"});
    };
    choose("exportDataAction");
    EXPECT_EQ(told(), joined({"Export", "No images available in: a", "Export", "No images available in: b", "Export",
                              "Exported 0 of 2 dataset(s)."}));
    window->session().remove(window->datasets()[1]->id);
    inExport = [](ExportDialog& dialog) {
        const ExportConfig config = dialog.config();
        EXPECT_FALSE(config.allDatasets) << "there is only one left";
        EXPECT_TRUE(config.avi && !config.mjpeg && config.skipDuplicates && config.images);
        EXPECT_EQ(config.features, std::vector<std::string>{"deform"});
    };
    choose("exportDataAction");
}

TEST_F(ExportData, CancelEndsABatchAfterTheDatasetAtHand) {
    for (const char* name : {"a", "b", "c"}) {
        load(name, {{"area_um", {1, 2}}});
    }
    inExport = [](ExportDialog& dialog) { click(dialog, "allDatasetsRadio"); };
    const struct {
        const char* how;
        std::function<void(ExportProgress&)> cancel;
    } ways[] = {{"button", [](ExportProgress& progress) { click(progress, "cancelButton"); }},
                {"escape", [](ExportProgress& progress) { QTest::keyClick(&progress, Qt::Key_Escape); }},
                {"close", [](ExportProgress& progress) { progress.close(); }}};
    QStringList expected;
    for (const auto& way : ways) {
        inProgress = [&](ExportProgress& progress) {
            if (progress.labelText() == "Exporting b (2/3)") {
                EXPECT_EQ(progress.maximum(), 3);
                EXPECT_EQ(progress.value(), 1);
                way.cancel(progress);
                EXPECT_TRUE(progress.isVisible()) << "it goes when the dataset is written";
            }
        };
        choose("exportDataAction");
        EXPECT_EQ(told(), "") << way.how;
        const QString number = expected.isEmpty() ? "" : "_" + QString::number(expected.size() / 2 + 1);
        expected << "TSYexport_a" + number + ".vqd"
                 << "TSYexport_b" + number + ".vqd";
        expected.sort();
        EXPECT_EQ(written(), expected) << way.how;
        inExport = [](ExportDialog&) {};
    }
}

TEST_F(ExportData, DatasetsMayGoWhileABatchRuns) {
    for (const char* name : {"a", "b", "c"}) {
        load(name, {{"area_um", {1, 2}}});
    }
    inExport = [](ExportDialog& dialog) { click(dialog, "allDatasetsRadio"); };
    const int second = window->datasets()[1]->id;
    inProgress = [&](ExportProgress& progress) {
        if (progress.labelText() == "Exporting a (1/3)") {
            window->session().remove(second);
        }
    };
    choose("exportDataAction");
    EXPECT_EQ(told(), joined({"Export", "Exported 2 of 3 dataset(s)."}));
    EXPECT_EQ(written(), (QStringList{"TSYexport_a.vqd", "TSYexport_c.vqd"}));
}

TEST_F(ExportData, VideosAndDuplicates) {
    SampleFileOptions options;
    options.events = 6;
    options.columns = {{"frame", {1, 1, 2.5, 2.9, 7, 8}}};
    load("film", options);
    auto* list = window->panels().datasets->list();
    chooseInContextMenu(*list, 0, "duplicateDatasetAction");
    ASSERT_EQ(window->datasets().size(), 2U);
    inExport = [](ExportDialog& dialog) { clickAll(dialog, {"allDatasetsRadio", "aviRadio", "skipDuplicatesBox"}); };
    choose("exportDataAction");
    EXPECT_EQ(told(), joined({"Export", "Exported 2 dataset(s) successfully."}));
    EXPECT_EQ(written(), (QStringList{"TSYexport_film.avi", "TSYexport_film_2.avi"}));
    for (const QString& name : written()) {
        const std::string probe = outputOf("ffprobe -v error -count_frames -show_entries "
                                           "stream=codec_name,width,height,r_frame_rate,nb_read_frames -of csv=p=0 " +
                                           folder.file(name.toStdString()));
        EXPECT_EQ(probe, "mjpeg,64,32,25/1,4\n"); // frames 1, 2, 7 and 8
    }
}

TEST_F(ExportData, WhatCantBeWrittenIsTold) {
    load("a", {{"area_um", {1, 2}}});
    inExport = [this](ExportDialog& dialog) {
        click(dialog, "customDirectoryBox");
        type(dialog, "directoryEdit", path("missing"));
    };
    choose("exportDataAction");
    EXPECT_EQ(told(), joined({"Export Error", "Failed to create: " + path("missing/TSYexport_a.vqd")}));
    // Half of the file fits; what was written so far is no export.
    const std::vector<double> column(20000, 1.5);
    load("large", {{"area_um", column}});
    inExport = [](ExportDialog& dialog) { click(dialog, "customDirectoryBox"); };
    {
        const FileSizeLimit limit(100000);
        choose("exportDataAction");
    }
    EXPECT_EQ(told(), joined({"Export Error", "Failed to write: " + path("TSYexport_large.vqd")}));
    EXPECT_FALSE(QFileInfo::exists(path("TSYexport_large.vqd")));
}

} // namespace Tessaly
