// The second and third stage of simplification: triangles that lie in one plane, have one colour and hang together by
// their sides are replaced by the fewest triangles that cover the same region.
#ifndef KIVRENDER_VECTOR_COPLANARTRIANGLEMERGER_H
#define KIVRENDER_VECTOR_COPLANARTRIANGLEMERGER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/averagecolour.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/sweeptriangle.h"

#include <memory>
#include <vector>

class KivProgress;
struct CoplanarGroup;

class KIV_API CoplanarTriangleMerger {
public:
    // What becomes of a group whose outline the tessellator can't cover, or covers with another area: outlines that
    // touch themselves are beyond it.
    enum class Failed { goes, staysAsItWas };

    explicit CoplanarTriangleMerger(Failed failedGroup = Failed::goes) : failed(failedGroup) {}

    // Every primitive of the list has three vertices or more. step is the progress step of the grouping, the next one
    // that of the tessellation. The sweep runs along x if xSize is greater than ySize, else along y.
    //
    // On return the list holds the new triangles, in the attributes of the first triangle of their group in the sweep;
    // a group that fails leaves none or its old ones. After a cancel it holds what is left of the old ones, to
    // be deleted. The list owns its triangles; those that go are deleted.
    void merge(FeedbackPrimitiveList* triangles, int step, float xSize, float ySize);

    // Sorts both lists, entry k of one with entry k of the other, by the smallest extent. The order of equal extents is
    // part of the outcome: see sweepOrder. The extents have been computed along the axis.
    void sortTriangles(std::vector<SweepTriangle*>& sweep, FeedbackPrimitiveList* triangles, int axis);

private:
    static bool fillSweep(FeedbackPrimitiveList& triangles, int axis, std::vector<SweepTriangle*>& sweep);
    bool tessellateGroups(std::vector<std::unique_ptr<CoplanarGroup>>& groups, const FeedbackPrimitiveList& seeds,
                          KivProgress* progress, FeedbackPrimitiveList& result);

    Failed failed;
};

#endif
