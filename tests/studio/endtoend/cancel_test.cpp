// Long renders that the user ends.
#include "apps/studio/studioview.h"
#include "studio/endtoend/studiouser.h"

#include <QFile>
#include <QMenuBar>
#include <QPushButton>

namespace {

class StudioCancel : public StudioUser {
protected:
    // The largest of the usual sizes, four times smoothed, each picture written to a file.
    void askForALongRender(const QString& picture) {
        toWindow();
        Hand::keys("ctrl+comma");
        awaitDialog();
        Hand::keys("alt+s");
        Hand::keys("End");
        Hand::keys("Up"); // the last is one's own
        Hand::keys("alt+f");
        chooseFile(picture); // as there is no name yet
        Hand::keys("Return");
        awaitNoDialog();
        const StudioState state = ask([this] { return window->state(); });
        ASSERT_TRUE(state.options.doSaveRender());
        ASSERT_EQ(state.options.getAntialias(), 2);
        ASSERT_GE(state.options.getResolution().cx, 1280);
        settle();
    }
    void begin() {
        Hand::keys("F5");
        await("the render to begin", [this] { return window->isRendering(); });
    }
    // Nothing is left of it, and the window is as before.
    void checkGone(const QString& picture) {
        QElapsedTimer time;
        time.start();
        await(
            "the render to end", [this] { return !window->isRendering(); }, 60000);
        std::printf("the render ended %d ms after that was asked for\n", static_cast<int>(time.elapsed()));
        EXPECT_EQ(ask([this] { return tabs().count(); }), 1);
        EXPECT_FALSE(QFile::exists(picture));
        EXPECT_TRUE(ask([this] { return window->isVisible() && window->menuBar()->isEnabled(); }));
        EXPECT_EQ(ask([] { return QApplication::activeModalWidget(); }), nullptr);
        settle();
    }
};

} // namespace

TEST_F(StudioCancel, EscapeAndTheButtonEndARenderAndTheNextOneWorks) {
    const QString model = write("ring.obj", wavyRing(700, 300));
    const QString picture = file("long.png");
    ASSERT_TRUE(window->openFiles({model}));
    play([&] {
        settle();
        askForALongRender(picture);
        require(!HasFailure(), "the options are those of a long render");

        begin();
        Hand::keys("Escape");
        checkGone(picture);

        begin();
        QPushButton* const cancel = ask([this]() -> QPushButton* {
            for (QPushButton* const each : window->findChildren<QPushButton*>()) {
                if (each->isVisible() && each->text() == studioText(StudioText::cancel)) {
                    return each;
                }
            }
            return nullptr;
        });
        Hand::click(on(cancel));
        checkGone(picture);

        begin();
        await(
            "the picture", [this] { return tabs().count() == 2 && !window->isRendering(); }, 120000);
        EXPECT_TRUE(QFile::exists(picture));
    });
    if (!HasFailure()) {
        EXPECT_GT(covered(QImage(picture)), 0.1);
    }
    window.reset(); // nobody is asked about what is not saved
}
