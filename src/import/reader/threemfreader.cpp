#include "import/reader/threemfreader.h"

#include "import/reader/lib3mf.h"
#include "import/reader/threemfmaterials.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kivimport {
namespace {

// Objects within objects: beyond any assembly, and far from the end of the stack.
constexpr int maxDepth = 256;
// Placings of objects; a few lines of a file can make an endless number of them, even of objects without a triangle.
constexpr std::uint64_t maxPlacings = std::uint64_t{1} << 20;
// The package is compressed.
constexpr std::uint64_t bytesPerByte = 8;
constexpr double readPart = 0.8;

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
        Lib3mfHandle<NMR::PLib3MFModelBuildItemIterator> items;
        checkLib3mf(NMR::lib3mf_model_getbuilditems(model.get(), items.out()), model.get());
        BOOL hasItem = 0;
        while (NMR::lib3mf_builditemiterator_movenext(items.get(), &hasItem) == 0 && hasItem != 0) {
            addItem(items.get());
        }
        materials.finish();
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
        checkLib3mf(NMR::lib3mf_createmodel(model.out()), nullptr);
        Lib3mfHandle<NMR::PLib3MFModelReader> reader;
        checkLib3mf(NMR::lib3mf_model_queryreader(model.get(), "3mf", reader.out()), model.get());
        checkLib3mf(NMR::lib3mf_reader_setprogresscallback(reader.get(), tellProgress, &report), reader.get());
        checkLib3mf(NMR::lib3mf_reader_readfromfileutf8(reader.get(), path.c_str()), reader.get());
    }
    static bool tellProgress(int percent, NMR::ProgressIdentifier /*stage*/, void* to) {
        static_cast<ReaderReport*>(to)->done(std::clamp(percent, 0, 100) / 100.0);
        return true;
    }

    double metresPerUnit() const {
        DWORD unit = NMR::MODELUNIT_MILLIMETER;
        checkLib3mf(NMR::lib3mf_model_getunit(model.get(), &unit), model.get());
        constexpr std::array<double, 6> metres{1e-6, 1e-3, 1e-2, 0.0254, 0.3048, 1.0};
        return unit < metres.size() ? metres[unit] : metres[NMR::MODELUNIT_MILLIMETER];
    }

    void addItem(NMR::PLib3MFModelBuildItemIterator* items) {
        Lib3mfHandle<NMR::PLib3MFModelBuildItem> item;
        checkLib3mf(NMR::lib3mf_builditemiterator_getcurrent(items, item.out()), items);
        Lib3mfHandle<NMR::PLib3MFModelObjectResource> object;
        checkLib3mf(NMR::lib3mf_builditem_getobjectresource(item.get(), object.out()), item.get());
        BOOL hasTransform = 0;
        checkLib3mf(NMR::lib3mf_builditem_hasobjecttransform(item.get(), &hasTransform), item.get());
        Placing placing;
        if (hasTransform != 0) {
            Matrix matrix{};
            checkLib3mf(NMR::lib3mf_builditem_getobjecttransform(item.get(), &matrix), item.get());
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
        checkLib3mf(NMR::lib3mf_object_ismeshobject(object, &isMesh), object);
        checkLib3mf(NMR::lib3mf_object_iscomponentsobject(object, &hasComponents), object);
        if (isMesh != 0) {
            placeMesh(object, placing, node);
        }
        DWORD count = 0;
        if (hasComponents != 0) {
            checkLib3mf(NMR::lib3mf_componentsobject_getcomponentcount(object, &count), object);
        }
        for (DWORD i = 0; i < count; ++i) {
            Lib3mfHandle<NMR::PLib3MFModelComponent> component;
            checkLib3mf(NMR::lib3mf_componentsobject_getcomponent(object, i, component.out()), object);
            Lib3mfHandle<NMR::PLib3MFModelObjectResource> child;
            checkLib3mf(NMR::lib3mf_component_getobjectresource(component.get(), child.out()), component.get());
            Matrix matrix{};
            checkLib3mf(NMR::lib3mf_component_gettransform(component.get(), &matrix), component.get());
            addObject(child.get(), combine(placing, matrix), node, depth + 1);
        }
    }

    // Objects without a name belong to the one around them.
    std::uint32_t nodeOf(NMR::PLib3MFModelObjectResource* object, std::uint32_t parent) {
        const std::string name = lib3mfText(object, [object](char* text, ULONG size, ULONG* length) {
            return NMR::lib3mf_object_getnameutf8(object, text, size, length);
        });
        if (name.empty()) {
            return parent;
        }
        parts.nodes.push_back({name, parent, {}});
        return static_cast<std::uint32_t>(parts.nodes.size() - 1);
    }
    // --- meshes ---

    void placeMesh(NMR::PLib3MFModelObjectResource* object, const Placing& placing, std::uint32_t node) {
        DWORD id = 0;
        checkLib3mf(NMR::lib3mf_resource_getresourceid(object, &id), object);
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
        checkLib3mf(NMR::lib3mf_meshobject_getvertexcount(object, &numVertices), object);
        checkLib3mf(NMR::lib3mf_meshobject_gettrianglecount(object, &numTriangles), object);
        checkElements(numElements + numTriangles, limits);
        DWORD numBeams = 0;
        checkLib3mf(NMR::lib3mf_meshobject_getbeamcount(object, &numBeams), object);
        hasBeams = hasBeams || numBeams > 0;

        Surface surface;
        if (numTriangles == 0) {
            return surface;
        }
        std::vector<NMR::MODELMESHVERTEX> vertices(numVertices);
        std::vector<NMR::MODELMESHTRIANGLE> triangles(numTriangles);
        checkLib3mf(NMR::lib3mf_meshobject_getvertices(object, vertices.data(), numVertices, nullptr), object);
        checkLib3mf(NMR::lib3mf_meshobject_gettriangleindices(object, triangles.data(), numTriangles, nullptr), object);
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
        materials.addTo(surface, object);
        return surface;
    }

    std::string path;
    ReadLimits limits;
    ReaderReport& report;
    Lib3mfHandle<NMR::PLib3MFModel> model;
    ModelParts parts;
    std::map<DWORD, std::size_t> surfaces; // by the objects of meshes
    ThreeMfMaterials materials{model, parts};
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
