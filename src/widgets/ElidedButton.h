#pragma once

#include <QPushButton>

namespace Tessaly {

/// A button that gives way where there is little room: its text is then shortened in the middle. text() stays whole,
/// and the accessible name says all of it.
class ElidedButton : public QPushButton {
public:
    using QPushButton::QPushButton;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Tessaly
