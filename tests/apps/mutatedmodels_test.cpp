// Broken models through the command line: each gives a picture or one line, in bounded time and memory.
//
// SELVARIN_MUTANTS sets the number, else it is small; SELVARIN_MUTANTS_SEED begins elsewhere. A longer run prints what
// became of them.
#include "import/boxmodels.h"
#include "import/importtestfiles.h"
#include "import/narrowfbx.h"
#include "programtest.h"
#if SELVARIN_HAS_CAD
#include "import/cad/cadfiles.h"
#endif

#include <cstdio>
#include <map>
#include <random>
#include <regex>

#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

constexpr int mutantsOfTheSuite = 40;
[[maybe_unused]] constexpr int cadMutantsOfTheSuite = 16;
[[maybe_unused]] constexpr double mostSecondsOfCad = 20.0;
// Above the time that a reader of a small file has, and above the memory.
constexpr unsigned int mostSeconds = 100;
constexpr long mostKilobytes = 1'700'000;

struct Seed {
    std::string ending;
    std::string content;
};

std::string exported(const aiScene& scene, const char* format) {
    Assimp::Exporter exporter;
    const aiExportDataBlob* const blob = exporter.ExportToBlob(&scene, format);
    return blob != nullptr ? std::string(static_cast<const char*>(blob->data), blob->size) : std::string();
}

// Every format, as text and as bytes where it has both.
std::vector<Seed> seeds() {
    std::vector<Seed> list{{"obj", boxObj},     {"stl", boxStl()}, {"ply", boxPly()}, {"off", boxOff()},
                           {"dxf", boxDxf()},   {"dae", boxDae()}, {"fbx", boxFbx()}, {"3ds", box3ds()},
                           {"gltf", boxGltf()}, {"glb", boxGlb()}};
    Assimp::Importer importer;
    const std::string dae = boxDae();
    const aiScene* const scene = importer.ReadFileFromMemory(dae.data(), dae.size(), 0, "dae");
    if (scene != nullptr) {
        for (const auto& [ending, format] : std::vector<std::pair<const char*, const char*>>{{"stl", "stlb"},
                                                                                             {"ply", "plyb"},
                                                                                             {"fbx", "fbxa"},
                                                                                             {"3ds", "3ds"},
                                                                                             {"dae", "collada"},
                                                                                             {"glb", "glb2"}}) {
            const std::string content = exported(*scene, format);
            if (!content.empty()) {
                list.push_back({ending, content});
            }
        }
        list.push_back({"fbx", NarrowFbx(exported(*scene, "fbx")).content()});
    }
    return list;
}

class Mutator {
public:
    explicit Mutator(std::uint32_t seed) : random(seed) {}

    std::string mutate(std::string content) {
        for (std::uint32_t n = below(2) + 1; n > 0 && !content.empty(); --n) {
            once(content);
        }
        return content;
    }
    std::uint32_t below(std::size_t limit) {
        return static_cast<std::uint32_t>(random() % limit);
    }

private:
    void once(std::string& content) {
        const std::size_t at = below(content.size());
        switch (below(6)) {
        case 0:
            content[at] = static_cast<char>(random());
            break;
        case 1:
            content.resize(at);
            break;
        case 2:
            content.erase(at, below(64) + 1);
            break;
        case 3:
            content.insert(at, content.substr(below(content.size()), below(256) + 1));
            break;
        case 4:
            replaceNumber(content, at);
            break;
        default:
            replaceBytes(content, at);
        }
    }

    // The first number of a text from there on.
    void replaceNumber(std::string& content, std::size_t at) {
        static const std::vector<std::string> numbers{"nan", "-inf", "1e39",       "1e-320", "4000000000",
                                                      "-1",  "-5",   "2147483648", "",       "99999999999999999999"};
        const std::size_t begin = content.find_first_of("0123456789", at);
        if (begin != std::string::npos) {
            const std::size_t end = std::min(content.find_first_not_of("0123456789.", begin), content.size());
            content.replace(begin, end - begin, numbers[below(numbers.size())]);
        }
    }

    // A number of four bytes.
    void replaceBytes(std::string& content, std::size_t at) {
        static const std::vector<std::uint32_t> numbers{0xFFFFFFFF, 0x7FC00000, 0x7F800000, 0xEE6B2800,
                                                        0x7FFFFFFF, 0x80000000, 0,          0x00010000};
        const std::uint32_t number = numbers[below(numbers.size())];
        content.replace(at, sizeof number, reinterpret_cast<const char*>(&number), sizeof number);
    }

    std::mt19937 random;
};

struct Outcome {
    int status = 0; // 1000 and the signal for a program that was killed
    long kilobytes = 0;
    double seconds = 0.0; // of the processor, for all its processes: a busy machine changes nothing
    std::string err;
};

// Of memory its largest process counts, the reader or the program.
Outcome run(const ProgramFolder& folder, std::vector<std::string> words) {
    const std::string err = folder.path(".stderr");
    const std::string out = folder.path(".stdout");
    words.insert(words.begin(), std::string(SELVARIN_BIN_DIR) + "/selvarin");
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(open(err.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), STDERR_FILENO);
        dup2(open(out.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), STDOUT_FILENO);
        setenv("HOME", folder.path("home").c_str(), 1);
        setenv("XDG_CONFIG_HOME", folder.path("home").c_str(), 1);
        setenv("XDG_DATA_HOME", folder.path("home").c_str(), 1);
        alarm(mostSeconds); // goes over to the program
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int state = 0;
    rusage usage{};
    wait4(child, &state, 0, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state), usage.ru_maxrss,
            seconds(usage.ru_utime) + seconds(usage.ru_stime), folder.read(".stderr")};
}

