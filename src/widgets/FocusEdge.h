#pragma once

#include <QWidget>

namespace Tessaly {

/// A coloured line round a widget while it has the keyboard's focus, for widgets whose style shows none. It lies over
/// the widget, takes no room, and lets the mouse through.
class FocusEdge : public QWidget {
public:
    /// Belongs to the widget.
    explicit FocusEdge(QWidget* focused);

    bool eventFilter(QObject* object, QEvent* event) override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void follow();
};

} // namespace Tessaly
