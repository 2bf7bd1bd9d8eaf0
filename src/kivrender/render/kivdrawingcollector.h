// For as long as it lives, the renders of its thread with vectorial settings put their drawing into a KivVectorDrawing
// and write no file. A host asks the drawing what it wants to know, or has a writer make a file of it.
//
//     KivVectorDrawing drawing;
//     KivDrawingCollector collector(drawing);
//     collector.setObjectNames({L"house", L"tree"});
//     settings.setVectorial(true);
//     if (renderer.render(&common, &data, &scene, camera, &surface, &size) && collector.hasDrawing()) {
//         write(drawing);
//     }
//
// Each render replaces what was in the drawing. A render that is cancelled, fails or is too large for its buffer
// (KivVectorPage::hasOverflowed) leaves it empty: hasDrawing tells. With shadows in the settings regions have their
// areas: as shaders paint what no light reaches, between outlines that are computed and not sampled. The drawing and
// the collector are the host's; the drawing must outlive the collector. The paper image of the settings is no part of a
// drawing.
#ifndef KIVRENDER_RENDER_KIVDRAWINGCOLLECTOR_H
#define KIVRENDER_RENDER_KIVDRAWINGCOLLECTOR_H

#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class KivDrawnSkins;
class KivMesh;
class KivScene;
struct CollectedShadows;
struct CollectedSkins;

class KIV_API KivDrawingCollector {
public:
    // How the surfaces come out.
    enum class Areas : std::uint8_t {
        regions,   // what is visible of one look of one object and hangs together is one area
        faces,     // triangles in one plane become the fewest that cover them
        triangles, // as they were drawn
    };

    // How textures and colours at vertices come out, of surfaces whose shader shows them.
    enum class Textures : std::uint8_t {
        areas,    // areas of flat colour along them, where areas are regions
        mean,     // each surface has their mean colour
        pictures, // areas of each tone, with a picture of them in each, where areas are regions
    };

    // Where a collector exists already, the new one takes its place until it ends.
    explicit KivDrawingCollector(KivVectorDrawing& into);
    ~KivDrawingCollector();
    KivDrawingCollector(const KivDrawingCollector&) = delete;
    KivDrawingCollector& operator=(const KivDrawingCollector&) = delete;

    // Regions at first. All setters count for the renders that begin after them.
    void setAreas(Areas value) {
        kind = value;
    }
    Areas areas() const {
        return kind;
    }
    void setTextures(Textures value) {
        textures = value;
    }
    Textures getTextures() const {
        return textures;
    }
    // Of regions, in pixels: how far a drawn border may lie from the true one.
    void setTolerance(double pixels) {
        tolerance = pixels;
    }
    double getTolerance() const {
        return tolerance;
    }
    // In square pixels: a visible tone of an object with less area becomes part of the tone of that object around it.
    // Tones of fine meshes are ragged where light falls along the surface.
    void setSmallestTone(double area) {
        smallestTone = area;
    }
    double getSmallestTone() const {
        return smallestTone;
    }
    // The title of the drawings to come.
    void setTitle(std::wstring value) {
        title = std::move(value);
    }
    // Of the scene's meshes in their order as the scene is handed to the render; those without a name get an empty one.
    void setObjectNames(std::vector<std::wstring> value) {
        names = std::move(value);
    }
    // Whether the last render filled the drawing.
    bool hasDrawing() const {
        return filled;
    }

    // For the renderer: the collector in force, or null; a scene before anything was taken out of it; a drawing that
    // begins with the objects of what is left, its end, and a drawing that is given up.
    // That of the calling thread.
    static KivDrawingCollector* current();
    void note(const KivScene& scene);
    KivVectorDrawing& begin(const KivScene* scene);
    void end();
    void drop();
    // What a render with shadows has recorded beside its page; null without shadows.
    std::unique_ptr<CollectedShadows>& collectedShadows() {
        return shadows;
    }
    // What shaders have told of skins; null where nobody wants them.
    CollectedSkins* collectedSkins() const {
        return skins.get();
    }

private:
    // Gives the objects of a scene that was cut down their names.
    void nameObjects(const KivScene& scene);
    void empty();

    KivVectorDrawing& drawing;
    // The collectors in force before this one, which its end restores.
    KivDrawingCollector* former;
    KivVectorDrawing* formerDrawing = nullptr;
    KivDrawnSkins* formerSkins = nullptr;
    Areas kind = Areas::regions;
    Textures textures = Textures::areas;
    double tolerance = 0.1;
    double smallestTone = 12.0;
    std::wstring title;
    std::vector<std::wstring> names;
    std::vector<const KivMesh*> meshes; // that the names belong to
    bool open = false;
    bool filled = false;
    std::unique_ptr<CollectedShadows> shadows;
    std::unique_ptr<CollectedSkins> skins;
};

#endif
