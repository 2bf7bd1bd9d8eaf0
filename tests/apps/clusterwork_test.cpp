// How work is put into tasks, and what tasks leave behind.
#include "apps/cli/clusterwork.h"

#include "programtest.h"

#include <gtest/gtest.h>

namespace {

// A task's environment, for as long as this lives.
class TaskEnvironment {
public:
    TaskEnvironment() {
        setenv("SLURM_ARRAY_JOB_ID", "7", 1);
        setenv("SLURM_ARRAY_TASK_ID", "2", 1);
    }
    ~TaskEnvironment() {
        unsetenv("SLURM_ARRAY_JOB_ID");
        unsetenv("SLURM_ARRAY_TASK_ID");
    }
    TaskEnvironment(const TaskEnvironment&) = delete;
    TaskEnvironment& operator=(const TaskEnvironment&) = delete;
};

std::vector<std::string> idsOf(const ClusterTask& task) {
    std::vector<std::string> ids;
    for (const ClusterUnit& unit : task.units()) {
        ids.push_back(unit.id);
    }
    return ids;
}

} // namespace

TEST(ClusterUnitsPerTask, FollowTheMeasuredTime) {
    EXPECT_EQ(clusterUnitsPerTask(1000, 2.0, 60.0, 1000), 30U);
    EXPECT_EQ(clusterUnitsPerTask(1000, 100.0, 60.0, 1000), 1U);
    EXPECT_EQ(clusterUnitsPerTask(10, 0.001, 60.0, 1000), 10U);
    EXPECT_EQ(clusterUnitsPerTask(10, 0.0, 60.0, 1000), 10U);
    // No more tasks than an array may have.
    EXPECT_EQ(clusterUnitsPerTask(10'001, 100.0, 60.0, 1000), 11U);
}

TEST(ClusterTask, GoesOnWhereItWas) {
    const ProgramFolder folder;
    folder.write("list-2", "a 0\nb 1 more\nc\nd 3\n");
    const TaskEnvironment environment;
    {
        ClusterTask task(folder.path(""));
        EXPECT_EQ(idsOf(task), (std::vector<std::string>{"a", "b", "c", "d"}));
        EXPECT_EQ(task.units()[1].text, "1 more");
        task.done("b", {1.5, "a text"});
    }
    // Another task has done one, and this one was killed while it wrote.
    folder.write("results-7-1", "d 0.250 \n");
    std::ofstream(folder.path("results-7-2"), std::ios::app) << "a 0.5";
    const ClusterResults results = readClusterResults(folder.path(""));
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results.at("b").text, "a text");
    EXPECT_DOUBLE_EQ(results.at("b").seconds, 1.5);
    EXPECT_DOUBLE_EQ(results.at("d").seconds, 0.25);
    {
        ClusterTask task(folder.path(""));
        EXPECT_EQ(idsOf(task), (std::vector<std::string>{"a", "c"}));
        task.done("a", {2.0, ""});
    }
    EXPECT_EQ(readClusterResults(folder.path("")).size(), 3U);
    EXPECT_DOUBLE_EQ(readClusterResults(folder.path("")).at("a").seconds, 2.0);
}

TEST(ClusterTask, IsForTasksAlone) {
    const ProgramFolder folder;
    EXPECT_THROW(ClusterTask{folder.path("")}, std::runtime_error);
    const TaskEnvironment environment;
    EXPECT_THROW(ClusterTask{folder.path("")}, std::runtime_error) << "it has no list";
}
