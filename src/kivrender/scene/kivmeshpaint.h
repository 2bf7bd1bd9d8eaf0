// Colours that change over the surface of a mesh: a texture, or a colour at each vertex.
//
// They lie beside the mesh and not in it, so that the mesh keeps its binary form; copies of a mesh share them. A mesh
// without any has the one colour of its material, and so it has for a shader that knows nothing of this: who sets the
// paint gives the material the mean of it as its diffuse colour.
#ifndef KIVRENDER_SCENE_KIVMESHPAINT_H
#define KIVRENDER_SCENE_KIVMESHPAINT_H

#include "kivrender/platform/kivexport.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

class KivMesh;

// A picture for surfaces, with colours as a screen shows them.
struct KivTexture {
    // How the picture goes on beyond its borders.
    enum class Wrap : std::uint32_t { repeat, clamp, mirror };

    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint8_t> pixels; // rows from the top down, without padding; red, green, blue, straight alpha
    Wrap wrapU = Wrap::repeat;
    Wrap wrapV = Wrap::repeat;
    // Texels less opaque than this are holes, 0 to 1; 0 for a picture whose alpha means nothing.
    double cutOut = 0.0;
    // Its alpha fades, as that of a glow does: what is cut out has no edge. Surfaces with it have no lines, and hide
    // those of others only where a base look paints them. kivHasSoftAlpha (kivskinimage.h) tells it of a picture.
    bool soft = false;
};

struct KivMeshPaint {
    // Null: the coordinates are colours.
    std::shared_ptr<const KivTexture> texture;
    // One for each vertex of the mesh: places in the picture, the first two from (0, 0) at its upper left corner to
    // (1, 1) at its lower right one; or red, green and blue from 0 to 1.
    std::vector<std::array<float, 3>> coordinates;
    // All colours are multiplied with this one.
    std::array<double, 3> factor{1.0, 1.0, 1.0};
};

// Gives the mesh its paint, or none for null. The mesh forgets it when it is deleted or is assigned to. Coordinates of
// another number than the mesh has vertices count as none. May be called from several threads, for different meshes.
KIV_API void kivSetMeshPaint(const KivMesh& mesh, std::shared_ptr<const KivMeshPaint> paint);

// Null for a mesh of one colour. Costs a look into a table; loops keep the answer.
KIV_API std::shared_ptr<const KivMeshPaint> kivMeshPaint(const KivMesh& mesh);

// Whether the mesh has a texture that cuts out softly. Costs the same look.
KIV_API bool kivIsSoft(const KivMesh& mesh);

#endif
