#include "apps/cli/slurmarray.h"

#include "apps/cli/programoutput.h"
#include "apps/cli/progressbar.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

// Slurm's commands try for a while themselves.
constexpr double mostSecondsOfCommand = 120.0;
constexpr auto patience = std::chrono::minutes(10);

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

// What the commands say of a controller that is away, and of nothing else.
bool isUnreached(const std::string& told) {
    const auto says = [&told](const char* words) { return told.find(words) != std::string::npos; };
    return says("Unable to contact slurm controller") || says("Socket timed out") || says("Connection refused") ||
           says("Zero Bytes were transmitted") || says("temporarily") || says("connect failure");
}

} // namespace

SlurmArray::SlurmArray(std::string jobName, std::vector<std::string> userOptions)
    : name(std::move(jobName)), options(std::move(userOptions)) {}

void SlurmArray::checkPatience(const std::string& told) {
    const auto now = Clock::now();
    unreachedSince = unreachedSince.value_or(now);
    if (now - *unreachedSince > patience) {
        throw std::runtime_error("Slurm can't be reached: " + firstLine(told) +
                                 "; its tasks may go on, and the same command takes up what they have drawn");
    }
}

void SlurmArray::submit(const std::string& script, const std::string& folder, std::size_t numTasks) {
    std::vector<std::string> words{"sbatch",
                                   "--parsable",
                                   "--requeue",
                                   "--open-mode=append",
                                   "--job-name=" + name,
                                   "--array=0-" + std::to_string(numTasks - 1),
                                   "--output=" + folder + "/log-%A-%a.txt",
                                   "--chdir=" + std::filesystem::current_path().string()};
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(script);
    while (!isInterrupted()) {
        const ProgramOutput said = runProgram(words, mostSecondsOfCommand);
        // An answer that was lost is not a submission that was.
        if (said.status == 0 || numActive().value_or(0) > 0) {
            return;
        }
        if (!isUnreached(said.err)) {
            throw std::runtime_error("Slurm does not take the tasks: " + firstLine(said.err));
        }
        checkPatience(said.err);
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
}

std::optional<std::size_t> SlurmArray::numActive() {
    const ProgramOutput said =
        runProgram({"squeue", "--noheader", "--array", "--name=" + name, "--format=%T"}, mostSecondsOfCommand);
    if (said.status != 0) {
        checkPatience(said.err);
        return std::nullopt;
    }
    unreachedSince.reset();
    return static_cast<std::size_t>(std::count(said.out.begin(), said.out.end(), '\n'));
}

std::size_t SlurmArray::mostTasks() {
    constexpr std::size_t usual = 1000;
    const ProgramOutput said = runProgram({"scontrol", "show", "config"}, mostSecondsOfCommand);
    const std::size_t at = said.out.find("MaxArraySize");
    const std::size_t digits = at == std::string::npos ? at : said.out.find_first_of("0123456789", at);
    const long most = digits == std::string::npos ? 0 : std::atol(said.out.c_str() + digits);
    return most > 1 ? static_cast<std::size_t>(most - 1) : usual;
}

void SlurmArray::cancel() const {
    runProgram({"scancel", "--name=" + name}, mostSecondsOfCommand);
}
