#include "apps/document/documentpaths.h"

#include "kivrender/platform/kivtext.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace {

fs::path pathOf(const std::wstring& text) {
    return kivToUtf8(text);
}
std::wstring textOf(const fs::path& path) {
    return kivFromUtf8(path.string());
}

} // namespace

std::wstring relativePath(const std::wstring& file, const std::wstring& folder) {
    const fs::path relative = pathOf(file).lexically_normal().lexically_relative(pathOf(folder).lexically_normal());
    return relative.empty() ? file : textOf(relative);
}

std::wstring existingPath(const std::wstring& file, const std::wstring& folder) {
    const fs::path path = (pathOf(folder) / pathOf(file)).lexically_normal();
    std::error_code ignored; // what can't be looked at is not there
    return fs::exists(path, ignored) ? textOf(path) : std::wstring();
}

std::wstring folderOf(const std::wstring& file) {
    std::error_code problem;
    const fs::path path = fs::absolute(pathOf(file), problem);
    return textOf(problem ? pathOf(file).parent_path() : path.parent_path());
}
