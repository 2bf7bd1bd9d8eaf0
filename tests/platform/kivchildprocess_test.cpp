#include "kivrender/platform/kivchildprocess.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Kind = KivChildProcess::Ending::Kind;

std::string readAll(const KivChildProcess& child) {
    std::string text;
    for (;;) {
        pollfd waiting{child.channel(), POLLIN, 0};
        poll(&waiting, 1, 10'000);
        char buffer[4096];
        const ssize_t got = read(child.channel(), buffer, sizeof buffer);
        if (got <= 0) {
            return text;
        }
        text.append(buffer, static_cast<std::size_t>(got));
    }
}

bool startShell(KivChildProcess& child, const std::string& commands) {
    std::string why;
    return child.start("/bin/sh", {"-c", commands}, why);
}

std::string tellOf(const std::string& commands) {
    KivChildProcess child;
    EXPECT_TRUE(startShell(child, "exec 1>&3; " + commands));
    return readAll(child);
}

} // namespace

TEST(KivChildProcess, TalksBothWays) {
    KivChildProcess child;
    ASSERT_TRUE(startShell(child, "read word <&3; echo \"$word?\" >&3; exit 5"));
    ASSERT_EQ(write(child.channel(), "hello\n", 6), 6);
    EXPECT_EQ(readAll(child), "hello?\n");
    for (int i = 0; i < 2; ++i) {
        const KivChildProcess::Ending end = child.wait();
        EXPECT_EQ(end.kind, Kind::exited);
        EXPECT_EQ(end.number, 5);
    }
}

TEST(KivChildProcess, HasNoOtherDescriptor) {
    const int ours = open("/dev/null", O_RDONLY); // not marked to be closed
    ASSERT_GE(ours, 0);
    const std::string list =
        tellOf("i=0; while [ $i -lt 100 ]; do [ -e /proc/$$/fd/$i ] && echo $i; i=$((i + 1)); done");
    close(ours);
    EXPECT_EQ(list, "0\n1\n2\n3\n");
    EXPECT_EQ(tellOf("exec /bin/readlink /proc/self/fd/0 /proc/self/fd/2"), "/dev/null\n/dev/null\n");
}

TEST(KivChildProcess, HasAFewNamesOfTheEnvironment) {
    setenv("LD_LIBRARY_PATH", "/some/where", 1);
    setenv("SECRET_TOKEN", "x", 1);
    const std::string list = tellOf("exec /usr/bin/env");
    unsetenv("LD_LIBRARY_PATH");
    unsetenv("SECRET_TOKEN");
    EXPECT_THAT(list, testing::HasSubstr("LD_LIBRARY_PATH=/some/where\n"));
    EXPECT_THAT(list, testing::HasSubstr("LC_ALL=C\n"));
    EXPECT_THAT(list, testing::Not(testing::HasSubstr("SECRET")));
    EXPECT_THAT(list, testing::Not(testing::HasSubstr("HOME=")));
}

TEST(KivChildProcess, HasSignalsAsANewProgram) {
    const auto former = std::signal(SIGUSR1, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR2);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    const std::string status = tellOf("while read line; do echo \"$line\"; done < /proc/$$/status");
    sigprocmask(SIG_SETMASK, &before, nullptr);
    std::signal(SIGUSR1, former);
    // 1 is SIGHUP, 2 SIGINT, 15 SIGTERM: bits 0, 1 and 14.
    EXPECT_THAT(status, testing::HasSubstr("SigBlk:\t0000000000004003\n"));
    // Beyond bit 30 are those that the C library keeps for itself.
    EXPECT_THAT(status, testing::ContainsRegex("SigIgn:\t........[08]0000000\n"));
}

TEST(KivChildProcess, IsKilledAndReaped) {
    pid_t number = 0;
    {
        KivChildProcess child;
        ASSERT_TRUE(startShell(child, "echo $$ >&3; while :; do :; done"));
        char text[32] = {};
        pollfd waiting{child.channel(), POLLIN, 0};
        poll(&waiting, 1, 10'000);
        ASSERT_GT(read(child.channel(), text, sizeof text - 1), 0);
        number = std::atoi(text);
        EXPECT_GT(child.residentBytes(), 100'000U);
        for (int i = 0; i < 1000 && child.processorSeconds() < 0.02; ++i) {
            usleep(10'000);
        }
        EXPECT_GE(child.processorSeconds(), 0.02);
        EXPECT_EQ(kill(number, 0), 0);
    }
    EXPECT_EQ(kill(number, 0), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

TEST(KivChildProcess, WaitsOnlySoLong) {
    KivChildProcess lasting;
    ASSERT_TRUE(startShell(lasting, "while :; do :; done"));
    const KivChildProcess::Ending end = lasting.waitOrKill(30);
    EXPECT_EQ(end.kind, Kind::killed);
    EXPECT_EQ(end.number, SIGKILL);
    KivChildProcess quick;
    ASSERT_TRUE(startShell(quick, "exit 3"));
    EXPECT_EQ(quick.waitOrKill(10'000).number, 3);
    EXPECT_EQ(quick.residentBytes(), 0U);
    EXPECT_EQ(quick.processorSeconds(), 0.0);
}

TEST(KivChildProcess, ThatCanNotBeStartedIsNone) {
    KivChildProcess child;
    std::string why;
    EXPECT_FALSE(child.start("/no/such/program", {}, why));
    EXPECT_EQ(why, std::strerror(ENOENT));
    child.kill();
    EXPECT_EQ(child.wait().kind, Kind::unknown);
}
