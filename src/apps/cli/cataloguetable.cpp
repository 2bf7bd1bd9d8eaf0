#include "apps/cli/cataloguetable.h"

#include "apps/cli/flatjson.h"
#include "apps/cli/optiontable.h"
#include "apps/common/suggestion.h"
#include "import/kivmodelimport.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t largestTable = std::size_t{1} << 28;

// Options that are no matter of a single picture, or reach out of the catalogue's folder.
constexpr std::array<std::string_view, 8> notInTables{"output", "config",        "help",    "lang",
                                                      "quiet",  "memory-folder", "timings", "demo"};

std::string readTable(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("can't read the table \"" + path + "\": " + std::strerror(errno));
    }
    std::string text;
    std::vector<char> block(1 << 16);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
        text.append(block.data(), static_cast<std::size_t>(file.gcount()));
        if (text.size() > largestTable) {
            throw std::runtime_error("can't read the table \"" + path + "\": it is too large");
        }
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.erase(0, 3);
    }
    return text;
}

struct CsvLine {
    int number = 0;
    std::vector<std::string> fields;
};

// A field in quotes may hold line ends; a quote within it is doubled.
std::vector<CsvLine> splitCsv(const std::string& text, char separator) {
    std::vector<CsvLine> lines;
    int number = 1;
    CsvLine line{number, {""}};
    bool isQuoted = false;
    const auto finish = [&] {
        if (line.fields.size() > 1 || !line.fields[0].empty()) {
            lines.push_back(line);
        }
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n') {
            ++number;
        }
        if (isQuoted) {
            if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
                line.fields.back() += text[++i];
            } else if (c == '"') {
                isQuoted = false;
            } else {
                line.fields.back() += c;
            }
        } else if (c == '"' && line.fields.back().empty()) {
            isQuoted = true;
        } else if (c == separator) {
            line.fields.emplace_back();
        } else if (c == '\n') {
            finish();
            line = {number, {""}};
        } else if (c != '\r') {
            line.fields.back() += c;
        }
    }
    finish();
    return lines;
}

std::vector<std::string> pieces(const std::string& text, char separator) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string piece; std::getline(in, piece, separator);) {
        const std::size_t first = piece.find_first_not_of(' ');
        if (first != std::string::npos) {
            result.push_back(piece.substr(first, piece.find_last_not_of(' ') - first + 1));
        }
    }
    return result;
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Puts a cell of the table into the row; what is wrong with it becomes the row's problem.
class RowFiller {
public:
    RowFiller(CatalogueRow& filled, const fs::path& tableFolder) : row(filled), folder(tableFolder) {}

    void add(const std::string& name, const std::vector<std::string>& values) {
        if (name == "model" || name == "models") {
            for (const std::string& value : values) {
                row.models.push_back((folder / value).string());
            }
        } else if (name == "output" || name == "outputs") {
            row.outputs.insert(row.outputs.end(), values.begin(), values.end());
        } else {
            addOption(name, values);
        }
    }
    void finish() {
        if (row.problem.empty() && row.models.empty()) {
            row.problem = "there is no model";
        }
    }

private:
    void addOption(const std::string& name, std::vector<std::string> values) {
        const OptionInfo* const option = findOption(findCommand("render")->options, name);
        if (option == nullptr || std::find(notInTables.begin(), notInTables.end(), name) != notInTables.end()) {
            std::vector<std::string> known{"model", "outputs"};
            for (const OptionInfo& each : findCommand("render")->options) {
                known.emplace_back(each.name);
            }
            row.problem = option != nullptr ? "\"" + name + "\" can't stand in a table"
                                            : "unknown option \"" + name + "\"" + didYouMean(name, known);
            return;
        }
        if (option->argument.empty()) {
            addSwitch(name, values);
            return;
        }
        // A file that a job names stands where the table does; papers and styles may be names, too.
        if (option->completes == Completes::file) {
            for (std::string& value : values) {
                if (fs::path(value).has_extension()) {
                    value = (folder / value).string();
                }
            }
        }
        row.options[name] = values;
    }

