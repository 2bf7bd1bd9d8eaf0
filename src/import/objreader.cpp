#include "import/objreader.h"

#include "import/polygons.h"
#include "import/textscanner.h"

#include <algorithm>
#include <unordered_map>

namespace kivimport {
namespace {

// Less than a millisecond of work.
constexpr std::uint64_t linesBetweenReports = 4096;

// An index of the file, resolved to a position in its list, and what is needed to complain about it later: a face may
// stand before the vertices that it uses.
struct LatestIndex {
    std::uint64_t index = 0; // largest one seen, 1 for the first vertex
    std::uint64_t line = 0;
};

class ObjReader {
public:
    ObjReader(std::string_view text, const ReadLimits& readLimits, ImportProgress* importProgress)
        : scan(text), limits(readLimits), progress(importProgress) {
        surface.positions.reserve(text.size() / 70);
        surface.corners.reserve(text.size() / 12);
    }

    ObjFile read() {
        for (std::uint64_t count = 0; scan.nextLine(); ++count) {
            if (progress != nullptr && count % linesBetweenReports == 0) {
                progress->report(scan.done());
            }
            readLine();
        }
        checkVertices();
        dropMissingNormals();
        finish();
        return std::move(file);
    }

private:
    void readLine() {
        const std::string_view keyword = scan.word();
        if (keyword == "v") {
            readVertex();
        } else if (keyword == "f") {
            readFace();
        } else if (keyword == "vn") {
            surface.normals.push_back(scan.direction());
        } else if (keyword == "vt") {
            readTexturePlace();
        } else if (keyword == "l") {
            readPolyline();
        } else if (keyword == "p") {
            readPoints();
        } else if (keyword == "usemtl") {
            useMaterial(std::string(scan.rest()));
        } else if (keyword == "o") {
            objectName = std::string(scan.rest());
            partIsCurrent = false;
        } else if (keyword == "mtllib") {
            file.materialLibraries.emplace_back(scan.rest());
        } else if (keyword != "g" && keyword != "s" && !keyword.empty() && keyword[0] != '#') {
            return; // counts as nothing that an OBJ file would say
        }
        understood = understood || (!keyword.empty() && keyword[0] != '#');
    }

    // The number that stands in the file, resolved against count entries so far.
    std::uint32_t resolve(std::int64_t given, std::uint64_t count, LatestIndex& latest, const char* what) {
        if (given < 0) {
            if (static_cast<std::uint64_t>(-given) > count) {
                throw scan.error(std::string(what) + " index " + std::to_string(given) +
                                 " is out of range, there are " + std::to_string(count) + " before it");
            }
            return static_cast<std::uint32_t>(static_cast<std::int64_t>(count) + given);
        }
        if (given == 0) {
            throw scan.error(std::string(what) + " index 0 is out of range, the first has number 1");
        }
        if (static_cast<std::uint64_t>(given) > latest.index) {
            latest = {static_cast<std::uint64_t>(given), scan.lineNumber()};
        }
        // Checked against the final count at the end of the file; until then it must not wrap round.
        return static_cast<std::uint32_t>(std::min<std::int64_t>(given - 1, noIndex - 1));
    }

    // A wrong number costs the normal and not the model, as in other programs; it is checked as above.
    std::uint32_t normalOf(std::int64_t given) {
        const auto count = static_cast<std::int64_t>(surface.normals.size());
        if (given <= 0) {
            if (given < 0 && -given <= count) {
                return static_cast<std::uint32_t>(count + given);
            }
            missNormal(given, scan.lineNumber());
            return noIndex;
        }
        if (static_cast<std::uint64_t>(given) > latestNormal.index) {
            latestNormal = {static_cast<std::uint64_t>(given), scan.lineNumber()};
        }
        return static_cast<std::uint32_t>(std::min<std::int64_t>(given - 1, noIndex - 1));
    }

    void missNormal(std::int64_t given, std::uint64_t line) {
        if (missedNormals++ == 0) {
            missedNormal = given;
            missedLine = line;
        }
    }

    // Some programs write a colour behind the coordinates; what is there may also be a weight, or nothing of use.
    void readVertex() {
        surface.positions.push_back(scan.point());
        if (!mayHaveColours || scan.atEnd()) {
            return;
        }
        try {
            Vec3 colour{scan.number("a colour"), 0.0, 0.0};
            if (scan.atEnd()) {
                return;
            }
            colour.y = scan.number("a colour");
            colour.z = scan.number("a colour");
            if (isFinite(colour)) {
                file.colours.resize(surface.positions.size() - 1, Vec3{1.0, 1.0, 1.0});
                file.colours.push_back(colour);
            }
        } catch (const ImportError&) {
            mayHaveColours = false;
        }
    }

