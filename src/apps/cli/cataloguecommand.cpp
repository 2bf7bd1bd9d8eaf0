#include "apps/cli/cataloguecommand.h"

#include "apps/cli/cataloguejob.h"
#include "apps/cli/cataloguereport.h"
#include "apps/cli/cataloguetable.h"
#include "apps/cli/catalogueworker.h"
#include "apps/cli/errorline.h"
#include "apps/cli/exitstatus.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/startup.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <poll.h>

namespace fs = std::filesystem;

namespace {

// Options of the command itself, and not of its pictures.
struct CatalogueOptions {
    std::string table;
    std::string folder;
    unsigned int numWorkers = 1;
    double timeout = 300.0; // seconds
    std::vector<std::string> formats;
    bool again = false;
    bool quiet = false;
};

unsigned int positiveNumber(const Words& words, const char* name, unsigned int initial, unsigned int most) {
    const auto text = words.value(name);
    if (!text) {
        return initial;
    }
    unsigned int number = 0;
    const auto [end, problem] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (problem != std::errc{} || end != text->data() + text->size() || number < 1 || number > most) {
        refuseValue(name, *text, "number: 1 to " + std::to_string(most) + " is expected");
    }
    return number;
}

std::vector<std::string> formatsOf(const Words& words) {
    std::vector<std::string> formats;
    std::istringstream in(words.value("format").value_or("png"));
    for (std::string format; std::getline(in, format, ',');) {
        const std::string name = "a." + format;
        if (!isPictureName(name) && !isDrawingName(name)) {
            refuseValue("format", format, "format: see \"selvarin formats\"");
        }
        formats.push_back(format);
    }
    if (formats.empty()) {
        refuseValue("format", "", "format: see \"selvarin formats\"");
    }
    return formats;
}

CatalogueOptions readOptions(const Words& words) {
    CatalogueOptions options;
    if (words.arguments.size() != 1) {
        throw UsageError("a table of jobs or a folder of models is needed, and one alone");
    }
    options.table = words.arguments.front();
    options.folder = words.value("output").value_or("");
    if (options.folder.empty()) {
        throw UsageError("-o DIR is needed, the folder for the pictures");
    }
    options.numWorkers = positiveNumber(words, "jobs", std::max(1U, std::thread::hardware_concurrency()), 256);
    options.timeout = positiveNumber(words, "timeout", 300, 1000000);
    options.formats = formatsOf(words);
    options.again = words.has("again");
    options.quiet = words.has("quiet");
    return options;
}

// The options that pictures share.
Words pictureWords(const Words& words) {
    Words pictures = words;
    for (const char* own : {"output", "jobs", "timeout", "format", "again", "quiet", "config", "lang"}) {
        pictures.options.erase(own);
    }
    return pictures;
}

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

// What workers that were ended in the midst of a picture have left: files on their way to their names.
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

class Catalogue {
public:
    Catalogue(const CatalogueOptions& wanted, const Words& words)
        : options(wanted), bar(ProgressBar::styleFor(options.quiet)),
          jobs(planCatalogue(readCatalogue(options.table), pictureWords(words), options.formats, makeFolder())),
          entries(jobs.size()), journal(options.folder) {}

    int run() {
        const auto start = CatalogueWorker::Clock::now();
        removeUnfinished(jobs);
        chooseWork();
        catchInterrupts();
        bar.restart(L"Drawing the catalogue");
        drawAll();
        bar.finish();
        const std::chrono::duration<double> taken = CatalogueWorker::Clock::now() - start;
        writeReport(options.folder, jobs, entries, taken.count());
        writeContactSheet(options.folder, jobs, entries);
        return tell(taken.count());
    }

private:
    std::string makeFolder() const {
        std::error_code problem;
        fs::create_directories(options.folder, problem);
        fs::create_directories(options.folder + "/thumbnails", problem);
        if (problem) {
            throw std::runtime_error("can't make the folder \"" + options.folder + "\": " + problem.message());
        }
        return options.folder;
    }

