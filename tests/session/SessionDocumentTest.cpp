#include "session/document/SessionDocument.h"

#include "session/SessionBuilder.h"
#include "session/document/JsonText.h"
#include "session/document/SessionRestore.h"
#include "support/FileSizeLimit.h"
#include "support/Tools.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <limits>

namespace Tessaly {

namespace {

using Kind = UserMessage::Kind;

FilterRule polygon() {
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = "area_um";
    rule.featureNameY = "deform";
    rule.polygonVertices = {{0.1, 1e-300}, {2.5, -3.25}, {1.0 / 3.0, 7}};
    rule.scaleXMode = 1;
    rule.scaleYMode = 2;
    rule.inverted = true;
    rule.propagationId = "{c6a2}";
    return rule;
}

QString textOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QString::fromUtf8(file.readAll());
}

void write(const QString& path, const QByteArray& contents) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(contents);
}

class SessionFiles : public testing::Test {
protected:
    QString path(const char* name) const { return QString::fromStdString(folder_.file(name)); }

    int add(const char* file, const char* displayName) {
        SampleFileOptions options;
        options.events = 4;
        options.images = options.masks = options.traces = false;
        const QString filePath = path(file);
        QDir().mkpath(QFileInfo(filePath).path());
        if (!QFileInfo::exists(filePath)) {
            writeSampleFile(filePath.toStdString(), options);
        }
        return open(session_, filePath, displayName);
    }

    static int open(Session& session, const QString& filePath, const QString& displayName) {
        auto entry = session.newEntry();
        entry->filePath = filePath.toStdString();
        entry->reader = std::make_shared<VQDReader>();
        EXPECT_TRUE(entry->reader->open(entry->filePath));
        entry->displayName = displayName;
        entry->featuresLoaded = true;
        return session.append(std::move(entry)).id;
    }

    /// Duplicates a row the way the user does, and puts the copy in before what stands at another one.
    void duplicate(int row, const char* displayName, int toRow) {
        const int copy = session_.duplicate(session_.datasetAt(row)->id);
        session_.rename(copy, displayName);
        session_.move(copy, toRow);
    }

    /// Loads a document into a fresh session, without the files of some indices. Returns the row to select.
    static int load(Session& session, const SessionDocument& document, const QString& sessionPath,
                    const std::vector<int>& skipped = {}) {
        SessionLoad state{document, {}};
        for (const SessionFile& file : filesOf(document, sessionPath)) {
            if (std::ranges::find(skipped, file.index) == skipped.end()) {
                EXPECT_TRUE(file.exists) << file.path.toStdString();
                state.indexToId[file.index] = open(session, file.path, QFileInfo(file.path).fileName());
            }
        }
        return session.rowOf(restoreSession(session, state));
    }

    static QStringList names(const Session& session) {
        QStringList names;
        for (const auto& dataset : session.datasets()) {
            names += dataset->displayName;
        }
        return names;
    }

    TemporaryFolder folder_;
    Session session_;
};

} // namespace

