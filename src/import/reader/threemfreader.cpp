#include "import/reader/threemfreader.h"

#include "import/reader/texturepicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <Model/COM/NMR_DLLInterfaces.h>

namespace kivimport {
namespace {

// Objects within objects: beyond any assembly, and far from the end of the stack.
constexpr int maxDepth = 256;
// Placings of objects; a few lines of a file can make an endless number of them, even of objects without a triangle.
constexpr std::uint64_t maxPlacings = std::uint64_t{1} << 20;
// The package is compressed.
constexpr std::uint64_t bytesPerByte = 8;
constexpr double readPart = 0.8;

// Owns an object of lib3mf.
template <class Object> class Handle {
public:
    Handle() = default;
    ~Handle() {
        if (object != nullptr) {
            NMR::lib3mf_release(object);
        }
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    Object** out() {
        return &object;
    }
    Object* get() const {
        return object;
    }

private:
    Object* object = nullptr;
};

// source: the object that was asked, which knows the reason.
void check(LIB3MFRESULT result, NMR::PLib3MFBase* source) {
    if (result == 0) {
        return;
    }
    DWORD code = 0;
    LPCSTR reason = nullptr;
    if (source != nullptr) {
        NMR::lib3mf_getlasterror(source, &code, &reason);
    }
    const std::string text = reason != nullptr ? reason : "";
    throw ImportError("it is broken or of another kind than its ending says (" +
                      (text.empty() ? "no reason is known" : text.substr(0, text.find_first_of("\r\n"))) + ")");
}

using Matrix = NMR::MODELTRANSFORM; // m_fFields[row][column], the last column is the shift

// Where the axes lead, and the origin.
struct Placing {
    Vec3 x{1.0, 0.0, 0.0};
    Vec3 y{0.0, 1.0, 0.0};
    Vec3 z{0.0, 0.0, 1.0};
    Vec3 origin;

    Vec3 vector(const Vec3& v) const {
        return x * v.x + y * v.y + z * v.z;
    }
    Vec3 point(const Vec3& p) const {
        return vector(p) + origin;
    }
    bool isMirrored() const {
        return dot(x, cross(y, z)) < 0.0;
    }
    // Whether it turns, moves and scales alone.
    bool keepsShape() const {
        const double size = length(x);
        const double tolerance = 1e-5 * size;
        return size > 0.0 && std::fabs(length(y) - size) <= tolerance && std::fabs(length(z) - size) <= tolerance &&
               std::fabs(dot(x, y)) <= tolerance * size && std::fabs(dot(y, z)) <= tolerance * size &&
               std::fabs(dot(z, x)) <= tolerance * size && !isMirrored();
    }
};

Placing combine(const Placing& outer, const Matrix& inner) {
    const auto column = [&inner](int i) {
        return Vec3{inner.m_fFields[0][i], inner.m_fFields[1][i], inner.m_fFields[2][i]};
    };
    return {outer.vector(column(0)), outer.vector(column(1)), outer.vector(column(2)), outer.point(column(3))};
}

Colour colourOf(const NMR::MODELMESHCOLOR_SRGB& c) {
    return {c.m_Red / 255.0, c.m_Green / 255.0, c.m_Blue / 255.0};
}

class ThreeMfReader {
public:
    ThreeMfReader(std::string modelPath, const ReadLimits& readLimits, ReaderReport& readerReport)
        : path(std::move(modelPath)), limits(readLimits), report(readerReport) {}

    ModelParts read() {
        parts.format = "3D Manufacturing Format";
        parts.zUp = true;
        openModel();
        parts.metresPerUnit = metresPerUnit();
        report.setStep(readPart, 1.0);
        Handle<NMR::PLib3MFModelBuildItemIterator> items;
        check(NMR::lib3mf_model_getbuilditems(model.get(), items.out()), model.get());
        BOOL hasItem = 0;
        while (NMR::lib3mf_builditemiterator_movenext(items.get(), &hasItem) == 0 && hasItem != 0) {
            addItem(items.get());
        }
        if (hasBeams) {
            parts.warnings.emplace_back("it has lattices of beams, which are not drawn");
        }
        return std::move(parts);
    }

private:
    void openModel() {
        std::error_code problem;
        const std::uintmax_t size = std::filesystem::file_size(path, problem);
        report.opened(problem ? 0 : size * bytesPerByte);
        report.setStep(0.0, readPart);
        check(NMR::lib3mf_createmodel(model.out()), nullptr);
        Handle<NMR::PLib3MFModelReader> reader;
        check(NMR::lib3mf_model_queryreader(model.get(), "3mf", reader.out()), model.get());
        check(NMR::lib3mf_reader_setprogresscallback(reader.get(), tellProgress, &report), reader.get());
        check(NMR::lib3mf_reader_readfromfileutf8(reader.get(), path.c_str()), reader.get());
    }
    static bool tellProgress(int percent, NMR::ProgressIdentifier /*stage*/, void* to) {
        static_cast<ReaderReport*>(to)->done(std::clamp(percent, 0, 100) / 100.0);
        return true;
    }

    double metresPerUnit() const {
        DWORD unit = NMR::MODELUNIT_MILLIMETER;
        check(NMR::lib3mf_model_getunit(model.get(), &unit), model.get());
        constexpr std::array<double, 6> metres{1e-6, 1e-3, 1e-2, 0.0254, 0.3048, 1.0};
        return unit < metres.size() ? metres[unit] : metres[NMR::MODELUNIT_MILLIMETER];
    }

    void addItem(NMR::PLib3MFModelBuildItemIterator* items) {
        Handle<NMR::PLib3MFModelBuildItem> item;
        check(NMR::lib3mf_builditemiterator_getcurrent(items, item.out()), items);
        Handle<NMR::PLib3MFModelObjectResource> object;
        check(NMR::lib3mf_builditem_getobjectresource(item.get(), object.out()), item.get());
        BOOL hasTransform = 0;
        check(NMR::lib3mf_builditem_hasobjecttransform(item.get(), &hasTransform), item.get());
        Placing placing;
        if (hasTransform != 0) {
            Matrix matrix{};
            check(NMR::lib3mf_builditem_getobjecttransform(item.get(), &matrix), item.get());
            placing = combine(placing, matrix);
        }
        addObject(object.get(), placing, noIndex, 0);
    }

    void addObject(NMR::PLib3MFModelObjectResource* object, const Placing& placing, std::uint32_t parent, int depth) {
        if (depth > maxDepth || ++numPlacings > maxPlacings) {
            throw ImportError(depth > maxDepth ? "its objects lie too deep within each other"
                                               : "it has more than a million places of objects");
        }
        if (!isUsable(placing.x) || !isUsable(placing.y) || !isUsable(placing.z) || !isUsable(placing.origin)) {
            throw ImportError("the place of an object is not a finite number, or too large");
        }
        const std::uint32_t node = nodeOf(object, parent);
        BOOL isMesh = 0;
        BOOL hasComponents = 0;
        check(NMR::lib3mf_object_ismeshobject(object, &isMesh), object);
        check(NMR::lib3mf_object_iscomponentsobject(object, &hasComponents), object);
        if (isMesh != 0) {
            placeMesh(object, placing, node);
        }
        DWORD count = 0;
        if (hasComponents != 0) {
            check(NMR::lib3mf_componentsobject_getcomponentcount(object, &count), object);
        }
        for (DWORD i = 0; i < count; ++i) {
            Handle<NMR::PLib3MFModelComponent> component;
            check(NMR::lib3mf_componentsobject_getcomponent(object, i, component.out()), object);
            Handle<NMR::PLib3MFModelObjectResource> child;
            check(NMR::lib3mf_component_getobjectresource(component.get(), child.out()), component.get());
            Matrix matrix{};
            check(NMR::lib3mf_component_gettransform(component.get(), &matrix), component.get());
            addObject(child.get(), combine(placing, matrix), node, depth + 1);
        }
    }

    // Objects without a name belong to the one around them.
    std::uint32_t nodeOf(NMR::PLib3MFModelObjectResource* object, std::uint32_t parent) {
        const std::string name = nameOf(object);
        if (name.empty()) {
            return parent;
        }
        parts.nodes.push_back({name, parent});
        return static_cast<std::uint32_t>(parts.nodes.size() - 1);
    }
    static std::string nameOf(NMR::PLib3MFModelObjectResource* object) {
        ULONG size = 0;
        check(NMR::lib3mf_object_getnameutf8(object, nullptr, 0, &size), object);
        std::string name(std::size_t{size} + 1, '\0');
        check(NMR::lib3mf_object_getnameutf8(object, name.data(), size + 1, &size), object);
        name.resize(std::min(name.find('\0'), name.size()));
        return name;
    }

    // --- meshes ---

    void placeMesh(NMR::PLib3MFModelObjectResource* object, const Placing& placing, std::uint32_t node) {
        DWORD id = 0;
        check(NMR::lib3mf_resource_getresourceid(object, &id), object);
        auto known = surfaces.find(id);
        if (known == surfaces.end()) {
            known = surfaces.emplace(id, parts.surfaces.size()).first;
            parts.surfaces.push_back(readMesh(object));
        }
        std::size_t surface = known->second;
        if (parts.surfaces[surface].corners.empty()) {
            return;
        }
        numElements += parts.surfaces[surface].corners.size() / 3;
        checkElements(numElements, limits);
        SurfaceInstance instance;
        if (placing.keepsShape()) {
            instance.x = placing.x;
            instance.y = placing.y;
            instance.z = placing.z;
            instance.origin = placing.origin;
        } else {
            parts.surfaces.push_back(bent(parts.surfaces[surface], placing));
            surface = parts.surfaces.size() - 1;
        }
        instance.surface = static_cast<std::uint32_t>(surface);
        instance.node = node;
        parts.instances.push_back(instance);
    }

    // With the placing in its positions.
    static Surface bent(Surface surface, const Placing& placing) {
        for (Vec3& position : surface.positions) {
            position = placing.point(position);
        }
        for (std::size_t i = 0; placing.isMirrored() && i < surface.corners.size(); i += 3) {
            std::swap(surface.corners[i + 1], surface.corners[i + 2]);
            if (!surface.cornerPaint.empty()) {
                std::swap(surface.cornerPaint[i + 1], surface.cornerPaint[i + 2]);
            }
        }
        return surface;
    }

    Surface readMesh(NMR::PLib3MFModelObjectResource* object) {
        DWORD numVertices = 0;
        DWORD numTriangles = 0;
        check(NMR::lib3mf_meshobject_getvertexcount(object, &numVertices), object);
        check(NMR::lib3mf_meshobject_gettrianglecount(object, &numTriangles), object);
        checkElements(numElements + numTriangles, limits);
        DWORD numBeams = 0;
        check(NMR::lib3mf_meshobject_getbeamcount(object, &numBeams), object);
        hasBeams = hasBeams || numBeams > 0;

        Surface surface;
        if (numTriangles == 0) {
            return surface;
        }
        std::vector<NMR::MODELMESHVERTEX> vertices(numVertices);
        std::vector<NMR::MODELMESHTRIANGLE> triangles(numTriangles);
        check(NMR::lib3mf_meshobject_getvertices(object, vertices.data(), numVertices, nullptr), object);
        check(NMR::lib3mf_meshobject_gettriangleindices(object, triangles.data(), numTriangles, nullptr), object);
        surface.positions.reserve(numVertices);
        for (const NMR::MODELMESHVERTEX& vertex : vertices) {
            const Vec3 position{vertex.m_fPosition[0], vertex.m_fPosition[1], vertex.m_fPosition[2]};
            if (!isUsable(position)) {
                throw ImportError("a coordinate is not a finite number, or too large");
            }
            surface.positions.push_back(position);
        }
        surface.corners.reserve(std::size_t{numTriangles} * 3);
        for (const NMR::MODELMESHTRIANGLE& triangle : triangles) {
            for (const DWORD index : triangle.m_nIndices) {
                if (index >= numVertices) {
                    throw ImportError("vertex index " + std::to_string(index) + " is out of range, its mesh has " +
                                      std::to_string(numVertices) + " vertices");
                }
                surface.corners.push_back(index);
            }
        }
        addProperties(object, surface);
        return surface;
    }

    // --- materials ---

    // Gives each triangle the part of its material.
    void addProperties(NMR::PLib3MFModelObjectResource* object, Surface& surface) {
        Handle<NMR::PLib3MFPropertyHandler> properties;
        check(NMR::lib3mf_meshobject_createpropertyhandler(object, properties.out()), object);
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

    std::uint32_t materialOf(NMR::PLib3MFPropertyHandler* properties, DWORD triangle, Surface& surface) {
        NMR::eModelPropertyType type = NMR::MODELPROPERTYTYPE_NONE;
        check(NMR::lib3mf_propertyhandler_getpropertytype(properties, triangle, &type), properties);
        if (type == NMR::MODELPROPERTYTYPE_BASEMATERIALS) {
            DWORD group = 0;
            DWORD index = 0;
            check(NMR::lib3mf_propertyhandler_getbasematerial(properties, triangle, &group, &index), properties);
            return baseMaterial(group, index);
        }
        if (type == NMR::MODELPROPERTYTYPE_COLOR) {
            NMR::MODELMESH_TRIANGLECOLOR_SRGB colours{};
            check(NMR::lib3mf_propertyhandler_getcolor(properties, triangle, &colours), properties);
            return colouredMaterial(triangle, colours, surface);
        }
        if (type == NMR::MODELPROPERTYTYPE_TEXCOORD2D) {
            NMR::MODELMESHTEXTURE2D places{};
            check(NMR::lib3mf_propertyhandler_gettexture(properties, triangle, &places), properties);
            return texturedMaterial(triangle, places, surface);
        }
        return noIndex;
    }

    std::uint32_t baseMaterial(DWORD group, DWORD index) {
        const auto [known, isNew] = baseMaterials.try_emplace({group, index}, noIndex);
        Handle<NMR::PLib3MFModelBaseMaterial> materials;
        if (!isNew || NMR::lib3mf_model_getbasematerialbyid(model.get(), group, materials.out()) != 0) {
            return known->second;
        }
        NMR::MODELMESHCOLOR_SRGB colour{};
        if (NMR::lib3mf_basematerial_getdisplaycolor(materials.get(), index, &colour.m_Red, &colour.m_Green,
                                                     &colour.m_Blue, &colour.m_Alpha) != 0) {
            return noIndex;
        }
        known->second = addMaterial(baseMaterialName(materials.get(), index), colour);
        return known->second;
    }
    static std::string baseMaterialName(NMR::PLib3MFModelBaseMaterial* materials, DWORD index) {
        ULONG size = 0;
        check(NMR::lib3mf_basematerial_getnameutf8(materials, index, nullptr, 0, &size), materials);
        std::string name(std::size_t{size} + 1, '\0');
        check(NMR::lib3mf_basematerial_getnameutf8(materials, index, name.data(), size + 1, &size), materials);
        name.resize(std::min(name.find('\0'), name.size()));
        return name;
    }
    std::uint32_t addMaterial(const std::string& name, const NMR::MODELMESHCOLOR_SRGB& colour) {
        Material& material = parts.materials.emplace_back();
        material.name = name;
        material.diffuse = colourOf(colour);
        material.opacity = colour.m_Alpha / 255.0;
        return static_cast<std::uint32_t>(parts.materials.size() - 1);
    }

    // A triangle of one colour has a material; one that runs from colour to colour is painted, and has their mean for
    // what knows nothing of paint. Paint is either of colours or of a texture: what comes first in a mesh has it.
    std::uint32_t colouredMaterial(DWORD triangle, const NMR::MODELMESH_TRIANGLECOLOR_SRGB& colours, Surface& surface) {
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
        if (paintedMaterial == noIndex) {
            paintedMaterial = addMaterial("", colour);
        }
        return paintedMaterial;
    }

    std::uint32_t texturedMaterial(DWORD triangle, const NMR::MODELMESHTEXTURE2D& places, Surface& surface) {
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

    std::uint32_t textureMaterial(DWORD id) {
        const auto [known, isNew] = textures.try_emplace(id, noIndex);
        Handle<NMR::PLib3MFModelTexture2D> texture;
        if (!isNew || NMR::lib3mf_model_gettexture2dbyid(model.get(), id, texture.out()) != 0) {
            return known->second;
        }
        known->second = addMaterial("", {255, 255, 255, 255});
        Material& material = parts.materials.back();
        material.cutOut = usualCutOut;
        ULONG size = 0;
        std::string name(1024, '\0');
        if (NMR::lib3mf_texture2d_getpathutf8(texture.get(), name.data(), static_cast<ULONG>(name.size()), &size) ==
            0) {
            material.texture = name.substr(0, name.find('\0'));
        }
        NMR::eModelTextureTileStyle u = NMR::MODELTEXTURETILESTYLE_WRAP;
        NMR::eModelTextureTileStyle v = NMR::MODELTEXTURETILESTYLE_WRAP;
        NMR::lib3mf_texture2d_gettilestyleuv(texture.get(), &u, &v);
        material.wrapU = wrapOf(u);
        material.wrapV = wrapOf(v);
        limitPixels(parts.pictures.emplace_back(pictureOfTexture(texture.get())), numPixels);
        takePicture(material, static_cast<std::uint32_t>(parts.pictures.size() - 1), parts.pictures.back(),
                    parts.warnings);
        return known->second;
    }
    static Wrap wrapOf(NMR::eModelTextureTileStyle style) {
        return style == NMR::MODELTEXTURETILESTYLE_WRAP     ? Wrap::repeat
               : style == NMR::MODELTEXTURETILESTYLE_MIRROR ? Wrap::mirror
                                                            : Wrap::clamp;
    }
    static Picture pictureOfTexture(NMR::PLib3MFModelTexture2D* texture) {
        Handle<NMR::PLib3MFModelAttachment> attachment;
        ULONG64 size = 0;
        if (NMR::lib3mf_texture2d_getattachment(texture, attachment.out()) != 0 ||
            NMR::lib3mf_attachment_getstreamsize(attachment.get(), &size) != 0 || size == 0) {
            Picture picture;
            picture.problem = "there is no such picture in the file";
            return picture;
        }
        std::vector<std::uint8_t> bytes(size);
        check(NMR::lib3mf_attachment_writetobuffer(attachment.get(), bytes.data(), size), attachment.get());
        return readPictureBytes(bytes.data(), bytes.size());
    }

    std::string path;
    ReadLimits limits;
    ReaderReport& report;
    Handle<NMR::PLib3MFModel> model;
    ModelParts parts;
    std::map<DWORD, std::size_t> surfaces; // by the objects of meshes
    std::map<std::pair<DWORD, DWORD>, std::uint32_t> baseMaterials;
    std::map<std::tuple<BYTE, BYTE, BYTE, BYTE>, std::uint32_t> colourMaterials;
    std::map<DWORD, std::uint32_t> textures;
    std::uint32_t paintedMaterial = noIndex;
    std::uint64_t numPixels = 0;
    std::uint64_t numElements = 0;
    std::uint64_t numPlacings = 0;
    bool hasBeams = false;
};

} // namespace

bool isThreeMfFile(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); });
    return ending == ".3mf";
}

ModelParts readThreeMf(const std::string& path, const ReadLimits& limits, ReaderReport& report) {
    return ThreeMfReader(path, limits, report).read();
}

std::string threeMfVersion() {
    DWORD major = 0;
    DWORD minor = 0;
    DWORD micro = 0;
    NMR::lib3mf_getinterfaceversion(&major, &minor, &micro);
    return "lib3mf " + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(micro);
}

} // namespace kivimport
