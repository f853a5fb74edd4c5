#include "plot/PolygonHits.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Tessaly;

TEST(PolygonHits, TakeTheNearestWithinReach) {
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    const QPolygonF square({{100, 100}, {200, 100}, {200, 200}, {100, 200}});
    const QPolygonF thin({{100, 100}, {110, 100}, {105, 300}});
    const QPolygonF withDouble({{100, 100}, {100, 100}, {200, 100}, {150, 200}});
    const QPolygonF withNaN({{NaN, 100}, {200, 100}, {200, 200}});
    const struct {
        const QPolygonF* polygon;
        QPointF place;
        int vertex, edge;
    } rows[] = {
        {&square, {100, 111.9}, 0, 3},    {&square, {111.9, 100}, 0, 0},
        {&square, {100, 112.1}, -1, 3},   {&square, {88.1, 100}, 0, -1}, // no foot on any edge
        {&square, {208.4, 208.4}, 2, -1}, {&square, {208.6, 208.6}, -1, -1},
        {&square, {150, 107.9}, -1, 0},   {&square, {150, 108}, -1, -1},
        {&square, {192.1, 150}, -1, 1},   {&square, {150, 207}, -1, 2},
        {&square, {93, 150}, -1, 3},                                   // the closing edge
        {&square, {107, 106}, 0, 0},                                   // nearer to the upper edge
        {&square, {106, 107}, 0, 3},      {&square, {105, 105}, 0, 0}, // as near to both: the first
        {&square, {100, 100}, 0, 0},                                   // the foot may be an edge's end
        {&thin, {104, 100}, 0, 0},        {&thin, {106, 100}, 1, 0},
        {&thin, {105, 100}, 0, 0},      // as near to both: the first
        {&withDouble, {100, 95}, 0, 1}, // the edge without length is passed over
        {&withNaN, {150, 100}, -1, -1},   {&withNaN, {200, 150}, -1, 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(vertexAt(*row.polygon, row.place), row.vertex) << row.place.x() << ", " << row.place.y();
        EXPECT_EQ(edgeAt(*row.polygon, row.place), row.edge) << row.place.x() << ", " << row.place.y();
    }
    EXPECT_EQ(edgeAt(QPolygonF({{100, 100}}), {100, 100}), -1);
    EXPECT_EQ(edgeAt(QPolygonF({{100, 100}, {200, 100}}), {150, 103}), 0);
    EXPECT_EQ(vertexAt(QPolygonF(), {0, 0}), -1);
}
