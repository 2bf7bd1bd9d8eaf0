// The part of the world that a light sees through a square pyramid, as a picture with exact outlines.
#ifndef KIVRENDER_LINES_REGIONS_LIGHTVIEW_H
#define KIVRENDER_LINES_REGIONS_LIGHTVIEW_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/lines/regions/regionfaces.h"

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

class LightView {
public:
    using Triangle = std::array<KivVec, 3>; // in the world
    // A part of an outline upon a triangle, as two places in the world.
    using Take = std::function<void(std::uint32_t triangle, const KivVec& from, const KivVec& to)>;

    // Looks along the axis, which has length 1, as far to all sides as the tangent says; near and far bound the
    // distances along the axis between which there are casters.
    LightView(const KivVec& place, const KivVec& axis, double tangent, double near, double far);

    void addCaster(const Triangle& corners);
    // The visible outlines of the casters. False when the user cancelled.
    bool build();

    // Whether a place lies in the pyramid.
    bool sees(const KivVec& place) const;
    // Whether a caster stands between the light and a place in the pyramid.
    bool isHidden(const KivVec& place) const;

    // Lays the outlines upon so many triangles. False when the user cancelled.
    bool layOutlines(std::uint32_t count, const std::function<Triangle(std::uint32_t)>& triangleOf,
                     const Take& take) const;

private:
    // In the frame of the light: across, upwards, along the axis.
    KivVec inFrame(const KivVec& p) const;
    KivVec inWorld(const KivVec& p) const;
    std::vector<KivVec> clipped(const Triangle& corners) const;
    KivSeenCorner seen(const KivVec& inFrame) const;
    void layUpon(const GridSegment& outline, std::uint32_t number, const Triangle& frame, const Take& take) const;

    KivVec origin;
    KivVec across;
    KivVec upwards;
    KivVec along;
    double tangent;
    double near;
    double far;
    RegionFaces faces;
    std::vector<GridSegment> outlines;
};

#endif
