// Where a model's own coordinates lie in those of the library, which wants scenes of about a hundred units around the
// origin (see KivModel).
#ifndef CORE_PLACEMENT_H
#define CORE_PLACEMENT_H

#include "import/kivmodelimport.h"

struct Placement {
    Kiv3DPoint origin;
    double scale = 1.0; // a power of two

    bool operator==(const Placement& other) const {
        return origin == other.origin && scale == other.scale;
    }
    Kiv3DPoint toScene(const Kiv3DPoint& p) const {
        return {(p.x - origin.x) * scale, (p.y - origin.y) * scale, (p.z - origin.z) * scale};
    }
    Kiv3DPoint toModel(const Kiv3DPoint& p) const {
        return {p.x / scale + origin.x, p.y / scale + origin.y, p.z / scale + origin.z};
    }
};

inline Placement placementOf(const KivModel& model) {
    return {model.origin, model.scale};
}

#endif