TEST_F(SessionFiles, SavedLoadedAndSavedAgain) {
    add("data/a.vqd", "first");
    const int second = add("data/Größe 細胞.vqd", "zweite Größe");
    duplicate(0, "copy", 0); // the copy now stands before its original and bears the file
    session_.addFilterGroup("");
    const int group = session_.addFilterGroup("gates");
    session_.addRuleToGroup(group, rangeRule("temp", -1.5, 1e300));
    DatasetEntry& entry = *session_.findById(second);
    entry.xFeatureName = "area_um";
    entry.yFeatureName = "not in the file";
    entry.colorFeatureName = "__density_kde__";
    entry.currentEventIndex = 3;
    entry.contourMode = 2;
    entry.contourFraction1 = 0.35;
    entry.contourFraction2 = 1.0 / 3.0;
    entry.scaleXMode = 1;
    entry.scaleYMode = 2;
    entry.flRefinementApplied = entry.ctcApplied = entry.emodApplied = true;
    entry.ctcChannels = {1, 3};
    entry.spilloverMatrix = {{1, 0.1}, {1e-17, 2}};
    entry.filter.addRule(rangeRule("deform", 0.1, 0.30000000000000004, "{link}"));
    entry.filter.addRule(polygon());
    entry.filter.setCombineMode(EventFilter::ShowExcluded);
    entry.filter.setEnabled(false);
    session_.setGroupEnabled(second, group, true);
    session_.setActive(second);
    const QString file = path("session.TSY");
    SessionDocument saved = captureSession(session_, file, 4);
    saved.combineWindows = {QJsonObject{{"id", 2}}};
    saved.statEvalWindows = {QJsonObject{{"name", "x"}}, QJsonObject{}};
    EXPECT_EQ(saved.datasets[1].duplicateOfIndex, 0);
    EXPECT_EQ(saved.datasets[0].filePath, "data/a.vqd");
    ASSERT_EQ(writeSessionFile(file, saved), std::nullopt);

    SessionReading reading = readSessionFile(file);
    ASSERT_FALSE(reading.error || reading.warning);
    EXPECT_EQ(reading.document.combineWindows, saved.combineWindows);
    EXPECT_EQ(reading.document.statEvalWindows, saved.statEvalWindows);
    EXPECT_EQ(reading.document.colorMapIndex, 4);
    Session restored;
    restored.newEntry(); // ids differ from those of the document
    EXPECT_EQ(load(restored, reading.document, file), 2);
    restored.setActive(restored.datasetAt(2)->id);
    EXPECT_EQ(names(restored), (QStringList{"copy", "first", "zweite Größe"}));
    EXPECT_EQ(restored.datasetAt(0)->reader, restored.datasetAt(1)->reader);
    EXPECT_TRUE(restored.datasetAt(1)->featuresLoaded);
    EXPECT_EQ(restored.nextGroupId(), 2);
    EXPECT_EQ(restored.findFilterGroup(group)->rules, session_.findFilterGroup(group)->rules);
    const DatasetEntry& again = *restored.datasetAt(2);
    EXPECT_EQ(again.filter, entry.filter);
    EXPECT_EQ(again.spilloverMatrix, entry.spilloverMatrix);
    EXPECT_TRUE(restored.isGroupEnabled(&again, group));
    EXPECT_FALSE(restored.isGroupEnabled(restored.datasetAt(0), group));
    SessionDocument second_ = captureSession(restored, file, 4);
    second_.savedAt = saved.savedAt;
    second_.combineWindows = saved.combineWindows;
    second_.statEvalWindows = saved.statEvalWindows;
    EXPECT_EQ(sessionToJson(second_).toStdString(), textOf(file).toStdString());
}

TEST(JsonText, LaidOutLikeTheToolkitsDocuments) {
    const QJsonObject object{
        {"a", QJsonArray{}},
        {"b", QJsonObject{}},
        {"c \"\\\n", QJsonArray{1, -2.5, 1e300, true, QJsonValue(), QJsonArray{QJsonObject{{"d", 1.0 / 3}}}}},
        {"e", QString("\t\"q\" \\ Größe 細胞 \U0001F9EA") + QChar(1)}};
    JsonText json;
    json.value(QJsonValue(object));
    const QByteArray written = json.take();
    // The toolkit writes some control characters in a shorter way.
    EXPECT_EQ(QByteArray(written).replace("\\u000a", "\\n").replace("\\u0009", "\\t").toStdString(),
              QJsonDocument(object).toJson().toStdString());
    json.beginArray();
    for (const std::string& text :
         {std::string("plain"), std::string("\xc3\xa4 \"\x1f"), std::string("no \xff text")}) {
        json.value(text);
    }
    json.value(std::numeric_limits<double>::quiet_NaN());
    json.value(-5e-324);
    json.value(qint64(9007199254740993));
    json.endArray();
    const QJsonArray read = QJsonDocument::fromJson(json.take()).array();
    EXPECT_EQ(read[0], "plain");
    EXPECT_EQ(read[1], QString("ä \"") + QChar(0x1f));
    EXPECT_EQ(read[2], QString("no ") + QChar(0xfffd) + " text");
    EXPECT_TRUE(read[3].isNull());
    EXPECT_EQ(read[4].toDouble(), -5e-324);
    EXPECT_EQ(read[5].toInteger(), 9007199254740993);
}

