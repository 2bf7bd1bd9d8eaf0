// "selvarin catalogue" as a user runs it.
#include "programrun.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

// A block of a height of its own, so that each picture is another.
std::string blockOf(int number) {
    const std::string top = std::to_string(0.5 + 0.1 * number);
    std::string text;
    for (const char* z : {"0", top.c_str()}) {
        for (const char* xy : {"0 0 ", "1 0 ", "1 1 ", "0 1 "}) {
            text += std::string("v ") + xy + z + "\n";
        }
    }
    return text + "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
}

class CatalogueTest : public testing::Test {
protected:
    void makeModels(int count) {
        fs::create_directories(folder.path("models"));
        for (int i = 0; i < count; ++i) {
            folder.write("models/part" + std::to_string(i) + ".obj", blockOf(i));
        }
    }
    std::vector<std::string> catalogue(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words{
            "catalogue", folder.path("models"), "-o", folder.path("out"), "-s", "64x48", "-j", "2"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    int count(const std::string& what) const {
        const std::string report = folder.read("out/report.json");
        int found = 0;
        for (std::size_t at = report.find(what); at != std::string::npos; at = report.find(what, at + 1)) {
            ++found;
        }
        return found;
    }
    std::map<std::string, std::string> pictures() const {
        std::map<std::string, std::string> all;
        for (const auto& entry : fs::directory_iterator(folder.path("out"))) {
            if (entry.path().extension() == ".png") {
                all[entry.path().filename().string()] = readAll(entry.path().string());
            }
        }
        return all;
    }
    // Those that the process of the catalogue has started.
    static std::vector<pid_t> workersOf(pid_t parent) {
        std::ifstream list("/proc/" + std::to_string(parent) + "/task/" + std::to_string(parent) + "/children");
        std::vector<pid_t> pids;
        for (pid_t pid = 0; list >> pid;) {
            pids.push_back(pid);
        }
        return pids;
    }

    struct Watched {
        std::set<pid_t> workers;         // all that there were
        std::vector<std::size_t> memory; // of the largest, in bytes, in the course of the run
        int status = -1;
    };
    // Runs a catalogue and looks at its workers meanwhile.
    Watched watch(const std::vector<std::string>& words) const {
        Watched seen;
        const std::string program = std::string(SELVARIN_BIN_DIR) + "/selvarin";
        std::vector<char*> arguments{const_cast<char*>(program.c_str())};
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            execv(program.c_str(), arguments.data());
            _exit(127);
        }
        while (waitpid(child, &seen.status, WNOHANG) == 0) {
            std::size_t largest = 0;
            for (const pid_t worker : workersOf(child)) {
                seen.workers.insert(worker);
                std::size_t pages = 0;
                std::size_t resident = 0;
                std::ifstream("/proc/" + std::to_string(worker) + "/statm") >> pages >> resident;
                largest = std::max(largest, resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)));
            }
            seen.memory.push_back(largest);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return seen;
    }

