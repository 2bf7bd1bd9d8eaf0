#include "import/offreader.h"

#include "import/polygons.h"
#include "import/textscanner.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <optional>

namespace kivimport {
namespace {

// Less than a millisecond of work.
constexpr std::uint64_t elementsBetweenReports = 4096;
// Faces in more colours than this are painted. In fewer, each colour is a material of its own, and a drawing has lines
// and areas by colour.
constexpr std::size_t maxFaceMaterials = 256;

struct Header {
    bool hasTexturePlaces = false;
    bool hasColours = false;
    bool hasNormals = false;
    bool isHomogeneous = false;
};

bool takePrefix(std::string_view& word, std::string_view prefix) {
    if (!word.starts_with(prefix)) {
        return false;
    }
    word.remove_prefix(prefix.size());
    return true;
}

// Nothing for a word that is not a keyword of the format.
std::optional<Header> headerOf(std::string_view keyword) {
    Header header;
    header.hasTexturePlaces = takePrefix(keyword, "ST");
    header.hasColours = takePrefix(keyword, "C");
    header.hasNormals = takePrefix(keyword, "N");
    header.isHomogeneous = takePrefix(keyword, "4");
    if (takePrefix(keyword, "n")) {
        throw ImportError("OFF files of other than three dimensions can't be read");
    }
    return keyword == "OFF" ? std::optional(header) : std::nullopt;
}

class OffReader {
public:
    OffReader(std::string_view wholeText, const ReadLimits& readLimits, ImportProgress* importProgress)
        : text(wholeText), scan(wholeText), limits(readLimits), progress(importProgress) {}

    ModelParts read() {
        readHeader();
        readCounts();
        for (std::uint64_t i = 0; i < numVertices; ++i) {
            report(i);
            readVertex(i);
        }
        for (std::uint64_t i = 0; i < numFaces; ++i) {
            report(i);
            if (!moveToValue()) {
                parts.warnings.push_back("the file is cut off: of " + std::to_string(numFaces) + " faces it has " +
                                         std::to_string(i));
                break;
            }
            readFace();
        }
        finish();
        return std::move(parts);
    }

private:
    struct FaceColour {
        bool isGiven = false;
        Vec3 rgb;

        auto key() const {
            return std::array<double, 4>{isGiven ? 1.0 : 0.0, rgb.x, rgb.y, rgb.z};
        }
    };

    struct Element {
        std::vector<std::uint32_t> corners;
        FaceColour colour;
    };

    void report(std::uint64_t count) {
        if (progress != nullptr && count % elementsBetweenReports == 0) {
            progress->report(scan.done());
        }
    }

    // To the next value, which may stand on a later line. False at the end of the text.
    bool moveToValue() {
        while (!isInLine || scan.atEnd()) {
            isInLine = scan.nextLine();
            if (!isInLine) {
                return false;
            }
        }
        return true;
    }

    void readHeader() {
        if (!moveToValue()) {
            throw ImportError("this is no OFF file");
        }
        const std::string_view first = scan.word();
        if (const std::optional<Header> found = headerOf(first)) {
            header = *found;
            if (moveToValue() && !scan.startsNumber()) {
                throw ImportError(scan.word() == "BINARY" ? "OFF files in binary can't be read; save it as text"
                                                          : "this is no OFF file");
            }
        } else {
            // Geomview lets the keyword be left out.
            scan = TextScanner(text);
            isInLine = false;
            if (!moveToValue() || !scan.startsNumber()) {
                throw ImportError("this is no OFF file");
            }
        }
    }

    std::uint64_t count(const char* what) {
        if (!moveToValue()) {
            throw ImportError(std::string("the file ends before the number of its ") + what);
        }
        const std::int64_t number = scan.integer("a number of elements");
        scan.expectBlank();
        if (number < 0) {
            throw scan.error(std::string("the number of ") + what + " is negative");
        }
        return static_cast<std::uint64_t>(number);
    }

    void readCounts() {
        numVertices = count("vertices");
        const std::uint64_t line = scan.lineNumber();
        numFaces = count("faces");
        // The number of edges, of which nobody makes use, is left out by some programs. It is one of a line's three.
        if (scan.lineNumber() != line || !scan.atEnd()) {
            count("edges");
        }
        // Each takes at least two characters, so that a wrong number asks for no memory.
        surface.positions.reserve(std::min<std::uint64_t>(numVertices, text.size() / 6));
        surface.corners.reserve(3 * std::min<std::uint64_t>(numFaces, text.size() / 6));
    }

