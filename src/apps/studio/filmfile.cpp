#include "apps/studio/filmfile.h"

#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivwholefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cstring>
#include <stdexcept>

namespace {

[[noreturn]] void fail(const QString& what) {
    throw std::runtime_error(what.toStdString());
}

// An empty file beside the film, under a name that nothing had. Its ending chooses the format.
QString workFile(const QFileInfo& film) {
    for (int tries = 0;; ++tries) {
        const QString number = QString::number(QRandomGenerator::global()->generate(), 36);
        QFile place(film.absolutePath() +
                    QStringLiteral("/.%1-%2.%3").arg(film.completeBaseName(), number, film.suffix()));
        if (place.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            return place.fileName();
        }
        if (!place.exists() || tries == 9) {
            fail(QDir::toNativeSeparators(film.filePath()) + QStringLiteral(": ") + place.errorString());
        }
    }
}

std::unique_ptr<KivImage> opaqueImageOf(const QImage& picture) {
    std::unique_ptr<KivImage> made = KivImage::create({picture.width(), picture.height()});
    if (made == nullptr) {
        fail(QStringLiteral("out of memory"));
    }
    const QImage pixels = picture.convertToFormat(QImage::Format_BGR888);
    for (int y = 0; y < pixels.height(); ++y) {
        std::memcpy(made->row(y), pixels.constScanLine(y), static_cast<std::size_t>(pixels.width()) * 3);
    }
    return made;
}

} // namespace

FilmFile::FilmFile(const QString& wanted, QSize size, int framesPerSecond) : file(wanted) {
    if (frameName(file, 0).isEmpty()) {
        work = workFile(QFileInfo(file));
        leftover = std::make_unique<Leftover>(QFile::encodeName(work).toStdString());
        try {
            writer =
                std::make_unique<FilmWriter>(work.toStdString(), tagSIZE{size.width(), size.height()}, framesPerSecond);
        } catch (...) {
            QFile::remove(work);
            throw;
        }
    }
}

FilmFile::~FilmFile() {
    if (!work.isEmpty()) {
        writer.reset();
        QFile::remove(work);
    }
}

QString FilmFile::frameName(const QString& file, int frame) {
    const QFileInfo info(file);
    if (info.suffix().compare(QLatin1String("png"), Qt::CaseInsensitive) != 0) {
        return {};
    }
    return QStringLiteral("%1/%2-%3.%4")
        .arg(info.path(), info.completeBaseName(), QStringLiteral("%1").arg(frame, 4, 10, QLatin1Char('0')),
             info.suffix());
}

void FilmFile::add(const QImage& picture) {
    if (writer != nullptr) {
        writer->add(*opaqueImageOf(picture));
    } else if (const QString name = frameName(file, count); !picture.save(name, "PNG")) {
        QFile::remove(name); // a part of it would look like a frame
        fail(QDir::toNativeSeparators(name));
    }
    ++count;
}

int FilmFile::numFrames() const {
    return count;
}

void FilmFile::finish() {
    if (writer == nullptr) {
        return;
    }
    writer->finish();
    writer.reset();
    if (!kivMoveWholeFile(work.toStdWString(), file.toStdWString())) {
        fail(QDir::toNativeSeparators(file) + QStringLiteral(": ") +
             QString::fromStdWString(kivSystemErrorText(kivGetLastError())));
    }
    work.clear();
    leftover.reset();
}