    // Sends the worker a signal while it draws. Whether the report has one job with that message; all others must be
    // there. Between two jobs a worker that ends goes unnoticed, and so there are some attempts.
    bool strikes(int signal, const std::string& message) {
        for (int attempt = 0; attempt < 5; ++attempt) {
            fs::remove_all(folder.path("out"));
            const std::string program = std::string(SELVARIN_BIN_DIR) + "/selvarin";
            const pid_t child = fork();
            if (child == 0) {
                // AddressSanitizer would turn the signal into an exit of its own.
                setenv("ASAN_OPTIONS", "handle_segv=0", 1);
                execl(program.c_str(), program.c_str(), "catalogue", folder.path("models").c_str(), "-o",
                      folder.path("out").c_str(), "-s", "160x120", "-j", "1", "--timeout", "3", "-q", nullptr);
                _exit(127);
            }
            while (!fs::exists(folder.path("out/part1.png")) && waitpid(child, nullptr, WNOHANG) == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
            for (const pid_t worker : workersOf(child)) {
                kill(worker, signal);
            }
            waitpid(child, nullptr, 0);
            const bool isTold = count(message) == 1;
            EXPECT_EQ(count("\"status\": \"done\""), isTold ? 11 : 12);
            if (isTold) {
                return true;
            }
        }
        return false;
    }

    ProgramFolder folder;
};

TEST_F(CatalogueTest, ABadModelCostsItsLineAlone) {
    makeModels(3);
    folder.write("models/bad.obj", "this is no model\n");
    const Outcome outcome = run(folder, catalogue());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("bad.obj\": failed: can't use"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.out.find("4 jobs, 3 drawn, 0 kept, 1 failed"), std::string::npos) << outcome.out;
    EXPECT_EQ(count("\"status\": \"done\""), 3);
    EXPECT_EQ(count("\"status\": \"failed\""), 1);
    EXPECT_EQ(pictures().size(), 3U);
    const std::string page = folder.read("out/index.html");
    EXPECT_NE(page.find("part1.png"), std::string::npos);
    EXPECT_NE(page.find("can't use"), std::string::npos) << page;
}

TEST_F(CatalogueTest, ThePicturesAreThoseOfRender) {
    makeModels(2);
    ASSERT_EQ(run(folder, catalogue()).status, 0);
    ASSERT_EQ(
        run(folder, {"render", folder.path("models/part1.obj"), "-o", folder.path("one.png"), "-s", "64x48"}).status,
        0);
    EXPECT_EQ(folder.read("one.png"), folder.read("out/part1.png"));
    EXPECT_NE(folder.read("out/part0.png"), folder.read("out/part1.png"));
}

TEST_F(CatalogueTest, WhatIsDoneIsKeptUntilSomethingChanges) {
    makeModels(3);
    ASSERT_EQ(run(folder, catalogue()).status, 0);
    EXPECT_NE(run(folder, catalogue()).out.find("0 drawn, 3 kept"), std::string::npos);
    folder.write("models/part1.obj", blockOf(9));
    EXPECT_NE(run(folder, catalogue()).out.find("1 drawn, 2 kept"), std::string::npos);
    EXPECT_NE(run(folder, catalogue({"--background", "#000000"})).out.find("3 drawn, 0 kept"), std::string::npos);
    EXPECT_NE(run(folder, catalogue({"--background", "#000000", "--again"})).out.find("3 drawn"), std::string::npos);
}

// Killed without warning at any moment, and gone on with.
TEST_F(CatalogueTest, ARunThatWasKilledComesOutWhole) {
    makeModels(30);
    folder.write("models/bad.obj", "this is no model\n");
    ASSERT_EQ(run(folder, catalogue()).status, 1);
    const auto reference = pictures();
    ASSERT_EQ(reference.size(), 30U);
    fs::remove_all(folder.path("out"));
    std::mt19937 random(11);
    for (int i = 0; i < 3; ++i) {
        const std::string program = std::string(SELVARIN_BIN_DIR) + "/selvarin";
        const pid_t child = fork();
        if (child == 0) {
            execl(program.c_str(), program.c_str(), "catalogue", folder.path("models").c_str(), "-o",
                  folder.path("out").c_str(), "-s", "64x48", "-j", "2", "-q", nullptr);
            _exit(127);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(80 + random() % 250));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        for (const auto& [name, bytes] : fs::exists(folder.path("out")) ? pictures() : reference) {
            if (!name.starts_with(".")) {
                EXPECT_EQ(bytes, reference.at(name)) << "a picture is there as a whole or not at all";
            }
        }
    }
    const Outcome outcome = run(folder, catalogue());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(pictures(), reference) << "nothing is missing, and nothing else is left";
    EXPECT_EQ(count("\"status\": \"failed\""), 1);
    EXPECT_EQ(count("\"status\": \"done\"") + count("\"status\": \"kept\""), 30);
}

// A pipe that nobody writes to would be a model that never ends.
// Throughput and overhead follow from it: what each job would start anew costs ten times the job.
TEST_F(CatalogueTest, WorkersStayForTheWholeRun) {
    makeModels(24);
    const Watched seen = watch(catalogue({"-a", "0", "-q"}));
    EXPECT_EQ(seen.status, 0);
#ifdef __SANITIZE_ADDRESS__
    EXPECT_LE(seen.workers.size(), 3U); // the search for leaks at the end looks like a worker
#else
    EXPECT_EQ(seen.workers.size(), 2U);
#endif
    EXPECT_EQ(count("\"status\": \"done\""), 24);
}

TEST_F(CatalogueTest, AWorkersMemoryStaysFlat) {
    makeModels(160);
    std::vector<std::string> words = catalogue({"-a", "0", "-q"});
    words[std::find(words.begin(), words.end(), "-j") - words.begin() + 1] = "1";
    const Watched seen = watch(words);
    EXPECT_EQ(count("\"status\": \"done\""), 160);
    ASSERT_GT(seen.memory.size(), 40U);
    const auto middle = seen.memory.begin() + static_cast<std::ptrdiff_t>(seen.memory.size() / 3);
    const std::size_t early = *std::max_element(seen.memory.begin(), middle);
    const std::size_t later = *std::max_element(middle, seen.memory.end());
    EXPECT_GT(early, std::size_t{20} << 20);
#ifndef __SANITIZE_ADDRESS__ // which holds freed memory back
    // No job of the last hundred keeps as much as 20 KB.
    EXPECT_LT(later, early + (std::size_t{2} << 20));
#endif
}

TEST_F(CatalogueTest, APipeIsNoModel) {
    makeModels(1);
    folder.write("t.csv", "model\nmodels/pipe.obj\nmodels/part0.obj\n");
    ASSERT_EQ(mkfifo(folder.path("models/pipe.obj").c_str(), 0600), 0);
    EXPECT_EQ(run(folder, {"catalogue", folder.path("t.csv"), "-o", folder.path("out"), "-s", "64x48"}).status, 1);
    EXPECT_EQ(count("\"status\": \"done\""), 1);
    EXPECT_EQ(count("it is no file"), 1) << folder.read("out/report.json");
}

TEST_F(CatalogueTest, ACrashIsReportedWithItsJobAndTheRestGoesOn) {
    makeModels(12);
    EXPECT_TRUE(strikes(SIGSEGV, "its process crashed (Segmentation fault)"));
}

TEST_F(CatalogueTest, AWorkerThatHangsIsReplaced) {
    makeModels(12);
    EXPECT_TRUE(strikes(SIGSTOP, "it took longer than 3 seconds"));
}

TEST_F(CatalogueTest, AnInterruptEndsItWithAReport) {
    makeModels(200);
    const Outcome outcome = run(folder, catalogue({"-s", "640x480"}), 700);
    EXPECT_EQ(outcome.status, 130) << outcome.err;
    EXPECT_GT(count("\"status\": \"not drawn\""), 0);
    for (const std::string& name : folder.names()) {
        EXPECT_FALSE(name.starts_with(".selvarin-")) << name;
    }
}

TEST_F(CatalogueTest, WrongUseIsTold) {
    makeModels(1);
    EXPECT_EQ(run(folder, {"catalogue", folder.path("models")}).status, 2);
    EXPECT_EQ(run(folder, {"catalogue", "-o", folder.path("out")}).status, 2);
    EXPECT_EQ(run(folder, catalogue({"-j", "0"})).status, 2);
    EXPECT_EQ(run(folder, catalogue({"--format", "doc"})).status, 2);
    EXPECT_EQ(run(folder, {"catalogue", folder.path("none"), "-o", folder.path("out")}).status, 1);
}

} // namespace
