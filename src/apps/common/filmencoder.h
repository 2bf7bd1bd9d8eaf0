// What writes the pictures of a film into a file. FFmpeg's libraries are a hundred with all that they stand on, and
// loading them takes longer than a small render: they are in a module that is loaded for a film and for nothing else.
#ifndef APPS_COMMON_FILMENCODER_H
#define APPS_COMMON_FILMENCODER_H

#include "kivrender/platform/kivtypes.h"

#include <memory>
#include <string>

class KivImage;

class FilmEncoder {
public:
    virtual ~FilmEncoder() = default;
    // Both throw std::runtime_error.
    virtual void add(const KivImage& picture) = 0;
    virtual void finish() = 0;
};

// What the module exports, under this name: opens the file, or throws std::runtime_error.
inline constexpr const char* filmModuleEntry = "selvarinFilmEncoder";
using FilmModuleEntry = void(const std::string& file, tagSIZE size, int framesPerSecond,
                             std::unique_ptr<FilmEncoder>* encoder);

inline constexpr const wchar_t* filmModuleName = L"selvarin-film.so";

#endif