#if SELVARIN_HAS_CAD
// A part of each CAD format, and an assembly.
std::vector<Seed> cadSeeds(const ProgramFolder& folder) {
    writeStep(folder.path("p.step"), pairsOfParts());
    writeStep(folder.path("p.stp"), documentOf(sphereWithHoles(), "ball"), "INCH", "AP203");
    writeIges(folder.path("p.igs"), documentOf(filletedBox(), "box"));
    writeBrep(folder.path("p.brep"), gear());
    std::vector<Seed> list;
    for (const char* const ending : {"step", "igs", "brep", "stp"}) {
        list.push_back({ending, folder.read(std::string("p.") + ending)});
    }
    return list;
}
#endif

// What became of it, in a word; "WRONG" for what must not be.
std::string verdict(const Outcome& outcome, bool hasPicture) {
    const bool oneLine = std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1;
    if (outcome.kilobytes > mostKilobytes) {
        return "WRONG: memory";
    }
    if (outcome.status == 0) {
        const bool warned = outcome.err.starts_with("selvarin: warning: ");
        return !hasPicture                            ? "WRONG: no picture"
               : outcome.err.empty()                  ? "picture"
               : warned && outcome.err.back() == '\n' ? "picture, warning"
                                                      : "WRONG: picture and words";
    }
    if (outcome.status != 1 || hasPicture || !oneLine || !outcome.err.starts_with("selvarin: can't use ")) {
        return "WRONG: status " + std::to_string(outcome.status);
    }
    std::smatch found;
    const std::regex kinds(
        "reader crashed \\([^)]*\\)|needs more memory|took longer|something broken|reader was killed|"
        "does not work|is missing");
    return std::regex_search(outcome.err, found, kinds) ? "line: " + found.str() : "line";
}

int numberFrom(const char* name, int otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::atoi(text) : otherwise;
}

// The verdict on each of so many changed files, which are drawn in turn from the sound ones.
std::map<std::string, int> verdictsOn(const ProgramFolder& folder, const std::vector<Seed>& list, int count,
                                      double mostSecondsOfOne) {
    for (const Seed& seed : list) {
        const std::string model = folder.write("good." + seed.ending, seed.content);
        EXPECT_EQ(run(folder, {"info", model}).status, 0) << seed.ending << ", " << seed.content.size() << " bytes";
    }
    const int first = numberFrom("SELVARIN_MUTANTS_SEED", 1);
    std::map<std::string, int> verdicts;
    Outcome worst;
    for (int i = 0; i < count; ++i) {
        const Seed& seed = list[static_cast<std::size_t>(i) % list.size()];
        Mutator mutator(static_cast<std::uint32_t>(first + i));
        const std::string model = folder.write("m." + seed.ending, mutator.mutate(seed.content));
        const std::string picture = folder.path("m.png");
        const Outcome outcome = run(folder, {"render", model, "-o", picture, "-s", "64x48", "-a", "0", "-q"});
        const std::string word = outcome.seconds > mostSecondsOfOne
                                     ? "WRONG: took " + std::to_string(outcome.seconds) + " s"
                                     : verdict(outcome, std::filesystem::exists(picture));
        ++verdicts[word];
        worst.kilobytes = std::max(worst.kilobytes, outcome.kilobytes);
        worst.seconds = std::max(worst.seconds, outcome.seconds);
        if (word.starts_with("WRONG")) {
            const std::string kept = (std::filesystem::temp_directory_path() /
                                      ("selvarin-mutant-" + std::to_string(first + i) + "." + seed.ending))
                                         .string();
            std::filesystem::copy_file(model, kept, std::filesystem::copy_options::overwrite_existing);
            ADD_FAILURE() << word << ": " << kept << ": " << outcome.err;
        }
        std::filesystem::remove(picture);
    }
    if (std::getenv("SELVARIN_MUTANTS") != nullptr) {
        for (const auto& [word, number] : verdicts) {
            std::printf("%6d  %s\n", number, word.c_str());
        }
        std::printf("%6ld  MB at most\n%6.1f  s at most\n", worst.kilobytes / 1000, worst.seconds);
    }
    return verdicts;
}

} // namespace

TEST(MutatedModels, GiveAPictureOrALine) {
    const ProgramFolder folder;
    const std::vector<Seed> list = seeds();
    ASSERT_EQ(list.size(), 17U);
    std::map<std::string, int> verdicts =
        verdictsOn(folder, list, numberFrom("SELVARIN_MUTANTS", mutantsOfTheSuite), mostSeconds);
    EXPECT_GT(verdicts["picture"], 0);
    EXPECT_GT(verdicts["line"], 0);
}

TEST(MutatedModels, CadFilesGiveAPictureOrALine) {
#if SELVARIN_HAS_CAD
    const ProgramFolder folder;
    std::map<std::string, int> verdicts =
        verdictsOn(folder, cadSeeds(folder), numberFrom("SELVARIN_MUTANTS", cadMutantsOfTheSuite), mostSecondsOfCad);
    EXPECT_GT(verdicts["picture"] + verdicts["picture, warning"], 0);
    EXPECT_GT(verdicts["line"], 0);
#else
    GTEST_SKIP() << "built without Open CASCADE";
#endif
}
