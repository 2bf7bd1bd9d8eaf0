// Which places of a picture lights reach, computed from the triangles that stand in their way and not from pixels.
//
//     KivCastShadows shadows(pictureFromWorld);
//     shadows.addCaster(corners); // once for each triangle
//     shadows.addLight(place);
//     picture.setShadows(&shadows, ...); // of KivVisibleRegions
//
// The outlines of what a light sees are its shadows' borders (Atherton, Weiler and Greenberg, Polygon shadow
// generation, 1978): the visible folds and open edges of the triangles as seen from the light, laid upon the faces of
// the picture. They divide the picture's faces into cells, and of each cell one place is asked exactly whether anything
// stands between it and the light. An outline too many costs time alone.
#ifndef KIVRENDER_LINES_KIVCASTSHADOWS_H
#define KIVRENDER_LINES_KIVCASTSHADOWS_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/platform/kivexport.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

class RegionFaces;
struct RegionLine;

// A projective map of space, rows first: homogeneous coordinates (x, y, z, 1) to those of the image.
using KivProjectiveMap = std::array<double, 16>;

class KIV_API KivCastShadows {
public:
    // From the world to picture coordinates and depths, as KivSeenCorner has them.
    explicit KivCastShadows(const KivProjectiveMap& pictureFromWorld);
    ~KivCastShadows();
    KivCastShadows(const KivCastShadows&) = delete;
    KivCastShadows& operator=(const KivCastShadows&) = delete;

    // In the world, wound either way. Left out if a number is not finite.
    void addCaster(const std::array<KivVec, 3>& corners);
    // A light that shines from its place in all directions. After all casters.
    void addLight(const KivVec& place);
    unsigned int numLights() const {
        return static_cast<unsigned int>(lights.size());
    }

    // For KivVisibleRegions. First the outlines upon the faces, once; false when the user cancelled.
    bool findBorders(const RegionFaces& faces, std::vector<RegionLine>& borders);
    // How many of the lights do not reach a place on a face, in steps of the picture's grid.
    unsigned int lostAt(const RegionFaces& faces, std::uint32_t face, double x, double y) const;

private:
    class Light;

    KivProjectiveMap pictureFromWorld;
    KivProjectiveMap worldFromPicture{};
    std::vector<std::array<KivVec, 3>> casters;
    std::vector<std::unique_ptr<Light>> lights;
};

#endif
