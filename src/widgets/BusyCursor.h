#pragma once

#include <QGuiApplication>

namespace Tessaly {

/// The mouse says "wait" while this lives. For work that keeps the window from answering; not over a dialog.
class BusyCursor {
public:
    BusyCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyCursor() { QGuiApplication::restoreOverrideCursor(); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};

} // namespace Tessaly