    void addSwitch(const std::string& name, const std::vector<std::string>& values) {
        const std::string word = values.empty() ? "no" : lowerCase(values.back());
        if (word == "yes" || word == "true" || word == "on" || word == "1") {
            row.options[name] = {""};
        } else if (word != "no" && word != "false" && word != "off" && word != "0") {
            row.problem = name + " is yes or no";
        }
    }

    CatalogueRow& row;
    const fs::path& folder;
};

std::vector<CatalogueRow> rowsOfCsv(const std::string& text, const fs::path& folder, const std::string& path) {
    const std::string head = text.substr(0, text.find('\n'));
    const char separator = head.find(';') != std::string::npos && head.find(',') == std::string::npos ? ';' : ',';
    const std::vector<CsvLine> lines = splitCsv(text, separator);
    if (lines.empty()) {
        throw std::runtime_error("the table \"" + path + "\" is empty");
    }
    std::vector<std::string> names;
    for (const std::string& name : lines[0].fields) {
        names.push_back(lowerCase(name));
    }
    if (std::find(names.begin(), names.end(), "model") == names.end()) {
        throw std::runtime_error("the table \"" + path + "\" has no column \"model\" in its first line");
    }
    std::vector<CatalogueRow> rows;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        CatalogueRow& row = rows.emplace_back();
        row.line = lines[i].number;
        RowFiller filler(row, folder);
        if (lines[i].fields.size() > names.size()) {
            row.problem = "there are more cells than columns";
        }
        for (std::size_t k = 0; k < std::min(names.size(), lines[i].fields.size()); ++k) {
            const std::string& cell = lines[i].fields[k];
            const OptionInfo* const option = findOption(findCommand("render")->options, names[k]);
            const bool isList = names[k].starts_with("output") || (option != nullptr && option->repeats);
            if (!cell.empty()) {
                filler.add(names[k], isList ? pieces(cell, ';') : std::vector<std::string>{cell});
            }
        }
        filler.finish();
    }
    return rows;
}

std::vector<CatalogueRow> rowsOfJson(const std::string& text, const fs::path& folder) {
    std::vector<CatalogueRow> rows;
    std::istringstream in(text);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        CatalogueRow& row = rows.emplace_back();
        row.line = number;
        RowFiller filler(row, folder);
        try {
            for (const auto& [name, values] : parseFlatJson(line)) {
                if (!values.empty()) {
                    filler.add(name, values);
                }
            }
        } catch (const std::runtime_error& error) {
            row.problem = error.what();
        }
        filler.finish();
    }
    return rows;
}

std::vector<CatalogueRow> rowsOfFolder(const fs::path& folder) {
    std::set<std::string> endings;
    for (const KivModelFormat& format : kivModelFormats()) {
        endings.insert("." + kivToUtf8(format.ending));
    }
    std::vector<fs::path> files;
    std::error_code problem;
    for (fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, problem), end;
         entry != end && !problem; entry.increment(problem)) {
        if (entry->is_regular_file(problem) && endings.contains(lowerCase(entry->path().extension().string()))) {
            files.push_back(entry->path());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<CatalogueRow> rows;
    for (const fs::path& file : files) {
        CatalogueRow& row = rows.emplace_back();
        row.models.push_back(file.string());
        // Beside its like, in the same folders as the models.
        row.outputs.push_back((file.lexically_relative(folder).parent_path() / "{model}").generic_string());
    }
    return rows;
}

} // namespace

std::vector<CatalogueRow> readCatalogue(const std::string& path) {
    std::error_code problem;
    if (fs::is_directory(path, problem)) {
        std::vector<CatalogueRow> rows = rowsOfFolder(path);
        if (rows.empty()) {
            throw std::runtime_error("there is no model in the folder \"" + path + "\"");
        }
        return rows;
    }
    const std::string text = readTable(path);
    const fs::path folder = fs::path(path).parent_path();
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    const bool isJson = first != std::string::npos && text[first] == '{';
    std::vector<CatalogueRow> rows = isJson ? rowsOfJson(text, folder) : rowsOfCsv(text, folder, path);
    if (rows.empty()) {
        throw std::runtime_error("there is no job in the table \"" + path + "\"");
    }
    return rows;
}
