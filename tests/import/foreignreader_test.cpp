// What becomes of an import when the program that reads is in the hands of its file. The reader of these tests does
// what its file says (readerprobe.cpp).
#include "import/foreignreader.h"

#include "import/kivmodelimport.h"
#include "importtestfiles.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmesh.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

bool hasLandlock() {
    return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >= 1;
}
bool hasCallFilters() {
    return prctl(PR_GET_SECCOMP, 0, 0, 0, 0) >= 0;
}

class ForeignReaderTest : public testing::Test {
protected:
    ForeignReaderTest() {
        options.readerProgram = kivFromUtf8(TEST_READER_PROBE);
        options.maxReaderMemory = std::uint64_t{400} << 20;
    }
    ~ForeignReaderTest() override {
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    }

    // The line without the file's name; "read" for a model.
    std::string outcome(const std::string& deed) {
        const std::string path = folder.write("deed.stl", deed);
        KivModel model;
        std::wstring message;
        if (kivImportModels({kivFromUtf8(path)}, options, model, message)) {
            return "read";
        }
        EXPECT_EQ(model.scene, nullptr);
        const std::string text = kivToUtf8(message);
        const std::string head = "can't use \"" + path + "\": ";
        return text.starts_with(head) ? text.substr(head.size()) : text;
    }

    TestFolder folder;
    KivModelOptions options;
};

int countOfOpenFiles() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        count += entry.path().empty() ? 0 : 1;
    }
    return count;
}

} // namespace

TEST_F(ForeignReaderTest, WhatIsReadComesOver) {
    EXPECT_EQ(outcome("nothing"), "read");
    KivModel model;
    std::wstring message;
    ASSERT_TRUE(kivImportModels({kivFromUtf8(folder.path("deed.stl"))}, options, model, message));
    EXPECT_EQ(model.files.at(0).format, L"probe");
    EXPECT_EQ(model.scene->getMesh(0)->getNumTriangles(), 1U);
    // Names are shown on terminals.
    EXPECT_EQ(model.meshNames.at(0), L"a?[31m");
}

TEST_F(ForeignReaderTest, EachWayToEndHasItsLine) {
    // With a sanitizer what crashes ends with a status.
    EXPECT_THAT(outcome("crash"), MatchesRegex("its reader crashed \\((Segmentation fault|status [0-9]+)\\)"));
    EXPECT_THAT(outcome("abort"), MatchesRegex("its reader crashed \\((Aborted|status [0-9]+)\\)"));
    EXPECT_EQ(outcome("exit"), "its reader crashed (status 7)");
    EXPECT_EQ(outcome("memory"), "it needs more memory than 419 MB");
    // Sanitizers map more addresses than any limit allows: with them only the memory in use counts.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_EQ(outcome("reserve"), "Cannot allocate memory");
#endif
    const std::string text = outcome("text");
    EXPECT_THAT(text, StartsWith("two?lines and ?[31mcolour, xxx"));
    EXPECT_LT(text.size(), 600U);
}

TEST_F(ForeignReaderTest, TimeWithoutProgressHasAnEnd) {
    options.maxReaderSeconds = 0.2;
    for (const char* const deed : {"loop", "rest", "flood"}) {
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(outcome(deed), "it took longer than 0.2 s without progress") << deed;
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(20)) << deed;
    }
    options.maxReaderSeconds = 0.0;
}

TEST_F(ForeignReaderTest, WhatIsHandedOverIsChecked) {
    EXPECT_EQ(outcome("index"), "its reader handed over something broken (vertex index 4000000000 of 3)");
    EXPECT_EQ(outcome("nan"), "its reader handed over something broken (a coordinate that can't be used)");
    EXPECT_EQ(outcome("huge"), "its reader handed over something broken (a list of 1152921504606846976 items)");
    EXPECT_THAT(outcome("endless"), StartsWith("its reader handed over something broken ("));
    EXPECT_THAT(outcome("nonsense"), StartsWith("its reader handed over something broken ("));
    EXPECT_EQ(outcome("silent"), "its reader was killed; perhaps the machine has too little memory left");
}

