#include "widgets/SaveFileDialog.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <utility>

namespace Tessaly {
namespace {

const char* const Filters = "PNG Images (*.png);;JPEG Images (*.jpg);;All Files (*)";

struct Answer {
    QString result;
    QStringList questions;
};

/// Types a name into the dialog, chooses a filter, and answers what is asked then.
Answer ask(const QString& typed, const QString& filter, QMessageBox::StandardButton reply) {
    Answer answer;
    QTimer timer;
    bool accepted = false;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            EXPECT_EQ(dialog->windowTitle(), "Save Image");
            if (typed.isEmpty()) {
                dialog->reject();
                return;
            }
            if (std::exchange(accepted, true)) {
                return;
            }
            dialog->selectNameFilter(filter);
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(typed);
            // Not from within the timer, which would keep quiet while the dialog asks.
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            answer.questions << box->text();
            box->button(reply)->click();
        }
    });
    timer.start(5);
    answer.result = askSaveFileName(nullptr, "Save Image", Filters);
    return answer;
}

TEST(SaveFileDialog, NamesGetTheSuffixOfTheFilterAndFilesAreReplacedOnlyOnDemand) {
    const QTemporaryDir folder;
    for (const char* name : {"taken.png", "a<b>.jpg"}) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const QString png = "PNG Images (*.png)";
    const QString jpeg = "JPEG Images (*.jpg)";
    const QString all = "All Files (*)";
    const struct {
        const char* typed;
        QString filter;
        QMessageBox::StandardButton reply;
        const char* result; // null: nothing chosen
        int questions;
    } rows[] = {
        {"cell", png, QMessageBox::No, "cell.png", 0},        {"gap 0.5", jpeg, QMessageBox::No, "gap 0.5.jpg", 0},
        {"cell.bmp", png, QMessageBox::No, "cell.bmp", 0},    {"cell", all, QMessageBox::No, "cell", 0},
        {"taken", png, QMessageBox::Yes, "taken.png", 1},     {"taken", png, QMessageBox::No, nullptr, 1},
        {"taken.png", png, QMessageBox::Yes, "taken.png", 1}, // the dialog's own question, and no second one
        {"a<b>", jpeg, QMessageBox::Yes, "a<b>.jpg", 1}};
    for (const auto& row : rows) {
        const Answer answer = ask(folder.filePath(row.typed), row.filter, row.reply);
        EXPECT_EQ(answer.result, row.result ? folder.filePath(row.result) : QString()) << row.typed;
        ASSERT_EQ(answer.questions.size(), row.questions) << row.typed;
        if (row.questions > 0 && row.result) {
            EXPECT_TRUE(answer.questions[0].startsWith(QString(row.result) + " already exists.")) << row.typed;
        }
    }
    EXPECT_TRUE(ask({}, png, QMessageBox::Yes).result.isEmpty());
}

} // namespace
} // namespace Tessaly
