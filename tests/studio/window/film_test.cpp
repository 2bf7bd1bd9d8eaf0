// The turntable, in the view and in films.
#include "apps/studio/filmfile.h"
#include "apps/studio/filmform.h"
#include "windowfixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QLabel>
#include <QMessageBox>
#include <QSpinBox>

#include <algorithm>
#include <csignal>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace {

class StudioFilmTest : public StudioWindowTest {
protected:
    static FilmOptions smallFilm(double seconds = 0.4) {
        FilmOptions options;
        options.size = {64, 48};
        options.seconds = seconds;
        options.framesPerSecond = 5;
        return options;
    }
    // Answers the dialog that comes.
    static void choose(const QString& file, const QString& filter, const FilmOptions& options) {
        whenModal([=](QWidget* modal) {
            auto* const form = modal->findChild<FilmForm*>();
            ASSERT_NE(form, nullptr);
            form->setOptions(options);
            chooseFile(file, filter);
        });
    }
    void saveFilm(const QString& file, const QString& filter, const FilmOptions& options = smallFilm()) const {
        choose(file, filter, options);
        trigger(StudioText::saveFilm);
    }
    // Of the running film, once a frame is there and the second one is begun.
    void cancelSoon() const {
        QTimer::singleShot(20, window.get(), [this] {
            const auto labels = window->findChildren<QLabel*>();
            const bool isBegun = std::any_of(labels.begin(), labels.end(), [](const QLabel* label) {
                return label->isVisible() && label->text().startsWith("Frame ");
            });
            if (!isBegun) {
                cancelSoon();
                return;
            }
            for (QAbstractButton* const each : window->findChildren<QAbstractButton*>()) {
                if (each->isVisible() && each->text() == studioText(StudioText::cancel)) {
                    each->click();
                }
            }
        });
    }
    QStringList files() const {
        return QDir(homeFolder() + "/films").entryList(QDir::Files | QDir::Hidden);
    }
    QString film(const QString& name) const {
        QDir(homeFolder()).mkpath("films");
        return homeFolder() + "/films/" + name;
    }
};

TEST_F(StudioFilmTest, TheTurntableTurnsTheViewAndNotTheDocument) {
    openBoxes();
    const QImage still = find<StudioView>()->picture();
    const StudioCamera camera = window->state().camera;
    trigger(StudioText::playTurntable);
    EXPECT_TRUE(action(StudioText::playTurntable)->isChecked());
    QTest::qWait(600);
    EXPECT_FALSE(window->isSettled());
    const QImage moved = find<StudioView>()->picture().scaled(still.size());
    EXPECT_NE(moved.convertToFormat(QImage::Format_RGB32), still.convertToFormat(QImage::Format_RGB32));
    EXPECT_TRUE(window->state().camera == camera);
    trigger(StudioText::playTurntable);
    settle();
    EXPECT_FALSE(action(StudioText::playTurntable)->isChecked());
    EXPECT_EQ(find<StudioView>()->picture(), still);
    EXPECT_FALSE(undoAction()->isEnabled());
}

TEST_F(StudioFilmTest, AnotherViewEndsTheTurntable) {
    openBoxes();
    trigger(StudioText::playTurntable);
    trigger(StudioText::viewTop);
    EXPECT_FALSE(action(StudioText::playTurntable)->isChecked());
    settle();
}

TEST_F(StudioFilmTest, SavesAFilm) {
    openBoxes();
    const QString file = film("turn.gif");
    saveFilm(file, "GIF animations (*.gif)");
    EXPECT_EQ(files(), QStringList{"turn.gif"});
    QImageReader reader(file);
    EXPECT_EQ(reader.size(), QSize(64, 48));
    ASSERT_EQ(reader.imageCount(), 2);
    const QImage first = reader.read();
    const QImage half = reader.read();
    EXPECT_GT(covered(first), 0.05);
    EXPECT_NE(first.convertToFormat(QImage::Format_RGB32), half.convertToFormat(QImage::Format_RGB32))
        << "the second frame is half a turn further";
    EXPECT_TRUE(undoAction() != nullptr && !undoAction()->isEnabled()) << "a film changes nothing";
}

