#include "import/reader/threemfmaterials.h"

#include "import/reader/texturepicture.h"

#include <algorithm>
#include <vector>

namespace kivimport {
namespace {

Colour colourOf(const NMR::MODELMESHCOLOR_SRGB& c) {
    return {c.m_Red / 255.0, c.m_Green / 255.0, c.m_Blue / 255.0};
}

Wrap wrapOf(NMR::eModelTextureTileStyle style) {
    return style == NMR::MODELTEXTURETILESTYLE_WRAP     ? Wrap::repeat
           : style == NMR::MODELTEXTURETILESTYLE_MIRROR ? Wrap::mirror
                                                        : Wrap::clamp;
}

Picture pictureOfTexture(NMR::PLib3MFModelTexture2D* texture) {
    Lib3mfHandle<NMR::PLib3MFModelAttachment> attachment;
    ULONG64 size = 0;
    if (NMR::lib3mf_texture2d_getattachment(texture, attachment.out()) != 0 ||
        NMR::lib3mf_attachment_getstreamsize(attachment.get(), &size) != 0 || size == 0) {
        Picture picture;
        picture.problem = "there is no such picture in the file";
        return picture;
    }
    std::vector<std::uint8_t> bytes(size);
    checkLib3mf(NMR::lib3mf_attachment_writetobuffer(attachment.get(), bytes.data(), size), attachment.get());
    return readPictureBytes(bytes.data(), bytes.size());
}

} // namespace

void ThreeMfMaterials::addTo(Surface& surface, NMR::PLib3MFModelObjectResource* object) {
    Lib3mfHandle<NMR::PLib3MFPropertyHandler> properties;
    checkLib3mf(NMR::lib3mf_meshobject_createpropertyhandler(object, properties.out()), object);
    const std::size_t numTriangles = surface.corners.size() / 3;
    std::map<std::uint32_t, std::uint32_t> partsByMaterial;
    surface.triangleParts.reserve(numTriangles);
    for (std::size_t i = 0; i < numTriangles; ++i) {
        const std::uint32_t material = materialOf(properties.get(), static_cast<DWORD>(i), surface);
        const auto [part, isNew] =
            partsByMaterial.try_emplace(material, static_cast<std::uint32_t>(surface.parts.size()));
        if (isNew) {
            surface.parts.push_back({"", material, noIndex});
        }
        surface.triangleParts.push_back(part->second);
    }
}

std::uint32_t ThreeMfMaterials::materialOf(NMR::PLib3MFPropertyHandler* properties, DWORD triangle, Surface& surface) {
    NMR::eModelPropertyType type = NMR::MODELPROPERTYTYPE_NONE;
    checkLib3mf(NMR::lib3mf_propertyhandler_getpropertytype(properties, triangle, &type), properties);
    if (type == NMR::MODELPROPERTYTYPE_BASEMATERIALS) {
        DWORD group = 0;
        DWORD index = 0;
        checkLib3mf(NMR::lib3mf_propertyhandler_getbasematerial(properties, triangle, &group, &index), properties);
        return baseMaterial(group, index);
    }
    if (type == NMR::MODELPROPERTYTYPE_COLOR) {
        NMR::MODELMESH_TRIANGLECOLOR_SRGB colours{};
        checkLib3mf(NMR::lib3mf_propertyhandler_getcolor(properties, triangle, &colours), properties);
        return colouredMaterial(triangle, colours, surface);
    }
    if (type == NMR::MODELPROPERTYTYPE_TEXCOORD2D) {
        NMR::MODELMESHTEXTURE2D places{};
        checkLib3mf(NMR::lib3mf_propertyhandler_gettexture(properties, triangle, &places), properties);
        return texturedMaterial(triangle, places, surface);
    }
    return noIndex;
}

std::uint32_t ThreeMfMaterials::baseMaterial(DWORD group, DWORD index) {
    const auto [known, isNew] = baseMaterials.try_emplace({group, index}, noIndex);
    Lib3mfHandle<NMR::PLib3MFModelBaseMaterial> materials;
    if (!isNew || NMR::lib3mf_model_getbasematerialbyid(model.get(), group, materials.out()) != 0) {
        return known->second;
    }
    NMR::MODELMESHCOLOR_SRGB colour{};
    if (NMR::lib3mf_basematerial_getdisplaycolor(materials.get(), index, &colour.m_Red, &colour.m_Green, &colour.m_Blue,
                                                 &colour.m_Alpha) != 0) {
        return noIndex;
    }
    known->second = addMaterial(lib3mfText(materials.get(),
                                           [&materials, index](char* text, ULONG size, ULONG* length) {
                                               return NMR::lib3mf_basematerial_getnameutf8(materials.get(), index, text,
                                                                                           size, length);
                                           }),
                                colour);
    return known->second;
}
std::uint32_t ThreeMfMaterials::addMaterial(const std::string& name, const NMR::MODELMESHCOLOR_SRGB& colour) {
    Material& material = parts.materials.emplace_back();
    material.name = name;
    material.diffuse = colourOf(colour);
    material.opacity = colour.m_Alpha / 255.0;
    return static_cast<std::uint32_t>(parts.materials.size() - 1);
}

std::uint32_t ThreeMfMaterials::colouredMaterial(DWORD triangle, const NMR::MODELMESH_TRIANGLECOLOR_SRGB& colours,
                                                 Surface& surface) {
    const NMR::MODELMESHCOLOR_SRGB* c = colours.m_Colors;
    const auto mean = [c](BYTE NMR::MODELMESHCOLOR_SRGB::*channel) {
        return static_cast<BYTE>((c[0].*channel + c[1].*channel + c[2].*channel) / 3);
    };
    const NMR::MODELMESHCOLOR_SRGB colour{
        mean(&NMR::MODELMESHCOLOR_SRGB::m_Red), mean(&NMR::MODELMESHCOLOR_SRGB::m_Green),
        mean(&NMR::MODELMESHCOLOR_SRGB::m_Blue), mean(&NMR::MODELMESHCOLOR_SRGB::m_Alpha)};
    const auto isMean = [&colour](const NMR::MODELMESHCOLOR_SRGB& corner) {
        return corner.m_Red == colour.m_Red && corner.m_Green == colour.m_Green && corner.m_Blue == colour.m_Blue;
    };
    const bool isPainted = !std::all_of(c, c + 3, isMean) && (surface.isPaintColour || surface.cornerPaint.empty());
    if (!isPainted) {
        const auto [known, isNew] =
            colourMaterials.try_emplace({colour.m_Red, colour.m_Green, colour.m_Blue, colour.m_Alpha}, noIndex);
        if (isNew) {
            known->second = addMaterial("", colour);
        }
        return known->second;
    }
    surface.isPaintColour = true;
    surface.cornerPaint.resize(surface.corners.size(), noIndex);
    for (std::size_t i = 0; i < 3; ++i) {
        surface.cornerPaint[std::size_t{triangle} * 3 + i] = static_cast<std::uint32_t>(surface.paint.size());
        const Colour corner = colourOf(c[i]);
        surface.paint.push_back({corner.r, corner.g, corner.b});
    }
    paintSum = paintSum + Vec3{colour.m_Red / 255.0, colour.m_Green / 255.0, colour.m_Blue / 255.0};
    ++numPainted;
    if (paintedMaterial == noIndex) {
        paintedMaterial = addMaterial("", colour);
    }
    return paintedMaterial;
}

std::uint32_t ThreeMfMaterials::texturedMaterial(DWORD triangle, const NMR::MODELMESHTEXTURE2D& places,
                                                 Surface& surface) {
    const std::uint32_t material = textureMaterial(places.m_nTextureID);
    if (material == noIndex || parts.materials[material].picture == noIndex || surface.isPaintColour) {
        return material;
    }
    surface.cornerPaint.resize(surface.corners.size(), noIndex);
    for (std::size_t i = 0; i < 3; ++i) {
        surface.cornerPaint[std::size_t{triangle} * 3 + i] = static_cast<std::uint32_t>(surface.paint.size());
        // The file counts from the lower left corner of the picture.
        const Vec3 place{places.m_fU[i], 1.0 - places.m_fV[i], 0.0};
        surface.paint.push_back(isUsable(place) ? place : Vec3{});
    }
    return material;
}

std::uint32_t ThreeMfMaterials::textureMaterial(DWORD id) {
    const auto [known, isNew] = textures.try_emplace(id, noIndex);
    Lib3mfHandle<NMR::PLib3MFModelTexture2D> texture;
    if (!isNew || NMR::lib3mf_model_gettexture2dbyid(model.get(), id, texture.out()) != 0) {
        return known->second;
    }
    known->second = addMaterial("", {255, 255, 255, 255});
    Material& material = parts.materials.back();
    material.cutOut = usualCutOut;
    readPicture(texture.get(), material);
    return known->second;
}

void ThreeMfMaterials::readPicture(NMR::PLib3MFModelTexture2D* texture, Material& material) {
    material.texture = lib3mfText(texture, [texture](char* text, ULONG size, ULONG* length) {
        return NMR::lib3mf_texture2d_getpathutf8(texture, text, size, length);
    });
    NMR::eModelTextureTileStyle u = NMR::MODELTEXTURETILESTYLE_WRAP;
    NMR::eModelTextureTileStyle v = NMR::MODELTEXTURETILESTYLE_WRAP;
    NMR::lib3mf_texture2d_gettilestyleuv(texture, &u, &v);
    material.wrapU = wrapOf(u);
    material.wrapV = wrapOf(v);
    limitPixels(parts.pictures.emplace_back(pictureOfTexture(texture)), numPixels);
    takePicture(material, static_cast<std::uint32_t>(parts.pictures.size() - 1), parts.pictures.back(), parts.warnings);
}

void ThreeMfMaterials::finish() {
    if (numPainted > 0) {
        const Vec3 mean = paintSum * (1.0 / static_cast<double>(numPainted));
        parts.materials[paintedMaterial].diffuse = {mean.x, mean.y, mean.z};
    }
}

} // namespace kivimport
