// Contours of smooth surfaces lie beside the mesh that stands for the surface, up to some tenths of a pixel behind its
// own outline. They are moved out to where the mesh lets them be seen: lines and areas then end in the same place.
#ifndef KIVRENDER_LINES_CONTOURSETTLE_H
#define KIVRENDER_LINES_CONTOURSETTLE_H

#include "kivrender/lines/kivlineengine.h"
#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/linebudget.h"

// Moves what lies behind a surface by more than a quarter of a pixel, and by little more, aside in the picture
// until it is seen within that quarter. What lies deeper behind stays, and so does all once the budget has ended.
void kivSettleContour(const KivOccluders& occluders, LineBudget& budget, KivFoundLine& line);

#endif
