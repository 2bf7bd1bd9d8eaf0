#include "import/cad/caddocument.h"

#include "import/modelparts.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <IGESCAFControl_Reader.hxx>
#include <IGESData_GlobalSection.hxx>
#include <IGESData_IGESModel.hxx>
#include <Interface_Check.hxx>
#include <Interface_CheckIterator.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_ProgressScope.hxx>
#include <STEPCAFControl_ExternFile.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <TColStd_SequenceOfAsciiString.hxx>
#include <TopoDS_Shape.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>

namespace kivimport {
namespace {

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); });
    return text;
}

// 0 for a name that is not a unit of length.
double metresOf(const std::string& unitName) {
    struct Unit {
        std::string_view name;
        double metres;
    };
    static constexpr std::array units{
        Unit{"millimetre", 1e-3}, Unit{"millimeter", 1e-3}, Unit{"mm", 1e-3},           Unit{"centimetre", 1e-2},
        Unit{"centimeter", 1e-2}, Unit{"cm", 1e-2},         Unit{"metre", 1.0},         Unit{"meter", 1.0},
        Unit{"m", 1.0},           Unit{"inch", 0.0254},     Unit{"in", 0.0254},         Unit{"foot", 0.3048},
        Unit{"ft", 0.3048},       Unit{"feet", 0.3048},     Unit{"mile", 1609.344},     Unit{"kilometre", 1e3},
        Unit{"kilometer", 1e3},   Unit{"km", 1e3},          Unit{"micrometre", 1e-6},   Unit{"micrometer", 1e-6},
        Unit{"micron", 1e-6},     Unit{"um", 1e-6},         Unit{"microinch", 2.54e-8}, Unit{"mil", 2.54e-5},
        Unit{"decimetre", 0.1},   Unit{"decimeter", 0.1},
    };
    const std::string name = lowerCase(unitName);
    const auto found =
        std::find_if(units.begin(), units.end(), [&name](const Unit& unit) { return unit.name == name; });
    return found != units.end() ? found->metres : 0.0;
}

Handle(TDocStd_Document) newDocument() {
    Handle(TDocStd_Document) document = new TDocStd_Document("BinXCAF");
    XCAFDoc_DocumentTool::Set(document->Main());
    return document;
}

[[noreturn]] void refuseBroken(const std::string& format) {
    throw ImportError("it is broken, or no " + format + " file");
}

// Of the shape, and not of tolerances, documents and other matters that a file is full of.
bool isOfShape(const Handle(Standard_Transient) & entity) {
    const std::string_view type = entity->DynamicType()->Name();
    return type.starts_with("StepShape_") || type.starts_with("StepGeom_") || type.starts_with("IGESGeom_") ||
           type.starts_with("IGESSolid_");
}

// Where a closed face has its seam, and whether its surface says so, is a habit of programs and no fault of a file.
bool isMended(const Interface_Check& check) {
    for (int i = 1; i <= check.NbWarnings(); ++i) {
        const std::string_view text = check.CWarning(i);
        if (text.find("seam") == std::string_view::npos && text.find("periodic") == std::string_view::npos) {
            return true;
        }
    }
    return false;
}

void countChecks(const Handle(XSControl_WorkSession) & session, CadLosses& losses) {
    const Handle(Interface_InterfaceModel) model = session->Model();
    for (int i = 1; i <= model->NbEntities(); ++i) {
        losses.unread += model->IsErrorEntity(i) && isOfShape(model->Value(i)) ? 1 : 0;
    }
    const Handle(Transfer_TransientProcess)& process = session->TransferReader()->TransientProcess();
    if (process.IsNull()) {
        return;
    }
    Interface_CheckIterator checks = process->CheckList(false);
    for (checks.Start(); checks.More(); checks.Next()) {
        const bool failed = checks.Value()->HasFailed();
        losses.unread += failed ? 1 : 0;
        losses.mended += !failed && isMended(*checks.Value()) ? 1 : 0;
    }
}

bool contains(const std::string& path, std::string_view word) {
    std::ifstream file(path, std::ios::binary);
    std::string block;
    std::array<char, 1 << 16> buffer{};
    while (file.read(buffer.data(), buffer.size()), file.gcount() > 0) {
        block.append(buffer.data(), static_cast<std::size_t>(file.gcount()));
        if (block.find(word) != std::string::npos) {
            return true;
        }
        block.erase(0, block.size() - std::min(block.size(), word.size()));
    }
    return false;
}

bool hasShapes(const CadDocument& read) {
    TDF_LabelSequence shapes;
    XCAFDoc_DocumentTool::ShapeTool(read.document->Main())->GetFreeShapes(shapes);
    return !shapes.IsEmpty();
}

