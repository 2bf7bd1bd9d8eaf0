#include "apps/cli/outputfile.h"

#include "apps/cli/commandline.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwholefile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string endingOf(const std::string& name) {
    std::string ending = fs::path(name).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    return ending.empty() ? ending : ending.substr(1);
}

bool hasEnding(const std::vector<PictureFormat>& formats, const std::string& ending) {
    return std::any_of(formats.begin(), formats.end(), [&](const PictureFormat& f) { return ending == f.ending; });
}

void checkEnding(const std::string& name, OutputFile::Accepts accepted) {
    if (accepted == OutputFile::Accepts::films) {
        return; // whoever writes them has looked
    }
    const std::string ending = endingOf(name);
    const bool drawings = accepted == OutputFile::Accepts::picturesAndDrawings;
    if (hasEnding(pictureFormats(), ending) ||
        (drawings && (hasEnding(drawingFormats(), ending) || hasEnding(layeredFormats(), ending)))) {
        return;
    }
    std::string known;
    const auto add = [&known](const std::vector<PictureFormat>& formats) {
        for (const PictureFormat& format : formats) {
            known += std::string(known.empty() ? "" : ", ") + format.ending;
        }
    };
    add(pictureFormats());
    if (drawings) {
        add(layeredFormats());
        add(drawingFormats());
    }
    if (ending.empty()) {
        throw UsageError("\"" + name + "\": its ending would tell how the picture is written; use one of " + known);
    }
    throw UsageError("\"" + name + "\": pictures can't be written as ." + ending + "; use one of " + known);
}

std::string companionName(const std::string& name, const std::string& mark) {
    const std::size_t dot = name.rfind('.');
    return name.substr(0, dot) + mark + name.substr(dot);
}

[[noreturn]] void fail(const std::string& name, const std::string& why) {
    throw std::runtime_error("can't write \"" + name + "\": " + why);
}

// Where the file of that name really stands.
std::string behindLinks(const std::string& name) {
    const std::string real = kivToUtf8(kivBehindLinks(kivFromUtf8(name)));
    if (real.empty() && !name.empty()) {
        fail(name, "it is a link that leads nowhere");
    }
    return real;
}

// target: where the links of that name lead.
void checkPlace(const std::string& name, const std::string& target) {
    const fs::path path(target);
    std::error_code problem;
    if (fs::is_directory(path, problem)) {
        fail(name, "it is a folder");
    }
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, problem)) {
        fail(name, "there is no folder \"" + folder.string() + "\"");
    }
    if (access(folder.c_str(), W_OK) != 0 || (fs::exists(path, problem) && access(path.c_str(), W_OK) != 0)) {
        fail(name, std::strerror(errno));
    }
}

bool isFilled(const std::string& file) {
    std::error_code problem;
    return fs::file_size(file, problem) != 0 && !problem;
}

} // namespace

const std::vector<PictureFormat>& pictureFormats() {
    static const std::vector<PictureFormat> formats{
        {"png", "Portable Network Graphics"},
        {"jpg", "JPEG"},
        {"jpeg", "JPEG"},
        {"tif", "TIFF"},
        {"tiff", "TIFF"},
        {"bmp", "Windows bitmap"},
        {"gif", "Graphics Interchange Format, 256 colours"},
    };
    return formats;
}

const std::vector<PictureFormat>& drawingFormats() {
    static const std::vector<PictureFormat> formats{
        {"svg", "Scalable Vector Graphics"},
        {"pdf", "Portable Document Format"},
        {"eps", "Encapsulated PostScript"},
        {"ps", "PostScript"},
        {"ai", "Adobe Illustrator"},
        {"dxf", "Drawing Exchange Format, for CAD"},
        {"hpgl", "Hewlett-Packard Graphics Language, for plotters"},
        {"plt", "Hewlett-Packard Graphics Language, for plotters"},
    };
    return formats;
}

bool isDrawingName(const std::string& name) {
    return hasEnding(drawingFormats(), endingOf(name));
}

const std::vector<PictureFormat>& layeredFormats() {
    static const std::vector<PictureFormat> formats{{"ora", "OpenRaster, with layers for painting programs"}};
    return formats;
}

bool isLayeredName(const std::string& name) {
    return hasEnding(layeredFormats(), endingOf(name));
}

