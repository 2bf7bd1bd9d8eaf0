// Running the built program, and looking at the pictures that it makes.
#ifndef TESTS_APPS_PROGRAMTEST_H
#define TESTS_APPS_PROGRAMTEST_H

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

class ProgramFolder {
public:
    ProgramFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "selvarin-apps-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder = pattern;
    }
    ~ProgramFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    ProgramFolder(const ProgramFolder&) = delete;
    ProgramFolder& operator=(const ProgramFolder&) = delete;

    std::string path(const std::string& name) const {
        return (folder / name).string();
    }
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
    std::string read(const std::string& name) const {
        std::ifstream stream(path(name), std::ios::binary);
        std::ostringstream content;
        content << stream.rdbuf();
        return content.str();
    }
    std::vector<std::string> names() const {
        std::vector<std::string> list;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            list.push_back(entry.path().filename().string());
        }
        std::sort(list.begin(), list.end());
        return list;
    }

private:
    std::filesystem::path folder;
};

#endif
