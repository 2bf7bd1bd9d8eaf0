// Edges at which three or more triangles meet, as where a wall stands on a floor or a strip closes the gap between two
// skins: which of them are folds.
#ifndef KIVRENDER_LINES_JUNCTIONFOLDS_H
#define KIVRENDER_LINES_JUNCTIONFOLDS_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/geometry/kivviewpoint.h"
#include "kivrender/lines/kivfeatureedges.h"

#include <cstdint>
#include <vector>

class JunctionFolds {
public:
    // False when the user cancelled. The surface must live as long as this.
    bool find(const KivSurface& of, const std::vector<KivFeatureWing>& wings);
    // Whether all triangles at the junction lie on one side of it, as they are seen: the surface ends there for the
    // eye.
    bool isFold(const KivFeatureWing& junction, const KivViewpoint& view) const;

private:
    // A triangle at a junction between two points, a below b.
    struct Side {
        std::uint32_t a = 0;
        std::uint32_t b = 0;
        std::uint32_t third = 0;
    };

    const KivSurface* surface = nullptr;
    std::vector<Side> sides; // ascending by their junctions
};

#endif
