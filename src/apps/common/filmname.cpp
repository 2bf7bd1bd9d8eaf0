#include "apps/common/filmwriter.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

bool FilmWriter::isFilmName(const std::string& name) {
    std::string ending = std::filesystem::path(name).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ending == ".mp4" || ending == ".webm" || ending == ".gif";
}
