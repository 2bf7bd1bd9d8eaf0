// The program itself as a process: what it shows is on the screen, what it knows is in its title.
#include "studio/endtoend/display.h"
#include "support/temphome.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QTest>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>
#include <set>

namespace {

constexpr const char* box = "o box\nv 0 0 0\nv 2 0 0\nv 2 2 0\nv 0 2 0\nv 0 0 2\nv 2 0 2\nv 2 2 2\nv 0 2 2\n"
                            "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

class StudioProgram : public testing::Test {
protected:
    StudioProgram() {
        const QString root = QString::fromStdString(home.path().string());
        qputenv("XDG_STATE_HOME", (root + "/state").toUtf8());
        qputenv("LC_ALL", "C.UTF-8");
        recovery = root + "/state/selvarin/recovery";
        home.write("box.obj", box);
        model = root + "/box.obj";
    }
    ~StudioProgram() override {
        if (program.state() != QProcess::NotRunning) {
            program.kill();
            program.waitForFinished(5000);
        }
    }

    void start(const QStringList& words) {
        program.setProcessChannelMode(QProcess::ForwardedChannels);
        program.start(SELVARIN_STUDIO_PROGRAM, words);
        ASSERT_TRUE(program.waitForStarted(10000));
    }
    static bool await(const std::function<bool()>& f, int milliseconds = 30000) {
        QElapsedTimer time;
        time.start();
        while (time.elapsed() < milliseconds) {
            if (f()) {
                return true;
            }
            QTest::qWait(20);
        }
        return false;
    }
    // Waits for the window with that title.
    static qulonglong windowNamed(const QString& pattern) {
        qulonglong window = 0;
        if (!await([&] { return (window = Hand::windowNamed(pattern)) != 0; })) {
            ADD_FAILURE() << "no window " << pattern.toStdString();
        }
        return window;
    }
    // How many colours the middle of the screen has, where the view is.
    static std::size_t coloursInTheMiddle() {
        const QImage middle = QGuiApplication::primaryScreen()->grabWindow(0, 400, 250, 400, 400).toImage();
        std::set<QRgb> colours;
        for (int y = 0; y < middle.height(); y += 4) {
            for (int x = 0; x < middle.width(); x += 4) {
                colours.insert(middle.pixel(x, y));
            }
        }
        return colours.size();
    }
    int recoveryFiles() const {
        return static_cast<int>(QDir(recovery).entryList({"*.selvarin"}, QDir::Files).size());
    }

    const TempHome home;
    QString recovery;
    QString model;
    QProcess program;
};

} // namespace

TEST_F(StudioProgram, OpensTheModelOfItsCommandLineAndQuits) {
    start({model});
    const qulonglong window = windowNamed("^box.obj .+ Selvarin Studio$");
    EXPECT_TRUE(await([] { return coloursInTheMiddle() > 4; })) << "the box is in the view";
    Hand::focus(window);
    Hand::keys("ctrl+q");
    ASSERT_TRUE(await([this] { return program.state() == QProcess::NotRunning; }));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_EQ(recoveryFiles(), 0);
}

TEST_F(StudioProgram, WhatAKilledProgramHadIsOfferedByTheNext) {
    start({model});
    qulonglong window = windowNamed("^box.obj .+ Selvarin Studio$");
    EXPECT_TRUE(await([] { return coloursInTheMiddle() > 4; }));
    Hand::focus(window);
    Hand::keys("ctrl+3"); // seen from the right: the document has changed
    windowNamed("^box.obj\\* .+ Selvarin Studio$");
    ASSERT_TRUE(await([this] { return recoveryFiles() == 1; }));
    program.kill();
    ASSERT_TRUE(program.waitForFinished(10000));
    ASSERT_EQ(program.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(recoveryFiles(), 1);

    start({});
    const qulonglong question = windowNamed("^Selvarin Studio$");
    Hand::focus(question);
    Hand::keys("Return"); // Recover, the first button
    window = windowNamed("^box.obj\\* .+ Selvarin Studio$");
    EXPECT_EQ(recoveryFiles(), 1) << "the work is still not saved";
    Hand::focus(window);
    Hand::keys("ctrl+q");
    Hand::focus(windowNamed("^Selvarin Studio$"));
    Hand::keys("Escape"); // stays
    QTest::qWait(300);
    EXPECT_EQ(program.state(), QProcess::Running);
    program.kill();
    ASSERT_TRUE(program.waitForFinished(10000));

    // Whoever does not want it is not asked again.
    start({});
    Hand::focus(windowNamed("^Selvarin Studio$"));
    Hand::keys("Tab");
    Hand::keys("space");
    windowNamed("^Built-in scene .+ Selvarin Studio$");
    EXPECT_TRUE(await([this] { return recoveryFiles() == 0; }));
}
