#include "import/cad/cadreader.h"

#include "import/cad/caddocument.h"
#include "import/cad/cadmesh.h"
#include "import/cad/cadoccurrences.h"
#include "import/cad/cadprogress.h"
#include "import/cad/cadstyles.h"
#include "import/cad/cadtext.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Builder.hxx>
#include <Bnd_Box.hxx>
#include <IMeshTools_Parameters.hxx>
#include <NCollection_DataMap.hxx>
#include <OSD_Parallel.hxx>
#include <OSD_ThreadPool.hxx>
#include <Standard_ErrorHandler.hxx>
#include <Standard_Failure.hxx>
#include <TDF_LabelMapHasher.hxx>
#include <TDataStd_Name.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XCAFPrs_DocumentExplorer.hxx>

namespace kivimport {
namespace {

// What of the work is done when the file is read, when it is meshed.
constexpr double readPart = 0.5;
constexpr double meshedPart = 0.9;
// Each thread of these has memory of its own.
constexpr int mostThreads = 8;
// A document of shapes takes more memory than text of the same content.
constexpr int memoryFactor = 3;

std::string nameOf(const TDF_Label& label) {
    Handle(TDataStd_Name) name;
    if (label.IsNull() || !label.FindAttribute(TDataStd_Name::GetID(), name)) {
        return {};
    }
    return toUtf8(name->Get());
}

// Open CASCADE names the components of a nameless assembly by their labels: "=>[0:1:1:2]".
std::string instanceName(const XCAFPrs_DocumentNode& node) {
    const std::string own = nameOf(node.Label);
    const std::string referred = nameOf(node.RefLabel);
    return own.empty() || own.starts_with("=>[") ? referred : own;
}

// A model's surface at most that far from its triangles, in millimetres.
double chooseDeflection(const Fineness& fineness, double unit, double size) {
    if (fineness.deflection > 0.0) {
        return fineness.deflection * unit;
    }
    constexpr double partOfPixel = 0.25;
    constexpr double coarsest = 1.0 / 400.0;
    constexpr double finest = 1e-6;
    const double pixel =
        fineness.unitsPerPixel > 0.0 ? fineness.unitsPerPixel * unit : size / std::max(fineness.picturePixels, 1.0);
    return std::clamp(pixel * partOfPixel, size * finest, size * coarsest);
}

class CadReader {
public:
    CadReader(const ReaderRequest& readerRequest, ReaderReport& readerReport)
        : request(readerRequest), report(readerReport), palette(parts.materials) {}

    ModelParts read() {
        report.setStep(0.0, readPart);
        file = readCadDocument(request.path, startProgress(), losses);
        parts.format = file.format;
        parts.zUp = true;
        parts.metresPerUnit = file.metresPerUnit;
        unit = file.metresPerUnit > 0.0 ? file.metresPerUnit * 1e3 : 1.0;
        report.setStep(readPart, meshedPart);
        collect();
        mesh();
        report.setStep(meshedPart, 1.0);
        takeAll();
        if (parts.surfaces.empty() && parts.polylines.empty() && !losses.unreadFiles.empty()) {
            throw ImportError(losses.line());
        }
        if (const std::string line = losses.line(); !line.empty()) {
            parts.warnings.push_back(line);
        }
        return std::move(parts);
    }

private:
    // One shape with all its instances.
    struct Prototype {
        TopoDS_Shape shape;
        std::unique_ptr<CadStyles> styles;
        std::optional<CadPart> part; // without its surface, once that is among the parts
        std::uint32_t surface = noIndex;
        int uses = 0;
    };
    struct Instance {
        std::size_t prototype;
        gp_Trsf placement;
        std::uint32_t node;
        std::uint32_t material; // where the prototype has none
    };

    Message_ProgressRange startProgress() {
        progress = new CadProgress(report);
        return progress->Start();
    }

    // --- the tree ---

