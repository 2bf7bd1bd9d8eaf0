#include "kivrender/lines/regions/regionmerge.h"

#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/regions/polledsort.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>
#include <utility>

namespace {

constexpr int mostRounds = 64;

} // namespace

// So long a border of a region with another.
struct RegionMerge::Contact {
    std::uint32_t region;
    std::uint32_t neighbour;
    double length;

    friend bool operator<(const Contact& p, const Contact& q) {
        return std::tie(p.region, p.neighbour, p.length) < std::tie(q.region, q.neighbour, q.length);
    }
};

RegionMerge::RegionMerge(const PlanarMap& planar, std::vector<std::uint32_t> looks, const MergeRules& mergeRules)
    : map(planar), rules(mergeRules), regions(looks.size()), look(std::move(looks)), area(look.size()) {
    std::iota(regions.begin(), regions.end(), 0U);
    for (std::size_t i = 0; i < area.size(); ++i) {
        area[i] = map.cells()[i].area;
    }
    area[0] = std::numeric_limits<double>::infinity();
}

std::uint32_t RegionMerge::find(std::uint32_t cell) {
    while (regions[cell] != cell) {
        regions[cell] = regions[regions[cell]];
        cell = regions[cell];
    }
    return cell;
}

// The look of the larger one stays.
void RegionMerge::join(std::uint32_t p, std::uint32_t q) {
    if (area[p] < area[q] || (area[p] == area[q] && q < p)) {
        std::swap(p, q);
    }
    regions[q] = p;
    area[p] += area[q];
}

std::uint32_t RegionMerge::bodyOf(std::uint32_t number) const {
    return number < rules.bodyOfLook->size() ? (*rules.bodyOfLook)[number] : noLook;
}

bool RegionMerge::isOfOneBody(std::uint32_t p, std::uint32_t q) const {
    const std::uint32_t body = look[p] != noLook ? bodyOf(look[p]) : noLook;
    return body != noLook && look[q] != noLook && bodyOf(look[q]) == body;
}

bool RegionMerge::mayJoin(std::uint32_t speck, std::uint32_t neighbour) const {
    return area[speck] < rules.smallestArea ||
           (islandArea[islands[speck]] < rules.smallestTone && isOfOneBody(speck, neighbour));
}

// Small tones of one body that touch are one island: a soft highlight consists of rings, none of which is large.
bool RegionMerge::findIslands() {
    islands = regions;
    islandArea = area;
    const auto islandOf = [this](std::uint32_t cell) {
        while (islands[cell] != cell) {
            islands[cell] = islands[islands[cell]];
            cell = islands[cell];
        }
        return cell;
    };
    for (std::uint32_t h = 0; h < map.halfEdges(); h += 2) {
        if (kivIsCancelledAt(h)) {
            return false;
        }
        const std::uint32_t p = find(map.cellOf(h));
        const std::uint32_t q = find(map.cellOf(PlanarMap::twin(h)));
        const bool areSmall = p != q && area[p] < rules.smallestTone && area[q] < rules.smallestTone;
        if (areSmall && isOfOneBody(p, q)) {
            const std::uint32_t a = islandOf(p);
            const std::uint32_t b = islandOf(q);
            islandArea[a] += a != b ? islandArea[b] : 0.0;
            islands[b] = a;
        }
    }
    for (std::uint32_t cell = 0; cell < islands.size(); ++cell) {
        islands[cell] = islandOf(cell);
    }
    return true;
}

bool RegionMerge::joinEqual() {
    for (std::uint32_t h = 0; h < map.halfEdges(); h += 2) {
        if (kivIsCancelledAt(h)) {
            return false;
        }
        const std::uint32_t p = find(map.cellOf(h));
        const std::uint32_t q = find(map.cellOf(PlanarMap::twin(h)));
        if (p != q && look[p] == look[q]) {
            join(p, q);
        }
    }
    return true;
}

// The borders of small regions, each with one entry for a neighbour.
bool RegionMerge::listContacts(std::vector<Contact>& contacts) {
    const double small = std::max(rules.smallestArea, rules.smallestTone);
    for (std::uint32_t h = 0; h < map.halfEdges(); ++h) {
        if (kivIsCancelledAt(h)) {
            return false;
        }
        const std::uint32_t p = find(map.cellOf(h));
        const std::uint32_t q = find(map.cellOf(PlanarMap::twin(h)));
        if (p != q && area[p] < small && mayJoin(p, q)) {
            const GridPoint& a = map.place(map.origin(h));
            const GridPoint& b = map.place(map.target(h));
            contacts.push_back({p, q, std::hypot(static_cast<double>(b.x) - a.x, static_cast<double>(b.y) - a.y)});
        }
    }
    if (!polledSort(contacts, std::less<Contact>())) {
        return false;
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < contacts.size(); ++i) {
        if (kept > 0 && contacts[kept - 1].region == contacts[i].region &&
            contacts[kept - 1].neighbour == contacts[i].neighbour) {
            contacts[kept - 1].length += contacts[i].length;
        } else {
            contacts[kept++] = contacts[i];
        }
    }
    contacts.resize(kept);
    return true;
}

// Each speck with the neighbour of its longest border, the smallest first. One that has grown on the way waits for the
// next round.
bool RegionMerge::joinSpecks(bool* changed) {
    std::vector<Contact> contacts;
    *changed = false;
    if (!findIslands() || !listContacts(contacts)) {
        return false;
    }
    std::vector<Contact> best;
    for (const Contact& contact : contacts) {
        if (best.empty() || best.back().region != contact.region) {
            best.push_back(contact);
        } else if (contact.length > best.back().length) {
            best.back() = contact;
        }
    }
    std::sort(best.begin(), best.end(), [&](const Contact& p, const Contact& q) {
        return std::tuple(area[p.region], p.region) < std::tuple(area[q.region], q.region);
    });
    std::vector<bool> hasGrown(regions.size(), false);
    for (const Contact& contact : best) {
        const std::uint32_t p = find(contact.region);
        const std::uint32_t q = find(contact.neighbour);
        if (p == q || hasGrown[p]) {
            continue;
        }
        join(p, q);
        hasGrown[find(p)] = true;
        *changed = true;
    }
    return true;
}

bool RegionMerge::run() {
    bool changed = true;
    if (!joinEqual()) {
        return false;
    }
    for (int round = 0; changed && round < mostRounds; ++round) {
        if (!joinSpecks(&changed) || (changed && !joinEqual())) {
            return false;
        }
    }
    for (std::uint32_t cell = 0; cell < regions.size(); ++cell) {
        regions[cell] = find(cell);
    }
    return true;
}