TEST_F(SessionFiles, KeysAndTypesAsOtherProgramsSeeThem) {
    add("a.vqd", "first");
    duplicate(0, "second", 2);
    session_.datasetAt(1)->ctcChannels = {1}; // not applied: not written
    session_.addFilterGroup("g");
    const QString file = path("s.TSY");
    ASSERT_FALSE(writeSessionFile(file, captureSession(session_, file, 1)));
    const QJsonObject root = QJsonDocument::fromJson(textOf(file).toUtf8()).object();
    EXPECT_EQ(root.keys(), (QStringList{"combineWindows", "datasets", "filterGroups", "mainWindow", "nextGroupId",
                                        "savedAt", "statEvalWindows", "version"}));
    EXPECT_EQ(root["version"], 1);
    const QDateTime savedAt = QDateTime::fromString(root["savedAt"].toString(), Qt::ISODate);
    EXPECT_EQ(savedAt.timeSpec(), Qt::UTC);
    EXPECT_LT(qAbs(savedAt.secsTo(QDateTime::currentDateTimeUtc())), 60);
    EXPECT_EQ(root["mainWindow"].toObject(),
              (QJsonObject{{"activeDatasetIndex", 0}, {"colorMapIndex", 1}, {"expertMode", false}}));
    QJsonObject copy = root["datasets"].toArray()[1].toObject();
    const QJsonObject print = copy["fingerprint"].toObject();
    EXPECT_EQ(print["fileSize"], QFileInfo(path("a.vqd")).size());
    EXPECT_EQ(print["eventCount"], 4);
    // The columns of sample files, hashed by another program.
    std::string hash = outputOf("printf %s $(h5ls " + folder_.file("a.vqd") +
                                "/events | cut -d' ' -f1 | sort | tr -d '\\n') | sha256sum | cut -c1-12");
    EXPECT_EQ(print["featureHash"].toString().toStdString() + "\n", hash);
    copy.remove("fingerprint");
    EXPECT_EQ(copy, QJsonDocument::fromJson(R"({"colorFeatureName": "", "contourFraction1": 0.1,
        "contourFraction2": 0.67, "contourMode": 0, "ctcApplied": false, "ctcChannels": [], "currentEventIndex": -1,
        "displayName": "second", "duplicateOfIndex": 0, "emodApplied": false, "filePath": "a.vqd",
        "filter": {"combineMode": "AND", "enabled": true, "rules": []}, "flRefinementApplied": false,
        "groupEnabled": [{"enabled": false, "groupId": 0}], "isDuplicate": true, "scaleXMode": 0, "scaleYMode": 0,
        "spilloverMatrix": [], "xFeatureName": "", "yFeatureName": ""})")
                        .object());
}

