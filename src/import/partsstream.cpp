#include "import/partsstream.h"

#include <algorithm>
#include <concepts>
#include <type_traits>

namespace kivimport {
namespace {

constexpr std::uint64_t maxText = 1 << 20;
// Readers reduce pictures to less.
constexpr std::int32_t maxPictureSide = 8192;
// What memory grows by at once, in bytes.
constexpr std::size_t chunk = 1 << 18;
constexpr std::uint64_t maxRequest = std::uint64_t{64} << 20;

// --- the fields of each record, one list for both ways ---

template <class Archive> void fields(Archive& archive, Material& m) {
    archive(m.name, m.ambient, m.diffuse, m.specular, m.emission, m.shininess, m.opacity, m.texture, m.textureAverage,
            m.textureLoaded, m.picture, m.wrapU, m.wrapV, m.cutOut, m.cutsAll);
}
template <class Archive> void fields(Archive& archive, Picture& p) {
    archive(p.width, p.height, p.pixels, p.average, p.hasAlpha, p.problem);
}
template <class Archive> void fields(Archive& archive, Surface::Part& p) {
    archive(p.name, p.material, p.node);
}
template <class Archive> void fields(Archive& archive, Node& n) {
    archive(n.name, n.parent, n.layers);
}
template <class Archive> void fields(Archive& archive, SurfaceEdge& e) {
    archive(e.kind, e.part, e.material, e.first, e.count);
}
template <class Archive> void fields(Archive& archive, Surface& s) {
    archive(s.positions, s.normals, s.corners, s.cornerNormals, s.triangleParts, s.parts, s.paint, s.cornerPaint,
            s.isPaintColour, s.hasEdges, s.edgePoints, s.edges, s.restPositions, s.restNormals);
}
template <class Archive> void fields(Archive& archive, SurfaceInstance& i) {
    archive(i.surface, i.x, i.y, i.z, i.origin, i.node, i.material);
}
template <class Archive> void fields(Archive& archive, Polyline& l) {
    archive(l.points, l.closed, l.material);
}
template <class Archive> void fields(Archive& archive, Camera& c) {
    archive(c.name, c.location, c.direction, c.up, c.verticalFov, c.orthoHeight);
}
template <class Archive> void fields(Archive& archive, Light& l) {
    archive(l.name, l.kind, l.location, l.direction, l.attenuation, l.spotAngle, l.colour);
}
template <class Archive> void fields(Archive& archive, Animation& a) {
    archive(a.name, a.seconds);
}
template <class Archive> void fields(Archive& archive, ModelParts& p) {
    archive(p.format, p.zUp, p.metresPerUnit, p.nodes, p.surfaces, p.instances, p.polylines, p.points, p.materials,
            p.pictures, p.cameras, p.lights, p.animations, p.warnings);
}
template <class Archive> void fields(Archive& archive, ReaderRequest& r) {
    archive(r.kind, r.path, r.textures, r.readable, r.limits.maxElements, r.fineness.deflection,
            r.fineness.unitsPerPixel, r.fineness.picturePixels, r.clip.name, r.clip.seconds, r.maxMemory, r.maxSeconds);
}

// What goes over as it lies in memory. A bool does not: only two of its bytes are one.
template <class T>
concept Plain = (std::is_arithmetic_v<T> || std::is_enum_v<T> || std::same_as<T, Vec3> ||
                 std::same_as<T, Colour>)&&!std::same_as<T, bool>;

class Writer {
public:
    explicit Writer(ByteSink& byteSink) : sink(byteSink) {}

    template <class... Fields> void operator()(Fields&... list) {
        (one(list), ...);
    }

private:
    void one(bool& value) {
        std::uint8_t byte = value ? 1 : 0;
        one(byte);
    }
    void one(std::string& text) {
        count(text.size());
        sink.write(text.data(), text.size());
    }
    template <Plain T> void one(T& value) {
        sink.write(&value, sizeof value);
    }
    template <Plain T, class Memory> void one(std::vector<T, Memory>& list) {
        count(list.size());
        sink.write(list.data(), list.size() * sizeof(T));
    }
    template <class T> void one(std::vector<T>& list) {
        count(list.size());
        for (T& item : list) {
            one(item);
        }
    }
    template <class T> void one(T& record) {
        fields(*this, record);
    }
    void count(std::uint64_t value) {
        one(value);
    }

