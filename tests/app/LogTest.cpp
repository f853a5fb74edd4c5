#include "app/Log.h"

#include "io/VQDReader.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace Tessaly {
namespace {

const QMessageLogContext noContext;
int passedOn = 0;

void countMessages(QtMsgType, const QMessageLogContext&, const QString&) {
    ++passedOn;
}

/// Works in a folder of its own and puts the message handler back.
class LogTest : public ::testing::Test {
protected:
    LogTest() : workingDirectory_(QDir::currentPath()) { QDir::setCurrent(folder.path()); }
    ~LogTest() override {
        qInstallMessageHandler(nullptr);
        QDir::setCurrent(workingDirectory_);
    }

    void makeOldLogs(int count) {
        const QDateTime now = QDateTime::currentDateTime();
        for (int i = 0; i < count; ++i) {
            QFile file(oldName(i));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            // Age and name run against each other: age decides.
            ASSERT_TRUE(file.setFileTime(now.addDays(-1 - i), QFileDevice::FileModificationTime));
        }
    }
    static QString oldName(int age) { return QStringLiteral("Tessaly_log_old%1.txt").arg(age, 2, 10, QChar('0')); }
    static QStringList logs() { return QDir::current().entryList({"Tessaly_log_*.txt"}, QDir::Files, QDir::Name); }
    static QStringList recentLines() { return recentLogText().split('\n'); }

    const QTemporaryDir folder;

private:
    QString workingDirectory_;
};

TEST_F(LogTest, KeepsTheTenNewestOldLogs) {
    makeOldLogs(12);
    QFile other("Tessaly_notes.txt");
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    initLogging();
    EXPECT_EQ(logs().size(), 11);
    for (int age = 0; age < 12; ++age) {
        EXPECT_EQ(QFile::exists(oldName(age)), age < 10) << age;
    }
    EXPECT_TRUE(other.exists());
}

TEST_F(LogTest, ARunBeginsWithItsTime) {
    initLogging();
    ASSERT_EQ(logs().size(), 1);
    EXPECT_TRUE(QRegularExpression("^Tessaly_log_\\d{8}_\\d{6}\\.txt$").match(logs()[0]).hasMatch());
    QFile file(logs()[0]);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString time = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ";
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(QRegularExpression("^" + time + " \\[INFO \\] .* " + time + "\n$").match(text).hasMatch())
        << text.toStdString();
    EXPECT_TRUE(recentLogText().endsWith(text));
}

TEST_F(LogTest, LinesBearTheLevelInFiveCharacters) {
    qInstallMessageHandler(countMessages);
    initLogging();
    passedOn = 0;
    for (const auto& [type, word] :
         {std::pair{QtWarningMsg, "WARN "}, {QtFatalMsg, "FATAL"}, {QtMsgType(7), "?????"}}) {
        logMessageHandler(type, noContext, "µ is %1 and %2");
        const QString line = recentLines().at(recentLines().size() - 2);
        EXPECT_EQ(line.mid(21), QString("[") + word + "] µ is %1 and %2") << word;
    }
    EXPECT_EQ(passedOn, 3);
}

TEST_F(LogTest, HoldsTheTwoThousandNewestLines) {
    qInstallMessageHandler(countMessages);
    initLogging();
    for (int i = 0; i < 2100; ++i) {
        qDebug("line %d", i);
    }
    ASSERT_EQ(recentLines().size(), 2001); // the last is what stands behind the last newline
    EXPECT_TRUE(recentLines().front().endsWith("line 100"));
    EXPECT_TRUE(recentLogText().endsWith("line 2099\n"));
}

TEST_F(LogTest, LosesNoLineOfSeveralThreads) {
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    initLogging();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 100; ++i) {
                logMessageHandler(QtInfoMsg, noContext, QStringLiteral("thread %1 line %2 end").arg(t).arg(i));
                recentLogText();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QFile file(logs().at(0));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 100; ++i) {
            EXPECT_EQ(text.count(QStringLiteral("] thread %1 line %2 end\n").arg(t).arg(i)), 1);
        }
    }
}

TEST_F(LogTest, AFileThatCannotBeOpenedStopsNothing) {
    qInstallMessageHandler(countMessages);
    initLogging();
    for (const QString& name : logs()) {
        ASSERT_TRUE(QFile::remove(name) && QDir::current().mkdir(name)); // a folder in its place
    }
    qWarning("still in the ring");
    EXPECT_TRUE(recentLogText().endsWith("[WARN ] still in the ring\n"));
}

/// What the reader says on the standard error stream can't be seen by somebody who started the program from a menu.
TEST_F(LogTest, FailuresOfLowerLayersReachTheLogOnce) {
    qInstallMessageHandler(countMessages);
    initLogging();
    passedOn = 0;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(VQDReader().open(folder.filePath("100%1.vqd").toStdString()));
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_EQ(shown.find("Error opening file: "), 0U);
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 1);
    EXPECT_EQ(passedOn, 0); // the handler before ours would write it a second time
    const QString line = QStringLiteral("[WARN ] ") + QString::fromStdString(shown);
    EXPECT_TRUE(recentLogText().endsWith(line)) << recentLogText().toStdString();
    QFile file(logs()[0]);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().endsWith(line.toUtf8()));
}

} // namespace
} // namespace Tessaly
