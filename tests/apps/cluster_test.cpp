// "selvarin catalogue --slurm" and "selvarin animate --slurm" on a Slurm of one machine, which the tests start. Without
// Slurm they are skipped. SELVARIN_CAMPAIGN makes the catalogue longer.
#include "programrun.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <map>
#include <memory>
#include <set>

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

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

int shell(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000;
}

// A Slurm of its own for all tests of this program.
class OneMachine {
public:
    OneMachine() {
        status = shell(tool("start") + " " + std::to_string(20000 + getpid() % 10000 * 2) + " >/dev/null 2>" +
                       folder.path("start.err"));
        setenv("SLURM_CONF", folder.path("slurm.conf").c_str(), 1);
    }
    ~OneMachine() {
        if (status == 0) {
            shell(tool("stop"));
        }
    }
    OneMachine(const OneMachine&) = delete;
    OneMachine& operator=(const OneMachine&) = delete;

    std::string tool(const std::string& command) const {
        return std::string(SELVARIN_ONE_MACHINE) + " " + command + " " + folder.path("");
    }

    ProgramFolder folder;
    int status = 0;
};

class ClusterTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        machine = std::make_unique<OneMachine>();
    }
    static void TearDownTestSuite() {
        machine.reset();
    }
    void SetUp() override {
        if (machine->status == 77) {
            GTEST_SKIP() << "Slurm (slurm-wlm) is not installed";
        }
        ASSERT_EQ(machine->status, 0) << machine->folder.read("start.err");
    }

    void makeModels(int count) const {
        fs::create_directories(folder.path("models"));
        for (int i = 0; i < count; ++i) {
            folder.write("models/part" + std::to_string(i) + ".obj", blockOf(i));
        }
    }
    std::vector<std::string> catalogue(const std::string& out, const std::vector<std::string>& more) const {
        std::vector<std::string> words{"catalogue", folder.path("models"), "-o", folder.path(out), "-s", "64x48"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    int count(const std::string& out, const std::string& what) const {
        const std::string report = folder.read(out + "/report.json");
        int found = 0;
        for (std::size_t at = report.find(what); at != std::string::npos; at = report.find(what, at + 1)) {
            ++found;
        }
        return found;
    }
    std::map<std::string, std::string> pictures(const std::string& out) const {
        std::map<std::string, std::string> all;
        for (const auto& entry : fs::directory_iterator(folder.path(out))) {
            if (entry.path().extension() == ".png") {
                all[entry.path().filename().string()] = readAll(entry.path().string());
            }
        }
        return all;
    }

    // How often each unit was done, from the lines that the tasks have left so far.
    std::map<std::string, int> unitsDone(const std::string& work) const {
        std::map<std::string, int> done;
        std::error_code problem;
        for (fs::directory_iterator entry(folder.path(work), problem), end; entry != end && !problem;
             entry.increment(problem)) {
            if (entry->path().filename().string().starts_with("results-")) {
                std::ifstream in(entry->path());
                for (std::string line; std::getline(in, line);) {
                    if (!line.empty()) {
                        ++done[line.substr(0, line.find(' '))];
                    }
                }
            }
        }
        return done;
    }

    // Processes of tasks of that work.
    std::vector<pid_t> tasksOf(const std::string& work) const {
        std::vector<pid_t> found;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            const pid_t pid = std::atoi(entry.path().filename().c_str());
            const std::string words = pid > 0 ? readAll(entry.path().string() + "/cmdline") : std::string();
            if (words.find("--slurm-task=" + folder.path(work)) != std::string::npos) {
                found.push_back(pid);
            }
        }
        return found;
    }

    // Until that is so, for at most half a minute.
    template <class Condition> static bool waitFor(Condition condition) {
        for (int i = 0; i < 600; ++i) {
            if (condition()) {
                return true;
            }
            std::this_thread::sleep_for(milliseconds(50));
        }
        return false;
    }

    ProgramFolder folder;
    static inline std::unique_ptr<OneMachine> machine;
};