bool keepsTransparency(const std::string& name) {
    const std::string ending = endingOf(name);
    return ending == "png" || ending == "tif" || ending == "tiff" || isLayeredName(name);
}

bool isPictureName(const std::string& name) {
    return hasEnding(pictureFormats(), endingOf(name));
}

std::string outputName(const std::string& pattern, const std::string& model) {
    constexpr const char* field = "{model}";
    std::string name = pattern;
    for (std::size_t at = name.find(field); at != std::string::npos; at = name.find(field, at + model.size())) {
        name.replace(at, std::strlen(field), model);
    }
    return name;
}

OutputFile::OutputFile(const std::string& outputName, const std::vector<std::string>& companionMarks, Accepts accepted)
    : name(outputName), stream(outputName == "-") {
    const std::string mark = ".selvarin-" + std::to_string(getpid()) + "-";
    if (stream) {
        if (!companionMarks.empty()) {
            throw UsageError(std::string(companionMarks.front() == "_depth" ? "--depth-image" : "--shadow-image") +
                             " writes a second file and needs a name for the picture, not -");
        }
        addFile("standard output", (fs::temp_directory_path() / (mark + "stream.png")).string());
        return;
    }
    checkEnding(name, accepted);
    const std::string target = behindLinks(name);
    const fs::path path(target);
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const std::string work = (folder / (mark + path.filename().string())).string();
    // The render names what it writes beside the picture after the name that it is given, whose ending is the user's.
    const std::string ending = fs::path(name).extension().string();
    const std::string place = work.ends_with(ending) ? work : work + ending;
    addFile(name, place);
    for (const std::string& companion : companionMarks) {
        addFile(companionName(name, companion), companionName(place, companion));
    }
}

OutputFile::~OutputFile() {
    for (const File& file : files) {
        std::remove(file.work.c_str());
    }
}

void OutputFile::addFile(const std::string& fileName, const std::string& work) {
    const std::string target = stream ? "" : behindLinks(fileName);
    if (!stream) {
        checkPlace(fileName, target);
    }
    files.push_back({fileName, target, work});
    leftovers.push_back(std::make_unique<Leftover>(work));
}

KivDrawingFormat OutputFile::drawingFormat() const {
    KivDrawingFormat format = KivDrawingFormat::svg;
    kivDrawingFormatOf(endingOf(name), &format);
    return format;
}

std::string OutputFile::missing() const {
    const auto found = std::find_if(files.begin(), files.end(), [](const File& file) { return !isFilled(file.work); });
    return found == files.end() ? std::string() : found->name;
}

std::string OutputFile::inWordsOfTheUser(std::string line) const {
    // The longest first: the name of a picture may be the beginning of that of another.
    for (auto file = files.rbegin(); file != files.rend(); ++file) {
        for (std::size_t at = line.find(file->work); at != std::string::npos;
             at = line.find(file->work, at + file->name.size())) {
            line.replace(at, file->work.size(), file->name);
        }
    }
    return line;
}

void OutputFile::finish() {
    if (const std::string lost = missing(); !lost.empty()) {
        fail(lost, "nothing was written");
    }
    if (stream) {
        copyToOutput();
        return;
    }
    for (const File& file : files) {
        if (!kivMoveWholeFile(kivFromUtf8(file.work), kivFromUtf8(file.target))) {
            fail(file.name, kivToUtf8(kivSystemErrorText(kivGetLastError())));
        }
    }
}

void OutputFile::copyToOutput() const {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(workName().c_str(), "rb"), std::fclose);
    // Whoever reads the other end may go away, which ends the program.
    std::remove(workName().c_str());
    std::array<char, 65536> buffer{};
    for (std::size_t count = 0;
         file != nullptr && (count = std::fread(buffer.data(), 1, buffer.size(), file.get())) > 0;) {
        if (std::fwrite(buffer.data(), 1, count, stdout) != count) {
            throw std::runtime_error(std::string("can't write to standard output: ") + std::strerror(errno));
        }
    }
    if (file == nullptr || std::ferror(file.get()) != 0 || std::fflush(stdout) != 0) {
        throw std::runtime_error(std::string("can't write to standard output: ") + std::strerror(errno));
    }
}