    // Jobs that are done already, or can't be done at all, need no worker.
    void chooseWork() {
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            CatalogueEntry& entry = entries[i];
            if (!jobs[i].problem.empty()) {
                entry.isDrawn = true;
                entry.result.messages.push_back(jobs[i].problem);
            } else if (!options.again && journal.knows(jobs[i], entry.result)) {
                entry.isDrawn = true;
                entry.isKept = true;
            } else {
                waiting.push_back(i);
            }
        }
        numToDraw = waiting.size();
        std::reverse(waiting.begin(), waiting.end()); // taken from the back
    }

    void drawAll() {
        const auto count = static_cast<unsigned int>(std::min<std::size_t>(options.numWorkers, waiting.size()));
        const CatalogueWork work{jobs, options.folder, count};
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
        // Those at work are ended in the midst of their pictures.
        workers.clear();
        removeUnfinished(jobs);
    }

    void feed(std::unique_ptr<CatalogueWorker>& worker, const CatalogueWork& work) {
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

    void collect() {
        std::vector<pollfd> descriptors;
        std::vector<CatalogueWorker*> busy;
        for (const auto& worker : workers) {
            if (worker && worker->isBusy()) {
                descriptors.push_back({worker->descriptor(), POLLIN, 0});
                busy.push_back(worker.get());
            }
        }
        constexpr int pause = 200; // milliseconds, for time-outs and the bar
        poll(descriptors.data(), descriptors.size(), pause);
        for (std::size_t i = 0; i < busy.size(); ++i) {
            const std::size_t job = busy[i]->currentJob();
            if (descriptors[i].revents != 0) {
                if (const auto result = busy[i]->collect()) {
                    take(job, *result);
                }
            } else if (busy[i]->secondsAtWork() > options.timeout) {
                const std::string why = "it took longer than " + std::to_string(static_cast<int>(options.timeout)) +
                                        " seconds; --timeout gives more";
                take(job, busy[i]->giveUp(CatalogueResult::Status::timedOut, why));
            }
        }
        bar.showDone(static_cast<double>(numDrawn) / static_cast<double>(std::max<std::size_t>(1, numToDraw)));
    }

    void take(std::size_t job, const CatalogueResult& result) {
        if (result.status == CatalogueResult::Status::cancelled) {
            return;
        }
        entries[job].result = result;
        entries[job].isDrawn = true;
        journal.add(jobs[job], result);
        ++numDrawn;
    }

    int tell(double seconds) const {
        std::size_t numFailed = 0;
        std::size_t numKept = 0;
        std::size_t numLeft = 0;
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            const CatalogueEntry& entry = entries[i];
            const bool isBad = entry.isDrawn && entry.result.status != CatalogueResult::Status::done;
            numFailed += isBad ? 1 : 0;
            numKept += entry.isKept ? 1 : 0;
            numLeft += entry.isDrawn ? 0 : 1;
            if (isBad && !options.quiet) {
                const std::string line = jobs[i].line > 0 ? ", line " + std::to_string(jobs[i].line) : "";
                printError("\"" + jobs[i].model + "\"" + line + ": " + statusWord(entry) +
                           (entry.result.messages.empty() ? "" : ": " + entry.result.messages.back()));
            }
        }
        if (!options.quiet) {
            std::printf("%s: %zu jobs, %zu drawn, %zu kept, %zu failed, %.1f s\n", options.folder.c_str(), jobs.size(),
                        jobs.size() - numKept - numFailed - numLeft, numKept, numFailed, seconds);
        }
        if (isInterrupted()) {
            return statusCancelled;
        }
        return numFailed > 0 ? statusFailed : statusDone;
    }

    const CatalogueOptions& options;
    ProgressBar bar;
    std::vector<CatalogueJob> jobs;
    std::vector<CatalogueEntry> entries;
    CatalogueJournal journal;
    std::vector<std::size_t> waiting;
    std::vector<std::unique_ptr<CatalogueWorker>> workers;
    std::size_t numToDraw = 0;
    std::size_t numDrawn = 0;
};

} // namespace

int runCatalogue(const Words& words) {
    const CatalogueOptions options = readOptions(words);
    return Catalogue(options, words).run();
}
