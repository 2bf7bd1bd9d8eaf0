// What the triangles of 3MF files look like.
#ifndef IMPORT_READER_THREEMFMATERIALS_H
#define IMPORT_READER_THREEMFMATERIALS_H

#include "import/modelparts.h"
#include "import/reader/lib3mf.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>

namespace kivimport {

// Turns the properties of triangles into materials and pictures of the parts, each once for the whole file. A triangle
// of one colour has a material; one that runs from colour to colour is painted. The paint of a surface is either of
// colours or of textures: what comes first has it, and the others are drawn in their means.
class ThreeMfMaterials {
public:
    // Both stay the caller's.
    ThreeMfMaterials(const Lib3mfHandle<NMR::PLib3MFModel>& fileModel, ModelParts& modelParts)
        : model(fileModel), parts(modelParts) {}

    // Gives each triangle of the surface the part of its material, and its corners their paint. object: the mesh of
    // lib3mf from which the surface comes.
    void addTo(Surface& surface, NMR::PLib3MFModelObjectResource* object);
    // Once all surfaces have theirs.
    void finish();

private:
    std::uint32_t materialOf(NMR::PLib3MFPropertyHandler* properties, DWORD triangle, Surface& surface);
    std::uint32_t baseMaterial(DWORD group, DWORD index);
    std::uint32_t colouredMaterial(DWORD triangle, const NMR::MODELMESH_TRIANGLECOLOR_SRGB& colours, Surface& surface);
    std::uint32_t texturedMaterial(DWORD triangle, const NMR::MODELMESHTEXTURE2D& places, Surface& surface);
    std::uint32_t textureMaterial(DWORD id);
    void readPicture(NMR::PLib3MFModelTexture2D* texture, Material& material);
    std::uint32_t addMaterial(const std::string& name, const NMR::MODELMESHCOLOR_SRGB& colour);

    const Lib3mfHandle<NMR::PLib3MFModel>& model;
    ModelParts& parts;
    std::map<std::pair<DWORD, DWORD>, std::uint32_t> baseMaterials; // by group and number
    std::map<std::tuple<BYTE, BYTE, BYTE, BYTE>, std::uint32_t> colourMaterials;
    std::map<DWORD, std::uint32_t> textures;
    std::uint32_t paintedMaterial = noIndex; // of all that is painted with colours
    Vec3 paintSum;                           // of its triangles
    std::uint64_t numPainted = 0;
    std::uint64_t numPixels = 0;
};

} // namespace kivimport

#endif
