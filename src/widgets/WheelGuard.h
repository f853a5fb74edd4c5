#pragma once

#include <QObject>

class QCoreApplication;

namespace Tessaly {

/// Keeps the wheel from changing combo and spin boxes that merely lie under the pointer: a box reacts once it has the
/// focus, which the wheel doesn't give it. Until then the wheel goes to what the box lies in, which may scroll.
class WheelGuard : public QObject {
    Q_OBJECT

public:
    /// Guards all boxes of the application from now on. A second call does nothing.
    static void install(QCoreApplication& application);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    using QObject::QObject;
};

} // namespace Tessaly
