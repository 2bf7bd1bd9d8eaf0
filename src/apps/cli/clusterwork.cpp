#include "apps/cli/clusterwork.h"

#include "apps/cli/contenthash.h"
#include "apps/cli/progressbar.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwholefile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// Before anything is known of their times, so many are drawn, each by a task of its own.
constexpr std::size_t numMeasured = 4;
// Of tasks in a row that brought nothing at all.
constexpr int mostIdleRounds = 3;

std::string quoted(const std::string& word) {
    std::string text = "'";
    for (const char c : word) {
        text += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return text + "'";
}

std::string ownProgram() {
    return fs::read_symlink("/proc/self/exe").string();
}

// The command once more, as a task has to give it.
std::string commandOf(const Words& words, const std::string& folder) {
    std::string text = quoted(ownProgram()) + " " + std::string(words.command->name);
    for (const auto& [name, values] : words.options) {
        const bool isOwn = name == "config" || name.starts_with("slurm") || name == "task-seconds" || name == "jobs" ||
                           name == "again" || name == "quiet";
        const OptionInfo* const option = findOption(words.command->options, name);
        for (std::size_t i = 0; !isOwn && option != nullptr && i < values.size(); ++i) {
            text += " " + quoted("--" + name + (option->argument.empty() ? "" : "=" + values[i]));
        }
    }
    text += " --quiet " + quoted("--slurm-task=" + folder);
    for (const std::string& argument : words.arguments) {
        text += " " + quoted(argument.starts_with("-") ? "./" + argument : argument);
    }
    return text;
}

std::string nameOf(const std::string& folder) {
    ContentHash hash;
    hash.addText(folder);
    return "selvarin-" + hash.digits().substr(0, 16);
}

void writeFile(const std::string& path, const std::string& text) {
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    if (!kivWriteWholeFile(kivFromUtf8(path), bytes)) {
        throw std::runtime_error("can't write \"" + path + "\"");
    }
}

std::string absoluteFolder(const std::string& folder) {
    std::error_code problem;
    fs::create_directories(folder, problem);
    const fs::path path = fs::canonical(folder, problem);
    if (problem) {
        throw std::runtime_error("can't make the folder \"" + folder + "\": " + problem.message());
    }
    return path.string();
}

std::string listName(const std::string& folder, std::size_t task) {
    return folder + "/list-" + std::to_string(task);
}

bool isLogOrList(const std::string& name) {
    return name.starts_with("list-") || name.starts_with("log-");
}

// The last words of the tasks' logs, where there are any.
std::string lastWords(const std::string& folder) {
    std::string last;
    std::error_code problem;
    for (fs::directory_iterator entry(folder, problem), end; entry != end && !problem; entry.increment(problem)) {
        if (entry->path().filename().string().starts_with("log-")) {
            std::ifstream log(entry->path());
            for (std::string line; std::getline(log, line);) {
                last = line.empty() ? last : line;
            }
        }
    }
    return last;
}

double meanSeconds(const ClusterResults& results) {
    double sum = 0.0;
    for (const auto& [id, result] : results) {
        sum += result.seconds;
    }
    return results.empty() ? 0.0 : sum / static_cast<double>(results.size());
}

std::size_t numDone(const std::vector<ClusterUnit>& units, const ClusterResults& results) {
    return static_cast<std::size_t>(std::count_if(
        units.begin(), units.end(), [&results](const ClusterUnit& unit) { return results.contains(unit.id); }));
}

} // namespace

ClusterResults readClusterResults(const std::string& folder) {
    ClusterResults results;
    std::error_code problem;
    for (fs::directory_iterator entry(folder, problem), end; entry != end && !problem; entry.increment(problem)) {
        if (!entry->path().filename().string().starts_with("results-")) {
            continue;
        }
        std::ifstream in(entry->path(), std::ios::binary);
        for (std::string line; std::getline(in, line) && !in.eof();) {
            std::istringstream fields(line);
            std::string id;
            ClusterResult result;
            if (fields >> id >> result.seconds && fields.get() == ' ') {
                std::getline(fields, result.text);
                results.try_emplace(id, result);
            }
        }
    }
    return results;
}

ClusterOptions parseClusterOptions(const Words& words) {
    ClusterOptions options;
    for (const std::string& text : words.all("slurm-options")) {
        std::istringstream in(text);
        for (std::string word; in >> word;) {
            options.sbatch.push_back(word);
        }
    }
    if (const auto text = words.value("task-seconds")) {
        char* end = nullptr;
        options.secondsPerTask = std::strtod(text->c_str(), &end);
        if (end == text->c_str() || *end != '\0' || !(options.secondsPerTask > 0.0 && options.secondsPerTask <= 1e6)) {
            refuseValue("task-seconds", *text, "number of seconds above 0");
        }
    }
    return options;
}

std::size_t clusterUnitsPerTask(std::size_t units, double seconds, double secondsPerTask, std::size_t mostTasks) {
    const double wanted = std::clamp(secondsPerTask / std::max(seconds, 1e-6), 1.0, static_cast<double>(units));
    const std::size_t least = (units + mostTasks - 1) / mostTasks;
    return std::max({static_cast<std::size_t>(wanted), least, std::size_t{1}});
}

