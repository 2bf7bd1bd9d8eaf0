// Which edges of a surface become lines, seen from where: the fold where a surface turns away from the viewer, the
// border where it ends, the crease where it bends sharply.
//
// None of the tests asks how a triangle is wound or where its normal points, so that mirrored, inside-out and
// inconsistently wound models have the lines that they show.
//
//     const KivSurface surface = kivReadSurface(mesh);
//     const std::vector<KivFeatureWing> wings = kivFeatureWings(surface);  // once for a mesh
//     const std::vector<bool> creases = kivFeatureCreases(surface, wings, rules);
//     ... // and for each view the edges that are drawn
//
// A crease is told by the dihedral angle at the edge, a silhouette by the signs of both triangles (Appel 1967).
#ifndef KIVRENDER_LINES_KIVFEATUREEDGES_H
#define KIVRENDER_LINES_KIVFEATUREEDGES_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/geometry/kivviewpoint.h"
#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <vector>

// A tangent edge is one of a model that names its edges: there one face runs into the next without a bend.
enum class KivFeatureKind : std::uint8_t { silhouette, border, crease, tangent };
inline constexpr int kivFeatureKinds = 4;

// An edge with what lies beside it, whatever the view.
struct KivFeatureWing {
    static constexpr std::int32_t none = -1;

    std::uint32_t a = 0; // the lower of the two points
    std::uint32_t b = 0;
    std::int32_t left = none;   // the third corner of one triangle at the edge
    std::int32_t right = none;  // of the other; none at a border
    bool junction = false;      // three or more triangles meet here
    bool filled = false;        // a triangle without an area closes it: it is no border, and no fold can be told
    bool smooth = false;        // the mesh's own normals run on over the edge: it is meant to look round
    std::uint32_t triangle = 0; // the triangle with the corner left
    std::uint32_t other = 0;    // the one with the corner right; meaningless at a border
    float bend = 0.0F; // by how much the surface turns at the edge, in degrees: 0 flat, 180 folded back on itself
};

// An edge that is drawn.
struct KivFeatureEdge {
    std::uint32_t a = 0;
    std::uint32_t b = 0;
    KivFeatureKind kind = KivFeatureKind::silhouette;
    // A point on the surface beside the edge: a line on a silhouette or a border has the surface on that side alone.
    std::uint32_t beside = 0;
    // A crease as well, and so a feature of the shape from wherever it is seen.
    bool sharp = false;
};

// Which edges are wanted. Angles are in degrees, 0 to 180.
struct KivFeatureRules {
    bool silhouettes = true;
    bool borders = true;
    bool creases = true;
    double creaseAngle = 40.0;       // degrees; what bends by more is a crease
    double smoothCreaseAngle = 75.0; // the same for edges over which the mesh's normals run on
    bool tangents = true;            // tangent edges, where the model names its edges
    double creaseLength = 0.05;      // creases that hang together reach over at least this part of their piece's size
    // In pixels. What turns by more than creaseAngle over so narrow a strip of the surface looks like an edge, although
    // each edge of the mesh there bends by little; 0: only edges of the mesh are creases.
    double roundedEdges = 0.0;
};

// The edges of a surface in ascending order of their points. None when the user cancelled.
KIV_API std::vector<KivFeatureWing> kivFeatureWings(const KivSurface& surface);

// By how much the surface turns at the edge a-b from the triangle with corner left to the one with corner right, in
// degrees. 0 for an edge or a triangle without extent.
KIV_API double kivFeatureBend(const KivVec& a, const KivVec& b, const KivVec& left, const KivVec& right);

// True where both triangles lie on one side of the plane through the edge and the eye, so that one of them turns away.
// A triangle that is seen exactly edge-on counts as turned away, two such triangles show no line.
KIV_API bool kivFeatureIsFold(const KivVec& a, const KivVec& b, const KivVec& left, const KivVec& right,
                              const KivViewpoint& view);

// The same for an edge at which the surface ends and a named edge says what is beyond (KivSurface::NamedEdge). False
// for all other edges.
KIV_API bool kivFeatureFoldsBeyond(const KivSurface& surface, const KivFeatureWing& wing, const KivViewpoint& view);

// Tells which of the wings are creases, whatever the view. Rough and scanned surfaces bend sharply at many short edges
// that are not features: creases that hang together and stay small against the connected piece of surface that they lie
// on are left out. Gaps in creases are closed where the edge bends for a little by less. A surface that names its edges
// has these, and no others.
//
// pixel: the width of a pixel on the surface, in the model's units; with 0 there are no rounded edges.
KIV_API std::vector<bool> kivFeatureCreases(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                                            const KivFeatureRules& rules, double pixel = 0.0);

// The width of a pixel on the surface as a whole, in the model's units, where pixelAtOne is that in a distance of 1 in
// front of a perspective view, or anywhere in a parallel one. It follows from how far off the middle of the surface is,
// whichever way the view looks: creases that depend on it stay the same while a camera turns or a model is turned
// before it.
KIV_API double kivPixelOnSurface(const KivSurface& surface, const KivViewpoint& view, double pixelAtOne);

// Of a surface in a pose: its wings take from those at rest how much they bend and whether they are smooth, as the same
// edges are features of the shape in every pose. False, with nothing changed, if the two have other edges.
KIV_API bool kivTakeBends(const std::vector<KivFeatureWing>& atRest, std::vector<KivFeatureWing>& posed);

// The edges that become lines in this view, in the order of the wings. An edge that is several kinds at once is a
// silhouette before it is a border or a crease.
KIV_API std::vector<KivFeatureEdge> kivFeatureEdges(const KivSurface& surface, const std::vector<KivFeatureWing>& wings,
                                                    const std::vector<bool>& creases, const KivViewpoint& view,
                                                    const KivFeatureRules& rules);

#endif
