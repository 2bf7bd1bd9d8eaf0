// Sorts triangles into coplanar groups, one after another along the sweep.
#ifndef KIVRENDER_VECTOR_COPLANARSWEEP_H
#define KIVRENDER_VECTOR_COPLANARSWEEP_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/firstbeyond.h"
#include "kivrender/vector/outlinesides.h"
#include "kivrender/vector/sidegrid.h"
#include "kivrender/vector/trianglekinds.h"
#include "kivrender/vector/workpoll.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

class KivProgress;

// A group takes, again and again, the first triangle behind its seed that has the attributes and the colour of the
// seed, lies in its plane, shares a side with the outline, and is not behind one that the sweep does not reach. Whether
// the first three hold never changes while a group grows, and the fourth comes to hold only when a new edge joins the
// outline. So for each edge the first free triangle is found that it brings, and the first of all these is next. An
// edge whose triangle another edge has brought before finds its next one when its turn comes.
class KIV_API CoplanarSweep {
public:
    // Both lists are in the order of the sweep, entry k of one with entry k of the other.
    CoplanarSweep(std::vector<SweepTriangle*>& toSweep, FeedbackPrimitiveList& toMerge);

    // The groups in the order of the sweep. On return the list of primitives has lost and deleted all that joined the
    // group of another: entry k started group k, or, after a cancel, has no group. The sweep triangles belong to the
    // groups, or are deleted. False when the user has cancelled.
    bool run(KivProgress* progress, std::vector<std::unique_ptr<CoplanarGroup>>& groups);

private:
    enum class State : char { Free, Seed, Joined };
    // A triangle that may be the next of the group, and the side of the outline that brings it.
    using Candidate = std::pair<int, int>;

    static std::size_t at(int index) {
        return static_cast<std::size_t>(index);
    }
    bool prepare();
    bool growGroup(int seed, CoplanarGroup& group, KivProgress* progress);
    void take(int triangle, State state, KivProgress* progress);
    void appendSide(int side);
    void seekCandidate(int side);
    bool isBeyondReach(int triangle) const;
    const Candidate* nextCandidate();
    void popCandidate();
    void cleanUp();

    std::vector<SweepTriangle*>& sweep;
    FeedbackPrimitiveList& primitives;
    WorkPoll poll;
    TriangleKinds kinds;
    SideGrid grid;
    OutlineSides outline;
    std::optional<FirstBeyond> beyond; // where extents that are not numbers leave the sweep without an order
    std::vector<State> states;

    // The group that grows.
    int current = -1;
    CoplanarGroup* grown = nullptr;
    std::vector<std::uint64_t> currentKinds;
    std::vector<Candidate> candidates; // a heap, the first triangle on top
};

#endif
