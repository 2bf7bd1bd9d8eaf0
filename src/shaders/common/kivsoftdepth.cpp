#include "kivsoftdepth.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

// The smallest step of a buffer of floats below 1.
constexpr double depthStep = 1.0 / (1 << 24);

double cross(const KivWindowPoint& a, const KivWindowPoint& b, double x, double y) {
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

// The first and the last pixel whose middle lies between two values, cut to 0 .. size - 1.
int firstPixel(double value) {
    return static_cast<int>(std::ceil(std::max(value, 0.0) - 0.5));
}
int lastPixel(double value, int size) {
    return static_cast<int>(std::floor(std::min(value, static_cast<double>(size)) - 0.5));
}

} // namespace

KivSoftDepth::KivSoftDepth(const KivView& seenFrom, double offsetSlopes, double offsetSteps)
    : view(seenFrom), slopes(offsetSlopes), steps(offsetSteps),
      depths(static_cast<std::size_t>(view.width()) * static_cast<std::size_t>(view.height()), 1.0F) {}

void KivSoftDepth::draw(const KivSurface& surface) {
    std::vector<KivClipPoint> clips(surface.points.size());
    std::transform(surface.points.begin(), surface.points.end(), clips.begin(),
                   [this](const KivVec& point) { return view.clip(point); });
    for (const KivSurface::Triangle& triangle : surface.triangles) {
        // Cut at the near plane, z = -w: of three corners at most four are left.
        KivWindowPoint corners[4];
        int count = 0;
        for (int k = 0; k < 3; ++k) {
            const KivClipPoint& here = clips[triangle[k]];
            const KivClipPoint& next = clips[triangle[(k + 1) % 3]];
            const double from = here.z + here.w;
            const double to = next.z + next.w;
            if (from > 0.0 && here.w > 0.0) {
                corners[count++] = view.window(here);
            }
            if ((from > 0.0) != (to > 0.0)) {
                const KivClipPoint cut = kivMix(here, next, from / (from - to));
                if (cut.w > 0.0) {
                    corners[count++] = view.window(cut);
                }
            }
        }
        for (int k = 2; k < count; ++k) {
            drawTriangle(corners[0], corners[k - 1], corners[k]);
        }
    }
}

void KivSoftDepth::drawTriangle(const KivWindowPoint& a, const KivWindowPoint& b, const KivWindowPoint& c) {
    const double area = cross(a, b, c.x, c.y);
    if (!std::isfinite(area) || area == 0.0 || !std::isfinite(a.z + b.z + c.z)) {
        return;
    }
    // The plane of depth over the picture.
    const double slopeX = ((b.z - a.z) * (c.y - a.y) - (c.z - a.z) * (b.y - a.y)) / area;
    const double slopeY = ((c.z - a.z) * (b.x - a.x) - (b.z - a.z) * (c.x - a.x)) / area;
    const double shift = slopes * std::max(std::fabs(slopeX), std::fabs(slopeY)) + steps * depthStep;
    const double farthest = std::max({a.z, b.z, c.z}) + shift;
    const int bottom = firstPixel(std::min({a.y, b.y, c.y}));
    const int top = lastPixel(std::max({a.y, b.y, c.y}), view.height());
    const int left = firstPixel(std::min({a.x, b.x, c.x}));
    const int right = lastPixel(std::max({a.x, b.x, c.x}), view.width());
    const double turn = area > 0.0 ? 1.0 : -1.0;
    for (int y = bottom; y <= top; ++y) {
        float* const row = &depths[static_cast<std::size_t>(y) * static_cast<std::size_t>(view.width())];
        const double middleY = y + 0.5;
        for (int x = left; x <= right; ++x) {
            const double middleX = x + 0.5;
            if (cross(a, b, middleX, middleY) * turn < 0.0 || cross(b, c, middleX, middleY) * turn < 0.0 ||
                cross(c, a, middleX, middleY) * turn < 0.0) {
                continue;
            }
            const double z = a.z + (middleX - a.x) * slopeX + (middleY - a.y) * slopeY + shift;
            row[x] = std::min(row[x], static_cast<float>(std::clamp(z, 0.0, farthest)));
        }
    }
}

void KivSoftDepth::read(KivDepthImage::Span& span) const {
    for (int y = 0; y < span.height; ++y) {
        for (int x = 0; x < span.width; ++x) {
            span.values[static_cast<std::size_t>(y) * static_cast<std::size_t>(span.width) +
                        static_cast<std::size_t>(x)] = at(span.left + x, span.bottom + y);
        }
    }
}

float KivSoftDepth::at(int x, int y) const {
    if (x < 0 || y < 0 || x >= view.width() || y >= view.height()) {
        return 1.0F;
    }
    return depths[static_cast<std::size_t>(y) * static_cast<std::size_t>(view.width()) + static_cast<std::size_t>(x)];
}
