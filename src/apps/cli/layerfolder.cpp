#include "apps/cli/layerfolder.h"

#include "apps/cli/renderfailure.h"
#include "kivrender/platform/kivsystemerror.h"

#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

// A name that any system takes as a part of a file's.
std::string plainName(const std::string& name) {
    constexpr std::size_t longest = 40;
    std::string plain;
    for (const char c : name.substr(0, longest)) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        plain += isPlain || c == '-' || c == '.' ? c : '_';
    }
    return plain;
}

} // namespace

LayerFolder::LayerFolder(const std::string& folderName, const std::vector<std::string>& names) : folder(folderName) {
    std::error_code problem;
    isNew = fs::create_directory(folder, problem);
    if (problem) {
        throw std::runtime_error("can't make the folder \"" + folder + "\": " + problem.message());
    }
    try {
        for (const std::string& name : names) {
            files.push_back(std::make_unique<OutputFile>((fs::path(folder) / (name + ".png")).string()));
        }
    } catch (...) {
        files.clear();
        if (isNew) {
            fs::remove(folder, problem);
        }
        throw;
    }
}

LayerFolder::~LayerFolder() {
    files.clear();
    std::error_code ignored;
    if (isNew && fs::is_empty(folder, ignored)) {
        fs::remove(folder, ignored);
    }
}

OutputFile& LayerFolder::fileFor(const PictureLayer& layer, std::size_t number) {
    for (const auto& file : files) {
        if (layer.group.empty() && fs::path(file->finalName()).stem() == layer.name) {
            return *file;
        }
    }
    const std::string name =
        layer.group + "-" + std::to_string(number) + (layer.name == layer.group ? "" : "-" + plainName(layer.name));
    files.push_back(std::make_unique<OutputFile>((fs::path(folder) / (name + ".png")).string()));
    return *files.back();
}

void LayerFolder::write(const std::vector<PictureLayer>& layers, CliHost& host) {
    std::size_t number = 0;
    for (const PictureLayer& layer : layers) {
        const OutputFile& file = fileFor(layer, ++number);
        if (!host.savePicture(*layer.image, file.workName())) {
            throw std::runtime_error(renderFailure(file, true, host.takeMessages(), kivGetLastError(), host));
        }
    }
}

void LayerFolder::finish() {
    for (const auto& file : files) {
        file->finish();
    }
}