    void collect() {
        std::vector<std::uint32_t> trail; // the node at each depth
        CadOccurrences occurrences(file.document);
        for (XCAFPrs_DocumentExplorer at(file.document, XCAFPrs_DocumentExplorerFlags_None); at.More(); at.Next()) {
            const XCAFPrs_DocumentNode& node = at.Current();
            const auto depth = static_cast<std::size_t>(at.CurrentDepth());
            trail.resize(std::min(trail.size(), depth));
            parts.nodes.push_back(
                {instanceName(node), trail.empty() ? noIndex : trail.back(), occurrences.layersOf(node)});
            trail.push_back(static_cast<std::uint32_t>(parts.nodes.size() - 1));
            const XCAFPrs_Style style = occurrences.styleOf(node, depth);
            if (node.IsAssembly) {
                continue;
            }
            if (!style.IsVisible()) {
                ++losses.hidden;
                continue;
            }
            instances.push_back(
                {prototypeOf(node.RefLabel), node.Location.Transformation(), trail.back(), palette.surfaceOf(style)});
            ++prototypes[instances.back().prototype].uses;
        }
    }

    std::size_t prototypeOf(const TDF_Label& label) {
        if (const std::size_t* const known = numbers.Seek(label)) {
            return *known;
        }
        Prototype& added = prototypes.emplace_back();
        added.shape = XCAFDoc_ShapeTool::GetShape(label);
        added.styles = std::make_unique<CadStyles>(label, palette);
        if (file.mayBeUnsewn) {
            added.shape = sewn(added.shape, *added.styles);
        }
        numbers.Bind(label, prototypes.size() - 1);
        return prototypes.size() - 1;
    }

    // --- triangles ---

    double sizeOfAll() const {
        Bnd_Box all;
        for (const Instance& instance : instances) {
            Bnd_Box box;
            BRepBndLib::Add(prototypes[instance.prototype].shape, box, false);
            if (!box.IsVoid() && !box.IsWhole() && !box.IsOpen()) {
                all.Add(box.Transformed(instance.placement));
            }
        }
        return all.IsVoid() ? 1.0 : std::sqrt(all.SquareExtent());
    }

    // All shapes at once, so that the threads share all faces.
    void mesh() {
        deflection = chooseDeflection(request.fineness, unit, sizeOfAll());
        BRep_Builder builder;
        TopoDS_Compound all;
        builder.MakeCompound(all);
        for (const Prototype& prototype : prototypes) {
            if (!prototype.shape.IsNull()) {
                builder.Add(all, prototype.shape);
            }
        }
        IMeshTools_Parameters fineness;
        fineness.Deflection = deflection;
        fineness.Angle = 0.35; // radians
        fineness.InParallel = OSD_ThreadPool::DefaultPool()->NbThreads() > 1;
        const BRepMesh_IncrementalMesh done(all, fineness, startProgress());
    }

    void takeAll() {
        std::uint64_t elements = 0;
        for (std::size_t i = 0; i < instances.size(); ++i) {
            report.done(static_cast<double>(i) / static_cast<double>(instances.size()));
            Prototype& prototype = prototypes[instances[i].prototype];
            if (!prototype.part && !prototype.shape.IsNull()) {
                prototype.part = takeMesh(prototype.shape, *prototype.styles, deflection, losses);
                takeSurface(prototype, instances[i]);
            }
            if (prototype.part) {
                elements += trianglesOf(prototype) + prototype.part->wires.size();
                checkElements(elements, request.limits);
                place(prototype, instances[i]);
            }
        }
        if (std::all_of(prototypes.begin(), prototypes.end(), [](const Prototype& each) { return each.uses == 1; })) {
            parts.instances.clear(); // each stands once and as it is
        }
    }

    // --- instances ---

    Vec3 placed(const Vec3& p, const gp_Trsf& placement) const {
        const gp_Pnt at = gp_Pnt(p.x, p.y, p.z).Transformed(placement);
        return {at.X() / unit, at.Y() / unit, at.Z() / unit};
    }

    std::uint64_t trianglesOf(const Prototype& prototype) const {
        return prototype.surface != noIndex ? parts.surfaces[prototype.surface].corners.size() / 3 : 0;
    }

