// Compares the triangles of a coplanar group with those that are to replace them.
#ifndef KIVRENDER_VECTOR_TRIANGLECOVER_H
#define KIVRENDER_VECTOR_TRIANGLECOVER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/sweeptriangle.h"

#include <span>

class WorkPoll;

namespace TriangleCover {

// Whether the pieces cover as much as the triangles did. Rounding, and edges that were joined within the tolerance of
// vertices, may cost a thousandth.
KIV_API bool hasSameArea(std::span<SweepTriangle* const> triangles, std::span<FeedbackPrimitive* const> pieces);

// Appends copies of the triangles, with the attributes of new primitives but for the vertex count. False when the user
// has cancelled.
KIV_API bool appendCopies(std::span<SweepTriangle* const> triangles, FeedbackPrimitiveList& list, WorkPoll& poll);

} // namespace TriangleCover

#endif
