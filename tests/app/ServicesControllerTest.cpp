#include "ui/services/ServicesController.h"

#include "services/FeedbackDialog.h"
#include "services/HelpWindow.h"
#include "support/LoopbackServer.h"
#include "support/ModalUser.h"
#include "ui/PlotFixture.h"

#include <QDesktopServices>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSettings>
#include <QTextBrowser>

#include <cmath>

namespace Tessaly {
namespace {

/// Catches what the program asks the desktop to open.
class PageCatcher : public QObject {
    Q_OBJECT

public:
    PageCatcher() {
        for (const char* scheme : {"https", "http", "file"}) {
            QDesktopServices::setUrlHandler(scheme, this, "take");
        }
    }
    ~PageCatcher() override {
        for (const char* scheme : {"https", "http", "file"}) {
            QDesktopServices::unsetUrlHandler(scheme);
        }
    }
    QStringList opened;

public slots:
    void take(const QUrl& url) { opened += url.toString(); }
};

class ServicesControllerTest : public PlotFixture {
protected:
    ServicesControllerTest() {
        QSettings().clear();
        deployment = {"3.1.93", server.url(), QUrl("https://default.example/page"), server.url("/upload/"), "key"};
        services = std::make_unique<ServicesController>(session, controller, &window, deployment);
    }

    void latestIs(const QByteArray& version, const QByteArray& more = "") {
        server.reply("200 OK", "{\"version\": \"" + version + "\"" + more + "}");
    }

    /// Checks and waits for the box. Null if the check ended without one.
    QMessageBox* check(bool silent) {
        const int before = server.hangUps;
        services->checkForUpdates(silent);
        EXPECT_TRUE(QTest::qWaitFor([&] { return openModal<QMessageBox>() || (silent && server.hangUps > before); }));
        QTest::qWait(silent ? 50 : 0);
        return openModal<QMessageBox>();
    }

    static void press(QMessageBox* box, const QString& text) {
        ASSERT_TRUE(box);
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == text) {
                QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        }
        FAIL() << "no button " << text.toStdString();
    }

    /// What the preview of a report shows.
    QString preview(const QString& title = {}, const QString& message = {}) {
        QString text;
        ModalUser<FeedbackDialog> user([&](FeedbackDialog& dialog) {
            text = dialog.findChild<QPlainTextEdit*>("feedbackPreview")->toPlainText();
            dialog.reject();
        });
        services->sendFeedback(title, message);
        return text;
    }

