// Borders of areas that go on a little under the areas that are painted after them.
//
// A viewer that smooths each area by itself lets what lies behind two neighbours shine through along their border: a
// pixel that one covers by half and the other by the other half is covered by three quarters (Porter and Duff,
// Compositing digital images, 1984: coverage is taken to be uncorrelated). Where the area below covers the pixel in
// whole, nothing is left to shine through.
#ifndef KIVRENDER_LINES_REGIONS_UNDERLAP_H
#define KIVRENDER_LINES_REGIONS_UNDERLAP_H

#include "kivrender/lines/curvefit.h"

#include <functional>
#include <vector>

// The owner of a place, seen from the area that is to go on.
enum class UnderlapPlace { itself, paintedLater, other };

struct UnderlapRules {
    double reach = 1.0; // how far to go under, in pixels
    bool onLeft = true; // on which side of the way along the border the upper area lies
    std::function<UnderlapPlace(const KivPicturePoint&)> at;
};

struct UnderlapEnds {
    KivPicturePoint first;
    KivPicturePoint last;
};

// The border, moved under what is painted later; only to the middle of what is thin and has the area on its other side
// too, where the two borders would cross. Of an open one the ends are where its corners went; a closed one does not
// repeat its first point. Empty where there is no room.
std::vector<KivPicturePoint> moveUnder(const KivCurvePath& border, const UnderlapEnds& ends,
                                       const UnderlapRules& rules);

// The corner of an area between two borders, seen along them, both of which go under what is painted later. Three areas
// that meet leave more of a pixel to what lies behind them than two: the one below has to cover it.
KivPicturePoint moveCornerUnder(const KivPicturePoint& before, const KivPicturePoint& corner,
                                const KivPicturePoint& after, const UnderlapRules& rules);

#endif
