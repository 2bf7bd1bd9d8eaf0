// The visible parts of triangles that lie over one another, sampled at every place where the answer can change: the
// sides of all triangles cut the plane into cells, and each cell has a corner where two sides' lines meet. So a
// triangle is seen if it is seen just beside such a corner, in one of the directions between the lines through it.
//
// Corners of triangles have small whole coordinates, so that corners of cells lie well apart.
#ifndef SELVARIN_TESTS_REFERENCE_LITERALSIGHT_H
#define SELVARIN_TESTS_REFERENCE_LITERALSIGHT_H

#include "kivrender/vector/feedbackprimitive.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace literal {

struct SightTriangle {
    double x[3];
    double y[3];
    double z[3];
    bool covers = false;

    explicit SightTriangle(const FeedbackPrimitive& from) {
        for (std::size_t i = 0; i < 3; ++i) {
            x[i] = from.vertices[i].x;
            y[i] = from.vertices[i].y;
            z[i] = from.vertices[i].z;
        }
        covers = !from.blend && from.vertices[0].a >= 1 && from.vertices[1].a >= 1 && from.vertices[2].a >= 1;
    }
    double twiceArea() const {
        return (x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]);
    }
    // The depth at a place; false when it is not inside.
    bool depthAt(double px, double py, double* depth) const {
        const double area = twiceArea();
        if (area == 0)
            return false;
        *depth = 0;
        for (int i = 0; i < 3; ++i) {
            const int j = (i + 1) % 3;
            const int k = (i + 2) % 3;
            const double share = ((x[j] - px) * (y[k] - py) - (x[k] - px) * (y[j] - py)) / area;
            if (!(share > 0))
                return false;
            *depth += share * z[i];
        }
        return true;
    }
};

struct SightLine {
    double a;
    double b;
    double c;
};

// Whether triangle number which of the list can be seen anywhere. At equal depth what stands later in the list is seen.
inline bool isSeen(const std::vector<SightTriangle>& all, std::size_t which) {
    std::vector<SightLine> lines;
    for (const SightTriangle& each : all) {
        for (int i = 0; i < 3; ++i) {
            const int j = (i + 1) % 3;
            const double a = each.y[i] - each.y[j];
            const double b = each.x[j] - each.x[i];
            if (a != 0 || b != 0)
                lines.push_back({a, b, -(a * each.x[i] + b * each.y[i])});
        }
    }
    const auto isSeenAt = [&](double px, double py) {
        double depth = 0;
        if (!all[which].depthAt(px, py, &depth))
            return false;
        for (std::size_t other = 0; other < all.size(); ++other) {
            double nearer = 0;
            if (other != which && all[other].covers && all[other].depthAt(px, py, &nearer) &&
                (nearer < depth - 1e-10 || (nearer < depth + 1e-10 && other > which)))
                return false;
        }
        return true;
    };
    std::vector<double> angles;
    for (std::size_t first = 0; first < lines.size(); ++first) {
        for (std::size_t second = first + 1; second < lines.size(); ++second) {
            const SightLine& f = lines[first];
            const SightLine& s = lines[second];
            const double w = f.a * s.b - s.a * f.b;
            if (w == 0)
                continue;
            const double x = (f.b * s.c - s.b * f.c) / w;
            const double y = (s.a * f.c - f.a * s.c) / w;
            angles.clear();
            for (const SightLine& line : lines) {
                if (std::fabs(line.a * x + line.b * y + line.c) < 1e-9) {
                    const double angle = std::atan2(-line.a, line.b);
                    angles.push_back(angle);
                    angles.push_back(angle < 0 ? angle + M_PI : angle - M_PI);
                }
            }
            std::sort(angles.begin(), angles.end());
            for (std::size_t i = 0; i < angles.size(); ++i) {
                const double next = i + 1 < angles.size() ? angles[i + 1] : angles[0] + 2 * M_PI;
                const double between = (angles[i] + next) / 2;
                if (next - angles[i] > 1e-9 && isSeenAt(x + 1e-5 * std::cos(between), y + 1e-5 * std::sin(between)))
                    return true;
            }
        }
    }
    return false;
}

} // namespace literal

#endif
