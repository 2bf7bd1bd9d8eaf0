#include "apps/studio/studiorecovery.h"

#include "support/temphome.h"

#include <QFileInfo>

#include <chrono>
#include <csignal>
#include <functional>
#include <limits>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class StudioRecoveryTest : public testing::Test {
protected:
    StudioRecoveryTest() {
        home.environment.set("XDG_STATE_HOME", (home.path() / "state").string());
    }

    std::filesystem::path folder() const {
        return home.path() / "state/selvarin/recovery";
    }

    static StudioState state(double distance) {
        StudioState s = StudioState::fresh();
        s.camera.distance = distance;
        s.models = {L"/models/a.obj"};
        s.look.edit().setSaving();
        s.look.edit().saveString(L"Style:Noir");
        return s;
    }

    // A process that does the work and then dies as in a crash, without any clean-up.
    static void crashAfter(const std::function<void()>& work) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            work();
            kill(getpid(), SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the child could not do its work";
    }

    TempHome home;
};

void writeOrExit(StudioRecovery& recovery, const StudioState& state, const char* document) {
    QString why;
    if (!recovery.write(state, QString::fromUtf8(document), &why)) {
        std::_Exit(3);
    }
}

} // namespace

TEST_F(StudioRecoveryTest, WhatAKilledProcessWroteIsFoundAsItWas) {
    crashAfter([] {
        StudioRecovery recovery;
        writeOrExit(recovery, state(50.0), "/documents/a.selvarin");
        writeOrExit(recovery, state(51.0), "/documents/a.selvarin");
    });
    const auto found = StudioRecovery::findAbandoned();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].document, QStringLiteral("/documents/a.selvarin"));
    StudioState read;
    QString why;
    ASSERT_TRUE(StudioRecovery::read(found[0], &read, &why)) << why.toStdString();
    EXPECT_TRUE(read == state(51.0));
    EXPECT_TRUE(read.unknown.toObject().empty()) << "what is said of the recovery goes into no document";
    EXPECT_EQ(StudioRecovery::findAbandoned().size(), 1U) << "looking at it takes nothing away";
    StudioRecovery::discard(found[0]);
    EXPECT_TRUE(StudioRecovery::findAbandoned().empty());
    EXPECT_EQ(home.count("state/selvarin/recovery"), 0U);
}

TEST_F(StudioRecoveryTest, ThatOfALivingProcessIsNotOffered) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        StudioRecovery recovery;
        writeOrExit(recovery, state(60.0), "");
        (void)!write(ready[1], "!", 1);
        pause();
        std::_Exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_TRUE(StudioRecovery::findAbandoned().empty());
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(StudioRecovery::findAbandoned().size(), 1U);
    close(ready[0]);
    close(ready[1]);
}

TEST_F(StudioRecoveryTest, OtherWindowsOfTheSameProcessAreNotOffered) {
    StudioRecovery first;
    StudioRecovery second;
    QString why;
    ASSERT_TRUE(first.write(state(70.0), {}, &why)) << why.toStdString();
    ASSERT_TRUE(second.write(state(71.0), {}, &why)) << why.toStdString();
    EXPECT_EQ(home.count("state/selvarin/recovery"), 4U) << "two files and their locks";
    EXPECT_TRUE(StudioRecovery::findAbandoned().empty());
    first.clear();
    EXPECT_EQ(home.count("state/selvarin/recovery"), 2U);
    second.clear();
    EXPECT_EQ(home.count("state/selvarin/recovery"), 0U) << "a clean end leaves nothing behind";
}

TEST_F(StudioRecoveryTest, AClearedOneCanBeWrittenAgain) {
    StudioRecovery recovery;
    recovery.clear();
    QString why;
    ASSERT_TRUE(recovery.write(state(80.0), {}, &why));
    recovery.clear();
    ASSERT_TRUE(recovery.write(state(81.0), {}, &why));
    EXPECT_TRUE(StudioRecovery::findAbandoned().empty());
    recovery.clear();
}

// Recovered work keeps no other names than those of documents.
QString documentAt(int i) {
    return QStringLiteral("/drawings/%1.selvarin").arg(i);
}

TEST_F(StudioRecoveryTest, TheNewestComesFirst) {
    for (int i = 0; i < 3; ++i) {
        crashAfter([i] {
            StudioRecovery recovery;
            writeOrExit(recovery, state(50.0 + i), documentAt(i).toStdString().c_str());
        });
    }
    // Times of our own, as three writes fall into one tick of the clock.
    const auto now = std::filesystem::file_time_type::clock::now();
    for (const auto& found : StudioRecovery::findAbandoned()) {
        const int i = found.document == documentAt(1) ? 1 : found.document == documentAt(0) ? 0 : 2;
        std::filesystem::last_write_time(found.file.toStdString(), now - std::chrono::hours(i == 1 ? 0 : i + 1));
    }
    const auto found = StudioRecovery::findAbandoned();
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0].document, documentAt(1));
    EXPECT_EQ(found[1].document, documentAt(0));
    EXPECT_EQ(found[2].document, documentAt(2));
}