    void needValue(std::uint64_t vertex) {
        if (!moveToValue()) {
            throw ImportError("the file is cut off: of " + std::to_string(numVertices) + " vertices it has " +
                              std::to_string(vertex));
        }
    }

    double coordinate(std::uint64_t vertex) {
        needValue(vertex);
        return scan.number("a coordinate");
    }

    void readVertex(std::uint64_t vertex) {
        Vec3 p;
        p.x = coordinate(vertex);
        p.y = coordinate(vertex);
        p.z = coordinate(vertex);
        if (header.isHomogeneous) {
            p = p * (1.0 / coordinate(vertex));
        }
        if (!isFinite(p)) {
            throw scan.error("a coordinate is not a finite number");
        }
        if (!isUsable(p)) {
            throw scan.error("a coordinate is too large");
        }
        surface.positions.push_back(p);
        if (header.hasNormals) {
            Vec3 normal;
            normal.x = coordinate(vertex);
            normal.y = coordinate(vertex);
            normal.z = coordinate(vertex);
            surface.normals.push_back(isFinite(normal) ? normal : Vec3{});
        }
        if (header.hasColours) {
            readVertexColour(vertex);
        }
        if (header.hasTexturePlaces) {
            coordinate(vertex);
            coordinate(vertex);
        }
    }

    // Of four components, the last for opacity, or of three as some programs write.
    void readVertexColour(std::uint64_t vertex) {
        Vec3 colour;
        colour.x = coordinate(vertex);
        colour.y = coordinate(vertex);
        colour.z = coordinate(vertex);
        if (!scan.atEnd()) {
            scan.number("a colour");
        }
        colours.push_back(usable(colour));
    }

    Vec3 usable(const Vec3& colour) {
        if (!isFinite(colour)) {
            return {};
        }
        largestComponent = std::max({largestComponent, colour.x, colour.y, colour.z});
        return colour;
    }

    std::uint32_t readIndex() {
        if (!moveToValue()) {
            throw ImportError("the file ends within a face");
        }
        const std::int64_t index = scan.integer("a vertex index");
        scan.expectBlank();
        if (index < 0 || static_cast<std::uint64_t>(index) >= surface.positions.size()) {
            throw scan.error("vertex index " + std::to_string(index) + " is out of range, the file has " +
                             std::to_string(surface.positions.size()) + " vertices");
        }
        return static_cast<std::uint32_t>(index);
    }

    void readFace() {
        const std::int64_t size = scan.integer("a number of corners");
        scan.expectBlank();
        if (size < 0) {
            throw scan.error("a face has less than no corner");
        }
        if (size > static_cast<std::int64_t>(maxPolygonCorners)) {
            throw scan.error("a face has more than " + std::to_string(maxPolygonCorners) + " corners");
        }
        face.corners.clear();
        for (std::int64_t i = 0; i < size; ++i) {
            face.corners.push_back(readIndex());
        }
        face.colour = readFaceColour();
        if (face.corners.size() == 1) {
            parts.points.push_back(surface.positions[face.corners[0]]);
            checkElements(parts.points.size(), limits);
        } else if (face.corners.size() == 2) {
            lines.push_back(face);
            checkElements(lines.size(), limits);
        } else {
            addPolygon();
        }
    }

    // The rest of the line in which a face ends: nothing, an index in a colour map, or three or four components.
    FaceColour readFaceColour() {
        std::array<double, 3> components{};
        std::size_t found = 0;
        while (isInLine && !scan.atEnd()) {
            const double value = scan.number("a colour");
            if (found < components.size()) {
                components[found] = value;
            }
            ++found;
        }
        if (found != 3 && found != 4) {
            return {};
        }
        return {true, usable({components[0], components[1], components[2]})};
    }

    void addPolygon() {
        polygon.clear();
        for (const std::uint32_t corner : face.corners) {
            polygon.push_back(surface.positions[corner]);
        }
        pieces.clear();
        triangulate(polygon, pieces);
        for (const std::uint32_t piece : pieces) {
            surface.corners.push_back(face.corners[piece]);
        }
        triangleColours.resize(surface.corners.size() / 3, face.colour);
        hasFaceColours = hasFaceColours || face.colour.isGiven;
        checkElements(surface.corners.size() / 3, limits);
    }

    // Components are given from 0 to 1 or from 0 to 255; one number above 1 says which.
    Vec3 scaled(const Vec3& colour) const {
        return largestComponent > 1.0 ? colour * (1.0 / 255.0) : colour;
    }

