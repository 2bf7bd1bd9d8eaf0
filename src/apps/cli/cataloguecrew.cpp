#include "apps/cli/cataloguecrew.h"

#include "apps/cli/progressbar.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <utility>

#include <poll.h>

namespace fs = std::filesystem;

namespace {

// A process that has ended but was not yet taken notice of still answers to signals.
bool isAlive(int pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(status, line)) {
        return kill(pid, 0) == 0 || errno != ESRCH;
    }
    const std::size_t behindName = line.rfind(')'); // the name may hold anything
    const char state = behindName + 2 < line.size() ? line[behindName + 2] : 'X';
    return state != 'Z' && state != 'X';
}

} // namespace

void removeUnfinished(const std::vector<CatalogueJob>& jobs) {
    std::set<fs::path> places;
    for (const CatalogueJob& job : jobs) {
        for (const std::string& output : job.options.outputs) {
            places.insert(fs::path(output).parent_path());
        }
    }
    constexpr std::string_view mark = ".selvarin-";
    for (const fs::path& place : places) {
        std::error_code problem;
        for (fs::directory_iterator entry(place, problem), end; entry != end && !problem; entry.increment(problem)) {
            const std::string name = entry->path().filename().string();
            const int pid = name.starts_with(mark) ? std::atoi(name.c_str() + mark.size()) : 0;
            if (pid > 0 && !isAlive(pid)) {
                std::error_code ignored; // it may have gone meanwhile
                fs::remove(entry->path(), ignored);
            }
        }
    }
}

CatalogueCrew::CatalogueCrew(const std::vector<CatalogueJob>& allJobs, std::string catalogueFolder, double mostSeconds,
                             Take takeResult, std::function<void()> pauseCall)
    : jobs(allJobs), folder(std::move(catalogueFolder)), timeout(mostSeconds), taken(std::move(takeResult)),
      pause(std::move(pauseCall)) {}

void CatalogueCrew::draw(std::vector<std::size_t> numbers, unsigned int numWorkers) {
    waiting = std::move(numbers);
    std::reverse(waiting.begin(), waiting.end());
    const auto count = static_cast<unsigned int>(std::min<std::size_t>(numWorkers, waiting.size()));
    const CatalogueWork work{jobs, folder, count};
    workers.resize(count);
    while (!isInterrupted()) {
        bool isBusy = false;
        for (auto& worker : workers) {
            feed(worker, work);
            isBusy = isBusy || (worker && worker->isBusy());
        }
        if (!isBusy) {
            break;
        }
        collect();
    }
    workers.clear();
    removeUnfinished(jobs);
}

void CatalogueCrew::feed(std::unique_ptr<CatalogueWorker>& worker, const CatalogueWork& work) {
    if (waiting.empty() || (worker && worker->isBusy())) {
        return;
    }
    if (!worker || !worker->isAlive()) {
        worker = std::make_unique<CatalogueWorker>(work);
    }
    const std::size_t job = waiting.back();
    waiting.pop_back();
    if (!worker->start(job)) {
        take(job, worker->giveUp(CatalogueResult::Status::crashed, ""));
    }
}

void CatalogueCrew::collect() {
    std::vector<pollfd> descriptors;
    std::vector<CatalogueWorker*> busy;
    for (const auto& worker : workers) {
        if (worker && worker->isBusy()) {
            descriptors.push_back({worker->descriptor(), POLLIN, 0});
            busy.push_back(worker.get());
        }
    }
    constexpr int longest = 200; // milliseconds, for time-outs and the bar
    poll(descriptors.data(), descriptors.size(), longest);
    for (std::size_t i = 0; i < busy.size(); ++i) {
        const std::size_t job = busy[i]->currentJob();
        if (descriptors[i].revents != 0) {
            if (const auto result = busy[i]->collect()) {
                take(job, *result);
            }
        } else if (busy[i]->secondsAtWork() > timeout) {
            const std::string why =
                "it took longer than " + std::to_string(static_cast<int>(timeout)) + " seconds; --timeout gives more";
            take(job, busy[i]->giveUp(CatalogueResult::Status::timedOut, why));
        }
    }
    pause();
}

void CatalogueCrew::take(std::size_t job, const CatalogueResult& result) {
    if (result.status != CatalogueResult::Status::cancelled) {
        taken(job, result);
    }
}
