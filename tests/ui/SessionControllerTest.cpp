#include "ui/files/SessionController.h"

#include "DialogUser.h"
#include "UserActions.h"
#include "WindowFixture.h"

#include "io/VQDReader.h"
#include "plot/ScatterPlot.h"
#include "session/document/SessionDocument.h"
#include "support/FileSizeLimit.h"
#include "support/FilterRules.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/plot/PlotSettingsPanel.h"

#include <QComboBox>
#include <QFile>
#include <QJsonDocument>
#include <QLabel>
#include <QSpinBox>

#include <gtest/gtest.h>

#include <filesystem>
#include <mutex>

namespace Tessaly {
namespace {

const QString Changed = "Dataset Changed: Dataset \"%1\" may have changed since the session was saved.\n\n"
                        "Expected: %2 events, %3 bytes\nFound: %4 events, %5 bytes\n\nContinue loading this dataset?";
const QString Missing =
    "Dataset Not Found: Cannot find dataset:\n%1\n\nDisplay name: %2\n\nWould you like to locate it manually?";

/// A kind of tool windows that gives its object and takes it back, without windows.
struct WindowKind {
    QJsonArray open; ///< in terms of ids: {"id": 3}

    void registerAt(ToolWindows& tools, QJsonArray SessionDocument::*place) {
        tools.keepInSessions(
            {place,
             [this](const DatasetNumbers& idToIndex) {
                 QJsonArray states;
                 for (const QJsonValue window : std::as_const(open)) {
                     states.append(QJsonObject{{"dataset", otherNumber(idToIndex, window["id"].toInt())}});
                 }
                 return states;
             },
             [this](const QJsonObject& state, const DatasetNumbers& indexToId) {
                 open.append(QJsonObject{{"id", otherNumber(indexToId, state["dataset"].toInt(-1))}});
             }});
    }
};

/// Sessions saved and loaded through the menus of the real main window.
class SessionControllerTest : public WindowFixture {
protected:
    void SetUp() override {
        QSettings().clear();
        makeWindow();
    }

    void makeWindow() {
        combine.open = statistics.open = {};
        window = std::make_unique<MainWindow>();
        auto* tools = window->findChild<ToolWindows*>();
        combine.registerAt(*tools, &SessionDocument::combineWindows);
        statistics.registerAt(*tools, &SessionDocument::statEvalWindows);
        QObject::connect(&window->session().notices(), &SessionNotices::aboutToClear, tools,
                         [this] { combine.open = statistics.open = {}; });
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }

    QString writeFile(const QString& name, SampleFileOptions options = {}) {
        const QString file = path(name);
        QDir().mkpath(QFileInfo(file).path());
        options.sample = QFileInfo(file).completeBaseName().toStdString();
        options.images = options.masks = false;
        options.events = options.columns.empty() ? 20 : options.columns.begin()->second.size();
        writeSampleFile(file.toStdString(), options);
        return file;
    }
    int open(const QString& name, const SampleFileOptions& options = {}) {
        const std::size_t count = window->datasets().size();
        window->openDataset(QFileInfo::exists(path(name)) ? path(name) : writeFile(name, options));
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return window->datasets().size() == count + 1 && window->datasets().back()->featuresLoaded; },
            20000));
        return window->datasets().back()->id;
    }

    bool waitUntilRestored() {
        return QTest::qWaitFor([this] { return !window->sessionLoading(); }, 60000);
    }
    /// Answers the dialogs of a save; what they said.
    QStringList saveAs(const QString& name) {
        user.file(path(name));
        choose("saveSessionAction");
        return user.takeSeen();
    }
    /// Loads into a fresh window.
    void loadFresh(const QString& name) {
        window.reset();
        makeWindow();
        user.file(path(name));
        choose("loadSessionAction");
        ASSERT_TRUE(waitUntilRestored());
    }

    QJsonObject document(const QString& name) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
        EXPECT_FALSE(object.take("savedAt").toString().isEmpty());
        return object;
    }
    void write(const QString& name, const QByteArray& contents) const {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(contents), contents.size());
    }
    QStringList names() const {
        QStringList names;
        for (const auto& dataset : window->datasets()) {
            names << dataset->displayName;
        }
        return names;
    }
    int listedRows() const { return window->panels().datasets->list()->count(); }
    QString status() const { return window->panels().status->text(); }
    /// Two files and a copy in the middle: "a", "a2", "b".
    void saveThree(const QString& name) {
        const int a = open("data/a.vqd");
        open("data/b.vqd");
        const int copy = window->session().duplicate(a);
        window->session().rename(copy, "a2");
        window->session().move(copy, 1);
        EXPECT_EQ(saveAs(name), QStringList{"Save Session"});
    }

    DialogUser user;
    WindowKind combine;
    WindowKind statistics;
};

} // namespace

