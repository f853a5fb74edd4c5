#pragma once

#include <QWidget>

class QBoxLayout;

namespace Tessaly {

/// Two groups of controls side by side, or one above the other where the width does not suffice.
class WrappingRow : public QWidget {
public:
    WrappingRow(QLayout* first, QLayout* second, QWidget* parent = nullptr);

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override { return minimumSizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QLayout* first_;
    QLayout* second_;
    QBoxLayout* row_;
};

} // namespace Tessaly
