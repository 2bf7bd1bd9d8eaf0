// Even steps in the picture are uneven ones in space.
#ifndef KIVRENDER_LINES_EVENPART_H
#define KIVRENDER_LINES_EVENPART_H

#include "kivrender/lines/kivlineview.h"

// The parameter in space of the point of a segment that lies that part of the way along it in the picture; the depths
// are those of its ends in camera space.
inline double kivEvenPart(const KivLineView& view, double depthFirst, double depthLast, double part) {
    return view.isPerspective() ? part * depthFirst / (part * depthFirst + (1.0 - part) * depthLast) : part;
}

#endif