TEST_F(StudioFilmTest, SavesFramesAndReplacesNone) {
    openBoxes();
    saveFilm(film("turn.png"), "PNG frames (*.png)");
    const QStringList frames{"turn-0000.png", "turn-0001.png"};
    EXPECT_EQ(files(), frames);
    EXPECT_EQ(QImage(film("turn-0001.png")).size(), QSize(64, 48));
    whenModal([this](QWidget* dialog) {
        dialog->findChild<FilmForm*>()->setOptions(smallFilm());
        chooseFile(film("turn.png"), "PNG frames (*.png)");
        whenModal([](QWidget* message) {
            auto* const box = qobject_cast<QMessageBox*>(message);
            ASSERT_NE(box, nullptr);
            EXPECT_TRUE(box->text().contains("turn-0000.png")) << box->text().toStdString();
            box->close();
        });
    });
    trigger(StudioText::saveFilm);
    EXPECT_EQ(files(), frames);
}

TEST_F(StudioFilmTest, ACancelledFilmIsGoneUnlessItsPartIsWanted) {
    openBoxes();
    FilmOptions endless = smallFilm(3600.0);
    cancelSoon();
    saveFilm(film("none.gif"), "GIF animations (*.gif)", endless);
    EXPECT_EQ(files(), QStringList());
    EXPECT_FALSE(window->isRendering());
    endless.keepsPart = true;
    cancelSoon();
    saveFilm(film("part.gif"), "GIF animations (*.gif)", endless);
    ASSERT_EQ(files(), QStringList{"part.gif"});
    EXPECT_GE(QImageReader(film("part.gif")).imageCount(), 1);
}

TEST_F(StudioFilmTest, AFolderThatTakesNoFileIsALine) {
    openBoxes();
    EXPECT_THROW(FilmFile(homeFolder() + "/missing/turn.gif", {64, 48}, 5), std::runtime_error);
    FilmFile frames(homeFolder() + "/missing/turn.png", {64, 48}, 5);
    EXPECT_THROW(frames.add(find<StudioView>()->picture()), std::runtime_error);
}

TEST_F(StudioFilmTest, AFilmReplacesWhatALinkLeadsTo) {
    const QString real = homeFolder() + "/real.gif";
    const QString link = homeFolder() + "/link.gif";
    QFile old(real);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.close();
    ASSERT_TRUE(old.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    ASSERT_TRUE(QFile::link(real, link));
    FilmFile film(link, {64, 48}, 5);
    QImage picture(64, 48, QImage::Format_RGB888);
    picture.fill(Qt::red);
    film.add(picture);
    film.finish();
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(QImageReader(real).size(), QSize(64, 48));
    EXPECT_FALSE(QFileInfo(real).permission(QFileDevice::ReadOther));
}

// The film is written under another name until it is complete.
TEST_F(StudioFilmTest, ASignalThatEndsTheProgramLeavesNoPartOfAFilm) {
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGQUIT, SIGSEGV}) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            std::signal(signal, SIG_DFL); // also where whoever runs the tests has it ignored, or looks for faults
            cleanUpOnSignals();
            cleanUpOnCrashes();
            const FilmFile film(homeFolder() + "/turn.gif", {64, 48}, 5);
            if (QDir(homeFolder()).entryList({".turn-*"}, QDir::Files | QDir::Hidden).size() == 1) {
                raise(signal);
            }
            _exit(1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << signal;
        EXPECT_EQ(QDir(homeFolder()).entryList({"*turn*"}, QDir::Files | QDir::Hidden), QStringList()) << signal;
    }
}

TEST_F(StudioFilmTest, SidesOfFilmsAreEven) {
    FilmForm form;
    int numChanges = 0;
    QObject::connect(&form, &FilmForm::changed, &form, [&numChanges] { ++numChanges; });
    FilmOptions options;
    options.size = {641, 333};
    options.degrees = -90.0;
    options.seconds = 2.5;
    options.framesPerSecond = 30;
    form.setOptions(options);
    EXPECT_EQ(form.options().size, QSize(640, 332));
    EXPECT_EQ(form.options().degrees, -90.0);
    EXPECT_EQ(form.options().numFrames(), 75);
    const int before = numChanges;
    auto* const width = form.findChild<QSpinBox*>();
    width->setValue(501);
    EXPECT_EQ(form.options().size.width(), 500);
    EXPECT_GT(numChanges, before);
}

} // namespace
