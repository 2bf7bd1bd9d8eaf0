#include "import/reader/plystrips.h"

#include "import/modelparts.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace kivimport {
namespace {

constexpr std::string_view headerEnd = "end_header";
// Far beyond any header; programs leave long comments in theirs.
constexpr std::size_t maxHeader = 1 << 20;

struct NumberType {
    std::size_t bytes = 0;
    enum class Kind { integer, unsignedInteger, real } kind = Kind::integer;
};

// Nothing for a name that is not a type.
std::optional<NumberType> numberType(std::string_view name) {
    using Kind = NumberType::Kind;
    static constexpr std::array<std::pair<std::string_view, NumberType>, 16> types{
        {{"char", {1, Kind::integer}},
         {"int8", {1, Kind::integer}},
         {"uchar", {1, Kind::unsignedInteger}},
         {"uint8", {1, Kind::unsignedInteger}},
         {"short", {2, Kind::integer}},
         {"int16", {2, Kind::integer}},
         {"ushort", {2, Kind::unsignedInteger}},
         {"uint16", {2, Kind::unsignedInteger}},
         {"int", {4, Kind::integer}},
         {"int32", {4, Kind::integer}},
         {"uint", {4, Kind::unsignedInteger}},
         {"uint32", {4, Kind::unsignedInteger}},
         {"float", {4, Kind::real}},
         {"float32", {4, Kind::real}},
         {"double", {8, Kind::real}},
         {"float64", {8, Kind::real}}}};
    const auto* const found =
        std::find_if(types.begin(), types.end(), [name](const auto& entry) { return entry.first == name; });
    return found != types.end() ? std::optional(found->second) : std::nullopt;
}

struct Property {
    std::optional<NumberType> count; // of a list
    NumberType value;
};

struct Element {
    std::string name;
    std::uint64_t count = 0;
    std::vector<Property> properties;
    std::size_t headerBegin = 0; // its lines in the header
    std::size_t headerEnd = 0;
};

struct Header {
    enum class Format { text, littleEndian, bigEndian } format = Format::text;
    std::vector<Element> elements;
    std::size_t bodyBegin = 0;
};

Property readProperty(std::istringstream& words) {
    const auto nextType = [&words] {
        std::string word;
        words >> word;
        const std::optional<NumberType> type = numberType(word);
        if (!type) {
            throw ImportError("its header has a property of an unknown type, \"" + word + "\"");
        }
        return *type;
    };
    Property property;
    const std::istringstream::pos_type begin = words.tellg();
    std::string word;
    words >> word;
    if (word == "list") {
        property.count = nextType();
    } else {
        words.seekg(begin);
    }
    property.value = nextType();
    return property;
}

// Nothing for what is no PLY file, or none whose header ends.
std::optional<Header> readHeader(const std::string& file) {
    Header header;
    std::size_t begin = 0;
    while (begin < file.size()) {
        const std::size_t end = file.find('\n', begin);
        if (end == std::string::npos) {
            return std::nullopt;
        }
        std::istringstream words(file.substr(begin, end - begin));
        std::string keyword;
        words >> keyword;
        if (begin == 0 && keyword != "ply") {
            return std::nullopt;
        }
        if (keyword == headerEnd) {
            header.bodyBegin = end + 1;
            return header;
        }
        if (keyword == "format") {
            words >> keyword;
            header.format = keyword == "ascii"                  ? Header::Format::text
                            : keyword == "binary_little_endian" ? Header::Format::littleEndian
                                                                : Header::Format::bigEndian;
        } else if (keyword == "element") {
            Element& element = header.elements.emplace_back();
            words >> element.name >> element.count;
            element.headerBegin = begin;
            element.headerEnd = end + 1;
        } else if (keyword == "property" && !header.elements.empty()) {
            header.elements.back().properties.push_back(readProperty(words));
            header.elements.back().headerEnd = end + 1;
        }
        begin = end + 1;
    }
    return std::nullopt;
}

// The numbers of the body, one after the other.
class Body {
public:
    Body(const std::string& fileBytes, std::size_t begin, Header::Format fileFormat)
        : file(fileBytes), place(begin), format(fileFormat) {}

