// What the import of a CAD file costs over Open CASCADE's own reading and meshing of it: the same file, read and meshed
// as finely in a process of its own, and imported until the scene is ready to draw. SELVARIN_BENCH_MODEL names the
// file. Real time and, as two processes work, the processor time of both.
#include "import/cad/caddocument.h"
#include "import/kivmodelimport.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Builder.hxx>
#include <Bnd_Box.hxx>
#include <OSD_Parallel.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr double pixels = 1280.0;

std::string modelFile() {
    const char* const named = std::getenv("SELVARIN_BENCH_MODEL");
    return named != nullptr ? named : "";
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

template <class Work> void measure(benchmark::State& state, Work work) {
    if (modelFile().empty()) {
        state.SkipWithError("SELVARIN_BENCH_MODEL names no file");
        return;
    }
    const double start = processorSeconds();
    for (auto _ : state) {
        if (!work()) {
            state.SkipWithError("the file can't be read");
            return;
        }
    }
    state.counters["processor_s"] = benchmark::Counter(processorSeconds() - start, benchmark::Counter::kAvgIterations);
}

void readAndMesh() {
    OSD_Parallel::SetUseOcctThreads(true);
    kivimport::CadLosses losses;
    const kivimport::CadDocument file = kivimport::readCadDocument(modelFile(), Message_ProgressRange(), losses);
    TDF_LabelSequence labels;
    XCAFDoc_DocumentTool::ShapeTool(file.document->Main())->GetFreeShapes(labels);
    BRep_Builder builder;
    TopoDS_Compound all;
    builder.MakeCompound(all);
    for (const TDF_Label& label : labels) {
        builder.Add(all, XCAFDoc_ShapeTool::GetShape(label));
    }
    Bnd_Box box;
    BRepBndLib::Add(all, box, false);
    IMeshTools_Parameters fineness;
    fineness.Deflection = std::sqrt(box.SquareExtent()) / pixels / 4.0; // as the importer chooses it
    fineness.Angle = 0.35;
    fineness.InParallel = true;
    const BRepMesh_IncrementalMesh done(all, fineness);
}

void openCascadeAlone(benchmark::State& state) {
    measure(state, [] {
        const pid_t child = fork();
        if (child == 0) {
            readAndMesh();
            _exit(0);
        }
        int status = 0;
        return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    });
}

void importFile(benchmark::State& state) {
    measure(state, [] {
        KivModelOptions options;
        options.picturePixels = pixels;
        KivModel model;
        std::wstring message;
        return kivImportModels({kivFromUtf8(modelFile())}, options, model, message);
    });
}

} // namespace

BENCHMARK(openCascadeAlone)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(importFile)->Unit(benchmark::kMillisecond)->UseRealTime();
