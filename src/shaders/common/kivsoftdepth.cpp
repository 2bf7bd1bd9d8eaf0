#include "kivsoftdepth.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

// The smallest step of a buffer of floats below 1.
constexpr double depthStep = 1.0 / (1 << 24);

double cross(const KivWindowPoint& a, const KivWindowPoint& b, double x, double y) {
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

// The first and the last pixel whose middle lies between two values, cut to 0 .. size - 1.
int firstPixel(double value) {
    return static_cast<int>(std::ceil(std::clamp(value, 0.0, 1e9) - 0.5));
}
int lastPixel(double value, int size) {
    return static_cast<int>(std::floor(std::clamp(value, -1.0, static_cast<double>(size)) - 0.5));
}

// Pixels across a block. What lies behind all of one is left out there.
constexpr int block = 32;

// Triangles with a smaller rectangle about them are drawn at once: they cost less than to be kept.
constexpr int leastKept = block * block;

std::size_t blocksAcross(int pixels) {
    return static_cast<std::size_t>((pixels + block - 1) / block);
}

} // namespace

KivSoftDepth::KivSoftDepth(const KivView& seenFrom, double offsetSlopes, double offsetSteps)
    : view(seenFrom), slopes(offsetSlopes), steps(offsetSteps),
      depths(static_cast<std::size_t>(view.width()) * static_cast<std::size_t>(view.height()), 1.0F),
      blocksWide(static_cast<int>(blocksAcross(view.width()))),
      farthestOfBlock(blocksAcross(view.width()) * blocksAcross(view.height()), 1.0F),
      isDrawn(blocksAcross(view.width())) {}

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
            addTriangle(corners[0], corners[k - 1], corners[k]);
        }
    }
}

bool KivSoftDepth::Triangle::isInside(int x, int y) const {
    const double middleX = x + 0.5;
    const double middleY = y + 0.5;
    return !(cross(a, b, middleX, middleY) * turn < 0.0 || cross(b, c, middleX, middleY) * turn < 0.0 ||
             cross(c, a, middleX, middleY) * turn < 0.0);
}

double KivSoftDepth::Triangle::depthAt(int x, int y) const {
    return a.z + (x + 0.5 - a.x) * slopeX + (y + 0.5 - a.y) * slopeY + shift;
}

double KivSoftDepth::Triangle::nearest() const {
    return std::min({a.z, b.z, c.z}) + shift;
}

double KivSoftDepth::Triangle::farthest() const {
    return std::max({a.z, b.z, c.z}) + shift;
}

// The pixels of a row that are inside stand together. Where the sides meet the row is rounded, so the ends are found by
// looking at the pixels there.
void KivSoftDepth::Triangle::findRow(int y, int* first, int* last) const {
    constexpr double exact = 1e6; // of coordinates beyond it rounding may be pixels
    *first = left;
    *last = right;
    const KivWindowPoint* const corners[4] = {&a, &b, &c, &a};
    double from = left;
    double to = right;
    for (int i = 0; i < 3; ++i) {
        const KivWindowPoint& p = *corners[i];
        const KivWindowPoint& q = *corners[i + 1];
        const double rise = (q.y - p.y) * turn;
        const double at = p.x + (y + 0.5 - p.y) * (q.x - p.x) / (q.y - p.y) - 0.5;
        if (!(std::fabs(p.x) < exact) || !(std::fabs(p.y) < exact) || !(std::fabs(at) < exact)) {
            continue;
        }
        // The inside is on the left of a side that goes up.
        if (rise > 0.0) {
            to = std::min(to, at + 2.0);
        } else if (rise < 0.0) {
            from = std::max(from, at - 2.0);
        }
    }
    *first = std::max(left, static_cast<int>(std::floor(from)));
    *last = std::min(right, static_cast<int>(std::ceil(to)));
    while (*first <= *last && !isInside(*first, y)) {
        ++*first;
    }
    while (*last >= *first && !isInside(*last, y)) {
        --*last;
    }
}

void KivSoftDepth::addTriangle(const KivWindowPoint& a, const KivWindowPoint& b, const KivWindowPoint& c) {
    const double area = cross(a, b, c.x, c.y);
    if (!std::isfinite(area) || area == 0.0 || !std::isfinite(a.z + b.z + c.z)) {
        return;
    }
    Triangle triangle;
    triangle.a = a;
    triangle.b = b;
    triangle.c = c;
    triangle.slopeX = ((b.z - a.z) * (c.y - a.y) - (c.z - a.z) * (b.y - a.y)) / area;
    triangle.slopeY = ((c.z - a.z) * (b.x - a.x) - (b.z - a.z) * (c.x - a.x)) / area;
    triangle.shift = slopes * std::max(std::fabs(triangle.slopeX), std::fabs(triangle.slopeY)) + steps * depthStep;
    triangle.turn = area > 0.0 ? 1.0 : -1.0;
    triangle.bottom = firstPixel(std::min({a.y, b.y, c.y}));
    triangle.top = lastPixel(std::max({a.y, b.y, c.y}), view.height());
    triangle.left = firstPixel(std::min({a.x, b.x, c.x}));
    triangle.right = lastPixel(std::max({a.x, b.x, c.x}), view.width());
    const auto wide = static_cast<std::int64_t>(triangle.right) - triangle.left + 1;
    const auto high = static_cast<std::int64_t>(triangle.top) - triangle.bottom + 1;
    if (wide <= 0 || high <= 0) {
        return;
    }
    if (wide * high >= leastKept) {
        kept.push_back(triangle);
        return;
    }
    for (int y = triangle.bottom; y <= triangle.top; ++y) {
        int first = 0;
        int last = 0;
        triangle.findRow(y, &first, &last);
        drawRow(triangle, y, first, last);
    }
}

