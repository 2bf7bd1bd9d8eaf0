// The lines of one surface in one view, in pieces: folds, borders, creases, and the contour of what is meant to be
// smooth.
//
// The contour of a polygon mesh follows its edges and zigzags where the surface is round. There it is taken as the zero
// set of the angle between the normals, interpolated over each triangle, and the sight line (Hertzmann and Zorin,
// Illustrating Smooth Surfaces, 2000): one piece through each triangle, one line without branches. Its points lie on
// the arcs that Vlachos and others put over the edges (Curved PN Triangles, 2001), so that it keeps to the round
// outline and not to its chords. Along sharp edges a surface turns away where the interpolated normals of the two sides
// do, so that the contour goes on there from the very point at which it arrives.
#ifndef KIVRENDER_LINES_SURFACELINES_H
#define KIVRENDER_LINES_SURFACELINES_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/lines/kivfeatureedges.h"
#include "kivrender/lines/kivlineview.h"
#include "kivrender/lines/kivvectordrawing.h"

#include <cstdint>
#include <vector>

// A straight piece of a line in space: the part of the way from a to b between two parameters.
struct LineSegment {
    static constexpr std::int32_t none = -1;

    KivVec a;
    KivVec b;
    double from = 0.0;
    double to = 1.0;
    KivStrokeKind kind = KivStrokeKind::crease;
    KivVec open;                 // of a contour: away from the surface, in space; no length where it is not known
    std::int32_t contour = none; // number of what is known of a piece of a smooth surface's contour
    bool isInterpolated = false; // runs through a triangle, not along an edge
    bool mayBeSlight = false;    // is not drawn wherever it is seen, but where it hides something

    KivVec at(double t) const {
        return t == 0.0 ? a : t == 1.0 ? b : a + (b - a) * t;
    }
};

struct ContourPiece {
    KivVec normals[2];          // of the surface, at both ends
    double rise = 0.0;          // the mesh departs from the smooth surface by no more, in the model's units
    double reach = 0.0;         // the longest side of its triangle
    std::uint32_t triangle = 0; // of the surface
    bool bulges = true;         // towards the side that the normals point to
};

struct SurfaceLines {
    std::vector<LineSegment> segments;
    std::vector<ContourPiece> contours;
    // For each contour piece the triangles that have a corner with its triangle in common, ascending.
    std::vector<std::uint32_t> neighbours;
    std::vector<std::size_t> neighboursFrom; // one more than there are pieces
};

struct SurfaceLineRules {
    KivFeatureRules features;
    bool materials = true;
    // The same surface at rest, which decides on the creases of a pose; null for one that is at rest itself.
    const KivSurface* rest = nullptr;
    double mostRise = 2.0; // in pixels: facets that rise by more are seen, and their contour follows their edges
};

// materials: of the surface's triangles; empty if there is one. False when the user cancelled.
bool kivSurfaceLines(const KivSurface& surface, const std::vector<std::uint32_t>& materials, const KivLineView& view,
                     const SurfaceLineRules& rules, SurfaceLines& lines);

#endif
