// What it costs that foreign formats are read in a process of their own: the same import there and here.
//
// A binary STL file of a million triangles is the fastest of the foreign formats, so that handing over weighs most.
// Real time and, as the two processes overlap, the processor time of both.
#include "import/kivmodelimport.h"
#include "import/reader/assimpreader.h"
#include "import/scenebuilder.h"
#include "kivrender/platform/kivtext.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

namespace {

using namespace kivimport;

class SilentReport : public ReaderReport {
public:
    void opened(std::uint64_t /*bytes*/) override {}

private:
    void tell(double /*whole*/) override {}
};

// A wavy square.
std::string writeStl(int side) {
    const std::string path = (std::filesystem::temp_directory_path() / "selvarin-bench.stl").string();
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    const std::vector<char> title(80, ' ');
    std::fwrite(title.data(), 1, title.size(), file);
    const auto count = static_cast<std::uint32_t>(2 * side * side);
    std::fwrite(&count, sizeof count, 1, file);
    const auto write = [file](int x, int y) {
        const float point[3] = {static_cast<float>(x), static_cast<float>(y),
                                std::sin(static_cast<float>(x) * 0.05F) * std::cos(static_cast<float>(y) * 0.07F)};
        std::fwrite(point, sizeof point, 1, file);
    };
    for (int i = 0; i < side * side; ++i) {
        const int x = i % side;
        const int y = i / side;
        for (const int half : {0, 1}) {
            const float normal[3] = {};
            std::fwrite(normal, sizeof normal, 1, file);
            write(x + half, y);
            write(x + 1, y + half);
            write(x, y + 1);
            const std::uint16_t nothing = 0;
            std::fwrite(&nothing, sizeof nothing, 1, file);
        }
    }
    std::fclose(file);
    return path;
}

const std::string& modelFile() {
    const char* const named = std::getenv("SELVARIN_BENCH_MODEL");
    static const std::string path = named != nullptr ? named : writeStl(708);
    return path;
}

double processorSeconds() {
    double seconds = 0.0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
            seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
        }
    }
    return seconds;
}

template <class Import> void measure(benchmark::State& state, Import import) {
    modelFile();
    const double start = processorSeconds();
    for (auto _ : state) {
        import();
    }
    state.counters["processor_s"] = benchmark::Counter(processorSeconds() - start, benchmark::Counter::kAvgIterations);
}

void importHere(benchmark::State& state) {
    measure(state, [] {
        SilentReport report;
        std::vector<ModelParts> files;
        files.push_back(readByAssimp(modelFile(), {50'000'000}, {}, report));
        KivModel model;
        model.files.emplace_back();
        assembleModel(files, KivModelOptions().creaseAngle, model);
        benchmark::DoNotOptimize(model.scene.get());
    });
}

void importByChild(benchmark::State& state) {
    measure(state, [&state] {
        KivModel model;
        std::wstring message;
        if (!kivImportModels({kivFromUtf8(modelFile())}, KivModelOptions(), model, message)) {
            state.SkipWithError(kivToUtf8(message).c_str());
        }
    });
}

} // namespace

BENCHMARK(importHere)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(importByChild)->Unit(benchmark::kMillisecond)->UseRealTime();
