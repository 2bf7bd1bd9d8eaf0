// The first stage of simplification: doubled strokes become one. Two lines that lie on one line in x and y, overlap and
// have about the same length are replaced by one line. z takes no part.
#ifndef KIVRENDER_VECTOR_COLLINEARLINEMERGER_H
#define KIVRENDER_VECTOR_COLLINEARLINEMERGER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"

class KIV_API CollinearLineMerger {
public:
    // Merges until no two lines of the list merge, always the first pair there is: the pair with the smallest first
    // slot, and among these with the smallest second. Both lines leave the list, each slot taking the list's last line,
    // and the result joins at the end. Every line has two vertices. The list owns its lines; those that go are deleted.
    //
    // Advances the current progress by one for each merge and one at the end. On a cancel the list stays as it is then.
    void mergeLines(FeedbackPrimitiveList* lines);

    // Null if the two don't merge, and both stay alive. Otherwise the line that stands for both, which may be a or b
    // itself; what isn't needed has been deleted.
    FeedbackPrimitive* mergePair(FeedbackPrimitive* a, FeedbackPrimitive* b);
};

#endif