TEST_F(SessionControllerTest, EverythingComesBack) {
    SampleFileOptions channels;
    for (const char* name : {"fl1_max", "fl2_max", "fl3_max"}) {
        channels.columns[name] = std::vector<double>(40, 50.0);
    }
    const int first = open("data/a <b>.vqd", channels);
    SampleFileOptions rising;
    for (int i = 0; i < 20; ++i) {
        rising.columns["deform"].push_back(0.02 * i);
    }
    const int second = open("Größe 細胞/b.vqd", rising);
    Session& session = window->session();
    const int copy = session.duplicate(first);
    session.rename(copy, "Kopie <b>");
    session.move(copy, 0);
    const int group = window->addFilterGroup("gates");
    window->addRuleToGroup(group, rangeRule("deform", 0, 0.25));
    window->setGroupEnabled(second, group, true);
    window->removeFilterGroup(window->addFilterGroup("gone"));
    DatasetEntry& entry = *window->findDatasetById(first);
    entry.filter.addRule(rangeRule("area_um", 0, 1e9, "{link}"));
    entry.filter.setCombineMode(EventFilter::ShowExcluded);
    entry.ctcApplied = entry.flRefinementApplied = entry.emodApplied = true;
    entry.ctcChannels = {1, 2, 3};
    entry.spilloverMatrix = {{1, 0.25, 0}, {0, 1, 0}, {0, 1e-17, 1}};
    PlotSettings settings = entry;
    settings.xFeatureName = "no longer there";
    settings.colorFeatureName = "emodulus";
    settings.contourFraction2 = 1.0 / 3;
    settings.scaleYMode = 1;
    session.setPlotSettings(first, settings);
    session.setActive(second);
    window->findChild<QMenu*>("colorMapMenu")->actions().at(3)->trigger();
    combine.open = {QJsonObject{{"id", second}}, QJsonObject{{"id", copy}}};
    statistics.open = {QJsonObject{{"id", first}}};
    auto* number = window->panels().eventNumber;
    number->setFocus();
    number->selectAll();
    QTest::keyClicks(number, "13"); // which the group leaves out; without Return
    user.file(path("one"));
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(user.takeSeen(), QStringList{"Save Session"});
    EXPECT_EQ(status(), "Session saved: one.TSY");
    const QJsonObject saved = document("one.TSY");
    EXPECT_EQ(saved["datasets"][2]["currentEventIndex"], 13);
    EXPECT_EQ(saved["combineWindows"], (QJsonArray{QJsonObject{{"dataset", 2}}, QJsonObject{{"dataset", 0}}}));

    QSettings().clear();
    loadFresh("one.TSY");
    EXPECT_EQ(user.takeSeen(), QStringList{"Load Session"});
    EXPECT_EQ(status(), "Session loaded: 3 dataset(s)");
    EXPECT_EQ(names(), (QStringList{"Kopie <b>", "a <b>", "b"}));
    EXPECT_EQ(listedRows(), 3);
    EXPECT_EQ(window->panels().datasets->currentRow(), 2);
    EXPECT_EQ(window->panels().eventNumber->value(), 13);
    EXPECT_EQ(window->colorMapIndex(), 3);
    EXPECT_EQ(window->panels().plot->colorMapIndex(), 3);
    EXPECT_TRUE(window->findChild<QMenu*>("colorMapMenu")->actions().at(3)->isChecked());
    EXPECT_FALSE(QSettings().contains("settings/colorMapIndex")) << "the session's map isn't the user's choice";
    EXPECT_EQ(statistics.open, (QJsonArray{QJsonObject{{"id", window->datasets()[1]->id}}}));
    saveAs("two.TSY");
    EXPECT_EQ(document("two.TSY"), saved);

    // Looking at the dataset brings its features back, and leaves names alone that the file lacks.
    clickListRow(*window->panels().datasets->list(), 1);
    VQDReader& reader = *window->datasets()[1]->reader;
    const auto isBack = [&reader] { return reader.hasFeature("fl3_max_ctc") && reader.hasFeature("fl1_max_rf"); };
    ASSERT_TRUE(QTest::qWaitFor(isBack, 20000));
    auto* scale = window->findChild<QComboBox*>("xScaleCombo");
    QTest::keyClick(scale, Qt::Key_Down);
    QTest::keyClick(scale, Qt::Key_Up);
    clickListRow(*window->panels().datasets->list(), 2);
    saveAs("three.TSY");
    QJsonArray again = document("three.TSY")["datasets"].toArray();
    QJsonArray before = saved["datasets"].toArray();
    for (int i = 0; i < 3; ++i) {
        QJsonObject now = again[i].toObject();
        QJsonObject then = before[i].toObject();
        EXPECT_EQ(now["fingerprint"] == then["fingerprint"], i == 2) << "computed columns count";
        now.remove("fingerprint");
        then.remove("fingerprint");
        if (i > 0) { // was chosen in the list: an event that filters leave out gives way then
            EXPECT_GE(now.take("currentEventIndex").toInt(), 0);
            then.remove("currentEventIndex");
        }
        EXPECT_EQ(QJsonDocument(now).toJson().toStdString(), QJsonDocument(then).toJson().toStdString()) << i;
    }
    EXPECT_EQ(again[1].toObject()["xFeatureName"], "no longer there");
    EXPECT_EQ(again[1].toObject()["colorFeatureName"], "emodulus");
}

