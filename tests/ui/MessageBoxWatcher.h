#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <utility>
#include <vector>

namespace Tessaly {

/// Answers message boxes while it lives and remembers what they said.
class MessageBoxWatcher {
public:
    struct Seen {
        QString title;
        QString text;
        Qt::TextFormat format = Qt::AutoText;
    };

    explicit MessageBoxWatcher(QMessageBox::StandardButton answer = QMessageBox::NoButton) : answer_(answer) {
        QObject::connect(&timer_, &QTimer::timeout, [this] { look(); });
        timer_.start(10);
    }

    const std::vector<Seen>& seen() const { return seen_; }

private:
    void look() {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) {
            return;
        }
        seen_.push_back({box->windowTitle(), box->text(), box->textFormat()});
        if (QAbstractButton* button = box->button(answer_)) {
            button->click();
        } else {
            box->close();
        }
    }

    QMessageBox::StandardButton answer_;
    QTimer timer_;
    std::vector<Seen> seen_;
};

} // namespace Tessaly
