// A job of a catalogue, ready to be drawn: its options checked, its files inside of the catalogue's folder, and the
// number by which another run knows that it is done.
#ifndef APPS_CLI_CATALOGUEJOB_H
#define APPS_CLI_CATALOGUEJOB_H

#include "apps/cli/cataloguetable.h"
#include "apps/cli/commandline.h"

#include <cstddef>
#include <string>
#include <vector>

struct CatalogueJob {
    std::size_t row = 0; // among the rows that were planned
    int line = 0;
    std::string model;                // as the report shows it
    std::vector<std::string> outputs; // relative to the catalogue's folder
    std::string problem;              // why it can't be drawn; empty for none
    RenderOptions options;            // with outputs as paths
    std::string key;                  // by inputs, options and the program's version
};

// common: the options of the command line, which those of a row win over. folder: where outputs go; it must be there.
// formats: the endings of outputs that have none. Two rows that would write the same file: the second one's problem.
std::vector<CatalogueJob> planCatalogue(const std::vector<CatalogueRow>& rows, const Words& common,
                                        const std::vector<std::string>& formats, const std::string& folder);

#endif
