// A process that draws the jobs of a catalogue one after the other, with its driver and its shaders loaded once. A
// model that brings it down takes nobody else along.
#ifndef APPS_CLI_CATALOGUEWORKER_H
#define APPS_CLI_CATALOGUEWORKER_H

#include "apps/cli/cataloguejob.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

struct CatalogueResult {
    enum class Status { done, failed, crashed, timedOut, cancelled };

    Status status = Status::failed;
    double seconds = 0.0;
    std::uint64_t triangles = 0;
    std::vector<std::string> messages;
};

struct CatalogueWork {
    const std::vector<CatalogueJob>& jobs;
    std::string folder;      // the catalogue's
    unsigned int numWorkers; // that draw at a time, to share the cores
};

// Where the small picture of a job is, relative to the catalogue's folder.
std::string thumbnailName(const CatalogueJob& job);

class CatalogueWorker {
public:
    using Clock = std::chrono::steady_clock;

    // Forks: the calling process must have one thread alone. Throws std::runtime_error.
    explicit CatalogueWorker(const CatalogueWork& work);
    // Ends the process.
    ~CatalogueWorker();
    CatalogueWorker(const CatalogueWorker&) = delete;
    CatalogueWorker& operator=(const CatalogueWorker&) = delete;

    // The worker has no job then.
    bool start(std::size_t job);
    bool isBusy() const {
        return job.has_value();
    }
    std::size_t currentJob() const {
        return *job;
    }
    double secondsAtWork() const;
    // To be polled for something to read.
    int descriptor() const {
        return answers;
    }
    // After something could be read: the result, once all of it is there. With alive false afterwards the process has
    // ended, and another one is needed.
    std::optional<CatalogueResult> collect();
    bool isAlive() const {
        return pid > 0;
    }
    // Ends the process in the midst of its job.
    CatalogueResult giveUp(CatalogueResult::Status status, const std::string& why);

private:
    std::string end();

    pid_t pid = -1;
    int orders = -1;
    int answers = -1;
    std::optional<std::size_t> job;
    Clock::time_point started;
    std::string received;
};

#endif
