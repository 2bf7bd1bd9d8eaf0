#include "import/reader/plycheck.h"

#include "import/modelparts.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <sstream>
#include <string_view>

namespace kivimport {
namespace {

// Far beyond any header; programs leave long comments in theirs.
constexpr std::size_t maxHeader = 1 << 20;

struct Element {
    std::string name;
    std::uint64_t count = 0;
    std::vector<bool> isList; // of its properties
};

struct Header {
    bool isText = false;
    std::vector<Element> elements;
    std::size_t bodyBegin = 0;
};

using FilePointer = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

std::string beginning(std::FILE* file) {
    std::string text(maxHeader, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file));
    return text;
}

// Nothing for a file that is no PLY.
std::optional<Header> readHeader(const std::string& text) {
    if (!text.starts_with("ply\n") && !text.starts_with("ply\r")) {
        return std::nullopt;
    }
    const std::size_t end = text.find("\nend_header");
    const std::size_t other = text.find("\rend_header"); // old Macintosh files
    if (end == std::string::npos && other == std::string::npos) {
        throw ImportError("it is cut off within its header, which has no end_header");
    }
    Header header;
    header.bodyBegin = std::min(text.find('\n', std::min(end, other) + 1), text.size() - 1) + 1;
    std::istringstream lines(text.substr(0, end));
    std::string line;
    while (end != std::string::npos && std::getline(lines, line)) {
        std::istringstream words(line);
        std::string keyword;
        words >> keyword;
        if (keyword == "format") {
            words >> keyword;
            header.isText = keyword == "ascii";
        } else if (keyword == "element") {
            Element& element = header.elements.emplace_back();
            words >> element.name >> element.count;
        } else if (keyword == "property" && !header.elements.empty()) {
            words >> keyword;
            header.elements.back().isList.push_back(keyword == "list");
        }
    }
    return header;
}

// Whether the line has a value for each property.
bool isWhole(const Element& element, const std::string& line) {
    std::istringstream values(line);
    std::string value;
    for (const bool isList : element.isList) {
        if (!(values >> value)) {
            return false;
        }
        for (std::uint64_t left = isList ? std::strtoull(value.c_str(), nullptr, 10) : 0; left > 0; --left) {
            if (!(values >> value)) {
                return false;
            }
        }
    }
    return true;
}

// A line to each element.
class LineReader {
public:
    explicit LineReader(std::FILE* textFile) : file(textFile) {}
    ~LineReader() {
        std::free(line);
    }
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // The next line that is not blank; false at the end.
    bool next() {
        do {
            length = getline(&line, &room, file);
        } while (length > 0 && std::string_view(line, size()).find_first_not_of(" \t\r\n") == std::string_view::npos);
        return length > 0;
    }
    std::string text() const {
        return {line, size()};
    }

private:
    std::size_t size() const {
        return static_cast<std::size_t>(length);
    }

    std::FILE* file;
    char* line = nullptr;
    std::size_t room = 0;
    ssize_t length = 0;
};

} // namespace

void checkPly(const std::string& path, std::vector<std::string>& warnings) {
    const FilePointer file(std::fopen(path.c_str(), "rbe"), std::fclose);
    const std::optional<Header> header = file != nullptr ? readHeader(beginning(file.get())) : std::nullopt;
    if (!header || !header->isText || fseeko(file.get(), static_cast<off_t>(header->bodyBegin), SEEK_SET) != 0) {
        return;
    }
    LineReader lines(file.get());
    for (const Element& element : header->elements) {
        std::uint64_t found = 0;
        while (found < element.count && lines.next()) {
            ++found;
        }
        // A cut may go through a line, which then is the last one of the file: others need no closer look.
        const bool isLast = &element == &header->elements.back() && found > 0;
        if (isLast && found == element.count && !isWhole(element, lines.text())) {
            --found;
        }
        if (found < element.count) {
            warnings.push_back("the file is cut off: of " + std::to_string(element.count) + " elements \"" +
                               element.name + "\" it has " + std::to_string(found));
            return;
        }
    }
}

} // namespace kivimport
