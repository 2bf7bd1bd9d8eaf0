// A film, picture by picture: mp4, webm or gif by FFmpeg's libraries. Where their module is missing every film is
// refused.
#ifndef APPS_COMMON_FILMWRITER_H
#define APPS_COMMON_FILMWRITER_H

#include "kivrender/platform/kivtypes.h"

#include <memory>
#include <string>

class FilmEncoder;
class KivImage;

class FilmWriter {
public:
    // Whether a name's ending is that of a film.
    static bool isFilmName(const std::string& name);

    // Writes into that file, whose ending chooses the format. Throws std::runtime_error, also from the others.
    FilmWriter(const std::string& file, tagSIZE size, int framesPerSecond);
    FilmWriter(const FilmWriter&) = delete;
    FilmWriter& operator=(const FilmWriter&) = delete;
    ~FilmWriter();

    // The next picture, of the film's size.
    void add(const KivImage& picture);
    void finish();

private:
    std::unique_ptr<FilmEncoder> encoder;
};

#endif
