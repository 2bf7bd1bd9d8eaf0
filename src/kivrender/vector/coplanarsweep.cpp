#include "kivrender/vector/coplanarsweep.h"

#include "kivrender/scene/kivprogress.h"
#include "kivrender/vector/averagecolour.h"

#include <bit>
#include <map>
#include <tuple>

CoplanarSweep::CoplanarSweep(std::vector<SweepTriangle*>& toSweep, FeedbackPrimitiveList& toMerge)
    : sweep(toSweep), primitives(toMerge), attributes(attributeGroups(toMerge)), grid(toSweep, attributes),
      beyond(minExtents(toSweep)), states(toSweep.size(), State::Free), refusedBy(toSweep.size(), -1),
      notedBy(toSweep.size(), -1), slots(toSweep.size() * 3, -1) {
    averages.reserve(primitives.size());
    for (const FeedbackPrimitive* primitive : primitives)
        averages.push_back(averageColour(*primitive));
    normals.reserve(sweep.size());
    for (const SweepTriangle* triangle : sweep)
        normals.push_back(FeedbackPlane(triangle->vertices[0], triangle->vertices[1], triangle->vertices[2]).normal);
}

std::vector<int> CoplanarSweep::attributeGroups(const FeedbackPrimitiveList& primitives) {
    std::map<std::tuple<bool, bool, bool, std::uint16_t, std::int32_t, std::int32_t, std::int32_t>, int> known;
    std::vector<int> groups;
    groups.reserve(primitives.size());
    for (const FeedbackPrimitive* each : primitives) {
        const auto key = std::tuple(each->offset, each->boundary, each->blend, each->stipplePattern,
                                    each->stippleFactor, each->blendSource, each->blendDestination);
        groups.push_back(known.try_emplace(key, static_cast<int>(known.size())).first->second);
    }
    return groups;
}

std::vector<float> CoplanarSweep::minExtents(const std::vector<SweepTriangle*>& sweep) {
    std::vector<float> extents;
    extents.reserve(sweep.size());
    for (const SweepTriangle* triangle : sweep)
        extents.push_back(triangle->minExtent);
    return extents;
}

bool CoplanarSweep::run(KivProgress* progress, std::vector<std::unique_ptr<CoplanarGroup>>& groups) {
    bool isCancelled = false;
    for (int seed = 0; at(seed) < sweep.size() && !isCancelled; ++seed) {
        if (states[at(seed)] != State::Free)
            continue;
        groups.push_back(std::make_unique<CoplanarGroup>());
        isCancelled = !growGroup(seed, *groups.back(), progress);
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < sweep.size(); ++i) {
        if (states[i] == State::Joined) {
            delete primitives[i];
            continue;
        }
        primitives[kept++] = primitives[i];
        if (states[i] == State::Free)
            delete sweep[i];
    }
    primitives.resize(kept);
    sweep.clear();
    return !isCancelled;
}

// False when the user has cancelled.
bool CoplanarSweep::growGroup(int seed, CoplanarGroup& group, KivProgress* progress) {
    const auto advance = [progress] {
        if (progress && !progress->isCancelled())
            progress->advance(1, false);
    };
    const auto take = [&](int triangle, State state) {
        states[at(triangle)] = state;
        beyond.remove(at(triangle));
        group.takeTriangle(sweep[at(triangle)]);
        advance();
    };
    current = seed;
    outline = &group;
    noted = {};
    take(seed, State::Seed);
    for (int side = 3 * seed; side < 3 * seed + 3; ++side)
        appendSide(side);
    for (;;) {
        if (progress && progress->isCancelled())
            return false;
        if (noted.empty())
            break;
        const int triangle = noted.top();
        if (at(triangle) >= beyond.find(at(seed) + 1, group.maxExtent))
            break;
        noted.pop();
        notedBy[at(triangle)] = -1;
        if (closeSharedSides(triangle))
            take(triangle, State::Joined);
    }
    releaseOutline();
    return true;
}

bool CoplanarSweep::belongs(int triangle) const {
    return attributes[at(current)] == attributes[at(triangle)] &&
           sameAverageColour(averages[at(current)], averages[at(triangle)]) &&
           outline->plane->isCoplanar(*sweep[at(triangle)], normals[at(triangle)]);
}

void CoplanarSweep::noteTrianglesAt(int side) {
    const auto isOpenQuestion = [this](int other) {
        const std::size_t triangle = at(other / 3);
        return other / 3 > current && states[triangle] == State::Free && notedBy[triangle] != current &&
               refusedBy[triangle] != current;
    };
    grid.forEachMatch(grid.side(side), attributes[at(current)], isOpenQuestion, [this](int other) {
        const int triangle = other / 3;
        if (belongs(triangle)) {
            notedBy[at(triangle)] = current;
            noted.push(triangle);
        } else {
            refusedBy[at(triangle)] = current;
        }
    });
}

void CoplanarSweep::appendSide(int side) {
    slots[at(side)] = static_cast<int>(outline->edges.size());
    outline->edges.push_back(grid.side(side));
    outlineSides.push_back(side);
    noteTrianglesAt(side);
}

// The last edge comes to this place.
void CoplanarSweep::removeEdge(std::size_t slot) {
    slots[at(outlineSides[slot])] = -1;
    const std::size_t last = outlineSides.size() - 1;
    if (slot != last) {
        outline->edges[slot] = outline->edges[last];
        outlineSides[slot] = outlineSides[last];
        slots[at(outlineSides[slot])] = static_cast<int>(slot);
    }
    outline->edges.pop_back();
    outlineSides.pop_back();
}

// Joins the triangle to the outline as CoplanarGroup::addTriangle does, by looking only at those edges that share a
// side with it. False if there are none.
bool CoplanarSweep::closeSharedSides(int triangle) {
    shared.clear();
    for (unsigned side = 0; side < 3; ++side) {
        const FeedbackEdge edge = grid.side(3 * triangle + static_cast<int>(side));
        grid.forEachMatch(
            edge, attributes[at(current)], [this](int other) { return slots[at(other)] >= 0; },
            [&](int other) { shared.emplace_back(other, 1U << side); });
    }
    if (shared.empty())
        return false;
    unsigned open = 7;
    for (int from = 0; open != 0;) {
        // The first edge from here on that has a side still open; of these sides, the first.
        int slot = -1;
        unsigned sides = 0;
        for (const auto& [other, matching] : shared) {
            const int place = slots[at(other)];
            if (place < from || (matching & open) == 0)
                continue;
            if (slot < 0 || place < slot) {
                slot = place;
                sides = matching;
            } else if (place == slot) {
                sides |= matching;
            }
        }
        if (slot < 0)
            break;
        open &= ~(1U << std::countr_zero(sides & open));
        removeEdge(at(slot));
        from = slot;
    }
    // The triangle is one of the group before its sides bring others.
    states[at(triangle)] = State::Joined;
    for (int side = 0; side < 3; ++side) {
        if ((open & (1U << side)) != 0)
            appendSide(3 * triangle + side);
    }
    return true;
}

void CoplanarSweep::releaseOutline() {
    for (const int side : outlineSides)
        slots[at(side)] = -1;
    outlineSides.clear();
}
