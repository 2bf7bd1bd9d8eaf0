#include "kivrender/lines/occluderindex.h"

#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// True at every so many entries when the user has cancelled: a few milliseconds of work.
bool isCancelledAt(std::size_t entry) {
    return entry % (1U << 16U) == 0 && kivIsCancelled();
}

constexpr KivOccluderBounds nothing = {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                                       std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                                       std::numeric_limits<float>::infinity()};

void include(KivOccluderBounds& all, const KivOccluderBounds& one) {
    all.left = std::min(all.left, one.left);
    all.right = std::max(all.right, one.right);
    all.bottom = std::min(all.bottom, one.bottom);
    all.top = std::max(all.top, one.top);
    all.nearest = std::min(all.nearest, one.nearest);
}

// Sixteen bits with two zeros between each.
std::uint64_t spread(std::uint64_t bits) {
    bits = (bits | bits << 16U) & 0x0000FF0000FFULL;
    bits = (bits | bits << 8U) & 0x00F00F00F00FULL;
    bits = (bits | bits << 4U) & 0x0C30C30C30C3ULL;
    bits = (bits | bits << 2U) & 0x249249249249ULL;
    return bits;
}

// Where a value lies between two others, in 65536 steps.
std::uint64_t step(double value, double low, double high) {
    const double part = high > low ? (value - low) / (high - low) : 0.0;
    return static_cast<std::uint64_t>(std::clamp(part, 0.0, 1.0) * 65535.0);
}

struct Keyed {
    std::uint64_t key;
    std::uint32_t entry;
};

// By key; equal keys stay in their order (radix sort from the lowest digit). False when the user cancelled.
bool sortByKey(std::vector<Keyed>& keyed) {
    constexpr unsigned int digitBits = 12;
    constexpr std::size_t digits = 1U << digitBits;
    std::vector<Keyed> other(keyed.size());
    std::vector<std::size_t> start(digits);
    for (unsigned int shift = 0; shift < 48; shift += digitBits) {
        std::fill(start.begin(), start.end(), 0);
        for (std::size_t i = 0; i < keyed.size(); ++i) {
            if (isCancelledAt(i)) {
                return false;
            }
            ++start[(keyed[i].key >> shift) & (digits - 1)];
        }
        std::size_t sum = 0;
        for (std::size_t& s : start) {
            const std::size_t count = s;
            s = sum;
            sum += count;
        }
        for (std::size_t i = 0; i < keyed.size(); ++i) {
            if (isCancelledAt(i)) {
                return false;
            }
            other[start[(keyed[i].key >> shift) & (digits - 1)]++] = keyed[i];
        }
        keyed.swap(other);
    }
    return true;
}

float below(double value) {
    const auto narrow = static_cast<float>(value);
    return static_cast<double>(narrow) > value ? std::nextafter(narrow, -std::numeric_limits<float>::infinity())
                                               : narrow;
}

float above(double value) {
    return -below(-value);
}

} // namespace

bool OccluderIndex::build(const std::vector<KivOccluderBounds>& entries) {
    drop();
    KivOccluderBounds all = nothing;
    float farthest = -std::numeric_limits<float>::infinity();
    for (const KivOccluderBounds& entry : entries) {
        include(all, entry);
        farthest = std::max(farthest, entry.nearest);
    }
    std::vector<Keyed> keyed(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (isCancelledAt(i)) {
            return false;
        }
        const KivOccluderBounds& e = entries[i];
        const std::uint64_t x = step(0.5 * (double{e.left} + e.right), all.left, all.right);
        const std::uint64_t y = step(0.5 * (double{e.bottom} + e.top), all.bottom, all.top);
        const std::uint64_t z = step(e.nearest, all.nearest, farthest);
        keyed[i] = {spread(x) | spread(y) << 1U | spread(z) << 2U, static_cast<std::uint32_t>(i)};
    }
    if (!sortByKey(keyed)) {
        return false;
    }
    order.resize(keyed.size());
    boxes.resize(keyed.size());
    for (std::size_t i = 0; i < keyed.size(); ++i) {
        if (isCancelledAt(i)) {
            return drop();
        }
        order[i] = keyed[i].entry;
        boxes[i] = entries[keyed[i].entry];
    }
    return buildLevels();
}

bool OccluderIndex::buildLevels() {
    const std::vector<KivOccluderBounds>* from = &boxes;
    std::size_t together = leafSize;
    while (from->size() > 1 || levels.empty()) {
        if (from->empty()) {
            return true;
        }
        std::vector<KivOccluderBounds> level((from->size() + together - 1) / together, nothing);
        for (std::size_t i = 0; i < from->size(); ++i) {
            if (isCancelledAt(i)) {
                return drop();
            }
            include(level[i / together], (*from)[i]);
        }
        levels.push_back(std::move(level));
        from = &levels.back();
        together = 2;
    }
    return true;
}

bool OccluderIndex::drop() {
    order.clear();
    boxes.clear();
    levels.clear();
    return false;
}

OccluderIndex::Line OccluderIndex::lineOf(double x0, double y0, double x1, double y1, double farthest) {
    Line line{};
    line.left = below(std::min(x0, x1));
    line.right = above(std::max(x0, x1));
    line.bottom = below(std::min(y0, y1));
    line.top = above(std::max(y0, y1));
    const double length = std::hypot(x1 - x0, y1 - y0);
    const double a = length > 0.0 ? (y0 - y1) / length : 0.0;
    const double b = length > 0.0 ? (x1 - x0) / length : 0.0;
    line.a = static_cast<float>(a);
    line.b = static_cast<float>(b);
    line.c = static_cast<float>(-(a * x0 + b * y0));
    line.slack = static_cast<float>(1e-6 * (1.0 + std::fabs(x0) + std::fabs(y0) + std::fabs(x1) + std::fabs(y1)));
    line.farthest = above(farthest);
    return line;
}

bool OccluderIndex::meets(const KivOccluderBounds& box, const Line& line) {
    if (box.left > line.right || box.right < line.left || box.bottom > line.top || box.top < line.bottom ||
        box.nearest > line.farthest) {
        return false;
    }
    // The corners of the box on either side of the line.
    const float x = 0.5F * (box.left + box.right);
    const float y = 0.5F * (box.bottom + box.top);
    const float reach =
        0.5F * (std::fabs(line.a) * (box.right - box.left) + std::fabs(line.b) * (box.top - box.bottom));
    return std::fabs(line.a * x + line.b * y + line.c) <= reach * 1.00001F + line.slack * 4.0F;
}
