// The turntable: the model turns before the camera, in the view and in films.
#include "apps/document/drawnlook.h"
#include "apps/studio/filmfile.h"
#include "apps/studio/filmform.h"
#include "apps/studio/lookpanel.h"
#include "apps/studio/studioevents.h"
#include "apps/studio/studiomemory.h"
#include "apps/studio/studiosavedialog.h"
#include "apps/studio/studioview.h"
#include "apps/studio/studiowindow.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QTabWidget>

#include <cmath>
#include <exception>
#include <numbers>

namespace {

constexpr double secondsOfTurn = 8.0; // in the view

// The model turns and the camera stands: the camera goes round the other way.
StudioState turned(const StudioState& state, double degrees) {
    StudioState next = state;
    next.camera.yaw -= std::fmod(degrees, 360.0) * std::numbers::pi / 180.0;
    next.camera.sanitize();
    return next;
}

// A film has frames and no drawing, and no files but itself.
StudioState asFrame(const StudioState& state) {
    StudioState frame = state;
    frame.options.setVectorial(false);
    frame.options.setSaveRender(false);
    frame.options.setSaveDepth(false);
    frame.options.setSaveShadows(false);
    frame.look = steadyLook(state.look);
    for (auto& [mesh, look] : frame.objects.edit()) {
        look = steadyLook(look);
    }
    return frame;
}

} // namespace

void StudioWindow::playTurntable(bool on) {
    if (on == turning.isActive()) {
        return;
    }
    if (on) {
        moving.stop();
        settling.stop();
        isDrawn = false;
        turningSince.start();
        turning.start();
        tabs->setCurrentIndex(0);
    } else {
        turning.stop();
        view->setCamera(current.camera);
        scheduleView();
    }
    actions[StudioText::playTurntable]->setChecked(on);
}

void StudioWindow::showTurned() {
    if (isBusy() || tabs->currentIndex() != 0 || QApplication::activeModalWidget() != nullptr) {
        return;
    }
    const StudioState shown =
        turned(current, 360.0 * static_cast<double>(turningSince.elapsed()) / 1000.0 / secondsOfTurn);
    view->setCamera(shown.camera);
    drawMoving(shown);
}

void StudioWindow::saveFilm() {
    lookPanel->flush();
    if (isBusy()) {
        return;
    }
    playTurntable(false);
    FilmOptions options;
    options.size = renderSize();
    const QString file = askForFilm(&options);
    if (file.isEmpty()) {
        return;
    }
    if (const QString first = FilmFile::frameName(file, 0); QFileInfo::exists(first)) {
        warn(studioText(StudioText::framesExist).arg(QDir::toNativeSeparators(first)));
        return;
    }
    try {
        FilmFile film(file, options.size, options.framesPerSecond);
        const bool isWhole = drawFilm(options, &film);
        if (!isWhole && (!options.keepsPart || film.numFrames() == 0)) {
            return;
        }
        film.finish();
        tell(studioText(isWhole ? StudioText::filmSaved : StudioText::filmCut)
                 .arg(QDir::toNativeSeparators(file), QLocale().toString(film.numFrames())));
    } catch (const std::exception& problem) {
        warn(studioText(StudioText::notSaved).arg(QString::fromUtf8(problem.what())));
    }
}

QString StudioWindow::askForFilm(FilmOptions* options) {
    StudioSaveWish wish;
    wish.title = studioText(StudioText::saveFilm).remove(QLatin1Char('&'));
    wish.file = placeFor(StudioFolder::films, QStringLiteral(".mp4"));
    wish.kinds = {{studioText(StudioText::mp4Films), {QStringLiteral("mp4")}},
                  {studioText(StudioText::webmFilms), {QStringLiteral("webm")}},
                  {studioText(StudioText::gifFilms), {QStringLiteral("gif")}},
                  {studioText(StudioText::pngFrames), {QStringLiteral("png")}}};
    wish.refusal = StudioText::noFilmEnding;
    auto* const form = new FilmForm;
    form->setOptions(*options);
    *options = form->options();
    connect(form, &FilmForm::changed, form, [form, options] { *options = form->options(); });
    wish.beside = form;
    QString file = askWhereToSave(this, wish);
    if (!file.isEmpty()) {
        rememberFolder(StudioFolder::films, file);
    }
    return file;
}

bool StudioWindow::drawFilm(const FilmOptions& options, FilmFile* film) {
    QElapsedTimer since;
    since.start();
    setRendering(true);
    const int count = options.numFrames();
    bool goesOn = true;
    try {
        for (int number = 0; goesOn && number < count; ++number) {
            if (number > 0) {
                const double left = static_cast<double>(since.elapsed()) / 1000.0 / number * (count - number);
                stage->setText(studioText(StudioText::filmStage)
                                   .arg(QLocale().toString(number + 1), QLocale().toString(count),
                                        QLocale().toString(static_cast<int>(std::ceil(left)))));
            }
            goesOn = drawFilmFrame(options, number, film);
        }
    } catch (...) {
        setRendering(false);
        throw;
    }
    setRendering(false);
    return goesOn;
}

bool StudioWindow::drawFilmFrame(const FilmOptions& options, int number, FilmFile* film) {
    const int count = options.numFrames();
    StudioProgress progress;
    StudioPicture picture;
    {
        const StudioEvents events(StudioEvents::Held::drop, progressArea, [&progress] { progress.cancel(); });
        progress.pump = [] { StudioEvents::pump(); };
        progress.onProgress = [this, number, count](double done, const std::wstring& /*text*/) {
            bar->setValue(static_cast<int>((number + done) / count * 1000.0));
        };
        running = &progress;
        picture = renderer.render(model, turned(asFrame(current), options.degrees * number / count), options.size,
                                  StudioRenderer::Purpose::final, progress);
        running = nullptr;
    }
    if (!picture.done) {
        showProblems(picture, false);
        return false;
    }
    film->add(picture.image);
    return true;
}
