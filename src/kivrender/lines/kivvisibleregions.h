// The visible parts of a picture's faces as a planar subdivision: for each look what hangs together is one region with
// holes, neighbours share their borders exactly, and no two overlap.
//
//     KivVisibleRegions picture(width, height);
//     picture.add(corners, look); // once for each face
//     if (picture.find()) {
//         for (const KivVisibleRegion& region : picture.regions()) ...
//     }
//
// The lines that may part two looks (edges between looks, folds, open edges, lines where faces run through one another)
// are cut down to what is visible of them, exactly and not by a depth buffer, and rounded onto a grid on which they
// cross in common points alone (snap rounding: Hobby, Practical segment intersection with finite precision output,
// 1999; Guibas and Marimont, Rounding arrangements dynamically, 1995). Of each cell of that arrangement a point inside
// is asked for its nearest face; a line with the same look on both sides is no border, and goes. So a line too many
// costs time alone.
//
// Faces may overlap, cross, be repeated or degenerate, and need not share corners; of those in one plane the one that
// was added later lies on top. The time goes with n log n and the number of visible crossings.
#ifndef KIVRENDER_LINES_KIVVISIBLEREGIONS_H
#define KIVRENDER_LINES_KIVVISIBLEREGIONS_H

#include "kivrender/lines/curvefit.h"
#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

// A corner of a face as it is seen: in pixels from the picture's lower left corner, and a depth that is linear over a
// flat face in the picture, as that of OpenGL's window coordinates is; what is smaller is nearer.
struct KivSeenCorner {
    double x = 0.0;
    double y = 0.0;
    double depth = 0.0;
};

class KivCastShadows;

// A connected piece of the visible part of one look.
struct KivVisibleRegion {
    std::uint32_t look = 0;
    double area = 0.0;               // in square pixels
    std::vector<KivCurvePath> rings; // the outer one first, counterclockwise, then the holes, clockwise
    // With an underlap: the same rings where they go on under neighbours that are painted later.
    std::vector<KivCurvePath> painted;
};

class KIV_API KivVisibleRegions {
public:
    // Looks below this number; the last one is kept for itself.
    static constexpr std::uint32_t mostLooks = 0xFFFFFFFF;

    // Of a picture in pixels, both above 0.
    KivVisibleRegions(double width, double height);
    ~KivVisibleRegions();
    KivVisibleRegions(const KivVisibleRegions&) = delete;
    KivVisibleRegions& operator=(const KivVisibleRegions&) = delete;

    // A convex face of three or more corners, wound either way. Left out if a number is not finite, if it lies beyond
    // 32768 pixels, or if nothing is left of it in the picture.
    void add(std::span<const KivSeenCorner> corners, std::uint32_t look);

    // How far the drawn border may lie from the true one, in pixels.
    void setTolerance(double pixels) {
        tolerance = pixels;
    }
    // Regions with less area, in square pixels, become part of the neighbour with which they have most of their border
    // in common.
    void setSmallestArea(double pixels) {
        smallestArea = pixels;
    }
    // The same among looks of one body: bodies holds one number for each look, looks beyond it are bodies of their own.
    void setSmallestTone(double pixels, std::vector<std::uint32_t> bodies) {
        smallestTone = pixels;
        bodyOfLook = std::move(bodies);
    }

    // The rank of a look whose regions are not painted.
    static constexpr std::uint32_t unpainted = 0xFFFFFFFF;
    // For viewers that smooth each area by itself: regions are painted in the order of the ranks, one for each look,
    // and go on by so many pixels under those of higher rank; looks beyond the ranks are not painted. 0 for none.
    void setUnderlap(double pixels, std::vector<std::uint32_t> ranks) {
        underlap = pixels;
        rankOfLook = std::move(ranks);
    }

    // Shadows divide the regions: where so many lights are lost a face with a look shows the look that the function
    // answers, at a point in pixels. The shadows stay the caller's and are used by find. Once all cells have their
    // looks find calls listed, which may give bodies and ranks anew, with those of looks that shadows have made.
    using ShadedLook = std::function<std::uint32_t(std::uint32_t look, unsigned int lost, double x, double y)>;
    void setShadows(KivCastShadows* cast, ShadedLook shaded, std::function<void()> listed) {
        shadows = cast;
        shadedLook = std::move(shaded);
        looksAreListed = std::move(listed);
    }

    // Paint divides the regions: its borders are lines in pixels that lie on whatever is nearest there, and a face with
    // a look shows the look that the function answers, at a point in pixels. Where shadows fall, they fall on that one.
    // Looks that come of it are listed as those of shadows are.
    using PaintedLook = std::function<std::uint32_t(std::uint32_t look, double x, double y)>;
    void setPaint(const std::vector<std::vector<KivPicturePoint>>* borders, PaintedLook painted,
                  std::function<void()> listed) {
        paintBorders = borders;
        paintedLook = std::move(painted);
        looksAreListed = std::move(listed);
    }

    // How much work it may take, as a part of what is promised (docs/vector.md).
    void setEffort(double part) {
        effort = part;
    }
    // False when the user cancelled or it was too much work; there are no regions then.
    bool find();
    bool wasTooMuch() const {
        return tooMuch;
    }
    // In the order of their looks.
    const std::vector<KivVisibleRegion>& regions() const {
        return found;
    }

private:
    bool findAll();

    double width;
    double height;
    double effort = 1.0;
    bool tooMuch = false;
    double tolerance = 0.1;
    double smallestArea = 0.05;
    double smallestTone = 0.0;
    std::vector<std::uint32_t> bodyOfLook;
    double underlap = 0.0;
    std::vector<std::uint32_t> rankOfLook;
    KivCastShadows* shadows = nullptr;
    ShadedLook shadedLook;
    const std::vector<std::vector<KivPicturePoint>>* paintBorders = nullptr;
    PaintedLook paintedLook;
    std::function<void()> looksAreListed;
    std::unique_ptr<class RegionFaces> faces;
    std::vector<KivVisibleRegion> found;
};

#endif
