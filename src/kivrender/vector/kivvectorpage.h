// What a host may set and ask about vector drawings. A render collects the whole drawing in one buffer before it prints
// it; a drawing that does not fit is not written, and the user is told.
#ifndef KIVRENDER_VECTOR_KIVVECTORPAGE_H
#define KIVRENDER_VECTOR_KIVVECTORPAGE_H

#include "kivrender/platform/kivexport.h"

struct KIV_API KivVectorPage {
    // The size of that buffer in floats, four bytes each. A triangle takes 23, a line 15 and more where its width
    // changes: the default, 16777216, holds some 700000 triangles. Between smallestBuffer and largestBuffer; what lies
    // outside is brought to the nearer end. For all renders of the process from the next one on.
    static void setBufferSize(int floats);
    static int getBufferSize();
    static constexpr int defaultBuffer = 0x1000000;
    static constexpr int smallestBuffer = 1024;
    static constexpr int largestBuffer = 0x7FFFFF00;

    // Whether drawings are painted in an order in which each place shows what is nearest, which is how it begins, or in
    // the order of the primitives' mean depths: that is what gl2ps does by itself, a little quicker, and wrong where a
    // large area and a small one, or a steep and a flat one, lie close together. From the next drawing on.
    static void setExactOrder(bool exact);
    static bool isExactOrder();

    // Whether the last drawing of the process was painted in that order everywhere. Where thousands of areas lie over
    // one another in one place the work is cut short: those that were not compared come in the order of their mean
    // depths.
    static bool wasOrderExact();

    // Whether the last drawing of the process was too large for its buffer: render again with a larger one.
    static bool hasOverflowed();
};

#endif