    // Without a material library there is no texture; a wrong number costs the texture and not the model.
    void readTexturePlace() {
        if (file.materialLibraries.empty()) {
            ++skippedPlaces;
            return;
        }
        Vec3 place;
        try {
            place.x = scan.number("a place in a texture");
            place.y = scan.atEnd() ? 0.0 : scan.number("a place in a texture");
        } catch (const ImportError&) {
            place = {};
        }
        // The first row of a picture is its upper one, and the file counts from below.
        surface.paint.push_back(isUsable(place) ? Vec3{place.x, 1.0 - place.y, 0.0} : Vec3{});
    }

    // noIndex for what names no place in a texture.
    std::uint32_t paintOf(std::int64_t given) const {
        const auto count = static_cast<std::int64_t>(skippedPlaces + surface.paint.size());
        const std::int64_t index = (given < 0 ? count + given : given - 1) - static_cast<std::int64_t>(skippedPlaces);
        const bool isKnown = given != 0 && index >= 0 && index < static_cast<std::int64_t>(surface.paint.size());
        return isKnown ? static_cast<std::uint32_t>(index) : noIndex;
    }

    struct Corner {
        std::uint32_t position = 0;
        std::uint32_t paint = noIndex;
        std::uint32_t normal = noIndex;
    };

    Corner readCorner() {
        Corner corner;
        corner.position = resolve(scan.integer("a vertex index"), surface.positions.size(), latestVertex, "vertex");
        if (scan.skip('/')) {
            if (!scan.atBlank() && !scan.is('/')) {
                corner.paint = paintOf(scan.integer("a texture index"));
            }
            if (scan.skip('/') && !scan.atBlank()) {
                corner.normal = normalOf(scan.integer("a normal index"));
            }
        }
        scan.expectBlank();
        return corner;
    }

    void readFace() {
        face.clear();
        while (!scan.atEnd()) {
            face.push_back(readCorner());
            if (face.size() > maxPolygonCorners) {
                throw scan.error("a face has more than " + std::to_string(maxPolygonCorners) + " corners");
            }
        }
        if (face.size() < 3) {
            return; // an edge or a point that some programs write as a face; it has nothing to paint
        }
        setCurrentPart();
        if (face.size() == 3) {
            addTriangle(face[0], face[1], face[2]);
        } else {
            addPolygon();
        }
        checkElements(surface.corners.size() / 3, limits);
    }

    void addPolygon() {
        polygon.clear();
        for (const Corner& corner : face) {
            // A corner that comes later in the file has no position yet: cut the face as if it were convex.
            polygon.push_back(corner.position < surface.positions.size() ? surface.positions[corner.position] : Vec3{});
        }
        pieces.clear();
        triangulate(polygon, pieces);
        for (std::size_t i = 0; i < pieces.size(); i += 3) {
            addTriangle(face[pieces[i]], face[pieces[i + 1]], face[pieces[i + 2]]);
        }
    }

    void addTriangle(const Corner& a, const Corner& b, const Corner& c) {
        if (!hasNormals && (a.normal != noIndex || b.normal != noIndex || c.normal != noIndex)) {
            surface.cornerNormals.assign(surface.corners.size(), noIndex);
            hasNormals = true;
        }
        surface.corners.insert(surface.corners.end(), {a.position, b.position, c.position});
        if (hasNormals) {
            surface.cornerNormals.insert(surface.cornerNormals.end(), {a.normal, b.normal, c.normal});
        }
        if (!surface.paint.empty()) {
            surface.cornerPaint.resize(surface.corners.size() - 3, noIndex);
            surface.cornerPaint.insert(surface.cornerPaint.end(), {a.paint, b.paint, c.paint});
        }
        surface.triangleParts.push_back(currentPart);
    }

    void readPolyline() {
        LineElement line;
        line.material = currentMaterial;
        while (!scan.atEnd()) {
            line.corners.push_back(readCorner().position);
        }
        if (line.corners.size() > 1) {
            checkElements(lines.size() + 1, limits);
            lines.push_back(std::move(line));
        }
    }

    void readPoints() {
        while (!scan.atEnd()) {
            points.push_back(readCorner().position);
        }
        checkElements(points.size(), limits);
    }

    void useMaterial(const std::string& name) {
        const auto [at, isNew] =
            materialNumbers.try_emplace(name, static_cast<std::uint32_t>(file.parts.materials.size()));
        if (isNew) {
            file.parts.materials.emplace_back().name = name;
        }
        currentMaterial = at->second;
        partIsCurrent = false;
    }