    ByteSink& sink;
};

class Reader {
public:
    Reader(ByteSource& byteSource, std::uint64_t maxBytes) : source(byteSource), left(maxBytes) {}

    template <class... Fields> void operator()(Fields&... list) {
        (one(list), ...);
    }

private:
    void one(bool& value) {
        std::uint8_t byte = 0;
        one(byte);
        value = byte != 0;
    }
    void one(std::string& text) {
        const std::uint64_t size = count(1);
        if (size > maxText) {
            throw BrokenStream("a text of " + std::to_string(size) + " bytes");
        }
        text.resize(size);
        source.read(text.data(), text.size());
    }
    template <Plain T> void one(T& value) {
        spend(sizeof value);
        source.read(&value, sizeof value);
    }
    template <Plain T, class Memory> void one(std::vector<T, Memory>& list) {
        const std::uint64_t size = count(sizeof(T));
        list.clear();
        list.reserve(size); // takes addresses and no memory
        while (list.size() < size) {
            const std::size_t at = list.size();
            const std::size_t step = std::min<std::size_t>(size - at, chunk / sizeof(T));
            list.resize(at + step);
            source.read(list.data() + at, step * sizeof(T));
        }
    }
    template <class T> void one(std::vector<T>& list) {
        std::uint64_t size = 0;
        one(size);
        list.clear();
        for (std::uint64_t i = 0; i < size; ++i) {
            spend(sizeof(T)); // in memory a record takes more than on its way
            one(list.emplace_back());
        }
    }
    template <class T> void one(T& record) {
        fields(*this, record);
    }

    std::uint64_t count(std::size_t bytesEach) {
        std::uint64_t value = 0;
        one(value);
        if (value > left / bytesEach) {
            throw BrokenStream("a list of " + std::to_string(value) + " items");
        }
        left -= value * bytesEach;
        return value;
    }
    void spend(std::uint64_t bytes) {
        if (bytes > left) {
            throw BrokenStream("more bytes than it may send");
        }
        left -= bytes;
    }

