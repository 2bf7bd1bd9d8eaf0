#include "kivrender/render/kivpolygonoffset.h"

#include "kivrender/settings/kivcommonsettings.h"

#include <algorithm>
#include <iterator>

namespace {

struct Row {
    int side; // in pixels
    double withShadows;
    double without;
};

// Tuned by eye, size by size; the dip at 3000 with shadows is part of it.
constexpr Row rows[] = {
    {600, 13.2, 118.3},   {800, 15.7, 142.3},   {1200, 18.0, 167.0},  {1800, 19.8, 180.6},   {2400, 21.8, 188.7},
    {3000, 21.2, 192.9},  {3600, 21.55, 196.3}, {4200, 21.7, 199.1},  {4800, 22.0, 199.9},   {5400, 22.1, 201.2},
    {6000, 22.15, 202.8}, {6600, 22.2, 203.6},  {7200, 22.36, 204.1}, {7800, 22.45, 204.55}, {8400, 22.55, 205.1},
    {9000, 22.6, 205.7},  {9600, 22.62, 206.1},
};
constexpr Row beyond = {0, 22.72, 206.2};

} // namespace

double kivPolygonOffsetUnits(tagSIZE size, const KivCommonSettings& settings) {
    const bool shadows = settings.doShadows();
    const auto unitsOf = [shadows](const Row& row) { return shadows ? row.withShadows : row.without; };
    const int side = std::max(size.cx, size.cy);
    if (side <= rows[0].side) {
        return unitsOf(rows[0]);
    }
    const Row* const above =
        std::lower_bound(std::begin(rows), std::end(rows), side, [](const Row& row, int s) { return row.side < s; });
    if (above == std::end(rows)) {
        return unitsOf(beyond);
    }
    const Row& below = *(above - 1);
    const double part = static_cast<double>(side - below.side) / (above->side - below.side);
    return unitsOf(below) + (unitsOf(*above) - unitsOf(below)) * part;
}

float kivPolygonOffsetOfRange(double a, double b) {
    return static_cast<float>(0.0041 * (b - a));
}
