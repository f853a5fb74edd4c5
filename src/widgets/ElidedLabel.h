#pragma once

#include <QLabel>

namespace Tessaly {

/// One line of plain text that is shortened in the middle where it doesn't fit, and never widens its window. text() is
/// the whole; a tool tip is for the caller to set.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    /// What can be read.
    QString shownText() const;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Tessaly
