// A depth buffer that asks of each pixel of the rectangle about a triangle whether its middle is inside, and draws the
// triangles as they come. They lie before the eye.
#ifndef SELVARIN_TESTS_REFERENCE_LITERALSOFTDEPTH_H
#define SELVARIN_TESTS_REFERENCE_LITERALSOFTDEPTH_H

#include "kivsurface.h"
#include "kivview.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

class LiteralSoftDepth {
public:
    LiteralSoftDepth(const KivView& seenFrom, double offsetSlopes, double offsetSteps)
        : view(seenFrom), slopes(offsetSlopes), steps(offsetSteps),
          depths(static_cast<std::size_t>(view.width()) * static_cast<std::size_t>(view.height()), 1.0F) {}

    void draw(const KivSurface& surface) {
        for (const KivSurface::Triangle& triangle : surface.triangles) {
            KivWindowPoint corners[3];
            for (int i = 0; i < 3; ++i) {
                corners[i] = view.window(view.clip(surface.points[triangle[i]]));
            }
            draw(corners[0], corners[1], corners[2]);
        }
    }
    float at(int x, int y) const {
        return depths[static_cast<std::size_t>(y) * static_cast<std::size_t>(view.width()) +
                      static_cast<std::size_t>(x)];
    }

private:
    static double cross(const KivWindowPoint& a, const KivWindowPoint& b, double x, double y) {
        return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
    }
    void draw(const KivWindowPoint& a, const KivWindowPoint& b, const KivWindowPoint& c) {
        const double area = cross(a, b, c.x, c.y);
        if (!std::isfinite(area) || area == 0.0 || !std::isfinite(a.z + b.z + c.z)) {
            return;
        }
        const double slopeX = ((b.z - a.z) * (c.y - a.y) - (c.z - a.z) * (b.y - a.y)) / area;
        const double slopeY = ((c.z - a.z) * (b.x - a.x) - (b.z - a.z) * (c.x - a.x)) / area;
        const double shift = slopes * std::max(std::fabs(slopeX), std::fabs(slopeY)) + steps * (1.0 / (1 << 24));
        const double turn = area > 0.0 ? 1.0 : -1.0;
        for (int y = 0; y < view.height(); ++y) {
            for (int x = 0; x < view.width(); ++x) {
                if (cross(a, b, x + 0.5, y + 0.5) * turn < 0.0 || cross(b, c, x + 0.5, y + 0.5) * turn < 0.0 ||
                    cross(c, a, x + 0.5, y + 0.5) * turn < 0.0) {
                    continue;
                }
                const double z = a.z + (x + 0.5 - a.x) * slopeX + (y + 0.5 - a.y) * slopeY + shift;
                float& depth = depths[static_cast<std::size_t>(y) * static_cast<std::size_t>(view.width()) +
                                      static_cast<std::size_t>(x)];
                depth = std::min(depth, static_cast<float>(std::clamp(z, 0.0, std::max({a.z, b.z, c.z}) + shift)));
            }
        }
    }

    KivView view;
    double slopes;
    double steps;
    std::vector<float> depths;
};

#endif
