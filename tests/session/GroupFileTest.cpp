#include "session/filters/GroupFile.h"

#include "session/Session.h"
#include "session/filters/RuleJson.h"
#include "support/FileSizeLimit.h"
#include "support/FilterRules.h"
#include "support/TemporaryFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Tessaly;

namespace {

FilterRule polygonRule() {
    FilterRule rule = rangeRule("area_um", 0.1, 0.2);
    rule.type = FilterRule::Polygon;
    rule.featureNameY = "deform";
    rule.polygonVertices = {{1.0 / 3.0, -1e-300}, {2, 5}, {6, 7}};
    rule.scaleYMode = 2;
    rule.enabled = false;
    return rule;
}

QJsonObject objectOf(const QByteArray& json) {
    return QJsonDocument::fromJson(json).object();
}

class GroupFileTest : public testing::Test {
protected:
    GroupFileTest() { session.append(session.newEntry()); }

    QString path(const char* name = "groups.tsyfg") const { return QString::fromStdString(folder.file(name)); }
    QString written(const QByteArray& contents) const {
        QFile file(path("written.tsyfg"));
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
            throw std::runtime_error("cannot write");
        }
        return file.fileName();
    }
    QByteArray contents(const QString& name) const {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// Three groups, one of them without rules.
    void addGroups() {
        session.addFilterGroup("Live");
        session.addFilterGroup("<i>\u00fc</i>");
        session.addFilterGroup("Live");
        session.addRuleToGroup(0, rangeRule("area_um", 1, 2));
        session.addRuleToGroup(0, polygonRule());
        session.addRuleToGroup(2, rangeRule("deform", 3, 4));
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& group : session.filterGroups()) {
            all.push_back(group->name);
        }
        return all;
    }

    TemporaryFolder folder;
    Session session;
};

TEST_F(GroupFileTest, GroupsGoIntoTheNextSession) {
    addGroups();
    const std::vector<int> all{0, 1, 2};
    EXPECT_EQ(exportFilterGroups(session, all, path()), (GroupFileOutcome{"", "", "Exported 3 filter group(s)."}));
    session.setGroupEnabled(0, 1, true);
    QSignalSpy groupsTold(&session.notices(), &SessionNotices::groupsChanged);
    QSignalSpy eventsTold(&session.notices(), &SessionNotices::eventsChanged);
    EXPECT_EQ(importFilterGroups(session, path()), (GroupFileOutcome{"", "", "Imported 3 filter group(s)."}));
    EXPECT_EQ(groupsTold.size(), 1);
    EXPECT_EQ(eventsTold.size(), 1);
    const auto& groups = session.filterGroups();
    ASSERT_EQ(groups.size(), 6U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(groups[i + 3]->id, static_cast<int>(i + 3));
        EXPECT_EQ(groups[i + 3]->name, groups[i]->name) << "nothing is merged";
        EXPECT_EQ(groups[i + 3]->rules, groups[i]->rules);
        EXPECT_EQ(session.datasetAt(0)->groupEnabled.at(groups[i + 3]->id), false);
    }
}

TEST_F(GroupFileTest, TheDocumentHoldsTheChosenGroupsInTheirOrder) {
    addGroups();
    session.removeFilterGroup(1);
    const std::vector<int> chosen{2, 1, 0};
    const QByteArray json = groupDocument(session, chosen);
    EXPECT_TRUE(json.startsWith("{\n    \"formatVersion\": 1,\n    \"groups\": [\n")) << json.toStdString();
    const QJsonArray groups = objectOf(json).value("groups").toArray();
    ASSERT_EQ(groups.size(), 2) << "one of them is gone";
    EXPECT_EQ(groups[0].toObject().keys(), (QStringList{"name", "rules"}));
    EXPECT_EQ(groups[0].toObject().value("rules"), QJsonArray{ruleToJson(rangeRule("deform", 3, 4))});
    EXPECT_EQ(groups[1].toObject().value("rules").toArray().size(), 2);
    EXPECT_EQ(exportFilterGroups(session, chosen, path()).status, "Exported 2 filter group(s).");
    EXPECT_EQ(contents(path()), json);
}

TEST_F(GroupFileTest, WithoutGroupsThereIsNothingToExport) {
    EXPECT_EQ(checkGroupsToExport(session), "There are no filter groups to export.");
    addGroups();
    EXPECT_EQ(checkGroupsToExport(session), "");
}

TEST_F(GroupFileTest, AFailedExportLeavesTheOldFileWhole) {
    addGroups();
    const std::vector<int> all{0, 1, 2};
    const QString nowhere = path("missing/groups.tsyfg");
    EXPECT_EQ(exportFilterGroups(session, all, nowhere),
              (GroupFileOutcome{"Failed to open file for writing:\n" + nowhere, "", ""}));
    EXPECT_EQ(exportFilterGroups(session, all, path(".")).failure, "Failed to open file for writing:\n" + path("."));

    const QString old = written("old");
    GroupFileOutcome outcome;
    {
        const FileSizeLimit limit(100);
        outcome = exportFilterGroups(session, all, old);
    }
    EXPECT_EQ(outcome, (GroupFileOutcome{"Failed to open file for writing:\n" + old, "", ""}));
    EXPECT_EQ(contents(old), "old");
    EXPECT_EQ(QDir(QFileInfo(old).path()).entryList(QDir::Files).size(), 1) << "no half file beside it";
}

