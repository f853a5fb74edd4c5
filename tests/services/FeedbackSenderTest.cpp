#include "services/FeedbackSender.h"

#include "services/FeedbackDialog.h"
#include "support/LoopbackServer.h"
#include "support/ModalUser.h"

#include <QClipboard>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace Tessaly {
namespace {

const QByteArray Key(43, 'k');

class FeedbackSenderTest : public testing::Test {
protected:
    void SetUp() override {
        window.show();
        QGuiApplication::clipboard()->clear();
    }

    void connectTo(const QUrl& address) {
        sender = std::make_unique<FeedbackSender>(Deployment{"3.1.93", {}, {}, address, Key}, [this] { return log; });
    }

    /// Runs the dialog, types a comment and sends.
    void send(const QString& comment = "  it was <so>  ") {
        ModalUser<FeedbackDialog> user([&](FeedbackDialog& dialog) {
            QTest::keyClicks(dialog.findChild<QPlainTextEdit*>("feedbackComment"), comment);
            log += "newer\n";
            QTest::mouseClick(dialog.findChild<QPushButton*>("feedbackSendButton"), Qt::LeftButton);
        });
        sender->send("3.1.93", "Datasets: 0\n", "Oops", "<it> broke", &window);
        EXPECT_TRUE(user.done());
    }

    /// The box that tells how the upload went; waits for it.
    QMessageBox* box() {
        EXPECT_TRUE(QTest::qWaitFor([] { return openModal<QMessageBox>() != nullptr; }, 20000));
        EXPECT_EQ(window.findChild<QProgressDialog*>("feedbackProgress"), nullptr);
        return openModal<QMessageBox>();
    }

    void expectFailure(const QString& part) {
        send();
        QMessageBox* shown = box();
        ASSERT_TRUE(shown);
        EXPECT_EQ(shown->windowTitle(), "Feedback Failed");
        EXPECT_EQ(shown->icon(), QMessageBox::Warning);
        EXPECT_EQ(shown->textFormat(), Qt::PlainText);
        EXPECT_TRUE(shown->text().startsWith("Could not send feedback.\n\n")) << shown->text().toStdString();
        EXPECT_TRUE(shown->text().contains(part)) << shown->text().toStdString();
        QTest::mouseClick(shown->button(QMessageBox::Ok), Qt::LeftButton);
        EXPECT_EQ(openModal<QMessageBox>(), nullptr);
    }

    QWidget window;
    QString log = "old\n";
    std::unique_ptr<FeedbackSender> sender;
};

TEST_F(FeedbackSenderTest, SendsWhatWasShownWithTheCommentAndTheNewestLog) {
    const LoopbackIdentity identity;
    LoopbackServer server(&identity);
    server.reply("200 OK", "thanks");
    connectTo(server.url("/upload/"));
    send();
    QMessageBox* shown = box();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->windowTitle(), "Feedback Sent");
    EXPECT_EQ(shown->icon(), QMessageBox::Information);
    EXPECT_EQ(shown->text(), "Thank you! Your report has been sent to Orvane support.");
    shown->close();
    ASSERT_EQ(server.requests.size(), 1U);
    const LoopbackServer::Request& request = server.requests.front();
    EXPECT_EQ(request.line, "PUT /upload/ HTTP/1.1");
    EXPECT_EQ(request.headers.value("x-api-key"), Key);
    EXPECT_EQ(request.headers.value("x-version"), "3.1.93");
    EXPECT_EQ(request.headers.value("x-setup-id"), "Tessaly");
    EXPECT_EQ(request.headers.value("content-type"), "text/plain");
    const QString report = QString::fromUtf8(request.body);
    EXPECT_TRUE(report.contains("Title: Oops\nMessage: <it> broke\n\n=== User Comment ===\nit was <so>\n\n"))
        << report.toStdString();
    EXPECT_TRUE(report.endsWith("=== Log ===\nold\nnewer\n"));
}