    LoopbackServer server;
    Deployment deployment;
    std::unique_ptr<ServicesController> services;
};

TEST_F(ServicesControllerTest, ManualChecksAnswerInWords) {
    latestIs("3.1.93");
    QMessageBox* box = check(false);
    ASSERT_TRUE(box);
    EXPECT_EQ(box->windowTitle(), "Check for Updates");
    EXPECT_EQ(box->text(), "You are running the latest version of Tessaly (3.1.93).");
    EXPECT_EQ(box->icon(), QMessageBox::Information);
    box->close();
    EXPECT_EQ(check(true), nullptr);

    latestIs("abc");
    box = check(false);
    ASSERT_TRUE(box);
    EXPECT_EQ(box->windowTitle(), "Check for Updates");
    EXPECT_EQ(box->text(), "Could not check for updates.\n\nThe server returned an unrecognized version string.");
    EXPECT_EQ(box->icon(), QMessageBox::Warning);
    box->close();
    EXPECT_EQ(check(true), nullptr);
}

TEST_F(ServicesControllerTest, ANewerVersionIsToldUntilItIsIgnored) {
    PageCatcher desktop;
    latestIs("3.2", R"(, "url": "https://a.example/get", "notes": "<b>Faster</b>")");
    QMessageBox* box = check(true);
    ASSERT_TRUE(box);
    EXPECT_EQ(box->windowTitle(), "Update Available");
    EXPECT_EQ(box->textFormat(), Qt::PlainText);
    EXPECT_EQ(box->text(), "A newer version of Tessaly is available.\n\nInstalled: 3.1.93\nLatest: 3.2\n\n"
                           "What's new:\n<b>Faster</b>");
    press(box, "Open Downloads...");
    EXPECT_EQ(desktop.opened, QStringList{"https://a.example/get"});
    press(check(true), "Later");
    press(check(true), "Ignore This Version");
    EXPECT_EQ(QSettings().value("updates/ignoredVersion").toString(), "3.2");
    EXPECT_EQ(check(true), nullptr);
    press(check(false), "Later"); // asked for, it is told all the same

    latestIs("3.3");
    box = check(true);
    ASSERT_TRUE(box);
    EXPECT_EQ(box->text(), "A newer version of Tessaly is available.\n\nInstalled: 3.1.93\nLatest: 3.3");
    QTest::keyClick(box, Qt::Key_Escape);
    EXPECT_EQ(QSettings().value("updates/ignoredVersion").toString(), "3.2");
    EXPECT_EQ(desktop.opened.size(), 1);

    latestIs("3.4", ", \"notes\": \"" + QByteArray("line\\n").repeated(5000) + "\"");
    box = check(false);
    ASSERT_TRUE(box);
    EXPECT_LT(box->text().size(), 2000);
    EXPECT_TRUE(box->text().endsWith("…"));
    box->close();
}

TEST_F(ServicesControllerTest, OnlySecurePagesAreOpened) {
    PageCatcher desktop;
    for (const char* page : {"http://a.example/get", "file:///etc/passwd", "javascript:alert(1)", "https:///x", ""}) {
        latestIs("9.0", ", \"url\": \"" + QByteArray(page) + "\"");
        press(check(false), "Open Downloads...");
        EXPECT_EQ(desktop.opened, QStringList()) << page;
        QMessageBox* box = openModal<QMessageBox>();
        ASSERT_TRUE(box) << page;
        EXPECT_TRUE(box->text().contains("secure")) << page;
        box->close();
        QApplication::processEvents();
    }
}

TEST_F(ServicesControllerTest, TheSettingOfTheStartIsOnUntilItIsSwitchedOff) {
    EXPECT_TRUE(ServicesController::checksOnStartup());
    ServicesController::setChecksOnStartup(false);
    EXPECT_FALSE(ServicesController::checksOnStartup());
    EXPECT_EQ(QSettings().value("updates/checkOnStartup"), false);
}

TEST_F(ServicesControllerTest, AReportCarriesNeitherPathsNorNames) {
    SampleFileOptions options;
    options.sample = "MARKED sample";
    options.textAttributes = {{"export:changed sample name", "MARKED other"}, {"setup:medium", "a medium"}};
    DatasetEntry& first = add(options, true);
    first.filePath = folder.file("MARKED folder/MARKED run.vqd");
    session.rename(first.id, "MARKED dataset");
    const int gone = first.id;
    options.sample = "MARKED second";
    DatasetEntry& second = add(options, true);
    second.filePath = "/else/where MARKED/two.vqd";
    session.rename(second.id, "MARKED kept");
    session.remove(gone); // still known

    QString log = "[WARN ] Failed to open \"" + QString::fromStdString(folder.file("MARKED folder/MARKED run.vqd")) +
                  "\"\n[WARN ] of \"MARKED dataset\" and MARKED kept: MARKED sample, MARKED other.\n"
                  "[WARN ] Error writing video '/else/where MARKED/three.avi': no room\n"
                  "[WARN ] /nobody/told of MARKED/x.vqd is damaged\n[INFO ] kept line\n";
    services->setRecentLog([&] { return log; });
    const QString text = preview("MARKED kept failed", "cannot read /else/where MARKED/two.vqd of MARKED second");
    EXPECT_FALSE(text.contains("MARKED")) << text.toStdString();
    EXPECT_FALSE(text.contains("where") || text.contains(QString::fromStdString(folder.path().string())))
        << text.toStdString();
    EXPECT_TRUE(text.contains("Title: <name> failed\nMessage: cannot read <path> of <name>\n")) << text.toStdString();
    EXPECT_TRUE(text.contains("Datasets: 1\n\n--- Dataset 1 ---\nEvents: 100\nLoaded: yes\n[experiment]\n"));
    EXPECT_TRUE(text.contains("  medium: a medium\n"));
    EXPECT_TRUE(text.contains("Failed to open \"<path>\"\n[WARN ] of \"<name>\" and <name>: <name>, <name>.\n"));
    EXPECT_TRUE(text.contains("'<path>': no room\n[WARN ] <path> is damaged\n[INFO ] kept line\n"));
}

TEST_F(ServicesControllerTest, AReportTellsWhetherThePlotIsReduced) {
    EXPECT_TRUE(preview().contains("=== Session ===\nDatasets: 0\n\n\n=== Log ===\n(log is empty)"));
    add({{"area_um", {1, 2, 3}}, {"deform", {1, 2, std::nan("")}}});
    session.setActive(0);
    QApplication::processEvents();
    EXPECT_TRUE(preview().contains("Datasets: 1\nGlobal filter: active\n"));
    EXPECT_FALSE(preview().contains("=== Error ==="));
}

TEST_F(ServicesControllerTest, TheHelpKeyOpensTheManualAtThePageOfTheFocus) {
    const auto manuals = [] {
        QList<HelpWindow*> found;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* manual = qobject_cast<HelpWindow*>(widget)) {
                found += manual;
            }
        }
        return found;
    };
    // Where the program's folder has no manual the build's is taken.
    ASSERT_TRUE(manuals().isEmpty());
    QWidget tool; // a window of its own, as the tool windows are
    tool.setObjectName("imageGalleryWindow");
    auto* field = new QLineEdit(&tool);
    tool.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&tool));
    field->setFocus();
    QTest::keyClick(field, Qt::Key_F1);
    ASSERT_EQ(manuals().size(), 1);
    const auto page = [](QWidget* manual) { return manual->findChild<QTextBrowser*>("helpBrowser")->source(); };
    EXPECT_EQ(page(manuals()[0]).fileName(), "gallery.html");
    QTest::keyClick(manuals()[0], Qt::Key_F1); // the manual has no page on itself
    services->openManual();
    ASSERT_EQ(manuals().size(), 2);
    for (HelpWindow* manual : manuals()) {
        EXPECT_TRUE(manual->testAttribute(Qt::WA_DeleteOnClose));
        EXPECT_EQ(manual->parentWidget(), &window);
        manual->close();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(manuals().isEmpty());
    field->setFocus();
    QTest::keyClick(field, Qt::Key_F1, Qt::ShiftModifier);
    EXPECT_TRUE(manuals().isEmpty());
}

} // namespace
} // namespace Tessaly

#include "ServicesControllerTest.moc"