TEST_F(SessionControllerTest, MovedWithItsDataIntoAFolderThatCannotBeWritten) {
    ASSERT_TRUE(QDir().mkpath(path("old")));
    saveThree("old/s.tsy");
    EXPECT_TRUE(QFile::exists(path("old/s.tsy"))) << "the suffix is there already";
    ASSERT_TRUE(QDir().mkpath(path("new place")));
    ASSERT_TRUE(QDir().rename(path("old"), path("new place/sessions")));
    ASSERT_TRUE(QDir().rename(path("data"), path("new place/data")));
    const auto readOnly = QFile::ReadOwner | QFile::ExeOwner;
    QFile::setPermissions(path("new place/sessions"), readOnly);
    QFile::link(path("new place/sessions/s.tsy"), path("link.TSY"));
    loadFresh("new place/sessions/s.tsy");
    EXPECT_EQ(user.takeSeen(), QStringList{"Load Session"});
    EXPECT_EQ(names(), (QStringList{"a", "a2", "b"}));
    EXPECT_EQ(window->datasets()[1]->filePath, path("new place/data/a.vqd").toStdString());
    EXPECT_EQ(window->datasets()[0]->reader, window->datasets()[1]->reader);
    QFile::setPermissions(path("new place/sessions"), readOnly | QFile::WriteOwner);
}

