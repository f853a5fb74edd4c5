#include "app/SafeApplication.h"

#include "app/Log.h"
#include "app/Startup.h"
#include "io/Hdf5Library.h"
#include "services/FeedbackDialog.h"
#include "support/ModalUser.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "ui/MainWindow.h"

#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

namespace Tessaly {
namespace {

SafeApplication& application() {
    return *static_cast<SafeApplication*>(qApp);
}

/// Runs a function from the event loop, as a slot would run.
void runInLoop(const std::function<void()>& action) {
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, action);
    timer.start(0);
    while (timer.isActive()) {
        QCoreApplication::processEvents();
    }
}

TEST(SafeApplicationTest, CatchesWhatASlotLetsEscape) {
    struct Case {
        std::function<void()> action;
        QString title;
        QString message;
        QString logged;
    };
    const Case cases[] = {
        {[] { throw FileError("H5Dopen2: no such object"); }, "File / Data Error", "H5Dopen2: no such object",
         "Unhandled HDF5 exception: H5Dopen2: no such object"},
        {[] { throw std::out_of_range("index 7"); }, "Unexpected Error", "index 7", "Unhandled exception: index 7"},
        {[] { throw 42; }, "Unexpected Error", "An unknown error occurred.", "Unhandled non-standard exception"},
    };
    const QtMessageHandler before = qInstallMessageHandler(logMessageHandler);
    for (const Case& c : cases) {
        QSignalSpy reports(&application(), &SafeApplication::unhandledException);
        runInLoop(c.action);
        ASSERT_EQ(reports.count(), 1) << c.title.toStdString();
        EXPECT_EQ(reports[0][0].toString(), c.title);
        EXPECT_EQ(reports[0][1].toString(), c.message);
        EXPECT_TRUE(recentLogText().endsWith("[ERROR] " + c.logged + "\n")) << recentLogText().right(200).toStdString();
    }
    qInstallMessageHandler(before);
}

/// An event handler that throws, to see what sending reports.
class Thrower : public QObject {
public:
    bool event(QEvent*) override { throw std::runtime_error("event"); }
};

TEST(SafeApplicationTest, AFailedDeliveryIsNotDelivered) {
    Thrower thrower;
    QEvent event(QEvent::User);
    EXPECT_FALSE(QCoreApplication::sendEvent(&thrower, &event));
}

TEST(SafeApplicationTest, OneDialogAtATimeTellsOfExceptions) {
    MainWindow window;
    connectExceptionReports(application(), window);
    int dialogs = 0;
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) {
            return;
        }
        ++dialogs;
        EXPECT_TRUE(box->text().startsWith("An unexpected error occurred:\n\nfirst"));
        answer.stop();
        // A second fault while the dialog is up is dropped.
        runInLoop([] { throw std::runtime_error("second"); });
        QCoreApplication::processEvents();
        EXPECT_EQ(QApplication::activeModalWidget(), box);
        for (QAbstractButton* button : box->buttons()) {
            if (button->text().remove('&') == "Close") {
                button->click();
            }
        }
    });
    answer.start(5);
    runInLoop([] { throw std::runtime_error("first"); });
    for (int i = 0; i < 20; ++i) {
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(dialogs, 1);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST(SafeApplicationTest, AReportOfAnExceptionTellsItAndTheRecentLog) {
    MainWindow window;
    connectExceptionReports(application(), window);
    const QtMessageHandler before = qInstallMessageHandler(logMessageHandler);
    qWarning("damaged: /some/where/MARKED.vqd");
    ModalUser<QMessageBox> asked([](QMessageBox& box) {
        EXPECT_EQ(box.windowTitle(), "Unexpected Error");
        EXPECT_EQ(box.text(),
                  "An unexpected error occurred:\n\nit broke\n\nYou can send a diagnostic report to help us "
                  "fix this.");
        for (QAbstractButton* button : box.buttons()) {
            if (button->text() == "Send Feedback...") {
                QTest::mouseClick(button, Qt::LeftButton);
            }
        }
    });
    QString report;
    ModalUser<FeedbackDialog> shown([&](FeedbackDialog& dialog) {
        report = dialog.findChild<QPlainTextEdit*>("feedbackPreview")->toPlainText();
        dialog.reject();
    });
    runInLoop([] { throw std::runtime_error("it broke"); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown.done(); }));
    QCoreApplication::processEvents();
    qInstallMessageHandler(before);
    EXPECT_TRUE(report.contains("[WARN ] damaged: <path>\n")) << report.toStdString();
    EXPECT_TRUE(report.contains("=== Error ===\nTitle: Unexpected Error\nMessage: it broke\n")) << report.toStdString();
    EXPECT_TRUE(report.contains("Unhandled exception: it broke\n"));
}

TEST(StartupTest, FilesAndFoldersAmongTheArgumentsAreOpened) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.path() / "more");
    writeSampleFile(folder.file("one.vqd"), {});
    writeSampleFile((folder.path() / "more/two.vqd").string(), {});
    MainWindow window;
    window.show();
    openNamedFiles(window, {"--help", "no such file.vqd", QString::fromStdString(folder.file("one.vqd")),
                            QString::fromStdString((folder.path() / "more").string())});
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return window.datasets().size() == 2 && window.datasets()[0]->featuresLoaded &&
                   window.datasets()[1]->featuresLoaded;
        },
        20000));
    openNamedFiles(window, {"-x", ""});
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

} // namespace
} // namespace Tessaly
