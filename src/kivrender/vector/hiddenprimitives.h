// Takes out of a page what nothing of can be seen, because opaque areas lie wholly in front of it. What is left shows
// the same picture with less to sort and to print.
//
// The answer errs on one side only: what can be seen is never taken. It is exact for areas that do not run through one
// another, to a 4096th of a pixel and a fraction of the spacing of depths in the page. Together small areas hide what
// none of them would hide alone. Blended primitives, those that are not fully opaque, lines and points hide nothing,
// and are themselves taken when they are hidden. A primitive with coordinates that are not numbers stays and hides
// nothing. Of areas that lie in one plane the one that was drawn later hides the others.
//
// The cost grows like n log n; where arbitrarily many faces meet in a point only so many are looked at, and the rest
// stays.
#ifndef KIVRENDER_VECTOR_HIDDENPRIMITIVES_H
#define KIVRENDER_VECTOR_HIDDENPRIMITIVES_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/screenface.h"

class KIV_API HiddenPrimitives {
public:
    HiddenPrimitives() = default;
    // How primitives that were drawn with polygon offset lie behind their depth.
    explicit HiddenPrimitives(const PolygonShift& offset);

    // The list is in the order of drawing and in window coordinates, and has no null slots. Deletes the hidden
    // primitives and closes the gaps; the others stay as they are and in their order. False when the user has
    // cancelled; nothing is taken then.
    bool remove(FeedbackPrimitiveList* list) const;

private:
    PolygonShift shift;
};

#endif
