// The lines of a part as rays see them: every edge and every contour of a fine tessellation, cut into samples, and each
// sample looked at from the viewer. Slow and plain, for comparison. Parallel views alone.
#ifndef TESTS_IMPORT_CAD_SAMPLEDLINES_H
#define TESTS_IMPORT_CAD_SAMPLEDLINES_H

#include "import/modelparts.h"
#include "kivrender/lines/kivlineview.h"

#include <functional>

// Lengths in pixels.
struct SampledLines {
    double edges = 0.0;    // visible ones, sharp
    double tangents = 0.0; // visible ones, tangent
    double contours = 0.0; // visible ones, where a curved surface turns away
};

// toScene: from the units of the parts to those of the view. deflection: of the tessellation, in units of the view.
SampledLines sampleLines(const kivimport::ModelParts& parts, const KivLineView& view, double deflection,
                         const std::function<KivVec(const kivimport::Vec3&)>& toScene);

#endif