TEST_F(SessionControllerTest, MissingFilesAreLocatedOrLeftOut) {
    using Button = QMessageBox::StandardButton;
    saveThree("s.TSY");
    const QString foreign = [this] {
        SampleFileOptions options;
        options.instrument = false;
        options.columns["area_um"] = std::vector<double>(21, 1.0);
        return writeFile("foreign.vqd", options);
    }();
    write("broken.vqd", "no measurement");
    ASSERT_TRUE(QFile::rename(path("data/a.vqd"), path("elsewhere.vqd")));
    const QString question = Missing.arg(path("data/a.vqd"), "a");
    const QString original = path("elsewhere.vqd");
    const struct {
        Button answer;
        QString located; ///< empty to cancel
        QStringList said;
        QStringList rows;
    } cases[] = {
        {Button::Yes, original, {question, "Locate: a"}, {"a", "a2", "b"}},
        {Button::No, "", {question}, {"b"}},
        {Button::NoButton, "", {question}, {"b"}}, // closed by Escape
        {Button::Yes, "", {question, "Locate: a"}, {"b"}},
        {Button::Yes,
         path("broken.vqd"),
         {question, "Locate: a", "Error: Failed to open: " + path("broken.vqd")},
         {"b"}},
        {Button::Yes,
         foreign,
         {question, "Locate: a",
          Changed.arg("a").arg(20).arg(QFileInfo(original).size()).arg(21).arg(QFileInfo(foreign).size()),
          "Unsupported Data: The data does not seem to originate from a ORVANE INSTRUMENTS Vortiq.\n"
          "Tessaly is not designed to handle this data."},
         {"b"}},
    };
    for (const auto& one : cases) {
        window.reset();
        makeWindow();
        user.file(path("s.TSY")).press(one.answer);
        if (one.answer == Button::Yes) {
            user.file(one.located);
        }
        if (one.located == foreign) {
            user.press(Button::Yes).press(Button::Ok);
        } else if (one.located.endsWith("broken.vqd")) {
            user.press(Button::Ok);
        }
        choose("loadSessionAction");
        ASSERT_TRUE(waitUntilRestored());
        EXPECT_EQ(user.takeSeen(), QStringList{"Load Session"} + one.said);
        EXPECT_EQ(names(), one.rows);
        EXPECT_EQ(status(), QString("Session loaded: %1 dataset(s)").arg(one.rows.size()));
        EXPECT_EQ(window->panels().datasets->currentRow(), one.rows.size() - 1) << "the one that was selected";
    }
}

TEST_F(SessionControllerTest, OneAnswerLeavesOutAllThatAreMissing) {
    saveThree("s.TSY");
    ASSERT_TRUE(QDir().rename(path("data"), path("gone")));
    window.reset();
    makeWindow();
    user.file(path("s.TSY")).press(QMessageBox::NoToAll);
    choose("loadSessionAction");
    EXPECT_EQ(user.takeSeen(), (QStringList{"Load Session", Missing.arg(path("data/a.vqd"), "a")}));
    EXPECT_FALSE(window->sessionLoading()) << "nothing to open: restored at once";
    EXPECT_TRUE(window->datasets().empty());
    EXPECT_EQ(status(), "Session loaded: 0 dataset(s)");
}

TEST_F(SessionControllerTest, ChangedFilesAreAskedAbout) {
    saveThree("s.TSY");
    const qint64 size = QFileInfo(path("data/b.vqd")).size();
    {
        QFile grown(path("data/b.vqd"));
        ASSERT_TRUE(grown.open(QIODevice::Append));
        grown.write("x");
    }
    for (const bool goOn : {false, true}) {
        window.reset();
        makeWindow();
        user.file(path("s.TSY")).press(goOn ? QMessageBox::Yes : QMessageBox::No);
        choose("loadSessionAction");
        ASSERT_TRUE(waitUntilRestored());
        EXPECT_EQ(user.takeSeen(),
                  (QStringList{"Load Session", Changed.arg("b").arg(20).arg(size).arg(20).arg(size + 1)}));
        EXPECT_EQ(names(), goOn ? (QStringList{"a", "a2", "b"}) : (QStringList{"a", "a2"}));
    }
}

