// The faces of a picture as triangles on the grid: what is nearest at a point, and what of a segment is visible.
//
// Of two faces the nearer one wins at a point, or the later one where their depths differ by no more than rounding may
// account for. What is hidden is hidden by that rule for sure; a segment that only may be hidden is visible.
#ifndef KIVRENDER_LINES_REGIONS_REGIONFACES_H
#define KIVRENDER_LINES_REGIONS_REGIONFACES_H

#include "kivrender/lines/hiddenpart.h"
#include "kivrender/lines/kivvisibleregions.h"
#include "kivrender/lines/linebudget.h"
#include "kivrender/lines/occluderindex.h"
#include "kivrender/lines/occluderpieces.h"
#include "kivrender/lines/regions/regiongrid.h"

#include <limits>
#include <span>
#include <vector>

struct RegionCorner {
    GridPoint place;
    double depth = 0.0;
};

// A part of a face's edge, or of the line where two cross.
struct RegionLine {
    RegionCorner a;
    RegionCorner b;
    double noise = 0.0; // how much the depth of its faces may be wrong
    // The last of its faces, and the corners of all beside the line: a later face in the same plane hides the line.
    // None, and it hides nothing.
    std::uint32_t order = 0;
    std::vector<RegionCorner> beside;
};

// The depth of a face, linear over the grid.
struct RegionPlane {
    GridPoint place; // of its first corner
    double depth = 0.0;
    double slopeX = 0.0;
    double slopeY = 0.0;
    double low = 0.0; // the nearest and the farthest corner
    double high = 0.0;

    double at(double x, double y) const {
        return depth + slopeX * (x - place.x) + slopeY * (y - place.y);
    }
};

class RegionFaces {
public:
    static constexpr std::uint32_t noLook = std::numeric_limits<std::uint32_t>::max();

    struct Face {
        std::uint32_t corners[3]; // counterclockwise
        std::uint32_t look;
    };

    void add(std::span<const KivSeenCorner> corners, std::uint32_t look, double width, double height);
    // Once, before the questions below. False when the user cancelled. effort: the part of the promised work that all
    // that follows may take.
    bool build(double effort = 1.0);
    // The work of the questions counts by itself, and they have no answers once it is at its end.
    LineBudget& work() const {
        return budget;
    }

    const std::vector<RegionCorner>& corners() const {
        return points;
    }
    // In the order of adding.
    const std::vector<Face>& faces() const {
        return triangles;
    }
    // Of a face, once built.
    const RegionPlane& planeOf(std::uint32_t face) const {
        return planes[face];
    }
    // How much a depth on the face may be wrong.
    double noiseOf(std::uint32_t face) const {
        return noises[face];
    }
    // The boxes of the faces in the picture, in pixels, and the face of each: long ones that lie aslant have several.
    // False when the user cancelled.
    bool cutIntoBoxes(std::vector<KivOccluderBounds>& boxes, std::vector<std::uint32_t>& ownersOfBoxes) const;
    static constexpr std::uint32_t noFace = std::numeric_limits<std::uint32_t>::max();
    // The nearest face at a point in grid steps, and its look.
    std::uint32_t faceAt(double x, double y) const;
    std::uint32_t lookAt(double x, double y) const;
    // Whether a face covers a point in grid steps nearer than the depth.
    bool isCoveredBefore(double x, double y, double depth) const;
    // The visible parts in ascending order. Replaces what was in parts.
    void visibleParts(const RegionLine& line, std::vector<KivLinePart>& parts) const;

private:
    RegionPlane planeThrough(const Face& face) const;
    OccluderPieces piecesOf(const Face& face) const;
    double noiseOfPlane(const RegionPlane& plane) const;
    bool covers(const Face& face, double x, double y) const;
    bool liesOver(std::uint32_t face, const RegionPlane& plane, const RegionLine& line, double noise) const;
    bool insidePart(const Face& face, const RegionLine& line, double margin, KivLinePart* part) const;

    std::vector<RegionCorner> points;
    std::vector<Face> triangles;
    std::vector<RegionPlane> planes; // of the triangles
    std::vector<double> noises;
    double farthestDepth = 0.0;
    std::vector<std::uint32_t> owners; // of each box of the index, a triangle
    OccluderIndex index;
    struct Candidate {
        std::uint32_t number;
        double from; // how near it may be
    };
    mutable std::vector<Candidate> candidates; // of the last question
    mutable std::uint32_t lastFace = noFace;   // found by it
    mutable LineBudget budget{0};
};

#endif
