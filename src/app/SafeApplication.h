#pragma once

#include <QApplication>

namespace Tessaly {

/// The application object with the program's one catch-all: an exception that a slot or event handler lets escape is
/// logged and reported, and the event loop goes on.
class SafeApplication : public QApplication {
    Q_OBJECT

public:
    SafeApplication(int& argc, char** argv);

    /// Delivers an event. False if the delivery ended with an exception.
    bool notify(QObject* receiver, QEvent* event) override;

signals:
    /// To be connected with a queued connection, so that no dialog opens inside the failed event's delivery.
    void unhandledException(QString title, QString message);
};

} // namespace Tessaly
