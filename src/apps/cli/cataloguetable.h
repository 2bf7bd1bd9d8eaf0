// The jobs of a catalogue as they are written down: a table with a line for each picture, or a folder of models.
#ifndef APPS_CLI_CATALOGUETABLE_H
#define APPS_CLI_CATALOGUETABLE_H

#include <map>
#include <string>
#include <vector>

// One job; its problem is told if it is not empty, and the rest then has no meaning.
struct CatalogueRow {
    int line = 0; // in the table; 0 for a model of a folder
    std::string problem;
    std::vector<std::string> models;  // paths; relative ones have been taken from the table's folder
    std::vector<std::string> outputs; // as they are written; none for the default
    std::map<std::string, std::vector<std::string>> options; // of "render", by name; a switch has an empty value
};

// path: a table, or a folder, of which all models are taken, those in folders within it too. A table is a CSV (RFC
// 4180) with names in its first line, or holds an object of JSON on each line: "model", "outputs" and any options.
// Throws std::runtime_error for what can't be read at all.
std::vector<CatalogueRow> readCatalogue(const std::string& path);

#endif