TEST_F(SessionFiles, JsonOfAnyShape) {
    const auto read = [](const char* json) { return sessionFromJson(json); };
    const auto error = [](const QString& text) { return UserMessage{Kind::Critical, "Error", text}; };
    EXPECT_EQ(read("[nonsense]").error, error("Invalid session file: illegal value"));
    EXPECT_TRUE(read("").error->text.startsWith("Invalid session file: "));
    EXPECT_TRUE(sessionFromJson(QByteArray(10'000, '[') + QByteArray(10'000, ']')).error);
    for (const char* json : {"[]", "{}", R"({"version": 0})", R"({"version": "1"})", R"({"version": null})"}) {
        EXPECT_EQ(read(json).error, error("Unrecognized session file format.")) << json;
    }
    const SessionReading newer = read(R"({"version": 2, "unknown": [1]})");
    EXPECT_FALSE(newer.error);
    EXPECT_EQ(newer.warning, (UserMessage{Kind::Warning, "Warning",
                                          "This session was saved by a newer version of Tessaly.\n"
                                          "Some settings may not be restored correctly."}));
    EXPECT_TRUE(read(R"({"version": 1e300})").warning);
    EXPECT_EQ(readSessionFile(path("none.TSY")).error, error("Failed to read session file: " + path("none.TSY")));
    EXPECT_TRUE(readSessionFile(QString::fromStdString(folder_.path().string())).error); // a folder

    const SessionDocument odd = read(R"({"version": 1, "datasets": [7, {"filePath": 3, "filter": [], "ctcApplied": true,
        "ctcChannels": [1, 2], "spilloverMatrix": [1, 2, 3], "contourFraction1": "x", "contourMode": 3,
        "scaleXMode": 1.5, "scaleYMode": -1, "currentEventIndex": -5, "groupEnabled": [1, {}, {"groupId": 4,
        "enabled": 1}], "fingerprint": 5}, null, {"filter": {"combineMode": "not", "rules": [1, {}], "enabled": true},
        "ctcApplied": true, "ctcChannels": [2]}], "filterGroups": [1, {"id": "x"}, {"id": 3, "name": 5, "rules": {}}],
        "nextGroupId": -4, "combineWindows": [1, {"a": 1}], "statEvalWindows": {}, "mainWindow": []})")
                                    .document;
    ASSERT_EQ(odd.datasets.size(), 4U);
    EXPECT_FALSE(odd.datasets[0].isObject || odd.datasets[2].isObject);
    SessionDataset expected;
    expected.ctcApplied = true;
    expected.ctcChannels = {1, 2};
    expected.filter.setEnabled(false);
    expected.groupEnabled = {{0, false}, {4, false}};
    EXPECT_EQ(odd.datasets[1], expected);
    EXPECT_EQ(odd.datasets[3].filter.ruleCount(), 1);
    EXPECT_EQ(odd.datasets[3].filter.combineMode(), EventFilter::ShowPassing);
    EXPECT_TRUE(odd.datasets[3].filter.isEnabled());
    EXPECT_TRUE(odd.datasets[3].ctcChannels.empty()); // the matrix is missing
    EXPECT_EQ(odd.nextGroupId, 0);
    EXPECT_EQ(odd.combineWindows, (QJsonArray{QJsonObject{{"a", 1}}}));
    EXPECT_EQ(filesOf(odd, path("s.TSY")).size(), 2U);
    Session session;
    session.replaceFilterGroups(odd.filterGroups, odd.nextGroupId);
    ASSERT_EQ(session.filterGroups().size(), 1U); // one has no id of its own
    EXPECT_EQ(session.nextGroupId(), 4);
    session.replaceFilterGroups({{2147483647, "a", {}}, {1, "b", {}}, {1, "c", {}}, {-1, "d", {}}}, 5);
    EXPECT_EQ(session.findFilterGroup(1)->name, "b");
    session.addFilterGroup("e");
    session.addFilterGroup("f");
    std::map<int, std::string> groups; // no group is lost, no id is there twice, even where ids run out
    for (const auto& group : session.filterGroups()) {
        groups[group->id] += group->name;
    }
    EXPECT_EQ(groups, (std::map<int, std::string>{{2147483647, "a"}, {1, "b"}, {0, "c"}, {2, "e"}, {3, "f"}}));
}

TEST_F(SessionFiles, SkippedFilesAndDuplicatesInTheMiddle) {
    add("a.vqd", "a");
    add("b.vqd", "b");
    duplicate(0, "a2", 1); // a, a2, b
    duplicate(2, "b2", 0); // b2, a, a2, b
    const QString file = path("s.TSY");
    const struct {
        int selected;
        std::vector<int> skipped;
        QStringList rows;
        int row;
    } cases[] = {{2, {}, {"b2", "a", "a2", "b"}, 2},
                 {2, {0}, {"a", "a2"}, 1},
                 {3, {1}, {"b2", "b"}, 1},
                 {2, {1}, {"b2", "b"}, 0},
                 {0, {0, 1}, {}, -1}};
    for (const auto& one : cases) {
        session_.setActive(session_.datasetAt(one.selected)->id);
        const SessionDocument document = captureSession(session_, file, 0);
        Session restored;
        EXPECT_EQ(load(restored, document, file, one.skipped), one.row);
        EXPECT_EQ(names(restored), one.rows);
    }
    SessionDocument odd = captureSession(session_, file, 0);
    odd.activeDatasetIndex = 99;
    odd.datasets[2].duplicateOfIndex = 2; // of itself
    Session restored;
    EXPECT_EQ(load(restored, odd, file), 0);
    EXPECT_EQ(names(restored), (QStringList{"b2", "a", "b"}));
}

