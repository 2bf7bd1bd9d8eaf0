// Other programs that read what was written.
#ifndef TESTS_LINES_WRITE_FOREIGNPROGRAM_H
#define TESTS_LINES_WRITE_FOREIGNPROGRAM_H

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/wait.h>

#include <gtest/gtest.h>

struct ForeignOutcome {
    int status = -1;
    std::string out; // and what it complains of
};

inline ForeignOutcome runForeign(const std::string& command) {
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("no pipe");
    }
    ForeignOutcome outcome;
    std::array<char, 4096> block{};
    for (std::size_t count = 0; (count = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
        outcome.out.append(block.data(), count);
    }
    const int state = pclose(pipe);
    outcome.status = WIFEXITED(state) ? WEXITSTATUS(state) : -1;
    return outcome;
}

inline bool isThere(const std::string& program) {
    return runForeign("command -v " + program).status == 0;
}

// Files of a test, which go with it.
class ForeignFolder {
public:
    ForeignFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "selvarin-drawing-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder = pattern;
    }
    ForeignFolder(const ForeignFolder&) = delete;
    ForeignFolder& operator=(const ForeignFolder&) = delete;
    ~ForeignFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

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

private:
    std::filesystem::path folder;
};

// A picture of grey values from a PGM file (P5), as several programs write it.
struct GreyPicture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> values;

    int at(int x, int y) const {
        return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
    // The bounds of what is darker than limit: left, top, right, bottom, the last two behind it.
    std::array<int, 4> bounds(int limit = 128) const {
        std::array<int, 4> found{width, height, 0, 0};
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                if (at(x, y) < limit) {
                    found = {std::min(found[0], x), std::min(found[1], y), std::max(found[2], x + 1),
                             std::max(found[3], y + 1)};
                }
            }
        }
        return found;
    }
};

inline GreyPicture readPgm(const std::string& bytes) {
    std::istringstream stream(bytes);
    std::string magic;
    GreyPicture picture;
    int most = 0;
    const auto next = [&stream]() -> std::istream& {
        while ((stream >> std::ws).peek() == '#') {
            std::string comment;
            std::getline(stream, comment);
        }
        return stream;
    };
    stream >> magic;
    next() >> picture.width;
    next() >> picture.height;
    next() >> most;
    stream.get();
    if (magic != "P5" || picture.width <= 0 || picture.height <= 0) {
        throw std::runtime_error("no PGM");
    }
    picture.values.resize(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height));
    stream.read(reinterpret_cast<char*>(picture.values.data()), static_cast<std::streamsize>(picture.values.size()));
    return picture;
}

#define SKIP_WITHOUT(program)                                                                                          \
    if (!isThere(program)) {                                                                                           \
        GTEST_SKIP() << (program) << " is not there; scripts/packages.txt names it";                                   \
    }

#endif