    void setCurrentPart() {
        if (partIsCurrent) {
            return;
        }
        partIsCurrent = true;
        const std::string key = objectName + '\n' + std::to_string(currentMaterial);
        const auto [at, isNew] = partNumbers.try_emplace(key, static_cast<std::uint32_t>(surface.parts.size()));
        if (isNew) {
            surface.parts.push_back({objectName, currentMaterial, nodeOfObject()});
        }
        currentPart = at->second;
    }

    std::uint32_t nodeOfObject() {
        if (objectName.empty()) {
            return noIndex;
        }
        const auto [at, isNew] =
            nodeNumbers.try_emplace(objectName, static_cast<std::uint32_t>(file.parts.nodes.size()));
        if (isNew) {
            file.parts.nodes.push_back({objectName, noIndex, {}});
        }
        return at->second;
    }

    void checkVertices() const {
        if (latestVertex.index > surface.positions.size()) {
            throw ImportError("line " + std::to_string(latestVertex.line) + ": vertex index " +
                              std::to_string(latestVertex.index) + " is out of range, the file has " +
                              std::to_string(surface.positions.size()) + " vertices");
        }
    }

    // A normal may stand behind the faces that use it.
    void dropMissingNormals() {
        if (latestNormal.index > surface.normals.size()) {
            for (std::uint32_t& normal : surface.cornerNormals) {
                if (normal != noIndex && normal >= surface.normals.size()) {
                    normal = noIndex;
                    missNormal(static_cast<std::int64_t>(latestNormal.index), latestNormal.line);
                }
            }
        }
        if (missedNormals == 0) {
            return;
        }
        file.parts.warnings.push_back("line " + std::to_string(missedLine) + ": normal index " +
                                      std::to_string(missedNormal) + " is out of range, the file has " +
                                      std::to_string(surface.normals.size()) + "; left out are " +
                                      std::to_string(missedNormals));
        // Without any the surface has those of its shape, and its winding is looked at.
        if (std::all_of(surface.cornerNormals.begin(), surface.cornerNormals.end(),
                        [](std::uint32_t normal) { return normal == noIndex; })) {
            surface.cornerNormals.clear();
        }
    }

    void finish() {
        if (!understood) {
            throw ImportError("this is no Wavefront OBJ file");
        }
        for (const LineElement& line : lines) {
            Polyline& out = file.parts.polylines.emplace_back();
            out.material = line.material;
            out.closed = line.corners.size() > 3 && line.corners.front() == line.corners.back();
            for (std::size_t i = 0; i + (out.closed ? 1 : 0) < line.corners.size(); ++i) {
                out.points.push_back(surface.positions[line.corners[i]]);
            }
        }
        for (const std::uint32_t point : points) {
            file.parts.points.push_back(surface.positions[point]);
        }
        if (surface.corners.empty() && lines.empty() && points.empty()) {
            // A scanned cloud of points.
            checkElements(surface.positions.size(), limits);
            file.parts.points = surface.positions;
        }
        file.parts.format = "Wavefront OBJ";
        if (!file.colours.empty()) {
            file.colours.resize(surface.positions.size(), Vec3{1.0, 1.0, 1.0});
        }
        if (!surface.paint.empty()) {
            surface.cornerPaint.resize(surface.corners.size(), noIndex);
        }
        if (!surface.corners.empty()) {
            file.parts.surfaces.push_back(std::move(surface));
        }
    }

    struct LineElement {
        std::vector<std::uint32_t> corners;
        std::uint32_t material = noIndex;
    };

    TextScanner scan;
    ReadLimits limits;
    ImportProgress* progress;
    ObjFile file;
    Surface surface;
    std::vector<LineElement> lines;
    std::vector<std::uint32_t> points;
    LatestIndex latestVertex;
    LatestIndex latestNormal;
    std::uint64_t missedNormals = 0; // at corners
    std::int64_t missedNormal = 0;   // the number of one, and its line
    std::uint64_t missedLine = 0;
    std::size_t skippedPlaces = 0; // in textures, ahead of any material library
    bool mayHaveColours = true;
    bool understood = false;
    bool hasNormals = false;

    std::string objectName;
    std::uint32_t currentMaterial = noIndex;
    bool partIsCurrent = false;
    std::uint32_t currentPart = 0;
    std::unordered_map<std::string, std::uint32_t> partNumbers;
    std::unordered_map<std::string, std::uint32_t> materialNumbers;
    std::unordered_map<std::string, std::uint32_t> nodeNumbers;

    std::vector<Corner> face;
    Points polygon;
    Indices pieces;
};

} // namespace

ObjFile readObj(std::string_view text, const ReadLimits& limits, ImportProgress* progress) {
    return ObjReader(text, limits, progress).read();
}

} // namespace kivimport