TEST_F(ClusterTest, NothingIsLostAndNothingComesTwice) {
    const int jobs = std::getenv("SELVARIN_CAMPAIGN") != nullptr ? 200 : 30;
    makeModels(jobs);
    folder.write("models/bad.obj", "v 0 0 zero\nf 1 1 1\n");
    std::future<Outcome> running = std::async(std::launch::async, [this] {
        return run(folder, catalogue("out", {"--slurm", "--task-seconds", "0.5"}), -1, true);
    });
    const auto hasUnits = [this](std::size_t number) { return unitsDone("out/cluster").size() >= number; };
    // A task is killed, the node is drained in the midst of it, and the controller restarted.
    ASSERT_TRUE(waitFor([&] { return hasUnits(6); }));
    ASSERT_TRUE(waitFor([&] { return !tasksOf("out/cluster").empty(); }));
    for (const pid_t task : tasksOf("out/cluster")) {
        kill(task, SIGKILL);
    }
    ASSERT_EQ(shell("scontrol update NodeName=$(hostname -s) State=DRAIN Reason=test"), 0);
    ASSERT_EQ(shell("sinfo --noheader --format=%T | grep -q drain"), 0);
    std::this_thread::sleep_for(milliseconds(500));
    ASSERT_EQ(shell("scontrol update NodeName=$(hostname -s) State=RESUME"), 0);
    ASSERT_EQ(shell("kill $(cat " + machine->folder.path("slurmctld.pid") + ")"), 0);
    std::this_thread::sleep_for(milliseconds(500));
    ASSERT_EQ(shell(machine->tool("controller")), 0);
    // Finished work is not done again.
    int most = 0;
    while (running.wait_for(milliseconds(20)) != std::future_status::ready) {
        for (const auto& [unit, times] : unitsDone("out/cluster")) {
            most = std::max(most, times);
        }
    }
    const Outcome outcome = running.get();
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_NE(outcome.err.find("bad.obj"), std::string::npos) << outcome.err;
    EXPECT_EQ(most, 1);
    EXPECT_EQ(count("out", "\"status\": \"done\""), jobs);
    EXPECT_EQ(count("out", "\"status\": \"failed\""), 1);
    EXPECT_FALSE(fs::exists(folder.path("out/cluster")));
    // The same pictures as without a cluster, and what is drawn already is not drawn again.
    EXPECT_EQ(run(folder, catalogue("local", {"-q"})).status, 1);
    EXPECT_EQ(pictures("out"), pictures("local"));
    const Outcome again = run(folder, catalogue("out", {}));
    EXPECT_NE(again.out.find(", 0 drawn, " + std::to_string(jobs) + " kept, 1 failed"), std::string::npos) << again.out;
}

TEST_F(ClusterTest, ARunThatWasEndedFindsItsTasksAgain) {
    makeModels(12);
    // The program is killed, its tasks are not.
    const pid_t child = fork();
    if (child == 0) {
        run(folder, catalogue("out", {"--slurm", "-q"}));
        _exit(0);
    }
    ASSERT_TRUE(waitFor([this] { return !tasksOf("out/cluster").empty() || !unitsDone("out/cluster").empty(); }));
    std::string children = readAll("/proc/" + std::to_string(child) + "/task/" + std::to_string(child) + "/children");
    kill(std::atoi(children.c_str()), SIGKILL);
    waitpid(child, nullptr, 0);
    const Outcome outcome = run(folder, catalogue("out", {"--slurm"}));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(count("out", "\"status\": \"done\""), 12);
}

TEST_F(ClusterTest, AFilmIsTheSameAsWithoutACluster) {
    const std::string model = folder.write("box.obj", blockOf(3));
    const auto animate = [&](const std::string& output, const std::vector<std::string>& more) {
        std::vector<std::string> words{"animate", model, "-o", folder.path(output), "-s", "64x48", "--seconds", "2",
                                       "--fps",   "5",   "-q"};
        words.insert(words.end(), more.begin(), more.end());
        return run(folder, words);
    };
    ASSERT_EQ(animate("a%02d.png", {"--slurm"}).status, 0);
    ASSERT_EQ(animate("b%02d.png", {}).status, 0);
    for (int i = 0; i < 10; ++i) {
        const std::string number = "0" + std::to_string(i) + ".png";
        EXPECT_FALSE(folder.read("a" + number).empty()) << number;
        EXPECT_EQ(folder.read("a" + number), folder.read("b" + number)) << number;
    }
    const Outcome local = animate("b.gif", {});
    if (local.err.find("this build has no libavcodec") != std::string::npos) {
        GTEST_SKIP() << "films are not written by this build";
    }
    ASSERT_EQ(animate("a.gif", {"--slurm"}).status, 0);
    EXPECT_FALSE(folder.read("a.gif").empty());
    EXPECT_EQ(folder.read("a.gif"), folder.read("b.gif"));
    for (const std::string& name : folder.names()) {
        EXPECT_FALSE(name.starts_with(".film-")) << name;
    }
}

TEST_F(ClusterTest, WhatSbatchRefusesIsOneLine) {
    makeModels(1);
    const Outcome outcome =
        run(folder, catalogue("out", {"--slurm", "--slurm-options", "--partition=nowhere --mem=1G", "-q"}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with("selvarin: Slurm does not take the tasks: sbatch: error: ")) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
}

TEST(ClusterWithoutSlurm, IsOneLine) {
    const ProgramFolder folder;
    folder.write("box.obj", blockOf(1));
    const Outcome outcome = run(folder, {"catalogue", folder.path("."), "-o", folder.path("out"), "--slurm"}, -1, false,
                                [] { setenv("PATH", "/nowhere", 1); });
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "selvarin: can't start squeue: No such file or directory\n");
}

} // namespace
