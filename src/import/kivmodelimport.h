// Model files to a KivScene: obj by a reader of our own, since a whole command waits for it, files of CAD (STEP, IGES,
// BREP) by Open CASCADE where that is installed, everything else by Assimp.
//
// These libraries, and the codecs of textures, run in a child process with limits of time, memory and file access: a
// file that makes them crash, loop or grow costs one line and nothing else. The child is the program selvarin-reader,
// which stands beside the library and is found by nothing but the library's own place; its file is all that a host has
// to ship. It ends before kivImportModels returns.
//
// The import takes triangles (polygons are cut up), polylines and points, the transforms of the file's nodes,
// materials, cameras and lights. Normals are taken as the file gives them; where it gives none, a surface is smooth up
// to a crease angle. Mirrored nodes keep their faces' winding right. Animations, bones and morph targets stay in their
// rest position unless a clip is asked for. Of textures, and of colours at vertices, meshes have the mean as their
// diffuse colour, and all of it beside them (scene/kivmeshpaint.h).
//
// Meshes of CAD files have the normals of the exact surfaces, and their edges beside them (scene/kivmeshedges.h).
//
//     KivModel model;
//     std::wstring message;
//     if (!kivImportModels({L"car.glb"}, KivModelOptions(), model, message)) {
//         report(message); // one line: which file, why, and what would help
//     }
#ifndef IMPORT_KIVMODELIMPORT_H
#define IMPORT_KIVMODELIMPORT_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivbox.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivscene.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct KivModel;

struct KivModelOptions {
    enum class Axis { byFormat, y, z };

    Axis upAxis = Axis::byFormat;
    // Degrees between the normals of neighbouring faces; above it an edge is sharp. Only for surfaces without normals.
    double creaseAngle = 50.0;
    // How finely the curved surfaces of CAD files are cut into triangles: by how much these may stand off the surface,
    // in units of the file; or, where that is 0, so that a picture of so many pixels along its longer side shows no
    // corner. unitsPerPixel: how much of the model a pixel shows; 0 means that the model fills the picture.
    double deflection = 0.0;
    double picturePixels = 1280.0;
    double unitsPerPixel = 0.0;
    // The pose in which files that have such an animation are read: its name, or its number, and the time in it. A file
    // without it is refused. Empty: the rest position.
    std::wstring clip;
    double clipSeconds = 0.0;
    // Takes the place of this one in the scene, as another pose of it has to; null: is brought there by its own size.
    const KivModel* placedLike = nullptr;
    // Bytes of one file, and triangles, lines and points of all files together; what is larger is refused.
    std::uint64_t maxFileSize = std::uint64_t{2} << 30;
    std::uint64_t maxElements = 50'000'000;

    // Called on the calling thread while files are read, with what is done of the whole from 0 to 1: several times a
    // second where a child reads, less often where this process does. False cancels the import. It may be empty.
    std::function<bool(double done)> progress;
    // The most bytes of memory that a child may use, and its seconds of processor time without any progress. 0 chooses:
    // three quarters of the machine's memory, and ten seconds and one for each megabyte of the file. Within the first a
    // child is kept to a gigabyte and 64 bytes for each byte of the files that it opens.
    std::uint64_t maxReaderMemory = 0;
    double maxReaderSeconds = 0.0;
    // Another place of selvarin-reader, as an absolute path; empty: beside the library.
    std::wstring readerProgram;
};

// A camera of the file, in the coordinates of the scene. The frustum is left to the caller, who knows the picture.
struct KivModelCamera {
    std::wstring name;
    Kiv3DPoint location;
    Kiv3DVector direction;    // unit length
    Kiv3DVector up;           // unit length
    double verticalFov = 0.0; // degrees; 0 for an orthographic camera
    double orthoHeight = 0.0; // scene units; 0 for a perspective camera
};

struct KivModelMaterial {
    std::wstring name;
    KivMaterial material;
    std::wstring texture; // its file name as the model gives it; empty without one
};

struct KivModelFileInfo {
    std::wstring path;
    std::wstring format;        // "Wavefront OBJ"
    std::uint64_t vertices = 0; // after welding; those of the meshes
    std::uint64_t triangles = 0;
    std::uint64_t degenerate = 0; // triangles without an area that were left out
    bool zUp = false;
    double metresPerUnit = 0.0; // 0 where the file does not say
};

// An object, group or assembly by the name that the file gives it.
struct KivModelNode {
    std::wstring name;
    int parent = -1;                  // an earlier node, or -1
    std::vector<std::wstring> layers; // of a CAD file: the names of those that it lies on, with all that is in it
};

struct KivModel {
    // Holds meshes, lines, polylines and points, and no light. Owned here until the caller releases it.
    std::unique_ptr<KivScene> scene;
    std::vector<KivModelCamera> cameras;
    std::vector<KivLight> lights; // in the coordinates of the scene
    std::vector<KivModelMaterial> materials;
    std::vector<std::wstring> animations; // their names
    std::vector<double> animationSeconds; // beside them
    std::vector<KivModelFileInfo> files;
    // What the user should know though the model can be used: each one line with the file's name.
    std::vector<std::wstring> warnings;
    // Beside the meshes of the scene: the object's name as the file gives it, else that of its material, else nothing.
    std::vector<std::wstring> meshNames;
    // The tree of the objects' names, parents first, and beside the meshes of the scene the node of each, or -1.
    std::vector<KivModelNode> nodes;
    std::vector<int> meshNodes;
    // The bounds of all geometry in the coordinates of the files.
    KivBox bounds;
    // Scene coordinates are (file coordinates - origin) * scale. The tolerances of the mesh and the float matrices of
    // OpenGL are absolute, so that a model is brought to about a hundred units around the origin, whatever its own unit
    // is; scale is a power of two, which loses no bit.
    Kiv3DPoint origin;
    double scale = 1.0;
    // The direction that is up in the scene: +y or +z.
    Kiv3DVector up;

    Kiv3DPoint toScene(const Kiv3DPoint& filePoint) const;
};

// Reads one or more files into one scene. False if any of them can't be used; then message holds one line for the user:
// what is wrong, with which file (and line, where text is read), and what to do if that is known. It is empty if the
// import was cancelled.
bool kivImportModels(const std::vector<std::wstring>& paths, const KivModelOptions& options, KivModel& model,
                     std::wstring& message);

struct KivModelFormat {
    const wchar_t* ending; // lower case, without a dot
    const wchar_t* name;
};
// The libraries that read the foreign formats, with their versions; or, if selvarin-reader does not work, why.
std::wstring kivModelReaders();

// The file endings that can be read, in the order in which a list shows them.
const std::vector<KivModelFormat>& kivModelFormats();

#endif
