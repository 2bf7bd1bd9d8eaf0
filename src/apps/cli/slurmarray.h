// A job array of Slurm, by its own commands: sbatch, squeue, scancel.
#ifndef APPS_CLI_SLURMARRAY_H
#define APPS_CLI_SLURMARRAY_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

class SlurmArray {
public:
    // name: of the job, by which a later run of the program finds it again. userOptions: for sbatch.
    SlurmArray(std::string jobName, std::vector<std::string> userOptions);

    // script: the path of a shell script that each task runs, with its number in SLURM_ARRAY_TASK_ID; logs go to the
    // folder. Waits for a controller that can't be reached. Throws std::runtime_error with what sbatch says.
    void submit(const std::string& script, const std::string& folder, std::size_t numTasks);

    // How many tasks wait or run, those of a run before this one too. Nothing where the controller can't be reached at
    // the moment, as while it is restarted; throws std::runtime_error when that lasts for ten minutes.
    std::optional<std::size_t> numActive();

    // The most tasks that an array may have here.
    static std::size_t mostTasks();

    void cancel() const;

private:
    void checkPatience(const std::string& told);

    std::string name;
    std::vector<std::string> options;
    std::optional<std::chrono::steady_clock::time_point> unreachedSince;
};

#endif
