#pragma once

#include <QByteArray>
#include <QObject>
#include <QSize>

class QMainWindow;
class QWidget;

namespace Tessaly {

struct MainPanels;

/// Shares the room of the main window out. The plot's canvas gets at least 40 % of the width: below that, docks and
/// event panel give way down to what they need. What the user sets by dragging holds again as soon as there is room.
/// Docks that were hidden come back in the proportions that they had.
class DockLayout : public QObject {
    Q_OBJECT

public:
    /// @param panels  of this window; they must outlive this object
    DockLayout(QMainWindow& window, const MainPanels& panels);

    /// Brings the first layout back: all docks in their first places, with their first shares of the room.
    void reset();

    /// The next (or previous) control for the keys is in view: the window's focusNextPrevChild() moves on while not.
    static bool isInView(const QWidget* widget);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void setLowerWidths();
    void shareWidth();
    void remember();
    void restore();
    void placeTabBar();
    int fixedWidth() const;
    double columnHeight() const;

    QMainWindow& window_;
    const MainPanels& panels_;
    /// What the user has set, or what is set at first.
    struct Shares {
        int datasetsWidth = 250;
        int rightWidth = 300;
        int eventWidth = 260;
        double statistics = 0.25; ///< of the right column's height
    };
    Shares shares_;
    bool restorePending_ = false;
    QByteArray firstState_; ///< of the window's docks
};

/// The wanted size of a window, or what the screen has room for. A screen that has no room for the window's minimum is
/// not taken into account.
/// @param available  of the screen, without the window's frame
QSize sizeOnScreen(const QSize& wanted, const QSize& minimum, const QSize& available);

} // namespace Tessaly