TEST_F(ForeignReaderTest, WritesNothing) {
    folder.write("victim", "as it was");
    const std::string victim = " " + folder.path("victim");
    for (const char* const deed : {"append", "truncate", "remove", "rename", "mode", "create"}) {
        if (!hasCallFilters() && std::string(deed) == "mode") {
            continue; // Landlock knows no right to change modes
        }
        if (hasCallFilters() || hasLandlock()) {
            EXPECT_THAT(outcome(deed + victim), testing::AnyOf("Operation not permitted", "Permission denied")) << deed;
        }
    }
    for (const char* const deed : {"create", "folder", "link"}) {
        if (hasCallFilters() || hasLandlock()) {
            EXPECT_THAT(outcome(deed + std::string(" ") + folder.path("new")),
                        testing::AnyOf("Operation not permitted", "Permission denied"))
                << deed;
        }
        EXPECT_FALSE(std::filesystem::exists(folder.path("new"))) << deed;
    }
    std::ifstream kept(folder.path("victim"));
    std::string content;
    std::getline(kept, content);
    EXPECT_EQ(content, "as it was");
}

TEST_F(ForeignReaderTest, ReadsNothingBesideTheModelsFolder) {
    folder.write("neighbour", "x");
    EXPECT_EQ(outcome("read " + folder.path("neighbour")), "possible");
    const TestFolder other;
    other.write("secret", "x");
    if (!hasLandlock()) {
        GTEST_SKIP() << "this kernel has no Landlock";
    }
    EXPECT_EQ(outcome("read " + other.path("secret")), "Permission denied");
    EXPECT_EQ(outcome("read /etc/passwd"), "Permission denied");
    std::filesystem::create_symlink(other.path("secret"), folder.path("link"));
    EXPECT_EQ(outcome("read " + folder.path("link")), "Permission denied");
}

TEST_F(ForeignReaderTest, ReachesNoNetworkAndNoProcess) {
    const int ours = open("/dev/null", O_RDONLY); // a descriptor that nobody marked
    ASSERT_EQ(dup2(ours, 200), 200);
    EXPECT_EQ(outcome("descriptors"), "Bad file descriptor");
    close(ours);
    close(200);
    if (!hasCallFilters()) {
        GTEST_SKIP() << "this kernel filters no system calls";
    }
    for (const char* const deed : {"socket", "local", "fork", "thread", "execute", "signal"}) {
        EXPECT_EQ(outcome(deed), "Operation not permitted") << deed;
    }
}

TEST_F(ForeignReaderTest, TellsProgressAndCanBeCancelled) {
    std::vector<double> seen;
    options.progress = [&seen](double done) {
        seen.push_back(done);
        return true;
    };
    EXPECT_EQ(outcome("steps"), "read");
    ASSERT_FALSE(seen.empty());
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_TRUE(std::any_of(seen.begin(), seen.end(), [](double done) { return done > 0.35 && done < 0.45; }))
        << "half of the reading, which is most of an import";
    EXPECT_GE(seen.front(), 0.0);
    EXPECT_LE(seen.back(), 1.0);
    int calls = 0;
    options.progress = [&calls](double /*done*/) { return ++calls < 3; };
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(outcome("rest"), "");
    EXPECT_EQ(calls, 3);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
}