ClusterWork::ClusterWork(const std::string& workFolder, const Words& words, const ClusterOptions& clusterOptions)
    : folder(absoluteFolder(workFolder)), script("#!/bin/sh\nexec " + commandOf(words, folder) + "\n"),
      options(clusterOptions), array(nameOf(folder), clusterOptions.sbatch) {}

bool ClusterWork::run(const std::vector<ClusterUnit>& units, const std::function<void(std::size_t)>& showDone) {
    // Tasks of a run that was ended may still be at work.
    if (!wait(units, showDone)) {
        return false;
    }
    ClusterResults results = readClusterResults(folder);
    for (int idle = 0; numDone(units, results) < units.size();) {
        if (idle == mostIdleRounds) {
            const std::string words = lastWords(folder);
            whyNot = "its tasks ended without a result" + (words.empty() ? std::string() : ": " + words);
            return true;
        }
        submit(units, results);
        if (!wait(units, showDone)) {
            return false;
        }
        const std::size_t before = numDone(units, results);
        results = readClusterResults(folder);
        idle = numDone(units, results) > before ? 0 : idle + 1;
    }
    return true;
}

void ClusterWork::forget() {
    std::error_code ignored;
    for (fs::directory_iterator entry(folder, ignored), end; entry != end && !ignored; entry.increment(ignored)) {
        if (entry->path().filename().string().starts_with("results-")) {
            fs::remove(entry->path(), ignored);
        }
    }
}

// False if it was interrupted.
bool ClusterWork::wait(const std::vector<ClusterUnit>& units, const std::function<void(std::size_t)>& showDone) {
    constexpr std::chrono::milliseconds longest(5000);
    std::chrono::milliseconds pause(200);
    while (!isInterrupted()) {
        const auto active = array.numActive();
        showDone(numDone(units, readClusterResults(folder)));
        if (active && *active == 0) {
            return true;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause + pause / 4, longest);
    }
    array.cancel();
    return false;
}

void ClusterWork::submit(const std::vector<ClusterUnit>& units, const ClusterResults& results) {
    std::error_code ignored;
    for (fs::directory_iterator entry(folder, ignored), end; entry != end && !ignored; entry.increment(ignored)) {
        if (isLogOrList(entry->path().filename().string())) {
            fs::remove(entry->path(), ignored);
        }
    }
    std::vector<const ClusterUnit*> left;
    for (const ClusterUnit& unit : units) {
        if (!results.contains(unit.id)) {
            left.push_back(&unit);
        }
    }
    std::size_t perTask = 1;
    if (results.empty()) {
        left.resize(std::min(left.size(), numMeasured));
    } else {
        perTask =
            clusterUnitsPerTask(left.size(), meanSeconds(results), options.secondsPerTask, SlurmArray::mostTasks());
    }
    const std::size_t numTasks = (left.size() + perTask - 1) / perTask;
    for (std::size_t task = 0; task < numTasks; ++task) {
        std::string list;
        for (std::size_t i = task * perTask; i < std::min(left.size(), (task + 1) * perTask); ++i) {
            list += left[i]->id + " " + left[i]->text + "\n";
        }
        writeFile(listName(folder, task), list);
    }
    writeFile(folder + "/task.sh", script);
    array.submit(folder + "/task.sh", folder, numTasks);
}

ClusterTask::ClusterTask(const std::string& folder) {
    const char* const number = std::getenv("SLURM_ARRAY_TASK_ID");
    const char* const job = std::getenv("SLURM_ARRAY_JOB_ID");
    if (number == nullptr || job == nullptr) {
        throw std::runtime_error("--slurm-task is for the tasks that --slurm starts");
    }
    const ClusterResults results = readClusterResults(folder);
    const std::string list = listName(folder, static_cast<std::size_t>(std::atol(number)));
    std::ifstream in(list);
    if (!in) {
        throw std::runtime_error("can't read \"" + list + "\": " + std::strerror(errno));
    }
    for (std::string line; std::getline(in, line);) {
        const std::size_t space = std::min(line.find(' '), line.size());
        ClusterUnit unit{line.substr(0, space), line.substr(std::min(space + 1, line.size()))};
        if (!results.contains(unit.id)) {
            left.push_back(std::move(unit));
        }
    }
    const std::string name = folder + "/results-" + job + "-" + number;
    descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    // A line that was cut off when the task was killed gets its end.
    struct stat state {};
    if (descriptor < 0 || (fstat(descriptor, &state) == 0 && state.st_size > 0 && write(descriptor, "\n", 1) != 1)) {
        throw std::runtime_error("can't write \"" + name + "\": " + std::strerror(errno));
    }
}

ClusterTask::~ClusterTask() {
    close(descriptor);
}

void ClusterTask::done(const std::string& id, const ClusterResult& result) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", result.seconds);
    const std::string line = id + " " + seconds + " " + result.text + "\n";
    if (write(descriptor, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        throw std::runtime_error(std::string("can't write what is done: ") + std::strerror(errno));
    }
}
