// Files and reference forms that the tests of the import share.
#ifndef TESTS_IMPORT_IMPORTTESTFILES_H
#define TESTS_IMPORT_IMPORTTESTFILES_H

#include "import/modelparts.h"
#include "import/reader/readerreport.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

// A folder of its own for each test, removed at its end.
class TestFolder {
public:
    TestFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "selvarin-import-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder = pattern;
    }
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string path(const std::string& name) const {
        return (folder / name).string();
    }
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

private:
    std::filesystem::path folder;
};

// For readers that are called in the test's own process.
class SilentReport : public kivimport::ReaderReport {
public:
    void opened(std::uint64_t /*bytes*/) override {}

private:
    void tell(double /*whole*/) override {}
};

// A box with quads, its corners shared, wound outwards. 2 by 1 by 3 from the origin.
inline const char* const boxObj = "v 0 0 0\nv 2 0 0\nv 2 1 0\nv 0 1 0\nv 0 0 3\nv 2 0 3\nv 2 1 3\nv 0 1 3\n"
                                  "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 3 4 8 7\nf 2 3 7 6\nf 4 1 5 8\n";

// The volume that triangles enclose, positive when they are wound outwards.
inline double signedVolume(const kivimport::Surface& surface) {
    double volume = 0.0;
    for (std::size_t i = 0; i < surface.corners.size(); i += 3) {
        volume += kivimport::dot(surface.positions[surface.corners[i]],
                                 kivimport::cross(surface.positions[surface.corners[i + 1]],
                                                  surface.positions[surface.corners[i + 2]])) /
                  6.0;
    }
    return volume;
}

#endif
