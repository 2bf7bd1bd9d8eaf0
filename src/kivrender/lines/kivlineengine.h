// The lines of a scene in one view: found on the surfaces, cut where something stands before them, joined to whole
// strokes. Without OpenGL, a picture to draw into or a shader, for whoever wants lines as data.
//
//     KivLineEngine engine(KivLineView(camera, 1280.0, 960.0));
//     engine.add(KivLineBody{kivReadSurface(mesh), 1});
//     if (engine.find()) {
//         for (const KivFoundLine& line : engine.lines()) {
//             drawing.strokes.push_back(kivStrokeOf(line));
//         }
//     }
//
// Creases, borders, material borders and named edges are edges of the meshes, exactly. Where a mesh stands for a smooth
// surface, its contour is that of the surface (see Bénard and Hertzmann, Line Drawings from 3D Models: A Tutorial,
// 2019, chapters 4 and 5): visibility of such a line leaves out the triangles that it passes.
//
// Visibility does not depend on the size of the picture, but for what is too small to be drawn there: specks of less
// than two pixels, folds that step back by next to nothing, facets that rise by less than two pixels above the mesh.
#ifndef KIVRENDER_LINES_KIVLINEENGINE_H
#define KIVRENDER_LINES_KIVLINEENGINE_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/lines/kivfeatureedges.h"
#include "kivrender/lines/kivlineview.h"
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/platform/kivexport.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

class KivOccluders;

// Which lines of a body are wanted. Lengths in pixels.
struct KivLineRules {
    KivFeatureRules features;    // contours, boundaries and creases
    bool materials = true;       // lines between materials
    bool intersections = true;   // lines where it runs into another body that wants them too, and into itself
    bool hidden = false;         // what is hidden is wanted as well
    bool hiddenTangents = false; // and so are hidden tangent edges, which technical drawings leave out (ISO 128)
    double detail = 1.0;         // contours inside a shape fade where they step back by less than this; 0 draws all
    double shortest = 5.0;       // faded contours that are shorter are left out
};

// A mesh whose lines are wanted, which hides others, or both.
struct KivLineBody {
    KivSurface surface;
    std::uint32_t object = 0; // handed on to its lines
    KivLineRules rules;
    std::vector<std::uint32_t> materials; // of the surface's triangles; empty if all are of one
    // Edges that the model itself names, as pairs of the surface's points; a crease or border there becomes an edge.
    std::vector<std::array<std::uint32_t, 2>> edges;
    bool hides = true; // what is behind it
    bool drawn = true;
};

// A line of the scene's own, through these points in space. One point is a dot.
struct KivLineCourse {
    std::vector<KivVec> points;
    bool closed = false;
    std::uint32_t object = 0;
    bool hidden = false; // what is hidden is wanted as well
};

// A line as it is seen, or hidden; a piece of one where only a part is.
struct KivFoundLine {
    std::uint32_t source = 0; // what it belongs to: bodies and courses count in the order in which they were added
    std::uint32_t object = 0;
    KivStrokeKind kind = KivStrokeKind::contour;
    bool hidden = false;
    bool closed = false; // the first point is not repeated
    // The line itself ends there, and is not merely lost from sight.
    bool startsFree = false;
    bool endsFree = false;
    std::vector<KivPicturePoint> picture;
    std::vector<KivVec> space; // the same points
};

class KIV_API KivLineEngine {
public:
    // The view is copied. One engine for each view.
    explicit KivLineEngine(const KivLineView& view);
    ~KivLineEngine();
    KivLineEngine(const KivLineEngine&) = delete;
    KivLineEngine& operator=(const KivLineEngine&) = delete;

    // Bodies and courses are taken over. Points are in the model's units; nothing that is not finite may be among them.
    void add(KivLineBody body);
    void add(KivLineCourse course);
    // The body that was added last is in a pose. This is its surface at rest, with the same triangles: it decides which
    // edges are creases, so that they stay the same in all poses of a film.
    void setRest(KivSurface rest);
    // How much work lines may take before they are cut short, as a part of what is promised (docs/vector.md).
    void setEffort(double part);
    // Call once. False when the user cancelled; there are no lines then.
    bool find();
    // Whether the scene was such that the work was given up: lines may be missing then, those where surfaces cross
    // among them, and some may be there twice.
    bool isCutShort() const;

    // In the order of their sources, of the kinds, and of the edges of the surface.
    const std::vector<KivFoundLine>& lines() const;
    // The occluders of this view, once lines were found.
    const KivOccluders& occluders() const;

private:
    // All that is known of the view and its bodies.
    class Parts;
    std::unique_ptr<Parts> parts;
};

// The line as a stroke of straight lines and curves, or one circle or arc, that depart from it by at most tolerance
// pixels. Colour and width stay as they are by default.
KIV_API KivStroke kivStrokeOf(const KivFoundLine& line, double tolerance = 0.1);

#endif
