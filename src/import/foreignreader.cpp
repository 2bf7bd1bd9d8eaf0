#include "import/foreignreader.h"

#include "import/readersession.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

namespace kivimport {
namespace {

namespace fs = std::filesystem;

std::string folderOf(const std::string& path) {
    const std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::uint64_t sizeOf(const std::string& path) {
    std::error_code problem;
    const std::uintmax_t size = fs::file_size(path, problem);
    return problem ? 0 : size;
}

// Where a picture may be: at the name as it stands, then, as models travel without their folders, at its last part
// beside the model. Names use either kind of slash.
std::vector<std::string> placesOf(std::string name, const fs::path& folder) {
    std::replace(name.begin(), name.end(), '\\', '/');
    const fs::path given(name);
    std::vector<std::string> places;
    for (const fs::path& path : {folder / given, folder / given.filename()}) {
        std::error_code problem;
        if (fs::is_regular_file(path, problem)) {
            places.push_back(path.string());
        }
    }
    return places;
}

// The first of a material's pictures that could be read; of none the first says why.
void takeFirst(ModelParts& parts, Material& material, const std::vector<std::string>& places,
               const std::map<std::string, std::uint32_t>& numbers) {
    if (places.empty()) {
        Picture missing;
        missing.problem = "there is no such file";
        takePicture(material, noIndex, missing, parts.warnings);
        return;
    }
    const auto found = std::find_if(places.begin(), places.end(), [&](const std::string& path) {
        return !parts.pictures[numbers.at(path)].pixels.empty();
    });
    const std::uint32_t number = numbers.at(found != places.end() ? *found : places.front());
    takePicture(material, number, parts.pictures[number], parts.warnings);
}

} // namespace

ForeignReader::ForeignReader(const KivModelOptions& modelOptions, ImportProgress& importProgress)
    : options(modelOptions), progress(importProgress) {}

ModelParts ForeignReader::readModel(const std::string& path, const ReadLimits& limits) const {
    ReaderRequest request;
    request.path = path;
    request.readable = {folderOf(path), path};
    request.limits = limits;
    request.clip = {kivToUtf8(options.clip), options.clipSeconds};
    request.fineness = {options.deflection, options.unitsPerPixel, options.picturePixels};
    ModelParts parts = ReaderSession(options, progress, sizeOf(path)).parts(std::move(request));
    try {
        checkParts(parts, limits);
    } catch (const BrokenStream& error) {
        throw ImportError(std::string("its reader handed over something broken (") + error.what() + ")");
    }
    return parts;
}

void ForeignReader::readTextures(ModelParts& parts, const std::string& modelFolder) const {
    ReaderRequest request;
    request.kind = ReaderRequest::Kind::textures;
    std::map<std::string, std::uint32_t> numbers; // of the pictures in the request
    std::vector<std::vector<std::string>> places;
    std::uint64_t bytes = 0;
    for (const Material& material : parts.materials) {
        places.push_back(material.texture.empty() ? std::vector<std::string>()
                                                  : placesOf(material.texture, modelFolder));
        for (const std::string& path : places.back()) {
            if (numbers.try_emplace(path, static_cast<std::uint32_t>(request.textures.size())).second) {
                request.textures.push_back(path);
                bytes += sizeOf(path);
            }
        }
    }
    if (!request.textures.empty()) {
        request.readable = request.textures;
        try {
            parts.pictures = ReaderSession(options, progress, bytes).pictures(std::move(request));
            if (parts.pictures.size() != numbers.size()) {
                throw ImportError("its reader handed over something broken (another number of pictures)");
            }
        } catch (const ImportError& error) {
            parts.pictures.clear();
            parts.warnings.push_back(std::string("its textures are left out: ") + error.what());
            return;
        }
    }
    for (std::size_t i = 0; i < parts.materials.size(); ++i) {
        if (!parts.materials[i].texture.empty()) {
            takeFirst(parts, parts.materials[i], places[i], numbers);
        }
    }
}

std::string ForeignReader::describe() const {
    ReaderRequest request;
    request.kind = ReaderRequest::Kind::describe;
    return ReaderSession(options, progress, 0).text(std::move(request));
}

} // namespace kivimport
