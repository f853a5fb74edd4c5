#include "services/UpdateChecker.h"

#include "support/LoopbackServer.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace Tessaly {
namespace {

const char Unreadable[] = "Could not read version information from the server.";
const char Unrecognized[] = "The server returned an unrecognized version string.";

class UpdateCheckerTest : public testing::Test {
protected:
    /// What a check has told, in one text; "nothing" if it ended without a word.
    QString told(LoopbackServer& server, bool silent) {
        Deployment deployment;
        deployment.version = "3.1.93";
        deployment.updateFile = server.url();
        deployment.downloadPage = QUrl("https://default.example/page");
        UpdateChecker checker(deployment);
        QString words;
        listen(checker, words);
        const int before = server.hangUps;
        checker.check(silent);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !words.isEmpty() || (silent && server.hangUps > before); }, 20000));
        QTest::qWait(silent ? 50 : 0); // what is still to come would come now
        return words.isEmpty() ? "nothing" : words;
    }

    static void listen(UpdateChecker& checker, QString& words) {
        QObject::connect(&checker, &UpdateChecker::updateAvailable, &checker,
                         [&](const QString& version, const QString& url, const QString& notes) {
                             words += "available " + version + "|" + url + "|" + notes;
                         });
        QObject::connect(&checker, &UpdateChecker::upToDate, &checker,
                         [&](const QString& version) { words += "latest " + version; });
        QObject::connect(&checker, &UpdateChecker::checkFailed, &checker,
                         [&](const QString& why) { words += "failed " + why; });
    }
};

TEST_F(UpdateCheckerTest, TellsWhatTheFileSays) {
    const struct {
        const char* body;
        const char* manual;
        bool newer;
    } cases[] = {
        {R"({"version": "3.1.94"})", "available 3.1.94|https://default.example/page|", true},
        {R"({"version": "3.2", "url": "https://a.example/x", "notes": "<b>new</b>"})",
         "available 3.2|https://a.example/x|<b>new</b>", true},
        {R"({"version": "3.1.100"})", "available 3.1.100|https://default.example/page|", true}, // not by text order
        {R"({"version": "10.0.0"})", "available 10.0.0|https://default.example/page|", true},
        {R"({"version": "3.1.93"})", "latest 3.1.93", false},
        {R"({"version": "3.1.9"})", "latest 3.1.93", false},
        {R"({"version": "2.9.99"})", "latest 3.1.93", false},
        {R"({"version": "abc"})", Unrecognized, false},
        {R"({"version": ""})", Unrecognized, false},
        {R"({"version": 4})", Unrecognized, false},
        {R"({})", Unrecognized, false},
        {R"(["3.2"])", Unreadable, false},
        {R"({"version": "3.2")", Unreadable, false},
        {"<html>Log in first</html>", Unreadable, false},
        {"", Unreadable, false},
    };
    LoopbackServer server;
    for (const auto& row : cases) {
        server.reply("200 OK", row.body);
        QString expected = row.manual;
        if (expected == Unreadable || expected == Unrecognized) {
            expected.prepend("failed ");
        }
        EXPECT_EQ(told(server, false), expected) << row.body;
        EXPECT_EQ(told(server, true), row.newer ? expected : "nothing") << row.body;
    }
    EXPECT_EQ(server.requests.front().line, "GET /file.json HTTP/1.1");
    EXPECT_EQ(server.requests.front().headers.value("user-agent"), "Tessaly/3.1.93");
}

TEST_F(UpdateCheckerTest, FailuresOfTheNetworkAreToldInAManualCheckOnly) {
    LoopbackServer server;
    const auto expectFailure = [&](const QString& part) {
        const QString words = told(server, false);
        EXPECT_TRUE(words.startsWith("failed ") && words.contains(part)) << words.toStdString();
        EXPECT_EQ(told(server, true), "nothing");
    };
    server.reply("404 Not Found", R"({"version": "9.0"})");
    expectFailure("Not Found");
    server.reply("500 Internal Server Error", "");
    expectFailure("Internal Server Error");
    server.setAnswer([](QTcpSocket& socket) { socket.abort(); });
    expectFailure("closed");
}