    // The surface of a part that stands once is at its place in the file; several instances share one.
    void takeSurface(Prototype& prototype, const Instance& first) {
        if (prototype.part->surface.corners.empty()) {
            return;
        }
        prototype.surface = static_cast<std::uint32_t>(parts.surfaces.size());
        Surface& surface = parts.surfaces.emplace_back(std::move(prototype.part->surface));
        const bool isShared = prototype.uses > 1;
        const gp_Trsf placement = isShared ? gp_Trsf() : first.placement;
        for (Vec3& p : surface.positions) {
            p = placed(p, placement);
        }
        for (Vec3& n : surface.normals) {
            n = unit_(gp_Vec(n.x, n.y, n.z).Transformed(placement));
        }
        if (placement.IsNegative()) {
            turnTriangles(surface);
        }
        for (Surface::Part& each : surface.parts) {
            each.name = isShared ? std::string() : parts.nodes[first.node].name;
            each.node = isShared ? noIndex : first.node;
            each.material = isShared || each.material != noIndex ? each.material : first.material;
        }
    }

    void place(const Prototype& prototype, const Instance& instance) {
        if (prototype.surface != noIndex) {
            SurfaceInstance& added = parts.instances.emplace_back();
            added.surface = prototype.surface;
            if (prototype.uses > 1) {
                const gp_Mat axes = instance.placement.VectorialPart();
                added.x = toVec(axes.Column(1));
                added.y = toVec(axes.Column(2));
                added.z = toVec(axes.Column(3));
                added.origin = toVec(instance.placement.TranslationPart()) * (1.0 / unit);
                added.node = instance.node;
                added.material = instance.material;
            }
        }
        for (const Polyline& wire : prototype.part->wires) {
            Polyline& line = parts.polylines.emplace_back(wire);
            for (Vec3& p : line.points) {
                p = placed(p, instance.placement);
            }
        }
    }

    static Vec3 toVec(const gp_XYZ& v) {
        return {v.X(), v.Y(), v.Z()};
    }

    static Vec3 unit_(const gp_Vec& v) {
        return kivimport::unit({v.X(), v.Y(), v.Z()});
    }

    // A mirror image turns them inside out.
    static void turnTriangles(Surface& surface) {
        for (std::size_t i = 0; i + 2 < surface.corners.size(); i += 3) {
            std::swap(surface.corners[i + 1], surface.corners[i + 2]);
            std::swap(surface.cornerNormals[i + 1], surface.cornerNormals[i + 2]);
        }
    }

    const ReaderRequest& request;
    ReaderReport& report;
    Handle(CadProgress) progress;
    ModelParts parts;
    CadPalette palette;
    CadDocument file;
    CadLosses losses;
    double unit = 1.0; // of the file, in millimetres
    double deflection = 1.0;
    NCollection_DataMap<TDF_Label, std::size_t, TDF_LabelMapHasher> numbers; // of the prototypes
    std::vector<Prototype> prototypes;
    std::vector<Instance> instances;
};

// By Open CASCADE's own threads, which start when they are first needed, and so within the limits of the process.
void chooseThreads() {
    OSD_Parallel::SetUseOcctThreads(true);
    const int count = std::min(OSD_Parallel::NbLogicalProcessors(), mostThreads);
    OSD_ThreadPool::DefaultPool(count)->SetNbDefaultThreadsToLaunch(count);
}

} // namespace

ModelParts readCad(const ReaderRequest& request, ReaderReport& report) {
    std::error_code problem;
    const std::uintmax_t size = std::filesystem::file_size(request.path, problem);
    report.opened(problem ? 0 : size * memoryFactor);
    try {
        OCC_CATCH_SIGNALS
        chooseThreads();
        return CadReader(request, report).read();
    } catch (const Standard_Failure& failure) {
        const char* const text = failure.GetMessageString();
        throw ImportError(std::string("Open CASCADE can't use it (") + failure.DynamicType()->Name() +
                          (text != nullptr && *text != '\0' ? std::string(": ") + text : std::string()) + ")");
    }
}

} // namespace kivimport
