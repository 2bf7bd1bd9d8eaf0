// Polygon offsets that were found to hide neither lines nor surfaces, for hosts that choose the offset of
// KivCommonSettings by the size of a picture. No render calls these.
#ifndef KIVRENDER_RENDER_KIVPOLYGONOFFSET_H
#define KIVRENDER_RENDER_KIVPOLYGONOFFSET_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

class KivCommonSettings;

// The units for a picture of that size in pixels, by its longer side; renders with shadows need fewer. Sizes up to 600
// and above 9600 have one value each.
KIV_API double kivPolygonOffsetUnits(tagSIZE size, const KivCommonSettings& settings);

// The offset for a range of depths from a to b, in single precision; negative if b is the lower.
KIV_API float kivPolygonOffsetOfRange(double a, double b);

#endif