void KivSoftDepth::drawRow(const Triangle& triangle, int y, int first, int last) {
    float* const row = &depths[static_cast<std::size_t>(y) * static_cast<std::size_t>(view.width())];
    const double farthest = triangle.farthest();
    for (int x = first; x <= last; ++x) {
        row[x] = std::min(row[x], static_cast<float>(std::clamp(triangle.depthAt(x, y), 0.0, farthest)));
    }
}

// Whether the triangle may be seen in a block.
bool KivSoftDepth::isSeenIn(const Triangle& triangle, int column, int row) const {
    const int left = column * block;
    const int bottom = row * block;
    const int right = std::min(left + block, view.width()) - 1;
    const int top = std::min(bottom + block, view.height()) - 1;
    // Rounding keeps the order of depths along rows and columns, so the corners bound all pixels of the block.
    const double nearest = std::min({triangle.depthAt(left, bottom), triangle.depthAt(right, bottom),
                                     triangle.depthAt(left, top), triangle.depthAt(right, top)});
    return nearest < static_cast<double>(farthestOf(column, row));
}

float& KivSoftDepth::farthestOf(int column, int row) {
    return farthestOfBlock[static_cast<std::size_t>(row) * static_cast<std::size_t>(blocksWide) +
                           static_cast<std::size_t>(column)];
}

float KivSoftDepth::farthestOf(int column, int row) const {
    return farthestOfBlock[static_cast<std::size_t>(row) * static_cast<std::size_t>(blocksWide) +
                           static_cast<std::size_t>(column)];
}

float KivSoftDepth::farthestDrawn(int column, int row) const {
    float farthest = 0.0F;
    const int right = std::min((column + 1) * block, view.width());
    const int top = std::min((row + 1) * block, view.height());
    for (int y = row * block; y < top && farthest < 1.0F; ++y) {
        const float* const line = &depths[static_cast<std::size_t>(y) * static_cast<std::size_t>(view.width())];
        farthest = std::max(farthest, *std::max_element(line + column * block, line + right));
    }
    return farthest;
}

void KivSoftDepth::drawTriangle(const Triangle& triangle) {
    for (int row = triangle.bottom / block; row <= triangle.top / block; ++row) {
        const int leftmost = triangle.left / block;
        const int rightmost = triangle.right / block;
        bool isAnyDrawn = false;
        for (int column = leftmost; column <= rightmost; ++column) {
            const bool isSeen = isSeenIn(triangle, column, row);
            isDrawn[static_cast<std::size_t>(column)] = isSeen;
            isAnyDrawn = isAnyDrawn || isSeen;
        }
        if (!isAnyDrawn) {
            continue;
        }
        drawBlockRow(triangle, row);
        for (int column = leftmost; column <= rightmost; ++column) {
            if (isDrawn[static_cast<std::size_t>(column)]) {
                farthestOf(column, row) = farthestDrawn(column, row);
            }
        }
    }
}

// In the blocks that are drawn.
void KivSoftDepth::drawBlockRow(const Triangle& triangle, int row) {
    const int top = std::min(triangle.top, row * block + block - 1);
    for (int y = std::max(triangle.bottom, row * block); y <= top; ++y) {
        int first = 0;
        int last = 0;
        triangle.findRow(y, &first, &last);
        for (int x = first; x <= last;) {
            const int end = std::min(last, (x / block) * block + block - 1);
            if (isDrawn[static_cast<std::size_t>(x / block)]) {
                drawRow(triangle, y, x, end);
            }
            x = end + 1;
        }
    }
}

void KivSoftDepth::drawKept() {
    std::stable_sort(kept.begin(), kept.end(),
                     [](const Triangle& a, const Triangle& b) { return a.nearest() < b.nearest(); });
    for (const Triangle& triangle : kept) {
        drawTriangle(triangle);
    }
    std::vector<Triangle>().swap(kept);
}

void KivSoftDepth::read(KivDepthImage::Span& span) {
    for (int y = 0; y < span.height; ++y) {
        for (int x = 0; x < span.width; ++x) {
            span.values[static_cast<std::size_t>(y) * static_cast<std::size_t>(span.width) +
                        static_cast<std::size_t>(x)] = at(span.left + x, span.bottom + y);
        }
    }
}

float KivSoftDepth::at(int x, int y) {
    if (!kept.empty()) {
        drawKept();
    }
    if (x < 0 || y < 0 || x >= view.width() || y >= view.height()) {
        return 1.0F;
    }
    return depths[static_cast<std::size_t>(y) * static_cast<std::size_t>(view.width()) + static_cast<std::size_t>(x)];
}
