#include "apps/cli/cataloguecommand.h"

#include "apps/cli/cataloguecrew.h"
#include "apps/cli/cataloguejob.h"
#include "apps/cli/cataloguereport.h"
#include "apps/cli/cataloguetable.h"
#include "apps/cli/catalogueworker.h"
#include "apps/cli/clusterwork.h"
#include "apps/cli/errorline.h"
#include "apps/cli/exitstatus.h"
#include "apps/cli/flatjson.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/startup.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <thread>

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
    bool onCluster = false;
    ClusterOptions cluster;
    std::string task; // the folder of the work that this process is a task of; empty for none
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
    options.onCluster = words.has("slurm");
    options.cluster = parseClusterOptions(words);
    options.task = words.value("slurm-task").value_or("");
    return options;
}

// The options that pictures share.
Words pictureWords(const Words& words) {
    Words pictures = words;
    for (const char* own : {"output", "jobs", "timeout", "format", "again", "quiet", "config", "lang", "slurm",
                            "slurm-options", "task-seconds", "slurm-task"}) {
        pictures.options.erase(own);
    }
    return pictures;
}

// --- a result on its way through a line

ClusterResult clusterResult(const CatalogueResult& result) {
    std::string text = "{\"status\": " + std::to_string(static_cast<int>(result.status)) +
                       ", \"triangles\": " + std::to_string(result.triangles) + ", \"messages\": [";
    for (std::size_t i = 0; i < result.messages.size(); ++i) {
        text += (i > 0 ? ", " : "") + jsonText(result.messages[i]);
    }
    return {result.seconds, text + "]}"};
}

CatalogueResult resultOfCluster(const ClusterResult& line) {
    CatalogueResult result;
    result.seconds = line.seconds;
    try {
        for (const auto& [name, values] : parseFlatJson(line.text)) {
            if (name == "status") {
                result.status = static_cast<CatalogueResult::Status>(std::stoi(values.at(0)));
            } else if (name == "triangles") {
                result.triangles = std::stoull(values.at(0));
            } else if (name == "messages") {
                result.messages = values;
            }
        }
    } catch (const std::exception& error) {
        result.status = CatalogueResult::Status::failed;
        result.messages = {std::string("its result can't be read: ") + error.what()};
    }
    return result;
}

// As many as Slurm gives the task.
unsigned int cpusOfTask() {
    const char* const text = std::getenv("SLURM_CPUS_PER_TASK");
    return static_cast<unsigned int>(std::clamp(text != nullptr ? std::atoi(text) : 1, 1, 256));
}

class Catalogue {
public:
    Catalogue(const CatalogueOptions& wanted, const Words& given)
        : options(wanted), words(given), bar(ProgressBar::styleFor(options.quiet)),
          jobs(planCatalogue(readCatalogue(options.table), pictureWords(words), options.formats, makeFolder())),
          entries(jobs.size()), journal(options.folder) {}

    int run() {
        const auto start = CatalogueWorker::Clock::now();
        removeUnfinished(jobs);
        chooseWork();
        catchInterrupts();
        bar.restart(L"Drawing the catalogue");
        if (options.onCluster && !waiting.empty()) {
            drawOnCluster();
        } else {
            drawAll();
        }
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
    }

    void drawAll() {
        CatalogueCrew crew(
            jobs, options.folder, options.timeout,
            [this](std::size_t job, const CatalogueResult& result) { take(job, result); }, [this] { showDone(); });
        crew.draw(waiting, options.numWorkers);
    }

    // By the tasks of a job array. Failures stay with this run and do not go into the journal, as everywhere.
    void drawOnCluster() {
        const std::string place = options.folder + "/cluster";
        ClusterWork work(place, words, options.cluster);
        if (options.again) {
            work.forget();
        }
        std::vector<ClusterUnit> units;
        for (const std::size_t job : waiting) {
            units.push_back({jobs[job].key, std::to_string(jobs[job].row)});
        }
        work.run(units, [this](std::size_t count) {
            numDrawn = count;
            showDone();
        });
        const ClusterResults results = readClusterResults(place);
        for (const std::size_t job : waiting) {
            if (const auto found = results.find(jobs[job].key); found != results.end()) {
                take(job, resultOfCluster(found->second));
            } else if (!work.problem().empty()) {
                CatalogueResult lost;
                lost.messages.push_back(work.problem());
                take(job, lost);
            }
        }
        removeUnfinished(jobs);
        if (work.problem().empty() && !isInterrupted()) {
            std::error_code ignored;
            fs::remove_all(place, ignored);
        }
    }

    void showDone() {
        bar.showDone(static_cast<double>(numDrawn) / static_cast<double>(std::max<std::size_t>(1, numToDraw)));
    }

    void take(std::size_t job, const CatalogueResult& result) {
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
    const Words& words;
    ProgressBar bar;
    std::vector<CatalogueJob> jobs;
    std::vector<CatalogueEntry> entries;
    CatalogueJournal journal;
    std::vector<std::size_t> waiting;
    std::size_t numToDraw = 0;
    std::size_t numDrawn = 0;
};

// One task of a job array. Its jobs are those rows that it has on its list, as long as they still are what they were:
// a row that has changed since is the next run's.
int drawTask(const CatalogueOptions& options, const Words& words) {
    ClusterTask task(options.task);
    const std::vector<CatalogueRow> rows = readCatalogue(options.table);
    std::vector<CatalogueRow> own;
    for (const ClusterUnit& unit : task.units()) {
        const auto row = static_cast<std::size_t>(std::atol(unit.text.c_str()));
        if (row < rows.size()) {
            own.push_back(rows[row]);
        }
    }
    const std::vector<CatalogueJob> jobs = planCatalogue(own, pictureWords(words), options.formats, options.folder);
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const bool isWanted = std::any_of(task.units().begin(), task.units().end(),
                                          [&](const ClusterUnit& unit) { return unit.id == jobs[i].key; });
        if (isWanted) {
            numbers.push_back(i);
        }
    }
    catchInterrupts();
    CatalogueCrew crew(
        jobs, options.folder, options.timeout,
        [&](std::size_t job, const CatalogueResult& result) { task.done(jobs[job].key, clusterResult(result)); },
        [] {});
    crew.draw(numbers, cpusOfTask());
    return isInterrupted() ? statusCancelled : statusDone;
}

} // namespace

int runCatalogue(const Words& words) {
    const CatalogueOptions options = readOptions(words);
    if (!options.task.empty()) {
        return drawTask(options, words);
    }
    return Catalogue(options, words).run();
}
