// Makes a feedback buffer smaller: lines that lie on each other become one, flat faces become the fewest triangles that
// cover them. The order in the new buffer is merged lines, merged triangles, all else in its old order.
#ifndef KIVRENDER_VECTOR_VECTORSIMPLIFIER_H
#define KIVRENDER_VECTOR_VECTORSIMPLIFIER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"

class KivProgress;

// How object space is seen in the window, as OpenGL gives its matrices (column by column) and its viewport.
struct FeedbackView {
    double modelView[16];
    double projection[16];
    int viewport[4];
};

class KIV_API VectorSimplifier {
public:
    explicit VectorSimplifier(const FeedbackView& seen);

    // Reads *used floats and returns a new buffer from malloc, the caller's to free, with its size in *used. The old
    // one stays as it is and the caller's. Null with *used 0 after a cancel. Lines are compared in object space,
    // triangles too; a vertex whose place there can't be computed stays where it is.
    //
    // Walks the deferred steps of KivVectorProgress; the last is begun here and left to whoever
    // prints the buffer, sized at two units for each primitive.
    float* simplify(float* buffer, int* used);

private:
    bool unproject(FeedbackPrimitiveList& primitives, FeedbackPrimitiveList& lines) const;
    bool project(FeedbackPrimitiveList& primitives) const;
    static bool moveTriangles(FeedbackPrimitiveList& primitives, FeedbackPrimitiveList& triangles, float (&size)[2]);
    bool runStages(FeedbackPrimitiveList& primitives, FeedbackPrimitiveList& lines, FeedbackPrimitiveList& triangles,
                   KivProgress* progress) const;

    FeedbackView view;
};

#endif
