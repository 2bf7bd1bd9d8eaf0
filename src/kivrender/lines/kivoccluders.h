// Hidden-line removal: the triangles of a scene in one view, and which parts of a segment they leave visible.
//
// Visibility is computed, not sampled: the ends of the parts are the crossings of the segment with the sides and planes
// of triangles, in doubles, and do not depend on a resolution. The method is the clipping of each segment against each
// triangle that may hide it (Roberts, Machine Perception of Three-Dimensional Solids, 1963), found with a tree over the
// picture.
//
//     KivOccluders occluders(view);
//     occluders.add(points, triangles);
//     if (occluders.build()) {
//         occluders.visibleParts(a, b, parts);
//     }
//
// Triangles may be wound either way, be repeated, overlap, cross and touch; meshes may be open and need not be
// manifold.
#ifndef KIVRENDER_LINES_KIVOCCLUDERS_H
#define KIVRENDER_LINES_KIVOCCLUDERS_H

#include "kivrender/lines/hiddenpart.h"
#include "kivrender/lines/kivlineview.h"
#include "kivrender/platform/kivexport.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

class OccluderIndex;
class OccluderPieces;

class KIV_API KivOccluders {
public:
    using Triangle = std::array<std::uint32_t, 3>;

    explicit KivOccluders(const KivLineView& view);
    ~KivOccluders();
    KivOccluders(const KivOccluders&) = delete;
    KivOccluders& operator=(const KivOccluders&) = delete;

    // Adds the triangles of one object; points are in space, in the model's units. What lies before the near plane is
    // cut off. Triangles with an index out of range or a corner that is not finite hide nothing. Coordinates count as
    // rounded to a millionth of the object's largest one: what lies behind a face by no more than that lies in the
    // face. False when the user cancelled.
    bool add(std::span<const KivVec> points, std::span<const Triangle> triangles);
    // Call once, after the last triangle. False when the user cancelled; everything is visible then.
    bool build();

    // The visible parts of the segment from a to b, given in space, in ascending order and not touching one another, as
    // parameters of the segment in space. Parts outside the picture are not visible. Replaces what was in parts. Safe
    // to call from several threads at a time.
    void visibleParts(const KivVec& a, const KivVec& b, std::vector<KivLinePart>& parts) const;

    // The same, but that some triangles hide nothing: their numbers, counted over all that were added, in ascending
    // order. excused gets what they would have hidden, in no order, with overlaps.
    void visibleParts(const KivVec& a, const KivVec& b, std::span<const std::uint32_t> exempt,
                      std::vector<KivLinePart>& parts, std::vector<KivLinePart>& excused) const;
    // How far in front of the plane through the eye the nearest surface is at a place in the picture; infinite where
    // there is none.
    double nearestAt(const KivPicturePoint& place) const;

    const KivLineView& view() const {
        return seenFrom;
    }
    // The work of all questions so far, in boxes of the tree that were looked at.
    std::size_t work() const {
        return looks.load(std::memory_order_relaxed);
    }
    // Triangles that may hide anything in this view.
    std::size_t size() const {
        return occluders.size();
    }

private:
    // Answers whether a triangle hides a part, too.
    template <class Hides>
    void findParts(const KivVec& a, const KivVec& b, std::vector<KivLinePart>& parts, Hides hides) const;

    struct Occluder {
        std::uint32_t corners[3];
        std::uint32_t number;
        float grain;
    };
    OccluderPieces piecesOf(const Occluder& triangle) const;
    void addTriangle(const Occluder& triangle);
    void addCut(const Occluder& triangle);
    std::uint32_t pointAtNearPlane(std::uint32_t a, std::uint32_t b);

    KivLineView seenFrom;
    std::vector<KivVec> corners; // in camera space
    std::vector<Occluder> occluders;
    std::uint32_t added = 0;           // triangles, whether they hide anything or not
    std::vector<std::uint32_t> owners; // of each box of the index, an occluder
    std::unique_ptr<OccluderIndex> index;
    mutable std::atomic<std::size_t> looks = 0;
};

#endif
