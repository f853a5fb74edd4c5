#pragma once

#include "core/FilterRule.h"

#include <QPolygonF>
#include <QWidget>

namespace Tessaly {

/// A small picture of a polygon rule, in the space of the axes on which it was drawn.
class PolygonPreview : public QWidget {
    Q_OBJECT

public:
    explicit PolygonPreview(QWidget* parent = nullptr);

    void setRule(const FilterRule& rule);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPolygonF shape_; ///< 0 to 1 in both directions, y downwards
};

} // namespace Tessaly
