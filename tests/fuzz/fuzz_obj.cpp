// Our own readers of models, OBJ and MTL, with any text: what is read names only what is there, or one line refuses it.
#include "import/modelparts.h"
#include "import/objreader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void requireWhole(const kivimport::Surface& surface, std::size_t numMaterials) {
    for (const kivimport::Vec3& point : surface.positions) {
        require(kivimport::isUsable(point));
    }
    require(surface.corners.size() % 3 == 0);
    for (const std::uint32_t corner : surface.corners) {
        require(corner < surface.positions.size());
    }
    require(surface.cornerNormals.empty() || surface.cornerNormals.size() == surface.corners.size());
    for (const std::uint32_t normal : surface.cornerNormals) {
        require(normal == kivimport::noIndex || normal < surface.normals.size());
    }
    require(surface.triangleParts.empty() || surface.triangleParts.size() == surface.corners.size() / 3);
    for (const std::uint32_t part : surface.triangleParts) {
        require(part < surface.parts.size());
    }
    for (const kivimport::Surface::Part& part : surface.parts) {
        require(part.material == kivimport::noIndex || part.material < numMaterials);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        kivimport::ReadLimits limits;
        limits.maxElements = 100000;
        const kivimport::ObjFile file = kivimport::readObj(text, limits);
        for (const kivimport::Surface& surface : file.parts.surfaces) {
            requireWhole(surface, file.parts.materials.size());
        }
        for (const kivimport::Polyline& line : file.parts.polylines) {
            for (const kivimport::Vec3& point : line.points) {
                require(kivimport::isUsable(point));
            }
        }
    } catch (const kivimport::ImportError& refusal) {
        require(refusal.what()[0] != '\0');
    }
    std::vector<kivimport::Material> materials(1);
    materials[0].name = "a";
    kivimport::readMtl(text, materials);
    require(materials.size() == 1);
    return 0;
}
