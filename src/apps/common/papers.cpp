#include "apps/common/papers.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace {

std::filesystem::path papersFolder() {
    return std::filesystem::path(kivToUtf8(kivLibraryFolder())) / "papers";
}

} // namespace

std::vector<std::string> paperNames() {
    std::vector<std::string> names;
    std::error_code problem;
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(papersFolder(), problem)) {
        if (entry.path().extension() == ".png") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string findPaper(const std::string& text) {
    std::error_code problem;
    if (text.empty() || std::filesystem::is_regular_file(text, problem)) {
        return text;
    }
    const std::vector<std::string> names = paperNames();
    if (std::find(names.begin(), names.end(), text) != names.end()) {
        return (papersFolder() / (text + ".png")).string();
    }
    if (names.empty() || text.find_first_of("./\\") != std::string::npos) {
        throw std::runtime_error("can't use \"" + text + "\": there is no such file");
    }
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i) {
        list += (i == 0 ? "" : i + 1 < names.size() ? ", " : " and ") + names[i];
    }
    throw std::runtime_error("\"" + text + "\" is neither a file nor a paper; there are " + list);
}
