// The order in which a page is painted so that each place shows what is nearest there: from back to front, and where
// that has no answer for whole primitives, with primitives cut.
//
// Sorting by a depth for each primitive, which is the usual way, puts many of them in the wrong order: a large area and
// a small one before it, a steep one beside a flat one. Here each two that lie over one another are compared where they
// do, exactly, and all others are free (after Newell, Newell and Sancha, 1972).
//
// Lines lie over the surfaces that they belong to. Of what lies in one plane the later drawn lies on top.
#ifndef KIVRENDER_VECTOR_PAINTERSORDER_H
#define KIVRENDER_VECTOR_PAINTERSORDER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/screenface.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class KIV_API PaintersOrder {
public:
    // The work that comparing may take, in units of about a nanosecond: some five seconds, and more for very large
    // drawings. Drawings of real models take a quarter of the latter for each primitive.
    static constexpr std::size_t usualWork = 5000000000;
    static constexpr std::size_t workOfPrimitive = 20000;

    PaintersOrder() = default;
    // How primitives that were drawn with polygon offset lie behind their depth.
    explicit PaintersOrder(const PolygonShift& offset);

    // The list is in the order of drawing and in window coordinates, and has no null slots. Brings it into the order
    // of painting. Of triangles and lines that run through one another, or lie over each other in a circle, some are
    // replaced by parts; what opaque areas hide of those is left out. False when the user has cancelled; the list is
    // then as it was.
    //
    // The cost grows like n log n with the primitives and linearly with the number of pairs that lie over one another
    // in sight: take out what is hidden first. Primitives at the same place are compared as one. The work is bounded:
    // where thousands of primitives lie over one another in one place, those that were not compared come in the order
    // of their mean depths, and exact, which may be null, tells that the order is not exact there.
    // origins, which may be null, gets for each primitive of the new list the place of the one that it is, or is a part
    // of, in the old one.
    bool sort(FeedbackPrimitiveList* list, std::vector<std::uint32_t>* origins = nullptr, bool* exact = nullptr) const;

    // By the mean depths alone, in n log n whatever lies over what. False when the user has cancelled; the list is then
    // as it was.
    bool sortByDepth(FeedbackPrimitiveList* list, std::vector<std::uint32_t>* origins) const;

    // For less work than usual.
    void setWork(std::size_t most) {
        work = most;
    }

private:
    PolygonShift shift;
    std::size_t work = usualWork;
};

#endif
