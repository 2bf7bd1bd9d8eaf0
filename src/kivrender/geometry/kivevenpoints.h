// Takes the noise of scans and the steps of marching cubes off a mesh, and the waves of their light off a surface, as
// far as they are too small to be shape in the picture.
#ifndef KIVRENDER_GEOMETRY_KIVEVENPOINTS_H
#define KIVRENDER_GEOMETRY_KIVEVENPOINTS_H

#include "kivrender/geometry/kivloopsurface.h"
#include "kivrender/geometry/kivsmoothshape.h"

// How much of a surface is evened, 0 to 1.
struct KivEvened {
    double points = 0.0; // of mostPixels, by which points were moved at most
    double light = 0.0;  // of what kivEvenLight may do
};

// Moves points along their normals to where a signal-processing filter has them that lets broad shapes pass (Gabriel
// Taubin, A Signal Processing Approach to Fair Surface Design, 1995), by less than mostPixels: what is higher in the
// picture stays, and so are the bends of triangles that are large in it. Points along sharp edges follow these alone,
// corners stay. Both parts are 1 for noise, less the higher it is, that of the points less the larger its triangles are
// too. Nothing is moved of a surface that bends evenly from point to point, of one of which half of the points would
// move by less than leastPixels or by much more than mostPixels, and of one with many sharp edges. Linear in the
// triangles.
KIV_API KivEvened kivEvenPoints(KivLoopSurface& surface, const KivShapeView& view, double leastPixels,
                                double mostPixels);

// Evens out the normals over so many pixels, each by less than about the given angle (degrees): a subdivision surface
// over triangles of all shapes has small waves in its light, which a real bend rises above. Normals on the two sides of
// a sharp edge stay apart.
KIV_API void kivEvenLight(KivLoopLimit& limit, const KivShapeView& view, double pixels, double mostDegrees);

#endif
