// Of a build without FFmpeg's libraries.
#include "apps/cli/filmwriter.h"

#include <stdexcept>

struct FilmWriter::Parts {};

FilmWriter::FilmWriter(const std::string& file, tagSIZE /*size*/, int /*framesPerSecond*/) {
    throw std::runtime_error("can't write \"" + file +
                             "\": this build has no libavcodec; frames go to names such as frames/%04d.png");
}

FilmWriter::~FilmWriter() = default;

void FilmWriter::add(const KivImage& /*picture*/) {}

void FilmWriter::finish() {}
