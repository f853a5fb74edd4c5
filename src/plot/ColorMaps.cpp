#include "plot/ColorMaps.h"

#include <QColor>
#include <qwt_color_map.h>

#include <array>
#include <vector>

namespace Tessaly {

namespace {

struct Stop {
    double position;
    QColor color;
};

struct MapStops {
    QColor first;
    QColor last;
    std::vector<Stop> between;
};

MapStops stopsFor(int index) {
    switch (index) {
    case 1:
        return {Qt::blue, Qt::red, {{0.25, Qt::cyan}, {0.5, Qt::green}, {0.75, Qt::yellow}}};
    case 2:
        return {QColor(100, 0, 180), Qt::red, {{0.2, Qt::blue}, {0.4, Qt::cyan}, {0.6, Qt::green}, {0.8, Qt::yellow}}};
    case 3:
        return {QColor(13, 8, 135),
                QColor(240, 249, 33),
                {{0.25, QColor(126, 3, 168)}, {0.5, QColor(204, 71, 120)}, {0.75, QColor(248, 149, 64)}}};
    case 4:
        return {QColor(0, 68, 108),
                QColor(254, 204, 0),
                {{0.25, QColor(0, 171, 173)}, {0.5, QColor(104, 193, 194)}, {0.75, QColor(166, 215, 213)}}};
    case 5:
        return {Qt::black, Qt::white, {}};
    default:
        return {QColor(68, 1, 84),
                QColor(253, 231, 37),
                {{0.25, QColor(59, 82, 139)}, {0.5, QColor(33, 145, 140)}, {0.75, QColor(94, 201, 98)}}};
    }
}

} // namespace

QwtLinearColorMap* colorMapFor(int index) {
    const MapStops stops = stopsFor(index);
    auto* map = new QwtLinearColorMap(stops.first, stops.last);
    for (const Stop& stop : stops.between) {
        map->addColorStop(stop.position, stop.color);
    }
    return map;
}

} // namespace Tessaly
