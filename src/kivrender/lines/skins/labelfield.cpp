#include "kivrender/lines/skins/labelfield.h"

#include "kivrender/geometry/disjointsets.h"
#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace {

constexpr int mostRounds = 16;

// A border of two parts, and its length in samples.
struct Contact {
    std::uint32_t part;
    std::uint32_t neighbour;
    std::uint32_t length;

    friend bool operator<(const Contact& p, const Contact& q) {
        return std::tie(p.part, p.neighbour) < std::tie(q.part, q.neighbour);
    }
};

} // namespace

std::uint8_t LabelField::labelAt(double x, double y) const {
    const double column = std::floor(x) - x0;
    const double row = std::floor(y) - y0;
    if (!(column >= 0.0) || !(row >= 0.0) || column >= columns || row >= rows) {
        return none;
    }
    return at(static_cast<int>(column), static_cast<int>(row));
}

bool LabelField::removeSpecks(const SpeckRules& rules) {
    bool changed = true;
    for (int round = 0; changed && round < mostRounds; ++round) {
        if (!removeSpecksOnce(rules, &changed)) {
            return false;
        }
    }
    return true;
}

// A speck that is larger than all small neighbours waits for them, so that no two change places for ever.
bool LabelField::removeSpecksOnce(const SpeckRules& rules, bool* changed) {
    *changed = false;
    DisjointSets sets(labels.size());
    const auto forNeighbours = [this](auto take) {
        for (int y = 0; y < rows; ++y) {
            if (kivIsCancelledAt(static_cast<std::size_t>(y) * 64)) {
                return false;
            }
            for (int x = 0; x < columns; ++x) {
                const std::size_t i = indexOf(x, y);
                if (x + 1 < columns) {
                    take(static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(i + 1));
                }
                if (y + 1 < rows) {
                    take(static_cast<std::uint32_t>(i),
                         static_cast<std::uint32_t>(i + static_cast<std::size_t>(columns)));
                }
            }
        }
        return true;
    };
    if (!forNeighbours([&](std::uint32_t p, std::uint32_t q) {
            if (labels[p] == labels[q]) {
                sets.join(p, q);
            }
        })) {
        return false;
    }
    std::vector<std::uint32_t> sizes(labels.size(), 0);
    for (std::size_t i = 0; i < labels.size(); ++i) {
        ++sizes[sets.find(static_cast<std::uint32_t>(i))];
    }
    std::vector<std::uint32_t> rims(labels.size(), 0);
    if (!forNeighbours([&](std::uint32_t p, std::uint32_t q) {
            if (labels[p] != labels[q]) {
                ++rims[sets.find(p)];
                ++rims[sets.find(q)];
            }
        })) {
        return false;
    }
    const auto isThin = [&](std::uint32_t part) { return 2.0 * sizes[part] < rules.width * rims[part]; };
    const auto mayJoin = [&](std::uint32_t part, std::uint32_t to) {
        return sizes[part] < rules.samples || (isThin(part) && rules.areAlike(labels[part], labels[to]));
    };
    std::vector<Contact> contacts;
    if (!forNeighbours([&](std::uint32_t p, std::uint32_t q) {
            if (labels[p] == labels[q] || labels[p] == none || labels[q] == none) {
                return;
            }
            const std::uint32_t a = sets.find(p);
            const std::uint32_t b = sets.find(q);
            if (mayJoin(a, b)) {
                contacts.push_back({a, b, 1});
            }
            if (mayJoin(b, a)) {
                contacts.push_back({b, a, 1});
            }
        })) {
        return false;
    }
    std::sort(contacts.begin(), contacts.end());
    std::vector<std::uint8_t> better(labels);
    for (std::size_t from = 0; from < contacts.size();) {
        const std::uint32_t part = contacts[from].part;
        std::uint32_t longest = 0;
        std::uint32_t chosen = part;
        while (from < contacts.size() && contacts[from].part == part) {
            const std::uint32_t neighbour = contacts[from].neighbour;
            std::uint32_t length = 0;
            for (; from < contacts.size() && contacts[from].part == part && contacts[from].neighbour == neighbour;
                 ++from) {
                ++length;
            }
            const bool isLarger = std::tie(sizes[neighbour], neighbour) > std::tie(sizes[part], part);
            if (isLarger && length > longest) {
                longest = length;
                chosen = neighbour;
            }
        }
        better[part] = labels[chosen];
        *changed = *changed || chosen != part;
    }
    for (std::size_t i = 0; i < labels.size(); ++i) {
        labels[i] = better[sets.find(static_cast<std::uint32_t>(i))];
    }
    return true;
}

bool LabelField::grow() {
    for (int round = 0; round < margin; ++round) {
        const std::vector<std::uint8_t> before = labels;
        for (int y = 0; y < rows; ++y) {
            if (kivIsCancelledAt(static_cast<std::size_t>(y) * 64)) {
                return false;
            }
            for (int x = 0; x < columns; ++x) {
                if (before[indexOf(x, y)] != none) {
                    continue;
                }
                const std::uint8_t around[4] = {
                    x > 0 ? before[indexOf(x - 1, y)] : none, x + 1 < columns ? before[indexOf(x + 1, y)] : none,
                    y > 0 ? before[indexOf(x, y - 1)] : none, y + 1 < rows ? before[indexOf(x, y + 1)] : none};
                const auto* const found =
                    std::find_if(std::begin(around), std::end(around), [](std::uint8_t l) { return l != none; });
                at(x, y) = found != std::end(around) ? *found : none;
            }
        }
    }
    return true;
}