    ByteSource& source;
    std::uint64_t left;
};

template <class T> T readRecord(ByteSource& source, std::uint64_t maxBytes) {
    T record;
    Reader(source, maxBytes)(record);
    return record;
}

// --- what the numbers mean ---

void require(bool isSound, const char* what) {
    if (!isSound) {
        throw BrokenStream(what);
    }
}

void checkIndices(const Indices& indices, std::size_t count, bool mayBeNone, const char* what) {
    for (const std::uint32_t index : indices) {
        if (index >= count && !(mayBeNone && index == noIndex)) {
            throw BrokenStream(std::string(what) + " index " + std::to_string(index) + " of " + std::to_string(count));
        }
    }
}

void checkPoints(const Points& points, const char* what) {
    require(std::all_of(points.begin(), points.end(), isUsable), what);
}

void checkMaterialIndex(std::uint32_t material, const ModelParts& parts) {
    require(material == noIndex || material < parts.materials.size(), "a material index out of range");
}

void checkEdge(const SurfaceEdge& edge, const Surface& surface, const ModelParts& parts) {
    require(edge.kind <= SurfaceEdge::Kind::seam, "an unknown kind of edge");
    require(edge.part < surface.parts.size(), "an edge of no part");
    checkMaterialIndex(edge.material, parts);
    require(edge.count >= 2 && edge.first <= surface.edgePoints.size() &&
                edge.count <= surface.edgePoints.size() - edge.first,
            "an edge without its points");
}

void checkNodes(const std::vector<Node>& nodes) {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        require(nodes[i].parent == noIndex || nodes[i].parent < i, "a node above which there is none");
    }
}

void checkSurface(const Surface& surface, const ModelParts& parts) {
    require(surface.positions.size() < noIndex && surface.normals.size() < noIndex, "too many vertices");
    require(surface.corners.size() % 3 == 0, "a triangle with less than three corners");
    require(surface.cornerNormals.empty() || surface.cornerNormals.size() == surface.corners.size(),
            "corners without a place for their normals");
    require(surface.triangleParts.empty() || surface.triangleParts.size() == surface.corners.size() / 3,
            "triangles without a part");
    require(surface.corners.empty() || !surface.parts.empty(), "a surface without a part");
    checkPoints(surface.positions, "a coordinate that can't be used");
    require(std::all_of(surface.normals.begin(), surface.normals.end(), isFinite), "a normal that is not a number");
    require(surface.restPositions.empty() || (surface.restPositions.size() == surface.positions.size() &&
                                              surface.restNormals.size() == surface.normals.size()),
            "another number of vertices at rest");
    checkPoints(surface.restPositions, "a coordinate that can't be used");
    require(std::all_of(surface.restNormals.begin(), surface.restNormals.end(), isFinite),
            "a normal that is not a number");
    checkIndices(surface.corners, surface.positions.size(), false, "vertex");
    checkIndices(surface.cornerNormals, surface.normals.size(), true, "normal");
    checkIndices(surface.triangleParts, surface.parts.size(), false, "part");
    require(surface.cornerPaint.empty() || surface.cornerPaint.size() == surface.corners.size(),
            "corners without a place for their paint");
    require(surface.paint.size() < noIndex, "too many colours");
    require(std::all_of(surface.paint.begin(), surface.paint.end(), isFinite), "a place in a texture that is none");
    checkIndices(surface.cornerPaint, surface.paint.size(), true, "paint");
    for (const Surface::Part& part : surface.parts) {
        checkMaterialIndex(part.material, parts);
        require(part.node == noIndex || part.node < parts.nodes.size(), "a part of no node");
    }
    checkIndices(surface.edgePoints, surface.positions.size(), false, "edge");
    for (const SurfaceEdge& edge : surface.edges) {
        checkEdge(edge, surface, parts);
    }
}

// Of one length and at right angles, as normals turn along only then.
bool areAxes(const SurfaceInstance& instance) {
    constexpr double tolerance = 1e-6;
    const double size = length(instance.x);
    const double slack = tolerance * size;
    return size > 0.0 && isUsable(instance.x) && isUsable(instance.y) && isUsable(instance.z) &&
           std::fabs(length(instance.y) - size) <= slack && std::fabs(length(instance.z) - size) <= slack &&
           std::fabs(dot(instance.x, instance.y)) <= slack * size &&
           std::fabs(dot(instance.y, instance.z)) <= slack * size &&
           std::fabs(dot(instance.z, instance.x)) <= slack * size;
}

// reach: of each surface, the largest of its coordinates.
void checkInstance(const SurfaceInstance& instance, const ModelParts& parts, const std::vector<double>& reach) {
    require(instance.node == noIndex || instance.node < parts.nodes.size(), "an instance of no node");
    checkMaterialIndex(instance.material, parts);
    require(areAxes(instance), "an instance that is not placed by axes at right angles");
    const double farthest = 3.0 * length(instance.x) * reach[instance.surface];
    require(isUsable(instance.origin) && farthest + length(instance.origin) <= maxCoordinate,
            "an instance at a place that can't be used");
}

void checkInstances(const ModelParts& parts) {
    std::vector<double> reach;
    for (const Surface& surface : parts.surfaces) {
        double& largest = reach.emplace_back(0.0);
        for (const Vec3& p : surface.positions) {
            largest = std::max({largest, std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
        }
    }
    for (const SurfaceInstance& instance : parts.instances) {
        checkInstance(instance, parts, reach);
    }
}

bool isColour(const Colour& c) {
    const auto inRange = [](double v) { return v >= 0.0 && v <= 1.0; };
    return inRange(c.r) && inRange(c.g) && inRange(c.b);
}

bool isWrap(Wrap wrap) {
    return wrap == Wrap::repeat || wrap == Wrap::clamp || wrap == Wrap::mirror;
}

void checkMaterial(const Material& m, const ModelParts& parts) {
    require(isColour(m.ambient) && isColour(m.diffuse) && isColour(m.specular) && isColour(m.emission) &&
                isColour(m.textureAverage),
            "a colour out of range");
    require(std::isfinite(m.shininess) && m.shininess >= 0.0, "a shininess that can't be used");
    require(m.opacity >= 0.0 && m.opacity <= 1.0, "an opacity out of range");
    require(m.picture == noIndex || m.picture < parts.pictures.size(), "a material without its picture");
    require(isWrap(m.wrapU) && isWrap(m.wrapV), "an unknown way to go on beyond a picture");
    require(m.cutOut >= 0.0 && m.cutOut <= 1.0, "a threshold out of range");
}

void checkPicture(const Picture& p) {
    require(p.width >= 0 && p.height >= 0 && p.width <= maxPictureSide && p.height <= maxPictureSide &&
                p.pixels.size() ==
                    std::size_t{4} * static_cast<std::size_t>(p.width) * static_cast<std::size_t>(p.height),
            "a picture of another size than it says");
    require(isColour(p.average), "a colour out of range");
}

void checkCamera(const Camera& c) {
    require(isUsable(c.location) && isFinite(c.direction) && isFinite(c.up), "a camera that stands nowhere");
    require(std::isfinite(c.verticalFov) && std::isfinite(c.orthoHeight) && c.verticalFov >= 0.0 &&
                c.orthoHeight >= 0.0 && c.verticalFov + c.orthoHeight > 0.0,
            "a camera that sees nothing");
}

void checkLight(const Light& l) {
    require(l.kind == Light::Kind::directional || l.kind == Light::Kind::point || l.kind == Light::Kind::spot,
            "an unknown kind of light");
    require(isUsable(l.location) && isFinite(l.direction) && isFinite(l.attenuation) && std::isfinite(l.spotAngle) &&
                isColour(l.colour),
            "a light that can't be used");
}

} // namespace

void writeParts(ByteSink& sink, ModelParts& parts) {
    Writer{sink}(parts);
}
void writeRequest(ByteSink& sink, ReaderRequest& request) {
    Writer{sink}(request);
}
void writePictures(ByteSink& sink, std::vector<Picture>& pictures) {
    Writer{sink}(pictures);
}
void writeText(ByteSink& sink, std::string text) {
    text.resize(std::min<std::size_t>(text.size(), maxText));
    Writer{sink}(text);
}

ModelParts readParts(ByteSource& source, std::uint64_t maxBytes) {
    return readRecord<ModelParts>(source, maxBytes);
}
ReaderRequest readRequest(ByteSource& source) {
    return readRecord<ReaderRequest>(source, maxRequest);
}
std::vector<Picture> readPictures(ByteSource& source, std::uint64_t maxBytes) {
    std::vector<Picture> pictures = readRecord<std::vector<Picture>>(source, maxBytes);
    std::for_each(pictures.begin(), pictures.end(), checkPicture);
    return pictures;
}
std::string readText(ByteSource& source) {
    return readRecord<std::string>(source, maxText + sizeof(std::uint64_t));
}

void checkParts(const ModelParts& parts, const ReadLimits& limits) {
    for (const SurfaceInstance& instance : parts.instances) {
        require(instance.surface < parts.surfaces.size(), "an instance of no surface");
    }
    checkElements(parts.numTriangles() + parts.polylines.size() + parts.points.size(), limits);
    require(std::isfinite(parts.metresPerUnit) && parts.metresPerUnit >= 0.0, "a unit that can't be used");
    checkNodes(parts.nodes);
    for (const Surface& surface : parts.surfaces) {
        checkSurface(surface, parts);
    }
    checkInstances(parts);
    for (const Polyline& line : parts.polylines) {
        require(line.points.size() >= 2, "a line with less than two points");
        checkPoints(line.points, "a line through a place that can't be used");
        checkMaterialIndex(line.material, parts);
    }
    checkPoints(parts.points, "a point that can't be used");
    std::for_each(parts.pictures.begin(), parts.pictures.end(), checkPicture);
    for (const Material& material : parts.materials) {
        checkMaterial(material, parts);
    }
    std::for_each(parts.cameras.begin(), parts.cameras.end(), checkCamera);
    std::for_each(parts.lights.begin(), parts.lights.end(), checkLight);
    require(std::all_of(parts.animations.begin(), parts.animations.end(),
                        [](const Animation& each) { return std::isfinite(each.seconds) && each.seconds >= 0.0; }),
            "an animation without a length");
}

} // namespace kivimport