TEST_F(UpdateCheckerTest, FollowsRedirectionsToSecurePlacesOnly) {
    const LoopbackIdentity identity;
    LoopbackServer front(&identity);
    LoopbackServer secure(&identity);
    LoopbackServer plain;
    secure.reply("200 OK", R"({"version": "4.0"})");
    plain.reply("200 OK", R"({"version": "5.0"})");

    front.redirectTo(secure.url("/moved.json"));
    EXPECT_EQ(told(front, false), "available 4.0|https://default.example/page|");
    EXPECT_EQ(secure.requests.at(0).line, "GET /moved.json HTTP/1.1");

    front.redirectTo(plain.url());
    EXPECT_TRUE(told(front, false).startsWith("failed "));
    EXPECT_EQ(told(front, true), "nothing");
    EXPECT_EQ(plain.connections, 0);
}

TEST_F(UpdateCheckerTest, AServerThatNobodyVouchesForIsRefused) {
    auto identity = std::make_unique<LoopbackIdentity>();
    LoopbackServer server(identity.get());
    server.reply("200 OK", R"({"version": "4.0"})");
    identity.reset(); // no longer trusted
    EXPECT_TRUE(told(server, false).startsWith("failed "));
    EXPECT_TRUE(server.requests.empty());
}

TEST_F(UpdateCheckerTest, ABodyWithoutEndIsCutOff) {
    LoopbackServer server;
    server.send(qint64{1} << 30);
    EXPECT_EQ(told(server, false), QString("failed ") + Unreadable);
    // One megabyte is read; the rest are the buffers of two sockets.
    EXPECT_LT(server.sent, qint64{32} << 20);
    EXPECT_EQ(told(server, true), "nothing");

    // Up to the limit a file counts, beyond it doesn't.
    const QByteArray file = R"({"version": "4.0"})";
    server.reply("200 OK", file + QByteArray((1 << 20) - file.size(), ' '));
    EXPECT_TRUE(told(server, false).startsWith("available 4.0"));
    server.reply("200 OK", file + QByteArray((1 << 20) + 1 - file.size(), ' '));
    EXPECT_EQ(told(server, false), QString("failed ") + Unreadable);
}

TEST_F(UpdateCheckerTest, ANewCheckTakesThePlaceOfOneThatHangsAndEndsWithTheChecker) {
    LoopbackServer server;
    server.stall();
    auto checker = std::make_unique<UpdateChecker>(Deployment{"3.1.93", server.url(), {}, {}, {}});
    QString words;
    listen(*checker, words);
    checker->check(true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.requests.size() == 1; }));
    server.reply("200 OK", R"({"version": "3.1.93"})");
    checker->check(false);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !words.isEmpty(); }));
    EXPECT_EQ(words, "latest 3.1.93");

    server.stall();
    checker->check(false);
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.requests.size() == 3; }));
    checker.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.hangUps == server.connections; }));
    EXPECT_EQ(words, "latest 3.1.93");
}

TEST_F(UpdateCheckerTest, WithoutAServerAManualCheckSaysSo) {
    for (const char* address : {"https://updates.tessaly.invalid/x.json", "https:///x.json", "https://invalid/x"}) {
        UpdateChecker checker({"3.1.93", QUrl(address), {}, {}, {}});
        QString words;
        listen(checker, words);
        checker.check(true);
        EXPECT_EQ(words, "") << address;
        checker.check(false);
        EXPECT_EQ(words, "failed No update server is configured in this build.") << address;
    }
    EXPECT_TRUE(isConfigured(QUrl("https://invalid.example/x")));
    EXPECT_EQ(builtInDeployment().version, "3.1.93");
}

} // namespace
} // namespace Tessaly
