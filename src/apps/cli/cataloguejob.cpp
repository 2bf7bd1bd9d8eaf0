#include "apps/cli/cataloguejob.h"

#include "apps/cli/contenthash.h"
#include "apps/cli/outputfile.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

// A table may come from anyone: what it calls a file must stay within the folder. Throws std::runtime_error.
void checkInside(const std::string& name, const fs::path& folder) {
    const auto refuse = [&name](const std::string& why) {
        throw std::runtime_error("the output \"" + name + "\" is refused: " + why);
    };
    const fs::path path(name);
    if (name.empty() || path.is_absolute()) {
        refuse("a path within the folder is expected");
    }
    for (const fs::path& part : path) {
        const std::string text = part.string();
        if (text == ".." || text.empty()) {
            refuse("it leads out of the folder");
        }
        if (text.starts_with(".") || std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < ' '; })) {
            refuse("names that begin with a dot or hold control characters are not written");
        }
    }
    std::error_code problem;
    const fs::path root = fs::canonical(folder, problem);
    const fs::path place = fs::weakly_canonical(folder / path.parent_path(), problem);
    const auto [end, other] = std::mismatch(root.begin(), root.end(), place.begin(), place.end());
    if (problem || end != root.end() || fs::is_symlink(folder / path, problem)) {
        refuse("a link leads out of the folder");
    }
}

// {model} stands for the model's name, which may have dots of its own.
std::vector<std::string> fullNames(const std::string& pattern, const std::string& model,
                                   const std::vector<std::string>& formats) {
    const std::string name = outputName(pattern, fs::path(model).stem().string());
    if (!pattern.ends_with("{model}") && fs::path(pattern).has_extension()) {
        return {name};
    }
    std::vector<std::string> names;
    for (const std::string& format : formats) {
        names.push_back(name + "." + format);
    }
    return names;
}

class Planner {
public:
    Planner(const Words& commonWords, const std::vector<std::string>& endings, const fs::path& outputFolder)
        : common(commonWords), formats(endings), folder(outputFolder) {}

    CatalogueJob plan(const CatalogueRow& row) {
        CatalogueJob job;
        job.line = row.line;
        job.model = row.models.empty() ? "" : row.models.front();
        job.problem = row.problem;
        if (!job.problem.empty()) {
            return job;
        }
        try {
            checkModels(row);
            nameOutputs(row, job);
            job.options = parseRenderOptions(wordsOf(row, job));
            job.options.quiet = true;
            job.key = keyOf(row, job);
        } catch (const std::exception& error) {
            job.problem = error.what();
        }
        return job;
    }

private:
    // A pipe would keep its reader waiting. What is not there at all is told by the reader, in the words of render.
    static void checkModels(const CatalogueRow& row) {
        for (const std::string& model : row.models) {
            std::error_code problem;
            if (fs::exists(model, problem) && !fs::is_regular_file(model, problem)) {
                throw std::runtime_error("can't use \"" + model + "\": it is no file");
            }
        }
    }

    void nameOutputs(const CatalogueRow& row, CatalogueJob& job) {
        std::vector<std::string> patterns = row.outputs;
        if (patterns.empty()) {
            patterns.emplace_back("{model}");
        }
        for (const std::string& pattern : patterns) {
            for (const std::string& each : fullNames(pattern, job.model, formats)) {
                checkInside(each, folder);
                const std::string name = fs::path(each).lexically_normal().generic_string();
                if (!taken.insert(name).second) {
                    throw std::runtime_error("another job writes \"" + name + "\" already");
                }
                job.outputs.push_back(name);
            }
        }
    }

    Words wordsOf(const CatalogueRow& row, const CatalogueJob& job) const {
        Words words = common;
        words.command = findCommand("render");
        words.arguments = row.models;
        words.options["output"].clear();
        for (const std::string& name : job.outputs) {
            words.options["output"].push_back((folder / name).string());
        }
        for (const auto& [name, values] : row.options) {
            words.options[name] = values;
        }
        return words;
    }

    // What the picture depends on. Files that a model names are not known before it is read: of those the ones count
    // that have its name and another ending, such as materials and buffers.
    std::string keyOf(const CatalogueRow& row, const CatalogueJob& job) {
        ContentHash hash;
        hash.addText(SELVARIN_VERSION);
        const Words words = wordsOf(row, job);
        for (const auto& [name, values] : words.options) {
            if (name == "output") {
                continue;
            }
            hash.addText(name);
            for (const std::string& value : values) {
                hash.addText(value);
                if (const OptionInfo* option = findOption(words.command->options, name);
                    option != nullptr &&
                    (option->completes == Completes::file || option->completes == Completes::style) &&
                    fs::path(value).has_extension()) {
                    hash.addFile(value);
                }
            }
        }
        for (const std::string& name : job.outputs) {
            hash.addText(name);
        }
        for (const std::string& model : row.models) {
            hash.addText(model);
            hash.addFile(model);
            for (const std::string& each : companionsOf(model)) {
                hash.addText(each);
                hash.addFile(each);
            }
        }
        return hash.digits();
    }

    // By folder, which is read once: there may be thousands of models in it. What this catalogue writes does not count.
    const std::vector<std::string>& companionsOf(const std::string& model) {
        const fs::path path(model);
        const std::string place = path.has_parent_path() ? path.parent_path().string() : ".";
        const auto [found, isNew] = listed.try_emplace(place);
        if (isNew) {
            std::error_code problem;
            for (fs::directory_iterator entry(place, problem), end; entry != end && !problem;
                 entry.increment(problem)) {
                const std::string name = entry->path().string();
                const bool isOwn = isDrawingName(name) || isPictureName(name);
                if (!isOwn || !isWithinFolder(entry->path())) {
                    found->second[entry->path().stem().string()].push_back(name);
                }
            }
            for (auto& [stem, files] : found->second) {
                std::sort(files.begin(), files.end());
            }
        }
        return found->second[path.stem().string()];
    }

    bool isWithinFolder(const fs::path& path) const {
        std::error_code problem;
        return fs::equivalent(path.parent_path(), folder, problem);
    }

    const Words& common;
    const std::vector<std::string>& formats;
    fs::path folder;
    std::set<std::string> taken;
    std::map<std::string, std::map<std::string, std::vector<std::string>>> listed;
};

} // namespace

std::vector<CatalogueJob> planCatalogue(const std::vector<CatalogueRow>& rows, const Words& common,
                                        const std::vector<std::string>& formats, const std::string& folder) {
    Planner planner(common, formats, folder);
    std::vector<CatalogueJob> jobs;
    jobs.reserve(rows.size());
    for (const CatalogueRow& row : rows) {
        jobs.push_back(planner.plan(row));
        jobs.back().row = jobs.size() - 1;
    }
    return jobs;
}
