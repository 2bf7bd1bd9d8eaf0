// The order in which a pen draws lines with little travel between them.
#ifndef KIVRENDER_LINES_WRITE_TRAVELORDER_H
#define KIVRENDER_LINES_WRITE_TRAVELORDER_H

#include "kivrender/lines/curvefit.h"

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

struct PenLine {
    KivPicturePoint start;
    KivPicturePoint end;
};

struct PenTurn {
    std::size_t line = 0;
    bool isReversed = false;
};

// From start on always the nearest end of what is left, found in a k-d tree (Bentley 1975). at: where the pen stands,
// and then where it ends. Fewer turns than lines if the work was cancelled.
std::vector<PenTurn> kivTravelOrder(std::span<const PenLine> lines, KivPicturePoint* at,
                                    const std::function<bool()>& isCancelled);

#endif
