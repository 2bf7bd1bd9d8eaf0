#include "import/reader/readermodule.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include <dlfcn.h>

namespace kivimport {
namespace {

// By the program's own place alone: a name without a folder could be anybody's library.
std::string pathOf(const char* name) {
    std::error_code problem;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", problem);
    return (program.parent_path() / name).string();
}

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw ImportError("the module that reads such files can't be loaded: " + path + " (" + why + ")");
}

} // namespace

bool isCadFile(const std::string& path) {
    static constexpr std::array<std::string_view, 6> endings{".step", ".stp", ".iges", ".igs", ".brep", ".brp"};
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); });
    return std::find(endings.begin(), endings.end(), ending) != endings.end();
}

const ReaderModule& loadReaderModule(const char* name) {
    const std::string path = pathOf(name);
    std::error_code problem;
    if (!std::filesystem::exists(path, problem)) {
        throw ImportError("reading such files needs Open CASCADE, and its module is not installed: " + path);
    }
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* const why = dlerror();
        refuse(path, why != nullptr ? why : "no reason is known");
    }
    const auto entry = reinterpret_cast<ReaderModuleEntry>(dlsym(handle, readerModuleEntry));
    if (entry == nullptr) {
        refuse(path, "it is no reader");
    }
    const ReaderModule* const module = entry();
    if (module->greeting != readerGreeting) {
        refuse(path, "it belongs to another version of Selvarin");
    }
    return *module;
}

} // namespace kivimport
