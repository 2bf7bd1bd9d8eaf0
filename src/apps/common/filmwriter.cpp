#include "apps/common/filmwriter.h"

#include "apps/common/filmencoder.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace {

// By the library's own place alone: a name without a folder could be anybody's.
FilmModuleEntry* loadEntry(const std::string& file) {
    const std::wstring path = kivLibraryFolder() + L"/" + filmModuleName;
    std::error_code problem;
    if (!std::filesystem::exists(path, problem)) {
        throw std::runtime_error("can't write \"" + file + "\": this build has no libavcodec (" + kivToUtf8(path) +
                                 " is missing); frames go to names such as frames/%04d.png");
    }
    const HINSTANCE module = kivLoadModule(path); // stays loaded
    void* const entry = module != nullptr ? kivFindSymbol(module, filmModuleEntry) : nullptr;
    if (entry == nullptr) {
        throw std::runtime_error(
            "can't write \"" + file + "\": " +
            (module != nullptr ? kivToUtf8(path) + " is no module for films" : kivToUtf8(kivLastModuleError().text)));
    }
    return reinterpret_cast<FilmModuleEntry*>(entry);
}

} // namespace

FilmWriter::FilmWriter(const std::string& file, tagSIZE size, int framesPerSecond) {
    loadEntry(file)(file, size, framesPerSecond, &encoder);
}

FilmWriter::~FilmWriter() = default;

void FilmWriter::add(const KivImage& picture) {
    encoder->add(picture);
}

void FilmWriter::finish() {
    encoder->finish();
}
