// Several workers that draw the jobs of a catalogue at a time. What crashes or hangs is replaced.
#ifndef APPS_CLI_CATALOGUECREW_H
#define APPS_CLI_CATALOGUECREW_H

#include "apps/cli/catalogueworker.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

class CatalogueCrew {
public:
    // Gets each result; none of jobs that were cancelled.
    using Take = std::function<void(std::size_t job, const CatalogueResult& result)>;

    // Jobs that take longer than so many seconds are given up. pause is called now and then.
    CatalogueCrew(const std::vector<CatalogueJob>& allJobs, std::string catalogueFolder, double mostSeconds,
                  Take takeResult, std::function<void()> pauseCall);

    // Until all are drawn or the program is interrupted; those at work then are ended in the midst of their pictures.
    void draw(std::vector<std::size_t> numbers, unsigned int numWorkers);

private:
    void feed(std::unique_ptr<CatalogueWorker>& worker, const CatalogueWork& work);
    void collect();
    void take(std::size_t job, const CatalogueResult& result);

    const std::vector<CatalogueJob>& jobs;
    std::string folder;
    double timeout; // seconds
    Take taken;
    std::function<void()> pause;
    std::vector<std::size_t> waiting; // taken from the back
    std::vector<std::unique_ptr<CatalogueWorker>> workers;
};

// What workers that were ended in the midst of a picture have left: files on their way to their names.
void removeUnfinished(const std::vector<CatalogueJob>& jobs);

#endif
