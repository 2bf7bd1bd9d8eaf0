// The lines of a vector page: found and cut by the library's line engine, exactly, and handed on as strokes to the
// drawing that the render collects, or else drawn as plain OpenGL lines for the page that it records.
#ifndef SHADERS_COMMON_KIVLINEPAGE_H
#define SHADERS_COMMON_KIVLINEPAGE_H

#include "kivlinelook.h"
#include "kivrender/lines/kivlineengine.h"
#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/kivvectordrawing.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

class KivCamera;
class KivMesh;

class KivLinePage {
public:
    KivLinePage(const KivCamera& camera, double width, double height);

    // object: the number of the mesh in the drawing. Lines are drawn that part of their width wide.
    void addMesh(const KivMesh& mesh, std::uint32_t object, const KivLineLook& look, double part);
    // A line of the scene's own; one point is a dot, twice as wide as a line.
    void addCourse(std::vector<KivVec> points, bool closed, std::uint32_t color, const KivLineLook& look, double part);
    // Called for every mesh that hides lines, whether lines of it were added or not.
    void addOccluder(const KivMesh& mesh);
    bool isEmpty() const;

    // Finds the lines and hands them on. False when the user cancelled.
    bool find();
    // The occluders, once lines were found.
    const KivOccluders& occluders() const {
        return engine.occluders();
    }
    // Hands a further stroke on.
    void addStroke(KivStroke stroke);

    // Draws what is not collected, in pixels of the page.
    void draw() const;

private:
    struct Source {
        const KivMesh* mesh = nullptr;
        KivLineBody body;
        std::optional<KivSurface> rest; // of a mesh in a pose
        KivLineCourse course;
        std::uint32_t color = 0;
        KivLineLook look;
        double part = 1.0;
        bool isTechnical = false; // the model names its edges
    };
    using Path = std::vector<KivPicturePoint>;

    static double widthOf(const Source& source, KivStrokeKind kind);

    KivVectorDrawing* const collected;
    KivLineEngine engine;
    std::vector<Source> sources;
    std::map<const KivMesh*, std::size_t> sourceOfMesh;
    std::map<std::pair<std::uint32_t, float>, std::vector<Path>> plainPaths; // by colour and width
};

#endif