TEST_F(SessionControllerTest, WhatCannotBeSavedOrReadIsTold) {
    choose("saveSessionAction");
    EXPECT_EQ(user.takeSeen(), QStringList{"Save Session: No datasets loaded to save."});
    open("a.vqd");
    choose("saveSessionAction"); // cancelled
    EXPECT_EQ(user.takeSeen(), QStringList{"Save Session"});
    write("s.TSY", "old");
    user.file(path("s")).press(QMessageBox::No); // there is one of that name, with its suffix
    choose("saveSessionAction");
    EXPECT_EQ(user.takeSeen().size(), 2);
    {
        const FileSizeLimit limit(300);
        user.file(path("s")).press(QMessageBox::Yes).press(QMessageBox::Ok);
        choose("saveSessionAction");
    }
    EXPECT_EQ(user.takeSeen().last(), "Error: Failed to write session file: " + path("s.TSY"));
    EXPECT_FALSE(status().startsWith("Session saved"));

    write("none.TSY", "{}");
    write("newer.TSY", R"({"version": 2, "datasets": [], "what": 1})");
    const QString sure = "Load Session: Loading a session will close all current datasets\nand windows. "
                         "Unsaved changes will be lost.\n\nContinue?";
    user.press(QMessageBox::No);
    choose("loadSessionAction");
    EXPECT_EQ(user.takeSeen(), QStringList{sure});
    EXPECT_EQ(user.defaults().last(), QMessageBox::No);
    const std::pair<const char*, QString> broken[] = {{"s.TSY", "Error: Invalid session file: illegal value"},
                                                      {"none.TSY", "Error: Unrecognized session file format."}};
    for (const auto& [file, message] : broken) {
        user.press(QMessageBox::Yes).file(path(file)).press(QMessageBox::Ok);
        choose("loadSessionAction");
        EXPECT_EQ(user.takeSeen(), (QStringList{sure, "Load Session", message}));
        EXPECT_EQ(names(), QStringList{"a"}) << "nothing is lost for a file that can't be read";
    }
    user.press(QMessageBox::Yes).file(path("newer.TSY")).press(QMessageBox::Ok);
    choose("loadSessionAction");
    EXPECT_EQ(user.takeSeen().last(), "Warning: This session was saved by a newer version of Tessaly.\n"
                                      "Some settings may not be restored correctly.");
    EXPECT_TRUE(names().isEmpty());
    combine.open = {QJsonObject{{"id", 1}}}; // a window counts like a dataset
    user.press(QMessageBox::No);
    choose("loadSessionAction");
    EXPECT_EQ(user.takeSeen(), QStringList{sure});
    user.press(QMessageBox::Cancel);
    choose("clearSessionAction");
    EXPECT_EQ(user.takeSeen(), QStringList{"Clear Session: This will close all datasets and combine plot windows.\n"
                                           "Unsaved changes will be lost.\n\nContinue?"});
    EXPECT_EQ(user.defaults().last(), QMessageBox::Cancel);
    EXPECT_EQ(combine.open.size(), 1);
}

TEST_F(SessionControllerTest, ALoadThatIsOvertakenLeavesNothingBehind) {
    saveThree("three.TSY");
    const auto begin = [this] {
        window.reset();
        QThreadPool::globalInstance()->waitForDone();
        makeWindow();
        std::unique_lock lock(hdf5Mutex()); // holds the first preload back
        user.file(path("three.TSY"));
        choose("loadSessionAction");
        EXPECT_EQ(user.takeSeen(), QStringList{"Load Session"});
        EXPECT_TRUE(window->sessionLoading());
        EXPECT_EQ(names(), QStringList{"a.vqd"});
        return lock;
    };
    const auto settle = [] { QTest::qWait(100); };
    {
        SCOPED_TRACE("cleared");
        begin().unlock();
        choose("clearSessionAction");
        EXPECT_EQ(user.takeSeen(), QStringList()) << "nothing to lose yet, nothing to ask";
        EXPECT_FALSE(window->sessionLoading());
        settle();
        EXPECT_TRUE(window->datasets().empty());
        EXPECT_EQ(status(), "No file loaded.");
        open("data/b.vqd");
        EXPECT_EQ(names(), QStringList{"b"});
    }
    {
        SCOPED_TRACE("a second one");
        open("c.vqd");
        saveAs("second.TSY");
        begin().unlock();
        user.press(QMessageBox::Yes).file(path("second.TSY"));
        choose("loadSessionAction");
        ASSERT_TRUE(waitUntilRestored());
        settle();
        EXPECT_EQ(names(), (QStringList{"b", "c"}));
        user.takeSeen();
    }
    {
        SCOPED_TRACE("closed");
        std::unique_lock lock = begin();
        window->close();
        EXPECT_FALSE(window->sessionLoading());
        lock.unlock();
        settle();
        EXPECT_LE(window->datasets().size(), 1U);
    }
    {
        SCOPED_TRACE("ended");
        std::unique_lock lock = begin();
        window.reset();
        lock.unlock();
        settle();
        makeWindow();
    }
}

