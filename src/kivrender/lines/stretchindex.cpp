#include "kivrender/lines/stretchindex.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double cell = StretchIndex::reach;
constexpr std::size_t fullCell = 256;

std::uint64_t keyOf(std::int64_t x, std::int64_t y) {
    return static_cast<std::uint64_t>(x) << 32U ^ (static_cast<std::uint64_t>(y) & 0xFFFFFFFFU);
}

// Half a cell at a time, so that no cell is left out but for ones whose neighbours are visited.
template <class Visit> void forSteps(const Stretch& stretch, Visit visit) {
    const double dx = stretch.end.x - stretch.start.x;
    const double dy = stretch.end.y - stretch.start.y;
    const int steps = static_cast<int>(std::clamp(std::ceil(std::hypot(dx, dy) / (0.5 * cell)), 1.0, 1e5));
    for (int i = 0; i <= steps; ++i) {
        const double part = static_cast<double>(i) / steps;
        visit(static_cast<std::int64_t>(std::floor((stretch.start.x + dx * part) / cell)),
              static_cast<std::int64_t>(std::floor((stretch.start.y + dy * part) / cell)));
    }
}

} // namespace

void StretchIndex::add(const Stretch& stretch) {
    const auto number = static_cast<std::uint32_t>(stretches.size());
    stretches.push_back(stretch);
    asked.push_back(0);
    forSteps(stretch, [&](std::int64_t x, std::int64_t y) {
        std::vector<std::uint32_t>& here = cells[keyOf(x, y)];
        if (here.size() < fullCell && (here.empty() || here.back() != number)) {
            here.push_back(number);
        }
    });
}

const std::vector<std::uint32_t>& StretchIndex::near(const Stretch& stretch) {
    found.clear();
    ++questions;
    forSteps(stretch, [&](std::int64_t x, std::int64_t y) {
        for (std::int64_t i = x - 1; i <= x + 1; ++i) {
            for (std::int64_t k = y - 1; k <= y + 1; ++k) {
                take(keyOf(i, k));
            }
        }
    });
    return found;
}

// A stretch lies in many cells, and counts once.
void StretchIndex::take(std::uint64_t key) {
    const auto here = cells.find(key);
    if (here == cells.end()) {
        return;
    }
    work += here->second.size() + 1;
    for (const std::uint32_t number : here->second) {
        if (asked[number] != questions) {
            asked[number] = questions;
            found.push_back(number);
        }
    }
}
