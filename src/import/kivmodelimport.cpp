#include "import/kivmodelimport.h"

#include "import/foreignreader.h"
#include "import/importprogress.h"
#include "import/modelfile.h"
#include "import/objreader.h"
#include "import/offreader.h"
#include "import/scenebuilder.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <filesystem>
#include <new>

namespace kivimport {
namespace {

constexpr std::uint64_t maxMaterialLibrary = std::uint64_t{64} << 20;
// The part of an import that is done when the files are read and the scene is still to be built.
constexpr double readingPart = 0.8;

ModelParts readObjFile(const std::string& path, const KivModelOptions& options, const ReadLimits& limits,
                       ImportProgress& progress) {
    ObjFile file = readObj(ModelFile(path, options.maxFileSize).text(), limits, &progress);
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
    ForeignReader(options, progress).readTextures(file.parts, folder.empty() ? "." : folder.string());
    dropUnusedPaint(file.parts);
    paintPositions(file.parts, std::move(file.colours));
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

ModelParts readFile(const std::string& path, const KivModelOptions& options, const ReadLimits& limits,
                    ImportProgress& progress) {
    const std::string ending = endingOf(path);
    checkModelFile(path, options.maxFileSize);
    if (!isSupported(ending)) {
        throw ImportError((ending.empty() ? "a name without an ending does not tell what it is"
                                          : "files that end in ." + ending + " can't be read") +
                          "; try one of " + allEndings());
    }
    ModelParts parts = ending == "obj"   ? readObjFile(path, options, limits, progress)
                       : ending == "off" ? readOff(ModelFile(path, options.maxFileSize).text(), limits, &progress)
                                         : ForeignReader(options, progress).readModel(path, limits);
    if (!options.clip.empty() && parts.animations.empty()) {
        throw ImportError("it has no animations");
    }
    if (parts.numTriangles() == 0 && parts.polylines.empty() && parts.points.empty()) {
        throw ImportError("it has nothing to draw: no faces, lines or points");
    }
    return parts;
}

} // namespace

} // namespace kivimport

Kiv3DPoint KivModel::toScene(const Kiv3DPoint& filePoint) const {
    return {(filePoint.x - origin.x) * scale, (filePoint.y - origin.y) * scale, (filePoint.z - origin.z) * scale};
}

namespace kivimport {
namespace {

// Throws ImportError with the whole line.
void readFiles(const std::vector<std::wstring>& paths, const KivModelOptions& options, ImportProgress& progress,
               std::vector<ModelParts>& files, KivModel& model) {
    ReadLimits limits{options.maxElements};
    const double step = readingPart / static_cast<double>(paths.size());
    for (const std::wstring& path : paths) {
        const std::string name = kivToUtf8(path);
        const double done = step * static_cast<double>(files.size());
        progress.setStep(done, done + step);
        try {
            ModelParts& parts = files.emplace_back(readFile(name, options, limits, progress));
            if (options.upAxis != KivModelOptions::Axis::byFormat) {
                parts.zUp = options.upAxis == KivModelOptions::Axis::z;
            }
            limits.maxElements -= parts.numTriangles() + parts.polylines.size() + parts.points.size();
            model.files.emplace_back().path = path;
            for (const std::string& warning : parts.warnings) {
                model.warnings.push_back(L"\"" + path + L"\": " + kivFromUtf8(warning));
            }
        } catch (const ImportError& error) {
            throw ImportError("can't use \"" + name + "\": " + error.what());
        } catch (const std::bad_alloc&) {
            throw ImportError("can't use \"" + name + "\": it is too large for this machine's memory");
        }
    }
}

void checkSomethingIsLeft(const KivModel& model) {
    for (const KivModelFileInfo& info : model.files) {
        if (info.triangles == 0 && info.degenerate > 0 && model.scene->numMeshes() == 0) {
            throw ImportError("can't use \"" + kivToUtf8(info.path) +
                              "\": it has nothing to draw: none of its faces has an area");
        }
    }
}

} // namespace
} // namespace kivimport

bool kivImportModels(const std::vector<std::wstring>& paths, const KivModelOptions& options, KivModel& model,
                     std::wstring& message) {
    using namespace kivimport;
    model = KivModel();
    message.clear();
    if (paths.empty()) {
        message = L"there is no model to read";
        return false;
    }
    ImportProgress progress(options.progress);
    try {
        std::vector<ModelParts> files;
        readFiles(paths, options, progress, files, model);
        progress.setStep(readingPart, 1.0);
        assembleModel(files, options.creaseAngle, model, &progress, options.placedLike);
        checkSomethingIsLeft(model);
        return true;
    } catch (const ImportError& error) {
        message = kivFromUtf8(error.what());
    } catch (const std::bad_alloc&) {
        message = L"can't use \"" + paths.front() + L"\": it is too large for this machine's memory";
    } catch (const ImportCancelled&) {
        message.clear();
    }
    model = KivModel();
    return false;
}

std::wstring kivModelReaders() {
    using namespace kivimport;
    const KivModelOptions options;
    ImportProgress progress(options.progress);
    try {
        return kivFromUtf8(ForeignReader(options, progress).describe());
    } catch (const ImportError& error) {
        return kivFromUtf8(error.what());
    }
}

const std::vector<KivModelFormat>& kivModelFormats() {
    static const std::vector<KivModelFormat> formats{
        {L"obj", L"Wavefront OBJ"},
        {L"gltf", L"glTF 2.0, text"},
        {L"glb", L"glTF 2.0, binary"},
        {L"stl", L"Stereolithography"},
        {L"ply", L"Stanford Polygon"},
        {L"fbx", L"Autodesk FBX"},
        {L"3ds", L"Autodesk 3D Studio"},
        {L"dae", L"Collada"},
        {L"off", L"Object File Format"},
        {L"dxf", L"AutoCAD drawing exchange"},
        {L"3mf", L"3D Manufacturing Format"},
        {L"step", L"STEP (CAD)"},
        {L"stp", L"STEP (CAD)"},
        {L"iges", L"IGES (CAD)"},
        {L"igs", L"IGES (CAD)"},
        {L"brep", L"Open CASCADE BREP (CAD)"},
    };
    return formats;
}