    std::size_t position() const {
        return place;
    }
    std::int64_t next(const NumberType& type) {
        const double number = format == Header::Format::text ? nextWord() : nextBytes(type);
        // Wider than any index, and safe to convert.
        return std::isfinite(number) ? static_cast<std::int64_t>(std::clamp(number, -1e15, 1e15)) : -1;
    }
    void skip(const Element& element) {
        for (std::uint64_t i = 0; i < element.count && !element.properties.empty(); ++i) {
            for (const Property& property : element.properties) {
                for (std::int64_t left = property.count ? next(*property.count) : 1; left > 0; --left) {
                    next(property.value);
                }
            }
        }
    }

private:
    [[noreturn]] static void fail() {
        throw ImportError("it is cut off before the end of its triangle strips");
    }
    double nextWord() {
        place = std::min(file.find_first_not_of(" \t\r\n", place), file.size());
        double number = 0.0;
        const std::from_chars_result result = std::from_chars(file.data() + place, file.data() + file.size(), number);
        if (result.ec == std::errc::invalid_argument) {
            fail();
        }
        place = static_cast<std::size_t>(result.ptr - file.data());
        return number;
    }
    double nextBytes(const NumberType& type) {
        if (file.size() - place < type.bytes) {
            fail();
        }
        std::array<char, 8> bytes{};
        std::copy_n(file.data() + place, type.bytes, bytes.begin());
        place += type.bytes;
        const bool isNative = (format == Header::Format::littleEndian) == (std::endian::native == std::endian::little);
        if (!isNative) {
            std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(type.bytes));
        }
        switch (type.kind) {
        case NumberType::Kind::real:
            return type.bytes == 4 ? static_cast<double>(as<float>(bytes)) : as<double>(bytes);
        case NumberType::Kind::integer:
            return type.bytes == 1   ? as<std::int8_t>(bytes)
                   : type.bytes == 2 ? as<std::int16_t>(bytes)
                                     : as<std::int32_t>(bytes);
        case NumberType::Kind::unsignedInteger:
            return type.bytes == 1   ? as<std::uint8_t>(bytes)
                   : type.bytes == 2 ? as<std::uint16_t>(bytes)
                                     : as<std::uint32_t>(bytes);
        }
        return 0.0;
    }
    template <class Number> static Number as(const std::array<char, 8>& bytes) {
        Number number{};
        std::memcpy(&number, bytes.data(), sizeof(Number));
        return number;
    }

    const std::string& file;
    std::size_t place;
    Header::Format format;
};

using Triangle = std::array<std::int64_t, 3>;

void addStrip(Body& body, std::int64_t count, const NumberType& type, std::vector<Triangle>& triangles) {
    std::array<std::int64_t, 2> last{-1, -1};
    bool isTurned = false;
    for (; count > 0; --count) {
        const std::int64_t vertex = body.next(type);
        if (vertex < 0) {
            last = {-1, -1};
            isTurned = false;
            continue;
        }
        if (last[0] >= 0) {
            if (vertex != last[0] && vertex != last[1] && last[0] != last[1]) {
                triangles.push_back(isTurned ? Triangle{last[1], last[0], vertex} : Triangle{last[0], last[1], vertex});
            }
            isTurned = !isTurned;
        }
        last = {last[1], vertex};
    }
}

// The first list of the element holds the strips.
std::vector<Triangle> readStrips(Body& body, const Element& element) {
    std::vector<Triangle> triangles;
    const auto strips = std::find_if(element.properties.begin(), element.properties.end(),
                                     [](const Property& property) { return property.count.has_value(); });
    for (std::uint64_t i = 0; i < element.count; ++i) {
        for (auto property = element.properties.begin(); property != element.properties.end(); ++property) {
            std::int64_t count = property->count ? body.next(*property->count) : 1;
            if (property == strips) {
                addStrip(body, count, property->value, triangles);
                continue;
            }
            for (; count > 0; --count) {
                body.next(property->value);
            }
        }
    }
    return triangles;
}

void appendTriangle(const Triangle& triangle, Header::Format format, std::string& text) {
    if (format == Header::Format::text) {
        text += "3 " + std::to_string(triangle[0]) + ' ' + std::to_string(triangle[1]) + ' ' +
                std::to_string(triangle[2]) + '\n';
        return;
    }
    text += '\3';
    for (const std::int64_t index : triangle) {
        // Out of range stays out of range.
        const std::uint32_t bits = static_cast<std::uint32_t>(std::min<std::int64_t>(index, 0x7fffffff));
        for (int i = 0; i < 4; ++i) {
            const int shift = format == Header::Format::littleEndian ? 8 * i : 24 - 8 * i;
            text += static_cast<char>(bits >> shift & 0xffU);
        }
    }
}

} // namespace

std::string plyWithoutStrips(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string file(maxHeader, '\0');
    file.resize(static_cast<std::size_t>(stream.read(file.data(), static_cast<std::streamsize>(maxHeader)).gcount()));
    if (file.find("\nelement tristrips") == std::string::npos) {
        return {};
    }
    file.append(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    const std::optional<Header> header = readHeader(file);
    if (!header) {
        return {};
    }
    Body body(file, header->bodyBegin, header->format);
    const auto strips = std::find_if(header->elements.begin(), header->elements.end(),
                                     [](const Element& element) { return element.name == "tristrips"; });
    if (strips == header->elements.end() || strips->properties.empty()) {
        return {};
    }
    std::for_each(header->elements.begin(), strips, [&body](const Element& element) { body.skip(element); });
    const std::size_t stripsBegin = body.position();
    const std::vector<Triangle> triangles = readStrips(body, *strips);

    std::string result = file.substr(0, strips->headerBegin) + "element face " + std::to_string(triangles.size()) +
                         "\nproperty list uchar int vertex_indices\n" +
                         file.substr(strips->headerEnd, header->bodyBegin - strips->headerEnd) +
                         file.substr(header->bodyBegin, stripsBegin - header->bodyBegin);
    if (header->format == Header::Format::text && !result.ends_with('\n')) {
        result += '\n';
    }
    for (const Triangle& triangle : triangles) {
        appendTriangle(triangle, header->format, result);
    }
    const std::size_t rest = header->format == Header::Format::text
                                 ? std::min(file.find_first_not_of(" \t\r\n", body.position()), file.size())
                                 : body.position();
    return result.append(file, rest);
}

} // namespace kivimport
