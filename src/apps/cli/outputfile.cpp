#include "apps/cli/outputfile.h"

#include "apps/cli/commandline.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

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
    const std::string ending = endingOf(name);
    const bool drawings = accepted == OutputFile::Accepts::picturesAndDrawings;
    if (hasEnding(pictureFormats(), ending) || (drawings && hasEnding(drawingFormats(), ending))) {
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
        add(drawingFormats());
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

void move(const std::string& from, const std::string& to) {
    if (std::rename(from.c_str(), to.c_str()) != 0) {
        fail(to, std::strerror(errno));
    }
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
        {"svg", "Scalable Vector Graphics"}, {"pdf", "Portable Document Format"},
        {"eps", "Encapsulated PostScript"},  {"ps", "PostScript"},
        {"ai", "Adobe Illustrator"},
    };
    return formats;
}

bool isDrawingName(const std::string& name) {
    return hasEnding(drawingFormats(), endingOf(name));
}

std::string outputName(const std::string& pattern, const std::string& model) {
    constexpr const char* field = "{model}";
    std::string name = pattern;
    for (std::size_t at = name.find(field); at != std::string::npos; at = name.find(field, at + model.size())) {
        name.replace(at, std::strlen(field), model);
    }
    return name;
}

OutputFile::OutputFile(const std::string& outputName, std::vector<std::string> companionMarks, Accepts accepted)
    : name(outputName), companions(std::move(companionMarks)), stream(outputName == "-") {
    const std::string mark = ".selvarin-" + std::to_string(getpid()) + "-";
    if (stream) {
        if (!companions.empty()) {
            throw UsageError(std::string(companions.front() == "_depth" ? "--depth-image" : "--shadow-image") +
                             " writes a second file and needs a name for the picture, not -");
        }
        work = (fs::temp_directory_path() / (mark + "stream.png")).string();
        return;
    }
    checkEnding(name, accepted);
    const fs::path path(name);
    std::error_code problem;
    if (fs::is_directory(path, problem)) {
        fail(name, "it is a folder");
    }
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, problem)) {
        fail(name, "there is no folder \"" + folder.string() + "\"");
    }
    if (access(folder.c_str(), W_OK) != 0) {
        fail(name, std::strerror(errno));
    }
    work = (folder / (mark + path.filename().string())).string();
}

OutputFile::~OutputFile() {
    std::remove(work.c_str());
    for (const std::string& mark : companions) {
        std::remove(companionName(work, mark).c_str());
    }
}

void OutputFile::finish() {
    std::error_code problem;
    if (fs::file_size(work, problem) == 0 || problem) {
        fail(name, "nothing was written");
    }
    if (!stream) {
        move(work, name);
        for (const std::string& mark : companions) {
            move(companionName(work, mark), companionName(name, mark));
        }
        return;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(work.c_str(), "rb"), std::fclose);
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
