// Which object a place of a recorded page belongs to: for faces that were joined and no longer tell it themselves.
#ifndef KIVRENDER_RENDER_RECORDEDOBJECTS_H
#define KIVRENDER_RENDER_RECORDEDOBJECTS_H

#include "kivrender/lines/occluderindex.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <cstdint>
#include <span>
#include <vector>

class RecordedObjects {
public:
    // The floats stay the caller's and must outlive the object. False when the user cancelled.
    bool read(std::span<const float> recorded);
    // Of the polygon that was drawn in the middle of a face, nearest to it in depth; of several the first. 0 for none.
    std::uint32_t objectOf(const FeedbackPrimitive& face) const;

private:
    struct Polygon {
        const float* vertices = nullptr;
        int count = 0;
        std::uint32_t object = 0;
    };
    static bool depthAt(const Polygon& polygon, double x, double y, double* depth);

    std::vector<Polygon> polygons;
    OccluderIndex index;
};

#endif