TEST_F(FeedbackSenderTest, TheDialogShowsTheWholeReportAndCancelSendsNothing) {
    LoopbackServer server;
    connectTo(server.url());
    ModalUser<FeedbackDialog> user([&](FeedbackDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Send Feedback to Orvane Support");
        EXPECT_EQ(dialog.size(), QSize(640, 540));
        EXPECT_EQ(dialog.findChild<QLabel*>("feedbackErrorLabel")->text(),
                  "<b>Error:</b> A &amp; B<br>&lt;it&gt; broke");
        auto* preview = dialog.findChild<QPlainTextEdit*>("feedbackPreview");
        EXPECT_TRUE(preview->toPlainText().contains("Title: A & B\nMessage: <it> broke\n\n=== Session ==="));
        EXPECT_TRUE(preview->toPlainText().endsWith("=== Log ===\nold\n"));
        EXPECT_TRUE(preview->isReadOnly());
        auto* comment = dialog.findChild<QPlainTextEdit*>("feedbackComment");
        EXPECT_EQ(comment->placeholderText(), "Describe what happened or what you expected...");
        EXPECT_EQ(comment->maximumHeight(), 100);
        EXPECT_TRUE(comment->hasFocus());
        QHash<QString, QWidget*> fields; // by their labels
        for (const QLabel* label : dialog.findChildren<QLabel*>()) {
            EXPECT_TRUE(label->buddy() || label->wordWrap()) << label->text().toStdString();
            fields[label->text()] = label->buddy();
        }
        EXPECT_EQ(fields["Your comment (optional):"], comment);
        EXPECT_EQ(fields["Preview of data to be sent:"], preview);
        QTest::keyClick(comment, Qt::Key_Escape);
    });
    sender->send("3.1.93", "", "A & B", "<it> broke", &window);
    EXPECT_TRUE(user.done());
    EXPECT_EQ(window.findChild<QProgressDialog*>("feedbackProgress"), nullptr);
    EXPECT_EQ(server.connections, 0);

    FeedbackDialog plain({}, {}, "preview", nullptr);
    EXPECT_EQ(plain.findChild<QLabel*>("feedbackErrorLabel"), nullptr);
}

TEST_F(FeedbackSenderTest, AFailureTellsWhyAndTheReportCanBeCopied) {
    LoopbackServer elsewhere;
    LoopbackServer server;
    connectTo(server.url());
    server.reply("500 Internal Server Error", "");
    expectFailure("Internal Server Error");
    server.setAnswer([](QTcpSocket& socket) { socket.abort(); });
    expectFailure("closed");
    // Neither the key nor the report goes anywhere else, and a report that was sent on is none that was taken.
    for (const char* status : {"302 Found", "307 Temporary Redirect"}) {
        server.reply(status, {}, "Location: " + elsewhere.url().toEncoded() + "\r\n");
        expectFailure("another address");
    }
    EXPECT_EQ(elsewhere.connections, 0);

    send("dear me");
    QMessageBox* shown = box();
    ASSERT_TRUE(shown);
    for (QAbstractButton* button : shown->buttons()) {
        if (button->text() == "Copy Report") {
            QTest::mouseClick(button, Qt::LeftButton);
            break;
        }
    }
    EXPECT_TRUE(QGuiApplication::clipboard()->text().contains("=== User Comment ===\ndear me\n"));
}

TEST_F(FeedbackSenderTest, AnUploadCanBeCancelledAndEndsWithTheSender) {
    LoopbackServer server;
    server.stall();
    connectTo(server.url());
    const auto progress = [this] { return window.findChild<QProgressDialog*>("feedbackProgress"); };
    const auto started = [&](std::size_t count) {
        send();
        EXPECT_TRUE(QTest::qWaitFor([&] { return server.requests.size() == count; }));
        ASSERT_TRUE(progress());
        EXPECT_EQ(progress()->windowModality(), Qt::WindowModal);
        EXPECT_EQ(progress()->labelText(), "Sending feedback...");
        EXPECT_EQ(progress()->maximum(), 0);
    };
    started(1);
    {
        ModalUser<FeedbackDialog> second([](FeedbackDialog& dialog) { dialog.reject(); });
        sender->send("3.1.93", "", "again", "", &window);
        EXPECT_FALSE(second.done()); // one at a time
    }
    QTest::mouseClick(progress()->findChild<QPushButton*>(), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.hangUps == 1 && !progress(); }));
    EXPECT_EQ(openModal<QMessageBox>(), nullptr);

    started(2);
    sender.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.hangUps == 2; }));
    EXPECT_EQ(progress(), nullptr);
    EXPECT_EQ(openModal<QMessageBox>(), nullptr);
}

TEST_F(FeedbackSenderTest, WithoutAServerItSaysSoAndTheReportCanStillBeCopied) {
    connectTo(QUrl("https://support.tessaly.invalid/upload/"));
    expectFailure("No support server is configured in this build.");
}

} // namespace
} // namespace Tessaly