TEST_F(ForeignReaderTest, AMissingOrBrokenProgramIsOneLine) {
    const auto with = [this](const std::string& program) {
        options.readerProgram = kivFromUtf8(program);
        return outcome("nothing");
    };
    EXPECT_EQ(with(folder.path("gone")), "the program that reads such files is missing: " + folder.path("gone"));
    EXPECT_EQ(with("selvarin-reader"),
              "the program that reads such files is not run by a relative path: selvarin-reader");
    const std::string text = folder.write("text", "Dear reader,\n");
    EXPECT_EQ(with(text), "the program that reads such files can't be started: " + text + " (Permission denied)");
    chmod(text.c_str(), 0700);
    EXPECT_EQ(with(text), "the program that reads such files can't be started: " + text + " (Exec format error)");
    EXPECT_EQ(with("/bin/true"), "the program that reads such files does not work: /bin/true (status 0)");
    EXPECT_EQ(with("/bin/false"), "the program that reads such files does not work: /bin/false (status 1)");
    // One of another version says hello with another number.
    const std::string old = folder.write("old", "#!/bin/sh\nprintf '\\000\\000\\000\\000oldreade' >&3\nsleep 5\n");
    chmod(old.c_str(), 0700);
    EXPECT_EQ(with(old), "the program that reads such files belongs to another version of Selvarin: " + old);
    const std::string chatty = folder.write("chatty", "#!/bin/sh\necho Good morning, what can I do for you >&3\n");
    chmod(chatty.c_str(), 0700);
    EXPECT_EQ(with(chatty), "its reader handed over something broken (no greeting)");
}

TEST_F(ForeignReaderTest, LeavesNoDescriptorBehind) {
    outcome("nothing");
    const int before = countOfOpenFiles();
    for (const char* const deed : {"nothing", "crash", "nonsense", "index"}) {
        outcome(deed);
    }
    options.readerProgram = kivFromUtf8(folder.path("gone"));
    outcome("nothing");
    EXPECT_EQ(countOfOpenFiles(), before);
}

TEST_F(ForeignReaderTest, WorksWhereTheHostReapsChildrenItself) {
    const auto former = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(outcome("nothing"), "read");
    EXPECT_EQ(outcome("exit"), "its reader crashed (for an unknown reason)");
    std::signal(SIGCHLD, former);
}

TEST_F(ForeignReaderTest, WorksWithoutStandardStreams) {
    const pid_t host = fork();
    if (host == 0) {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        _exit(outcome("nothing") == "read" ? 0 : 1);
    }
    int status = 0;
    waitpid(host, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST_F(ForeignReaderTest, WorksOnManyThreadsAtOnce) {
    const std::string path = folder.write("many.stl", "nothing");
    std::vector<std::thread> threads;
    std::atomic<int> read{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            KivModel model;
            std::wstring message;
            read += kivImportModels({kivFromUtf8(path)}, options, model, message) ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(read, 4);
}

TEST_F(ForeignReaderTest, EndsWithItsParent) {
    const std::string path = folder.write("rest.stl", "rest");
    const pid_t host = fork();
    if (host == 0) {
        KivModel model;
        std::wstring message;
        kivImportModels({kivFromUtf8(path)}, options, model, message);
        _exit(0);
    }
    // The child of our child.
    const std::string children = "/proc/" + std::to_string(host) + "/task/" + std::to_string(host) + "/children";
    pid_t reader = 0;
    for (int i = 0; i < 500 && reader == 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        std::ifstream(children) >> reader;
    }
    const auto isThere = [reader] {
        std::ifstream file("/proc/" + std::to_string(reader) + "/stat");
        std::string word;
        file >> word >> word >> word;
        return !word.empty() && word != "Z" && word != "X";
    };
    if (reader != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200)); // until it has begun
        EXPECT_TRUE(isThere());
    }
    kill(host, SIGKILL);
    waitpid(host, nullptr, 0);
    if (reader == 0) {
        GTEST_SKIP() << "this kernel lists no children of processes";
    }
    for (int i = 0; i < 500 && isThere(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(isThere());
}

TEST_F(ForeignReaderTest, SaysWhatReads) {
    EXPECT_THAT(kivToUtf8(kivModelReaders()), MatchesRegex("Assimp [0-9]+\\.[0-9]+\\.[0-9]+, .*Open CASCADE.*"));
}
