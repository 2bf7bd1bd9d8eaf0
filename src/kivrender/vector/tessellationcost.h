// Tells whether the tessellator of GLU makes short work of an outline.
#ifndef KIVRENDER_VECTOR_TESSELLATIONCOST_H
#define KIVRENDER_VECTOR_TESSELLATIONCOST_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackvector.h"
#include "kivrender/vector/feedbackvertex.h"

#include <vector>

namespace TessellationCost {

// Once begun, the tessellator asks nobody for a cancel. It sweeps over the outline, and at each vertex where a contour
// begins it walks along the edges that the sweep crosses there: 16 thousand square holes take it 0.9 s, a star with 100
// thousand points a minute. Seen with libGLU 9.0.2 on outlines up to these limits: 0.4 microseconds for each vertex,
// 0.1 for each edge that is walked.
inline constexpr std::size_t mostVertices = 8192;
inline constexpr std::size_t mostWalked = 80000;

// True if the contours, each from the end of the one before it to its own, take about 10 ms at the most. The normal is
// that of their plane.
KIV_API bool isLow(const std::vector<FeedbackVertex*>& vertices, const std::vector<int>& contourEnds,
                   const FeedbackVector& normal);

} // namespace TessellationCost

#endif
