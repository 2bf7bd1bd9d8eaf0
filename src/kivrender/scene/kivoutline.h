// A set of edges in the plane: the silhouette of one or more meshes in camera space, for the test of what hides what.
//
// Only x and y count; with `flatten` an operation also takes the z of the point that it is given as 0. Distances are in
// model units, and rays are 1000 long: an outline must lie within that of the points it is asked for.
#ifndef KIVRENDER_SCENE_KIVOUTLINE_H
#define KIVRENDER_SCENE_KIVOUTLINE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dpoint.h"

#include <cstdint>
#include <memory>
#include <vector>

struct KivOutlineEdge {
    Kiv3DPoint start;
    Kiv3DPoint end;
    bool active = true; // false once the edge was found to lie inside the outline: all operations skip it then
};

// Exported for its tests; the header is not installed.
class KIV_API KivOutline {
public:
    KivOutline();
    // The polygon through these points.
    explicit KivOutline(const std::vector<Kiv3DPoint>& points);
    // The active edges of the other.
    KivOutline(const KivOutline& other);
    KivOutline& operator=(const KivOutline&) = delete;
    ~KivOutline();

    // Adds an edge for each pair of neighbours, and one from the last point to the first if these differ. Whether any
    // edge went in.
    bool addPolygon(const std::vector<Kiv3DPoint>& points);
    // Adds copies of the active edges of the other. Whether any went in.
    bool addOutline(const KivOutline& other);
    // Makes this the union of both. False, with nothing changed, if the other lies inside.
    bool merge(const KivOutline& other);

    bool isPointOnOutline(const Kiv3DPoint& point, bool flatten) const;
    // whenOnOutline is the answer for a point on an edge.
    bool isPointInside(const Kiv3DPoint& point, bool flatten, bool whenOnOutline) const;
    bool containsOutline(const KivOutline& other, bool flatten, bool whenOnOutline) const;

    // Where two lines cross in the x-y plane, z 0.0. With asSegments only between the ends of both. False, with *hit
    // untouched, if there is no such place; lines that overlap give an end of one that lies on the other.
    static bool segmentsIntersect(const Kiv3DPoint& a0, const Kiv3DPoint& a1, const Kiv3DPoint& b0,
                                  const Kiv3DPoint& b1, bool asSegments, Kiv3DPoint* hit);
    // An end of one of two segments on one line that lies on the other segment.
    static bool overlapPoint(const Kiv3DPoint& a0, const Kiv3DPoint& a1, const Kiv3DPoint& b0, const Kiv3DPoint& b1,
                             Kiv3DPoint* hit);

private:
    // False, with the edge dropped, if the outline has it already.
    bool addEdge(std::unique_ptr<KivOutlineEdge> edge);
    // Whether the outline has an edge with these ends, in either direction; an inactive one becomes active again.
    bool findEdge(const KivOutlineEdge& edge);
    // Splits the edges of an outline at those of the other and takes out, with removeInside, what lies inside it.
    static void clipAgainst(KivOutline& outline, const KivOutline& other, bool removeInside);
    static void splitAt(KivOutline& outline, const KivOutline& other);
    // Where a ray from the point ends. Each call takes another direction, so that a ray rarely runs along an edge.
    Kiv3DPoint rayEnd(const Kiv3DPoint& point) const;

    std::vector<std::unique_ptr<KivOutlineEdge>> edges;
    // Each outline counts its rays from the same start: equal scenes must give equal answers.
    mutable std::uint32_t raySeed = 1;
};

#endif
