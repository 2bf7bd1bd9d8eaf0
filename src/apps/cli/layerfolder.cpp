#include "apps/cli/layerfolder.h"

#include "apps/cli/renderfailure.h"
#include "kivrender/platform/kivsystemerror.h"

#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

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

void LayerFolder::write(const std::vector<PictureLayer>& layers, CliHost& host) const {
    for (const PictureLayer& layer : layers) {
        for (const auto& file : files) {
            if (fs::path(file->finalName()).stem() == layer.name && !host.savePicture(*layer.image, file->workName())) {
                throw std::runtime_error(renderFailure(*file, true, host.takeMessages(), kivGetLastError(), host));
            }
        }
    }
}

void LayerFolder::finish() {
    for (const auto& file : files) {
        file->finish();
    }
}
