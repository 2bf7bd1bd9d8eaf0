#include "import/kivmodelimport.h"

#include "import/assimpreader.h"
#include "import/modelfile.h"
#include "import/objreader.h"
#include "import/scenebuilder.h"
#include "import/texturecolour.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <filesystem>
#include <new>

namespace kivimport {
namespace {

constexpr std::uint64_t maxMaterialLibrary = std::uint64_t{64} << 20;

ModelParts readObjFile(const std::string& path, const KivModelOptions& options, const ReadLimits& limits) {
    ObjFile file = readObj(ModelFile(path, options.maxFileSize).text(), limits);
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    for (std::string library : file.materialLibraries) {
        std::replace(library.begin(), library.end(), '\\', '/');
        // A missing library costs the colours and not the picture.
        try {
            readMtl(ModelFile((folder / library).string(), maxMaterialLibrary).text(), file.parts.materials);
        } catch (const ImportError&) {
            continue;
        }
    }
    for (Material& material : file.parts.materials) {
        if (!material.texture.empty()) {
            averageTextureFile(material, folder.string());
        }
    }
    return std::move(file.parts);
}

std::string endingOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : static_cast<char>(c);
    });
    return ending.empty() ? ending : ending.substr(1);
}

bool isSupported(const std::string& ending) {
    const auto& formats = kivModelFormats();
    return std::any_of(formats.begin(), formats.end(),
                       [&ending](const KivModelFormat& format) { return kivToUtf8(format.ending) == ending; });
}

std::string allEndings() {
    std::string list;
    for (const KivModelFormat& format : kivModelFormats()) {
        list += (list.empty() ? "" : ", ") + kivToUtf8(format.ending);
    }
    return list;
}

ModelParts readFile(const std::string& path, const KivModelOptions& options, const ReadLimits& limits) {
    const std::string ending = endingOf(path);
    checkModelFile(path, options.maxFileSize);
    if (!isSupported(ending)) {
        throw ImportError((ending.empty() ? "a name without an ending does not tell what it is"
                                          : "files that end in ." + ending + " can't be read") +
                          "; try one of " + allEndings());
    }
    ModelParts parts = ending == "obj" ? readObjFile(path, options, limits) : readByAssimp(path, limits);
    if (parts.numTriangles() == 0 && parts.polylines.empty() && parts.points.empty()) {
        throw ImportError("it has nothing to draw: no faces, lines or points");
    }
    return parts;
}

} // namespace

void checkElements(std::uint64_t count, const ReadLimits& limits) {
    if (count > limits.maxElements) {
        throw ImportError("it is too large: more than " + std::to_string(limits.maxElements) +
                          " triangles, lines or points");
    }
}

} // namespace kivimport

Kiv3DPoint KivModel::toScene(const Kiv3DPoint& filePoint) const {
    return {(filePoint.x - origin.x) * scale, (filePoint.y - origin.y) * scale, (filePoint.z - origin.z) * scale};
}

bool kivImportModels(const std::vector<std::wstring>& paths, const KivModelOptions& options, KivModel& model,
                     std::wstring& message) {
    using namespace kivimport;
    model = KivModel();
    std::vector<ModelParts> files;
    ReadLimits limits{options.maxElements};
    for (const std::wstring& path : paths) {
        const std::string name = kivToUtf8(path);
        try {
            ModelParts& parts = files.emplace_back(readFile(name, options, limits));
            if (options.upAxis != KivModelOptions::Axis::byFormat) {
                parts.zUp = options.upAxis == KivModelOptions::Axis::z;
            }
            limits.maxElements -= parts.numTriangles() + parts.polylines.size() + parts.points.size();
            model.files.emplace_back().path = path;
        } catch (const ImportError& error) {
            message = L"can't use \"" + path + L"\": " + kivFromUtf8(error.what());
            return false;
        } catch (const std::bad_alloc&) {
            message = L"can't use \"" + path + L"\": it is too large for this machine's memory";
            return false;
        }
    }
    if (files.empty()) {
        message = L"there is no model to read";
        return false;
    }
    assembleModel(files, options.creaseAngle, model);
    for (const KivModelFileInfo& info : model.files) {
        if (info.triangles == 0 && info.degenerate > 0 && model.scene->numMeshes() == 0) {
            message = L"can't use \"" + info.path + L"\": it has nothing to draw: none of its faces has an area";
            return false;
        }
    }
    return true;
}

const std::vector<KivModelFormat>& kivModelFormats() {
    static const std::vector<KivModelFormat> formats{
        {L"obj", L"Wavefront OBJ"},      {L"gltf", L"glTF 2.0, text"},
        {L"glb", L"glTF 2.0, binary"},   {L"stl", L"Stereolithography"},
        {L"ply", L"Stanford Polygon"},   {L"fbx", L"Autodesk FBX"},
        {L"3ds", L"Autodesk 3D Studio"}, {L"dae", L"Collada"},
        {L"off", L"Object File Format"}, {L"dxf", L"AutoCAD drawing exchange"},
    };
    return formats;
}