TEST_F(GroupFileTest, AFileThatCannotBeReadIsSaidToBeSo) {
    for (const char* name : {"missing.tsyfg", "."}) {
        EXPECT_EQ(importFilterGroups(session, path(name)),
                  (GroupFileOutcome{"Failed to read file:\n" + path(name), "", ""}));
    }
    EXPECT_EQ(importFilterGroups(session, "/dev/zero").failure, "Failed to read file:\n/dev/zero");
    QFile huge(path("huge.tsyfg")); // with holes instead of contents
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly) && huge.resize((128LL << 20) + 1));
    EXPECT_EQ(importFilterGroups(session, huge.fileName()).failure, "Failed to read file:\n" + huge.fileName());
}

TEST_F(GroupFileTest, NothingIsImportedFromWhatIsNoDocumentOfGroups) {
    const QByteArray valid = R"({"groups": [{"name": "a", "rules": [{"minValue": )";
    const QString invalid = "File is not a valid filter-groups JSON: ";
    const QString none = "The file contains no filter groups.";
    // The texts behind "JSON: " are the parser's own.
    const struct {
        const char* what;
        QByteArray json;
        QString failure;
        QString remark;
    } cases[] = {
        {"empty file", "", invalid + "illegal value", ""},
        {"list", "[]", invalid + "no error occurred", ""},
        {"text", "no JSON", invalid + "illegal value", ""},
        {"too large a number", valid + "1e999}]}]}", invalid + "illegal number", ""},
        {"no number", valid + "NaN}]}]}", invalid + "illegal number", ""},
        {"cut off", valid + "1}]}", invalid + "unterminated array", ""},
        {"too deep", R"({"groups": )" + QByteArray(10000, '[') + QByteArray(10000, ']') + "}",
         invalid + "too deeply nested document", ""},
        {"not UTF-8", "{\"groups\": [{\"name\": \"\xff\"}]}", invalid + "invalid UTF8 string", ""},
        {"something behind", "{} {}", invalid + "garbage at the end of the document", ""},
        {"no groups", "{}", "", none},
        {"empty groups", R"({"groups": []})", "", none},
        {"groups of the wrong type", R"({"groups": {"name": "a"}})", "", none},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(importFilterGroups(session, written(c.json)), (GroupFileOutcome{c.failure, c.remark, ""})) << c.what;
        EXPECT_TRUE(session.filterGroups().empty()) << c.what;
    }
}

TEST_F(GroupFileTest, APartlyValidFileGivesWhatItHolds) {
    const QByteArray json = "\xEF\xBB\xBF" // a byte-order mark
                            R"({"formatVersion": 99, "groups": [
        {"name": "", "rules": [1, null, {"featureName": "area_um", "propagationId": "{a}"}, [{}], {}]},
        7, null, [{"name": "inside a list"}],
        {"name": 5, "rules": {"featureName": "x"}},
        {"rules": []},
        {"name": "\ud800x", "ids": 3}]})";
    EXPECT_EQ(importFilterGroups(session, written(json)).status, "Imported 4 filter group(s).");
    // A lone surrogate has no UTF-8 form; the toolkit writes a question mark for it.
    EXPECT_EQ(names(), (std::vector<std::string>{"Imported group", "Imported group", "Imported group", "?x"}));
    EXPECT_EQ(session.findFilterGroup(0)->rules, (std::vector{rangeRule("area_um", 0, 0), FilterRule()}))
        << "rules of groups have no link";
    EXPECT_TRUE(session.findFilterGroup(1)->rules.empty());
}

TEST_F(GroupFileTest, ManyGroupsComeInOneStepButNotTooMany) {
    const auto repeated = [](const char* before, const char* entry, int count, const char* behind) {
        return before + QByteArray(entry).append(',').repeated(count - 1) + entry + behind;
    };
    QSignalSpy told(&session.notices(), &SessionNotices::groupsChanged);
    const QString full = written(repeated(R"({"groups": [)", R"({"name": "a"})", 10000, "]}"));
    EXPECT_EQ(importFilterGroups(session, full).status, "Imported 10000 filter group(s).");
    EXPECT_EQ(session.filterGroups().back()->id, 9999);
    EXPECT_EQ(told.size(), 1);
    const struct {
        const char* what;
        QByteArray fits;
        QByteArray tooMany;
    } cases[] = {
        {"groups", "{\"groups\": [{}]}", repeated(R"({"groups": [)", "{}", 10001, "]}")},
        {"rules", repeated(R"({"groups": [{}, {"rules": [)", "{}", 100000, "]}]}"),
         repeated(R"({"groups": [{}, {"rules": [{}]}, {"rules": [)", "{}", 100000, "]}]}")},
        {"corners", repeated(R"({"groups": [{"rules": [{"polygonVertices": [)", "[1,2]", 1000000, "]}]}]}"),
         repeated(R"({"groups": [{"rules": [{"polygonVertices": [[1,2]]},{"polygonVertices": [)", "[1,2]", 1000000,
                  "]}]}]}")},
        {"keys", repeated(R"({"groups": [{}], "more": [)", R"(":")", 4999998, "]}"),
         repeated(R"({"groups": [{}], "more": [)", R"(":")", 4999999, "]}")},
    };
    for (const auto& c : cases) {
        EXPECT_NE(importFilterGroups(session, written(c.fits)).status, "") << c.what;
        const std::size_t before = session.filterGroups().size();
        const QString path = written(c.tooMany);
        EXPECT_EQ(importFilterGroups(session, path).failure, "Failed to read file:\n" + path) << c.what;
        EXPECT_EQ(session.filterGroups().size(), before) << c.what;
    }
}

} // namespace