    std::uint32_t materialOf(const FaceColour& colour) {
        if (!colour.isGiven) {
            return noIndex;
        }
        const auto [at, isNew] =
            materialNumbers.try_emplace(colour.key(), static_cast<std::uint32_t>(parts.materials.size()));
        if (isNew) {
            const Vec3 rgb = scaled(colour.rgb);
            const auto component = [](double c) { return std::clamp(c, 0.0, 1.0); };
            Material& material = parts.materials.emplace_back();
            material.diffuse = {component(rgb.x), component(rgb.y), component(rgb.z)};
            std::array<char, 8> name{};
            std::snprintf(name.data(), name.size(), "#%02x%02x%02x", static_cast<unsigned>(material.diffuse.r * 255.0),
                          static_cast<unsigned>(material.diffuse.g * 255.0),
                          static_cast<unsigned>(material.diffuse.b * 255.0));
            material.name = name.data();
        }
        return at->second;
    }

    std::size_t numFaceColours() const {
        std::map<std::array<double, 4>, int> all;
        for (const FaceColour& colour : triangleColours) {
            all.try_emplace(colour.key());
            if (all.size() > maxFaceMaterials) {
                break;
            }
        }
        return all.size();
    }

    void makePartsByColour() {
        std::map<std::uint32_t, std::uint32_t> partNumbers;
        for (const FaceColour& colour : triangleColours) {
            const std::uint32_t material = materialOf(colour);
            const auto [at, isNew] =
                partNumbers.try_emplace(material, static_cast<std::uint32_t>(surface.parts.size()));
            if (isNew) {
                surface.parts.push_back({"", material, noIndex});
            }
            surface.triangleParts.push_back(at->second);
        }
    }

    void paintFaces() {
        Vec3 sum;
        for (const FaceColour& colour : triangleColours) {
            const Vec3 rgb = colour.isGiven ? scaled(colour.rgb) : Vec3{0.8, 0.8, 0.8};
            const auto number = static_cast<std::uint32_t>(surface.paint.size());
            surface.paint.push_back(rgb);
            surface.cornerPaint.insert(surface.cornerPaint.end(), 3, number);
            sum = sum + rgb;
        }
        surface.isPaintColour = true;
        const Vec3 mean = sum * (1.0 / static_cast<double>(triangleColours.size()));
        surface.parts.push_back({"", static_cast<std::uint32_t>(parts.materials.size()), noIndex});
        parts.materials.emplace_back().diffuse = {mean.x, mean.y, mean.z};
    }

    void finish() {
        parts.format = "Object File Format";
        for (const Element& line : lines) {
            Polyline& out = parts.polylines.emplace_back();
            out.points = {surface.positions[line.corners[0]], surface.positions[line.corners[1]]};
            out.material = materialOf(line.colour);
        }
        if (surface.corners.empty()) {
            if (lines.empty() && parts.points.empty()) {
                checkElements(surface.positions.size(), limits);
                parts.points = std::move(surface.positions);
            }
            return;
        }
        if (header.hasNormals) {
            surface.cornerNormals = surface.corners;
        }
        const bool isPainted = header.hasColours;
        if (!hasFaceColours || isPainted) {
            surface.parts.emplace_back();
        } else if (numFaceColours() <= maxFaceMaterials) {
            makePartsByColour();
        } else {
            paintFaces();
        }
        parts.surfaces.push_back(std::move(surface));
        if (isPainted) {
            std::transform(colours.begin(), colours.end(), colours.begin(),
                           [this](const Vec3& colour) { return scaled(colour); });
            paintPositions(parts, std::move(colours));
        }
    }

    std::string_view text;
    TextScanner scan;
    ReadLimits limits;
    ImportProgress* progress;
    Header header;
    std::uint64_t numVertices = 0;
    std::uint64_t numFaces = 0;
    bool isInLine = false;

    ModelParts parts;
    Surface surface;
    Points colours; // of the positions
    std::vector<FaceColour> triangleColours;
    std::vector<Element> lines;
    double largestComponent = 0.0;
    bool hasFaceColours = false;
    std::map<std::array<double, 4>, std::uint32_t> materialNumbers;

    Element face;
    Points polygon;
    Indices pieces;
};

} // namespace

ModelParts readOff(std::string_view text, const ReadLimits& limits, ImportProgress* progress) {
    return OffReader(text, limits, progress).read();
}

} // namespace kivimport
