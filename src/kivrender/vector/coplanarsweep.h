// Sorts triangles into coplanar groups, one after another along the sweep.
#ifndef KIVRENDER_VECTOR_COPLANARSWEEP_H
#define KIVRENDER_VECTOR_COPLANARSWEEP_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/coplanargroup.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/firstbeyond.h"
#include "kivrender/vector/sidegrid.h"

#include <array>
#include <functional>
#include <memory>
#include <queue>
#include <vector>

class KivProgress;

// A group takes, again and again, the first triangle behind its seed that has the attributes and the colour of the
// seed, lies in its plane, shares a side with the outline, and is not behind one that the sweep does not reach. Whether
// the first three hold never changes while a group grows, and the fourth comes to hold only when a new edge joins the
// outline. So the triangles at each new edge are noted, and the first noted one that still shares a side is next.
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
    using Average = std::array<double, 4>;

    static std::vector<int> attributeGroups(const FeedbackPrimitiveList& primitives);
    static std::vector<float> minExtents(const std::vector<SweepTriangle*>& sweep);

    std::size_t at(int index) const {
        return static_cast<std::size_t>(index);
    }
    bool growGroup(int seed, CoplanarGroup& group, KivProgress* progress);
    bool belongs(int triangle) const;
    void noteTrianglesAt(int side);
    void appendSide(int side);
    void removeEdge(std::size_t slot);
    bool closeSharedSides(int triangle);
    void releaseOutline();

    std::vector<SweepTriangle*>& sweep;
    FeedbackPrimitiveList& primitives;
    std::vector<int> attributes;
    SideGrid grid;
    FirstBeyond beyond;
    std::vector<Average> averages;
    std::vector<FeedbackVector> normals;
    std::vector<State> states;
    std::vector<int> refusedBy; // the seed of the last group that it can't join, or -1
    std::vector<int> notedBy;   // the seed of the group in whose queue it is, or -1
    std::vector<int> slots;     // of each side in the outline, or -1

    // The group that grows.
    int current = -1;
    CoplanarGroup* outline = nullptr;
    std::vector<int> outlineSides; // the sides behind the edges
    std::priority_queue<int, std::vector<int>, std::greater<>> noted;
    std::vector<std::pair<int, unsigned>> shared; // sides of the outline, with the sides of a triangle they match
};

#endif
