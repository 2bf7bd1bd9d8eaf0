#include "import/foreignreader.h"

#include "import/readersession.h"

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

} // namespace

ForeignReader::ForeignReader(const KivModelOptions& modelOptions, ImportProgress& importProgress)
    : options(modelOptions), progress(importProgress) {}

ModelParts ForeignReader::readModel(const std::string& path, const ReadLimits& limits) const {
    ReaderRequest request;
    request.path = path;
    request.readable = {folderOf(path), path};
    request.limits = limits;
    request.fineness = {options.deflection, options.unitsPerPixel, options.picturePixels};
    ModelParts parts = ReaderSession(options, progress, sizeOf(path)).parts(std::move(request));
    try {
        checkParts(parts, limits);
    } catch (const BrokenStream& error) {
        throw ImportError(std::string("its reader handed over something broken (") + error.what() + ")");
    }
    return parts;
}

void ForeignReader::averageTextures(std::vector<Material>& materials, const std::string& modelFolder,
                                    std::vector<std::string>& warnings) const {
    ReaderRequest request;
    request.kind = ReaderRequest::Kind::textures;
    std::map<std::string, std::size_t> numbers; // of the pictures in the request
    std::vector<std::vector<std::string>> places;
    std::uint64_t bytes = 0;
    for (const Material& material : materials) {
        places.push_back(material.texture.empty() ? std::vector<std::string>()
                                                  : placesOf(material.texture, modelFolder));
        for (const std::string& path : places.back()) {
            if (numbers.try_emplace(path, request.textures.size()).second) {
                request.textures.push_back(path);
                bytes += sizeOf(path);
            }
        }
    }
    if (request.textures.empty()) {
        return;
    }
    request.readable = request.textures;
    TextureColours colours;
    try {
        colours = ReaderSession(options, progress, bytes).colours(std::move(request));
        if (colours.size() != numbers.size()) {
            throw ImportError("its reader handed over something broken (another number of colours)");
        }
    } catch (const ImportError& error) {
        warnings.push_back(std::string("its textures are left out: ") + error.what());
        return;
    }
    for (std::size_t i = 0; i < materials.size(); ++i) {
        const auto found = std::find_if(places[i].begin(), places[i].end(), [&colours, &numbers](const auto& path) {
            return colours[numbers.at(path)].loaded;
        });
        if (found != places[i].end()) {
            materials[i].textureAverage = colours[numbers.at(*found)].colour;
            materials[i].textureLoaded = true;
        }
    }
}

std::string ForeignReader::describe() const {
    ReaderRequest request;
    request.kind = ReaderRequest::Kind::describe;
    return ReaderSession(options, progress, 0).text(std::move(request));
}

} // namespace kivimport
