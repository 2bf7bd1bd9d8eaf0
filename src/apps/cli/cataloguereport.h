// What a catalogue leaves beside its pictures: a journal by which a run that was ended goes on, report.json for
// programs and index.html, a contact sheet.
#ifndef APPS_CLI_CATALOGUEREPORT_H
#define APPS_CLI_CATALOGUEREPORT_H

#include "apps/cli/cataloguejob.h"
#include "apps/cli/catalogueworker.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct CatalogueEntry {
    CatalogueResult result;
    bool isKept = false;  // from an earlier run
    bool isDrawn = false; // there is a result at all
};

// One line for each finished job, written when it is finished. A line that was cut off counts as none.
class CatalogueJournal {
public:
    // Reads what is there. Throws std::runtime_error if the file can't be written.
    explicit CatalogueJournal(const std::string& folder);
    CatalogueJournal(const CatalogueJournal&) = delete;
    CatalogueJournal& operator=(const CatalogueJournal&) = delete;
    ~CatalogueJournal();

    // Whether a job was done, and all of its files are still as long as they were. Fills in result.
    bool knows(const CatalogueJob& job, CatalogueResult& result) const;
    // Throws std::runtime_error.
    void add(const CatalogueJob& job, const CatalogueResult& result);

private:
    struct Done {
        CatalogueResult result;
        std::vector<std::string> sizes; // of the outputs
    };

    std::string folder;
    std::string name;
    int descriptor = -1;
    std::map<std::string, Done> done; // by key
};

// Both replace what was there as a whole. Throw std::runtime_error.
void writeReport(const std::string& folder, const std::vector<CatalogueJob>& jobs,
                 const std::vector<CatalogueEntry>& entries, double seconds);
void writeContactSheet(const std::string& folder, const std::vector<CatalogueJob>& jobs,
                       const std::vector<CatalogueEntry>& entries);

// "done", "kept", "failed", "crashed", "timed out", "cancelled" or "not drawn".
std::string statusWord(const CatalogueEntry& entry);

#endif
