// Where the frames of a film go: a film, under another name until it is complete, or a picture for each frame.
#ifndef APPS_STUDIO_FILMFILE_H
#define APPS_STUDIO_FILMFILE_H

#include "apps/common/filmwriter.h"
#include "apps/common/leftovers.h"

#include <QImage>
#include <QString>

#include <memory>

class FilmFile {
public:
    // file: ends in mp4, webm or gif, or in png: then its frames are file-0000.png and so on. Throws
    // std::runtime_error, as add and finish do.
    FilmFile(const QString& file, QSize size, int framesPerSecond);
    FilmFile(const FilmFile&) = delete;
    FilmFile& operator=(const FilmFile&) = delete;
    // A film that was not finished is removed, also by a signal that ends the program (apps/common/leftovers.h);
    // pictures stay.
    ~FilmFile();

    // The name of a frame that is a picture of its own; empty for films.
    static QString frameName(const QString& file, int frame);

    void add(const QImage& picture);
    int numFrames() const;
    // Puts the film in its place.
    void finish();

private:
    QString file;
    QString work;                       // empty for frames
    std::unique_ptr<Leftover> leftover; // the same file
    std::unique_ptr<FilmWriter> writer;
    int count = 0;
};

#endif