TEST_F(SessionFiles, ManyDuplicatesInNoTime) {
    add("a.vqd", "a");
    SessionDocument document = captureSession(session_, path("s.TSY"), 0);
    SessionDataset copy = document.datasets[0];
    copy.isDuplicate = true;
    copy.duplicateOfIndex = 0;
    document.datasets.resize(50'000, copy);
    const SessionDocument read = sessionFromJson(sessionToJson(document)).document;
    EXPECT_EQ(read.datasets, document.datasets);
    Session restored;
    load(restored, read, path("s.TSY"));
    EXPECT_EQ(restored.datasetCount(), 50'000);
}

TEST_F(SessionFiles, ASessionMovesWithItsData) {
    add("old/data/a.vqd", "a");
    const QString file = path("old/sessions/s.TSY");
    QDir().mkpath(path("old/sessions"));
    ASSERT_FALSE(writeSessionFile(file, captureSession(session_, file, 0)));
    ASSERT_TRUE(QDir().rename(path("old"), path("new place")));
    const QString moved = path("new place/sessions/s.TSY");
    const SessionReading reading = readSessionFile(moved);
    EXPECT_EQ(filesOf(reading.document, moved), (std::vector<SessionFile>{{0, path("new place/data/a.vqd"), true}}));
    EXPECT_EQ(fingerprintOfFile(path("new place/data/a.vqd")), reading.document.datasets[0].fingerprint);
    QFile::remove(path("new place/data/a.vqd"));
    EXPECT_EQ(filesOf(reading.document, moved), (std::vector<SessionFile>{{0, path("new place/data/a.vqd"), false}}));
    EXPECT_EQ(fingerprintOfFile(path("new place/data/a.vqd")), std::nullopt);
}

TEST_F(SessionFiles, PathsThroughLinks) {
    add("data/a.vqd", "a");
    QDir().mkpath(path("far/away/sessions"));
    QFile::link(path("far/away/sessions"), path("link"));
    // By its name the folder lies beside "data", in truth two levels deeper.
    const QString data = path("data/a.vqd");
    for (const char* session : {"link/s.TSY", "far/away/sessions/s.TSY", "data/s.TSY", "s.TSY"}) {
        const QString stored = storedPath(data, path(session));
        EXPECT_EQ(resolvedPath(stored, path(session)), data) << session << ": " << stored.toStdString();
        EXPECT_FALSE(QDir::isAbsolutePath(stored));
    }
    QDir().mkpath(path("far/data"));
    EXPECT_EQ(storedPath(path("gone/b.vqd"), path("data/s.TSY")), "../gone/b.vqd");
    EXPECT_EQ(resolvedPath("/x/../y.vqd", path("s.TSY")), "/y.vqd");
    EXPECT_EQ(withSessionSuffix("a"), "a.TSY");
    EXPECT_EQ(withSessionSuffix("a.tsy"), "a.tsy");
    EXPECT_EQ(withSessionSuffix("a.TSY.x"), "a.TSY.x.TSY");
}

TEST_F(SessionFiles, AFailedWriteKeepsTheOldFile) {
    add("a.vqd", "a");
    const QString file = path("s.TSY");
    write(file, "old");
    const SessionDocument document = captureSession(session_, file, 0);
    {
        const FileSizeLimit limit(500);
        EXPECT_EQ(writeSessionFile(file, document),
                  (UserMessage{Kind::Critical, "Error", "Failed to write session file: " + file}));
    }
    EXPECT_EQ(textOf(file), "old");
    EXPECT_TRUE(writeSessionFile(path("nowhere/s.TSY"), document));
    EXPECT_EQ(QDir(QString::fromStdString(folder_.path().string())).entryList(QDir::Files | QDir::Hidden),
              (QStringList{"a.vqd", "s.TSY"}));
}

TEST_F(SessionFiles, Questions) {
    SessionDataset saved;
    saved.displayName = "100 %1";
    saved.fingerprint = {5'000'000'000, 7, "abc"};
    EXPECT_EQ(changedFileQuestion(saved, {5'000'000'001, 8, "abc"}),
              "Dataset \"100 %1\" may have changed since the session was saved.\n\nExpected: 7 events, 5000000000 "
              "bytes\nFound: 8 events, 5000000001 bytes\n\nContinue loading this dataset?");
    EXPECT_EQ(missingFileQuestion("/a/%2.vqd", "name"),
              "Cannot find dataset:\n/a/%2.vqd\n\nDisplay name: name\n\nWould you like to locate it manually?");
    add("a.vqd", "a");
    VQDReader& reader = *session_.datasetAt(0)->reader;
    const Fingerprint before = fingerprintOf(reader, path("a.vqd"));
    reader.setFeature("emodulus", {1, 2, 3, 4});
    EXPECT_NE(fingerprintOf(reader, path("a.vqd")).featureHash, before.featureHash);
    // Independent of the order; SHA-256 of "areadeform" by sha256sum.
    EXPECT_EQ(featureHash({"deform", "area"}), featureHash({"area", "deform"}));
    EXPECT_EQ(featureHash({"deform", "area"}).toStdString() + "\n",
              outputOf("printf areadeform | sha256sum | cut -c1-12"));
}

} // namespace Tessaly