TEST_F(StudioRecoveryTest, AHalfWrittenFileNeverAppears) {
    // Killed in the middle of one write after another: what is found is always whole.
    for (int round = 0; round < 10; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            StudioRecovery recovery;
            for (int i = 0;; ++i) {
                StudioState s = state(50.0 + i % 100);
                for (int cell = 0; cell < 2000; ++cell) {
                    s.look.edit().saveInt(cell);
                }
                writeOrExit(recovery, s, "/drawings/whole.selvarin");
            }
        }
        usleep(static_cast<useconds_t>(20'000 + round * 3'700));
        kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
        for (const auto& found : StudioRecovery::findAbandoned()) {
            StudioState read;
            QString why;
            EXPECT_TRUE(StudioRecovery::read(found, &read, &why)) << why.toStdString();
            EXPECT_EQ(read.look.getCells().size(), 2001U);
            EXPECT_EQ(found.document, QStringLiteral("/drawings/whole.selvarin"));
            StudioRecovery::discard(found);
        }
    }
}

TEST_F(StudioRecoveryTest, DamagedAndForeignFilesAreToldOrIgnored) {
    std::filesystem::create_directories(folder());
    home.write("state/selvarin/recovery/1-x.selvarin", "{\"selvarin\": 1, ");
    home.write("state/selvarin/recovery/2-x.selvarin", "");
    home.write("state/selvarin/recovery/notes.txt", "mine");
    const auto found = StudioRecovery::findAbandoned();
    ASSERT_EQ(found.size(), 2U);
    for (const auto& each : found) {
        StudioState read = state(42.0);
        QString why;
        EXPECT_FALSE(StudioRecovery::read(each, &read, &why));
        EXPECT_TRUE(why.contains(each.file));
        EXPECT_FALSE(why.contains(QLatin1Char('\n')));
        EXPECT_TRUE(read == state(42.0));
        StudioRecovery::discard(each);
    }
    EXPECT_TRUE(StudioRecovery::findAbandoned().empty());
    EXPECT_EQ(home.read("state/selvarin/recovery/notes.txt"), "mine");
}

TEST_F(StudioRecoveryTest, WhatIsSetAsideIsNotFoundAgain) {
    std::filesystem::create_directories(folder());
    home.write("state/selvarin/recovery/1-x.selvarin", "half");
    const auto found = StudioRecovery::findAbandoned();
    ASSERT_EQ(found.size(), 1U);
    const QString kept = StudioRecovery::setAside(found[0]);
    EXPECT_NE(kept, found[0].file);
    EXPECT_EQ(home.read("state/selvarin/recovery/" + QFileInfo(kept).fileName().toStdString()), "half");
    EXPECT_TRUE(StudioRecovery::findAbandoned().empty());
    EXPECT_EQ(home.count("state/selvarin/recovery"), 1U) << "its lock is gone";
    EXPECT_EQ(StudioRecovery::setAside(found[0]), found[0].file) << "what can't be renamed keeps its name";
}

TEST_F(StudioRecoveryTest, AFolderThatCantBeMadeIsToldInOneLine) {
    home.write("state", "a file where the folder should be");
    StudioRecovery recovery;
    QString why;
    EXPECT_FALSE(recovery.write(state(1.0), {}, &why));
    EXPECT_TRUE(why.contains(StudioRecovery::folder()));
    EXPECT_FALSE(why.contains(QLatin1Char('\n')));
    EXPECT_TRUE(StudioRecovery::findAbandoned().empty());
    recovery.clear();
    // The trouble may pass.
    std::filesystem::remove(home.path() / "state");
    EXPECT_TRUE(recovery.write(state(1.0), {}, &why)) << why.toStdString();
    recovery.clear();
}

TEST_F(StudioRecoveryTest, AFailedWriteKeepsTheFormerFile) {
    crashAfter([] {
        StudioRecovery recovery;
        writeOrExit(recovery, state(50.0), "/drawings/kept.selvarin");
        // A file may have no bytes from here on, as on a full disk.
        const rlimit none{0, 0};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &none);
        QString why;
        if (recovery.write(state(51.0), QStringLiteral("lost"), &why) || why.isEmpty()) {
            std::_Exit(4);
        }
    });
    const auto found = StudioRecovery::findAbandoned();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].document, QStringLiteral("/drawings/kept.selvarin"));
    StudioState read;
    QString why;
    ASSERT_TRUE(StudioRecovery::read(found[0], &read, &why));
    EXPECT_TRUE(read == state(50.0));
}

TEST_F(StudioRecoveryTest, WritesThatTakeLongComeSeldom) {
    EXPECT_EQ(StudioRecovery::pauseAfter(0), 1000);
    EXPECT_EQ(StudioRecovery::pauseAfter(50), 1000);
    EXPECT_EQ(StudioRecovery::pauseAfter(400), 8000);
    EXPECT_EQ(StudioRecovery::pauseAfter(60'000), 30'000);
    EXPECT_EQ(StudioRecovery::pauseAfter(std::numeric_limits<qint64>::max()), 30'000);
}

TEST_F(StudioRecoveryTest, TheFolderIsThatOfTheUsersState) {
    EXPECT_EQ(StudioRecovery::folder().toStdString(), folder().string());
    for (const char* const unusable : {"", "relative/path"}) {
        home.environment.set("XDG_STATE_HOME", unusable);
        EXPECT_EQ(StudioRecovery::folder().toStdString(),
                  (home.path() / "home/.local/state/selvarin/recovery").string());
    }
}
