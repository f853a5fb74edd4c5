#pragma once

#include <QApplication>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <utility>

namespace Tessaly {

/// Uses the next modal dialog of a kind as soon as it stands, once. Needed where the dialog is run in a call.
template <class Dialog>
class ModalUser {
public:
    explicit ModalUser(std::function<void(Dialog&)> use) : use_(std::move(use)) {
        QObject::connect(&timer_, &QTimer::timeout, [this] { look(); });
        timer_.start(5);
    }

    bool done() const { return done_; }

private:
    void look() {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (dialog && dialog->isVisible() && !done_) {
            done_ = true;
            timer_.stop();
            use_(*dialog);
        }
    }

    std::function<void(Dialog&)> use_;
    QTimer timer_;
    bool done_ = false;
};

/// The modal widget of a kind that stands now, or null.
template <class Dialog>
Dialog* openModal() {
    return qobject_cast<Dialog*>(QApplication::activeModalWidget());
}

} // namespace Tessaly
