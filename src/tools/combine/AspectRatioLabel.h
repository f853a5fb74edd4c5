#pragma once

#include <QLabel>

namespace Tessaly {

/// A picture that is scaled to the room it gets and asks for room of one shape.
class AspectRatioLabel : public QLabel {
    Q_OBJECT

public:
    /// @param ratio  width / height, above 0
    explicit AspectRatioLabel(double ratio, QWidget* parent = nullptr);

    double aspectRatio() const { return aspectRatio_; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    /// Keeps the shape where the layout can't.
    void paintEvent(QPaintEvent* event) override;

private:
    double aspectRatio_;
};

} // namespace Tessaly
