#include "kivrender/vector/coplanarsweep.h"

#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <functional>

CoplanarSweep::CoplanarSweep(std::vector<SweepTriangle*>& toSweep, FeedbackPrimitiveList& toMerge)
    : sweep(toSweep), primitives(toMerge), kinds(toSweep, toMerge), grid(toSweep, kinds), outline(toSweep),
      states(toSweep.size(), State::Free) {}

// False when the user has cancelled.
bool CoplanarSweep::prepare() {
    std::vector<float> extents;
    extents.reserve(sweep.size());
    for (const SweepTriangle* triangle : sweep)
        extents.push_back(triangle->minExtent);
    if (std::any_of(extents.begin(), extents.end(), [](float extent) { return extent != extent; }))
        beyond.emplace(extents);
    return kinds.compute(poll) && grid.build(poll);
}

bool CoplanarSweep::run(KivProgress* progress, std::vector<std::unique_ptr<CoplanarGroup>>& groups) {
    bool isCancelled = !prepare();
    for (int seed = 0; at(seed) < sweep.size() && !isCancelled; ++seed) {
        if (states[at(seed)] != State::Free)
            continue;
        groups.push_back(std::make_unique<CoplanarGroup>());
        isCancelled = !growGroup(seed, *groups.back(), progress);
        groups.back()->forgetPlane();
    }
    cleanUp();
    return !isCancelled;
}

void CoplanarSweep::cleanUp() {
    FeedbackPrimitiveList joined;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < sweep.size(); ++i) {
        if (states[i] == State::Joined) {
            joined.push_back(primitives[i]);
            continue;
        }
        primitives[kept++] = primitives[i];
        if (states[i] == State::Free)
            delete sweep[i];
    }
    primitives.resize(kept);
    sweep.clear();
    deleteScatteredPrimitives(joined);
}

void CoplanarSweep::take(int triangle, State state, KivProgress* progress) {
    states[at(triangle)] = state;
    grid.take(triangle);
    if (beyond)
        beyond->remove(at(triangle));
    grown->takeTriangle(sweep[at(triangle)]);
    if (progress && !progress->isCancelled())
        progress->advance(1, false);
}

// False when the user has cancelled.
bool CoplanarSweep::growGroup(int seed, CoplanarGroup& group, KivProgress* progress) {
    current = seed;
    grown = &group;
    candidates.clear();
    outline.begin(group.edges);
    take(seed, State::Seed, progress);
    currentKinds.clear();
    if (kinds.canMerge(seed))
        kinds.collectKeys(seed, currentKinds);
    group.edges.reserve(3);
    for (int side = 3 * seed; side < 3 * seed + 3; ++side)
        appendSide(side);
    for (;;) {
        if ((progress && progress->isCancelled()) || poll.isCancelled())
            return false;
        const Candidate* candidate = nextCandidate();
        if (candidate == nullptr || isBeyondReach(candidate->first))
            return !poll.isCancelled();
        const int triangle = candidate->first;
        // The triangle is one of the group before its sides bring others.
        const unsigned open = outline.closeShared(triangle, poll);
        take(triangle, State::Joined, progress);
        for (int side = 0; side < 3; ++side) {
            if ((open & (1U << side)) != 0)
                appendSide(3 * triangle + side);
        }
    }
}

void CoplanarSweep::appendSide(int side) {
    outline.append(side);
    if (!currentKinds.empty())
        seekCandidate(side);
}

void CoplanarSweep::seekCandidate(int side) {
    const int triangle = grid.firstMatch(sideOf(sweep, side), currentKinds, poll,
                                         [this](int other) { return kinds.belongs(other, current, *grown->plane); });
    if (triangle == SideGrid::none)
        return;
    candidates.emplace_back(triangle, side);
    std::push_heap(candidates.begin(), candidates.end(), std::greater<>());
}

void CoplanarSweep::popCandidate() {
    std::pop_heap(candidates.begin(), candidates.end(), std::greater<>());
    candidates.pop_back();
}

// The first candidate that is still free and whose edge is still there, or null.
const CoplanarSweep::Candidate* CoplanarSweep::nextCandidate() {
    while (!candidates.empty()) {
        const auto [triangle, side] = candidates.front();
        if (outline.contains(side)) {
            if (states[at(triangle)] == State::Free)
                return &candidates.front();
            popCandidate();
            seekCandidate(side);
        } else {
            popCandidate();
        }
        poll.isCancelled(20);
    }
    return nullptr;
}

// Whether the sweep ends before that triangle, at the first free one that the group does not reach within the tolerance
// of 0.001 on either side.
bool CoplanarSweep::isBeyondReach(int triangle) const {
    if (beyond)
        return at(triangle) >= beyond->find(at(current) + 1, grown->maxExtent);
    return !(grown->maxExtent + 0.001 >= sweep[at(triangle)]->minExtent - 0.001);
}
