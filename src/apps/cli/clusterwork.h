// Work that is done by the tasks of a job array: units are put into lists, a list for each task, and each unit that a
// task has done leaves a line in a file of its own. What has such a line is never given out again, whatever became of
// its task.
#ifndef APPS_CLI_CLUSTERWORK_H
#define APPS_CLI_CLUSTERWORK_H

#include "apps/cli/commandline.h"
#include "apps/cli/slurmarray.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

struct ClusterUnit {
    std::string id;   // a word
    std::string text; // for the task; without a line's end
};

struct ClusterResult {
    double seconds = 0.0;
    std::string text;
};

// By id.
using ClusterResults = std::map<std::string, ClusterResult>;

// What the tasks in that folder have done. A line that was cut off counts as none.
ClusterResults readClusterResults(const std::string& folder);

struct ClusterOptions {
    std::vector<std::string> sbatch;
    double secondsPerTask = 60.0;
};

// "slurm-options" and "task-seconds". Throws UsageError.
ClusterOptions parseClusterOptions(const Words& words);

class ClusterWork {
public:
    // folder: for lists, results and logs; it is made, and all nodes see it. words: the command of a task, which gets
    // the folder by --slurm-task. Throws std::runtime_error.
    ClusterWork(const std::string& workFolder, const Words& words, const ClusterOptions& clusterOptions);

    // Until all units have results, or their tasks end again and again without any; tasks that an earlier run has left
    // behind are waited for first. showDone gets the number of units that are done. False if it was interrupted; the
    // tasks are cancelled then.
    bool run(const std::vector<ClusterUnit>& units, const std::function<void(std::size_t)>& showDone);

    // Drops what earlier tasks have done.
    void forget();

    // Why there are units without a result; empty if there are none.
    const std::string& problem() const {
        return whyNot;
    }

private:
    bool wait(const std::vector<ClusterUnit>& units, const std::function<void(std::size_t)>& showDone);
    void submit(const std::vector<ClusterUnit>& units, const ClusterResults& results);
    std::size_t unitsPerTask(const ClusterResults& results) const;

    std::string folder;
    std::string script;
    ClusterOptions options;
    SlurmArray array;
    std::string whyNot;
};

// How many units go into each task, so that it takes about as long as is wanted and there are no more tasks than may
// be; seconds: of a unit.
std::size_t clusterUnitsPerTask(std::size_t units, double seconds, double secondsPerTask, std::size_t mostTasks);

// Within a task.
class ClusterTask {
public:
    // Throws std::runtime_error if the list can't be read or the results can't be written.
    explicit ClusterTask(const std::string& workFolder);
    ClusterTask(const ClusterTask&) = delete;
    ClusterTask& operator=(const ClusterTask&) = delete;
    ~ClusterTask();

    // Those of the list that have no result: a task that was requeued goes on where it was.
    const std::vector<ClusterUnit>& units() const {
        return left;
    }
    void done(const std::string& id, const ClusterResult& result);

private:
    std::vector<ClusterUnit> left;
    int descriptor = -1;
};

#endif
