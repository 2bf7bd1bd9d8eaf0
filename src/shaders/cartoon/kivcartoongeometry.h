// What the cartoon shader hands to OpenGL: arrays of vertices with the light on each, triangles that show their outer
// side apart from those that show their inner side.
//
// Light is interpolated across a triangle and looked up in the ramp for each pixel. That is right only where it changes
// in a straight line, so triangles that are large in the picture are divided until their sides are a few pixels long,
// with normals in between that keep their length; the edges of bands come out as curves on coarse models too.
#ifndef SHADERS_CARTOON_KIVCARTOONGEOMETRY_H
#define SHADERS_CARTOON_KIVCARTOONGEOMETRY_H

#include "kivcartoonskin.h"
#include "kivshadedmesh.h"
#include "kivview.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

struct KivCartoonVertex {
    float x;
    float y;
    float z;
    float light; // texture coordinate of the ramp
    float shine; // texture coordinate of the highlight
};

// Triangles of a list that show the same side, up to an index of the list.
struct KivCartoonRun {
    std::size_t end;
    bool isFront;
};

struct KivCartoonBatch {
    std::vector<KivCartoonVertex> vertices;
    // For each vertex its place in the skin; empty for a mesh of one colour.
    std::vector<std::array<float, 3>> paint;
    KivCartoonSkin skin;
    std::vector<std::uint32_t> front; // three indices a triangle; triangles that show the side their normals point to
    std::vector<std::uint32_t> back;  // triangles that are seen from behind, lit as seen
    // Where the order of the triangles was kept, all of them are in front, in turns of one side and the other.
    std::vector<KivCartoonRun> runs;
    // For each vertex as many texture coordinates as there are ranks: how squarely the lights fall on it, the strongest
    // first, lifted where the triangles around turn little from the smooth surface. What lies below the threshold, a
    // coordinate too, counts as lost: some of the flat triangles there have their backs to that light, and a surface
    // that is lit as smooth would show them as saw-teeth.
    int ranks = 0;
    std::vector<float> incidences;
    float threshold = 0.0F;

    void clear();
};

// Tells how much light falls on a point. Normals have unit length and point to the side that is seen.
class KivCartoonLights {
public:
    virtual ~KivCartoonLights() = default;
    virtual double light(const KivVec& point, const KivVec& normal) const = 0;
    // How near the point is to mirroring a light to the eye, 0 to 1.
    virtual double shine(const KivVec& point, const KivVec& normal) const = 0;
    // Some lights end at a hard edge in space. The number of such edges, at most 32; on which side of edge number i a
    // point lies, not negative where its light shines; and the light on a point as if it lay on the sides that the bits
    // of inside tell.
    virtual int numEdges() const = 0;
    virtual double edgeSide(const KivVec& point, int i) const = 0;
    virtual double lightInside(const KivVec& point, const KivVec& normal, std::uint32_t inside) const = 0;
    // True if the light on a flat surface is the same everywhere.
    virtual bool isUniform() const = 0;
    // How squarely each light falls on a point, below 0 from behind; in any order.
    virtual void incidences(const KivVec& /*point*/, const KivVec& /*normal*/, std::vector<double>& out) const {
        out.clear();
    }
};

// A part of the view, in parts of its half width and half height from its middle.
struct KivCartoonPart {
    double left = -1.0;
    double bottom = -1.0;
    double right = 1.0;
    double top = 1.0;

    // So many pixels more on each side of it, in a view of that size, but nothing beyond the view.
    KivCartoonPart grownBy(double pixels, const KivView& view) const;
};

struct KivCartoonDetail {
    bool flat = false;         // one tone for each triangle
    bool shine = false;        // fill in the highlight
    double longestSide = 48.0; // in pixels of the image that is drawn into
    // Where a surface that shines turns by more than a few degrees along a side, the side is at most so long: a
    // highlight is small and would come out ragged.
    double longestTurn = 8.0;
    // For a drawing in flat areas: the coordinates of light and of shine at which a colour ends, ascending. Sides that
    // come near one are at most longestAtEdges long, others stay whole: what is of one colour needs no pieces. A side
    // or triangle longer than longestSide is also looked at in its middle.
    bool inAreas = false;
    std::vector<float> lightEdges;
    std::vector<float> shineEdges;
    double longestAtEdges = 10.0;
    // For so many lights that can be lost one by one: fill in the batch's incidences.
    int ranks = 0;
    bool isPainted = false; // fill in the batch's paint, which the model has
    // For triangles that are mixed into what lies behind them: all in one list in the order of the model.
    bool keepOrder = false;
    // Of a picture that is drawn in tiles the tile alone: only here is anything divided, and what lies beside it is
    // left out. Where it is divided is the same for all parts of a view.
    std::optional<KivCartoonPart> part;
    int rampEntries = 1024;      // of the tables that light and shine are looked up in
    std::size_t most = 12000000; // vertices; nothing is divided beyond
};

// Fills the batch, which is emptied first. Triangles outside the view are left out where they would have been divided,
// and all triangles outside the part that is wanted.
void kivBuildCartoon(const KivShadedMesh& model, const KivView& view, const KivCartoonLights& lights,
                     const KivCartoonDetail& detail, KivCartoonBatch& batch);

#endif
