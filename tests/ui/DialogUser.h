#pragma once

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <deque>

namespace Tessaly {

/// Answers the dialogs that come up while it lives, in the order of its answers, and notes what they said: titles of
/// file dialogs; title and text of boxes. A dialog that no answer is left for is closed.
class DialogUser {
public:
    DialogUser() {
        QObject::connect(&timer_, &QTimer::timeout, [this] { look(); });
        timer_.start(3);
    }

    DialogUser& file(const QString& name) { return add({name, QMessageBox::NoButton}); }
    DialogUser& press(QMessageBox::StandardButton button) { return add({{}, button}); }

    /// What was said since the last time. Every answer must have been asked for.
    QStringList takeSeen() {
        EXPECT_TRUE(answers_.empty()) << answers_.size() << " answers nobody asked for";
        answers_.clear();
        return std::exchange(seen_, {});
    }
    const QList<QMessageBox::StandardButton>& defaults() const { return defaults_; }

private:
    struct Answer {
        QString file;
        QMessageBox::StandardButton button = QMessageBox::NoButton;
    };

    DialogUser& add(const Answer& answer) {
        answers_.push_back(answer);
        return *this;
    }

    void look() {
        QWidget* modal = QApplication::activeModalWidget();
        auto* files = qobject_cast<QFileDialog*>(modal);
        auto* box = qobject_cast<QMessageBox*>(modal);
        if (!files && !box) {
            return;
        }
        Answer answer;
        if (!answers_.empty()) {
            answer = answers_.front();
            answers_.pop_front();
        }
        if (files) {
            seen_ << files->windowTitle();
            if (answer.file.isEmpty()) {
                files->reject();
            } else {
                files->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(answer.file);
                QMetaObject::invokeMethod(files, "accept", Qt::QueuedConnection); // it may ask a question of its own
            }
            return;
        }
        seen_ << box->windowTitle() + ": " + box->text();
        defaults_ << box->standardButton(box->defaultButton());
        EXPECT_EQ(box->textFormat() == Qt::AutoText && Qt::mightBeRichText(box->text()), false);
        if (QAbstractButton* button = box->button(answer.button)) {
            button->click();
        } else {
            EXPECT_EQ(answer.button, QMessageBox::NoButton) << box->windowTitle().toStdString() << " lacks the button";
            box->reject();
        }
    }

    QTimer timer_;
    std::deque<Answer> answers_;
    QStringList seen_;
    QList<QMessageBox::StandardButton> defaults_;
};

} // namespace Tessaly