TEST_F(SessionControllerTest, TheUserGoesOnWorkingWhileASessionLoads) {
    saveThree("s.TSY");
    const QString dropped = writeFile("dropped.vqd");
    window.reset();
    makeWindow();
    {
        const std::unique_lock lock(hdf5Mutex());
        user.file(path("s.TSY"));
        choose("loadSessionAction");
        drop({dropped});
        clickListRow(*window->panels().datasets->list(), 0);
        EXPECT_EQ(status(), "Loading: a.vqd...");
    }
    ASSERT_TRUE(waitUntilRestored());
    EXPECT_EQ(user.takeSeen(), QStringList{"Load Session"});
    EXPECT_EQ(names(), (QStringList{"a", "a2", "b", "dropped"}));
    EXPECT_EQ(window->panels().datasets->currentRow(), 2) << "the session's choice";
    EXPECT_EQ(status(), "Session loaded: 3 dataset(s)");

    // One that the user removes before all are there isn't brought back.
    window.reset();
    makeWindow();
    bool removed = false;
    QObject::connect(&window->session().notices(), &SessionNotices::datasetReady, window.get(), [&] {
        if (!std::exchange(removed, true)) {
            window->session().remove(window->datasets()[0]->id);
        }
    });
    user.file(path("s.TSY"));
    choose("loadSessionAction");
    ASSERT_TRUE(waitUntilRestored());
    EXPECT_EQ(names(), QStringList{"b"}) << "nor the copy of it";
    user.takeSeen();
}

TEST_F(SessionControllerTest, HostileFilesAreSurvived) {
    saveThree("s.TSY");
    QJsonObject root = document("s.TSY");
    QJsonArray datasets = root["datasets"].toArray();
    const QJsonValue copy = datasets[1];
    while (datasets.size() < 5000) {
        datasets.append(copy);
    }
    root["datasets"] = datasets;
    root["filterGroups"] = QJsonArray{7, QJsonObject{}, QJsonObject{{"id", 2147483647}}};
    root["mainWindow"] = QJsonObject{{"colorMapIndex", 99}, {"activeDatasetIndex", -3}};
    write("many.TSY", QJsonDocument(root).toJson(QJsonDocument::Compact));
    write("deep.TSY",
          QByteArray(R"({"version": 1, "datasets": )") + QByteArray(10'000, '[') + QByteArray(10'000, ']') + "}");
    const QByteArray item = R"({"a": "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"},)";
    write("large.TSY", R"({"version": 1, "combineWindows": [)" + item.repeated(20'000'000 / item.size()) + "{}]}");
    loadFresh("many.TSY");
    EXPECT_EQ(user.takeSeen(), QStringList{"Load Session"});
    EXPECT_EQ(window->datasets().size(), 5000U);
    EXPECT_EQ(window->colorMapIndex(), 0);
    EXPECT_EQ(window->panels().datasets->currentRow(), 0);
    loadFresh("deep.TSY");
    EXPECT_TRUE(user.takeSeen().last().startsWith("Error: Invalid session file: "));
    window.reset();
    makeWindow();
    auto* tools = window->findChild<ToolWindows*>();
    int opened = 0;
    tools->keepInSessions({&SessionDocument::combineWindows, [](const DatasetNumbers&) { return QJsonArray(); },
                           [&](const QJsonObject&, const DatasetNumbers&) { ++opened; }});
    user.file(path("large.TSY"));
    choose("loadSessionAction");
    ASSERT_TRUE(waitUntilRestored());
    EXPECT_EQ(user.takeSeen(), QStringList{"Load Session"});
    EXPECT_EQ(opened, 100); // as many as are opened of each kind
}

} // namespace Tessaly