double stepUnit(STEPControl_Reader& reader) {
    TColStd_SequenceOfAsciiString lengths;
    TColStd_SequenceOfAsciiString angles;
    TColStd_SequenceOfAsciiString solidAngles;
    reader.FileUnits(lengths, angles, solidAngles);
    return lengths.IsEmpty() ? 0.0 : metresOf(lengths.First().ToCString());
}

// The names of the files that an assembly refers to and that are missing or broken, in order.
std::vector<std::string> unreadFilesOf(const STEPCAFControl_Reader& reader) {
    std::vector<std::string> names;
    const auto& files = reader.ExternFiles();
    for (NCollection_DataMap<TCollection_AsciiString, Handle(STEPCAFControl_ExternFile)>::Iterator at(files); at.More();
         at.Next()) {
        if (at.Value()->GetLoadStatus() != IFSelect_RetDone) {
            names.emplace_back(at.Key().ToCString());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void readStep(const std::string& path, const Message_ProgressRange& progress, CadDocument& read, CadLosses& losses) {
    read.format = "STEP";
    STEPCAFControl_Reader reader;
    // Tolerances, saved views and validation properties are nothing to draw.
    reader.SetGDTMode(false);
    reader.SetViewMode(false);
    reader.SetPropsMode(false);
    reader.SetMatMode(false);
    reader.SetSHUOMode(true);
    // The files that an assembly refers to lie beside it; from a relative path the reader looks for them beside the
    // current folder.
    const std::string whole = std::filesystem::absolute(path).string();
    if (reader.ReadFile(whole.c_str()) != IFSelect_RetDone) {
        refuseBroken(read.format);
    }
    read.metresPerUnit = stepUnit(reader.ChangeReader());
    reader.Transfer(read.document, progress);
    countChecks(reader.Reader().WS(), losses);
    losses.unreadFiles = unreadFilesOf(reader);
    if (!hasShapes(read) && contains(path, "TESSELLATED_S")) {
        throw ImportError("it holds only triangles (an AP242 tessellation) and no exact surfaces; export it with its "
                          "surfaces (B-rep), or as a mesh");
    }
}

void readIges(const std::string& path, const Message_ProgressRange& progress, CadDocument& read, CadLosses& losses) {
    read.format = "IGES";
    read.mayBeUnsewn = true;
    IGESCAFControl_Reader reader;
    const bool isRead = reader.ReadFile(path.c_str()) == IFSelect_RetDone;
    const Handle(IGESData_IGESModel) model = reader.IGESModel();
    if (!isRead || model.IsNull() || model->NbEntities() == 0) {
        refuseBroken(read.format);
    }
    read.metresPerUnit = model->GlobalSection().UnitValue() * 1e-3;
    reader.Transfer(read.document, progress);
    countChecks(reader.WS(), losses);
}

void readBrep(const std::string& path, const Message_ProgressRange& progress, CadDocument& read) {
    read.format = "BREP";
    TopoDS_Shape shape;
    if (!BRepTools::Read(shape, path.c_str(), BRep_Builder(), progress) || shape.IsNull()) {
        refuseBroken(read.format);
    }
    XCAFDoc_DocumentTool::ShapeTool(read.document->Main())->AddShape(shape, true);
}

void add(std::string& line, int count, const char* one, const char* several) {
    if (count > 0) {
        line += (line.empty() ? "" : ", ") + std::to_string(count) + " " + (count == 1 ? one : several);
    }
}

std::string firstOf(const std::vector<std::string>& names) {
    constexpr std::size_t shown = 3;
    std::string list;
    for (std::size_t i = 0; i < std::min(names.size(), shown); ++i) {
        list += (list.empty() ? "" : ", ") + names[i];
    }
    return names.size() > shown ? list + ", ..." : list;
}

} // namespace

std::string CadLosses::line() const {
    std::string text;
    add(text, unread, "entity could not be read", "entities could not be read");
    add(text, mended, "entity was mended", "entities were mended");
    add(text, unmeshed, "face is left out", "faces are left out");
    add(text, endless, "curve without an end is left out", "curves without an end are left out");
    add(text, hidden, "part is hidden in the file", "parts are hidden in the file");
    if (!unreadFiles.empty()) {
        const auto count = static_cast<int>(unreadFiles.size());
        add(text, count, "file that it refers to can't be read", "files that it refers to can't be read");
        text += " (" + firstOf(unreadFiles) + ")";
    }
    return text;
}

CadDocument readCadDocument(const std::string& path, const Message_ProgressRange& progress, CadLosses& losses) {
    Message::DefaultMessenger()->ChangePrinters().Clear();
    CadDocument read;
    read.document = newDocument();
    const std::string ending = lowerCase(std::filesystem::path(path).extension().string());
    if (ending == ".step" || ending == ".stp") {
        readStep(path, progress, read, losses);
    } else if (ending == ".iges" || ending == ".igs") {
        readIges(path, progress, read, losses);
    } else {
        readBrep(path, progress, read);
    }
    return read;
}

} // namespace kivimport
