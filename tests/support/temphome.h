// A folder that lives as long as the object, and a home of one's own for code that looks for the user's folders.
#ifndef TESTS_SUPPORT_TEMPHOME_H
#define TESTS_SUPPORT_TEMPHOME_H

#include "kivrender/platform/kivtext.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "selvarin-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder: " + pattern);
        }
        root = pattern;
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ignored; // what a test made read-only stays behind in the temporary folder
        std::filesystem::remove_all(root, ignored);
    }

    const std::filesystem::path& path() const {
        return root;
    }
    std::wstring wide(const std::string& name = {}) const {
        return kivFromUtf8(name.empty() ? root.string() : (root / name).string());
    }
    std::string read(const std::string& name) const {
        std::ifstream file(root / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(root / name, std::ios::binary) << bytes;
    }
    // The number of entries of a folder in it.
    std::size_t count(const std::string& name = ".") const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(root / name), {}));
    }

private:
    std::filesystem::path root;
};

// Sets variables of the environment and puts back what was there.
class ScopedEnvironment {
public:
    ScopedEnvironment() = default;
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
    ~ScopedEnvironment() {
        for (const auto& [name, value] : before) {
            put(name, value);
        }
    }

    void set(const std::string& name, const std::optional<std::string>& value) {
        const char* present = std::getenv(name.c_str());
        before.emplace(name, present != nullptr ? std::optional<std::string>(present) : std::nullopt);
        put(name, value);
    }

private:
    static void put(const std::string& name, const std::optional<std::string>& value) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }

    std::map<std::string, std::optional<std::string>> before;
};

// HOME and the XDG folders in a temporary place.
class TempHome : public TempFolder {
public:
    TempHome() {
        std::filesystem::create_directory(path() / "home");
        environment.set("HOME", (path() / "home").string());
        environment.set("XDG_CONFIG_HOME", (path() / "config").string());
        environment.set("XDG_DATA_HOME", (path() / "data").string());
        environment.set("XDG_CONFIG_DIRS", (path() / "machine").string() + ":/nowhere");
    }

    ScopedEnvironment environment;
};

#endif
