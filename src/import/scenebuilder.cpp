#include "import/scenebuilder.h"

#include "import/normals.h"
#include "import/winding.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivmeshrest.h"
#include "kivrender/scene/kivplacedmesh.h"
#include "kivrender/scene/kivpolyline.h"
#include "kivrender/scene/kivskinimage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

namespace kivimport {
namespace {

std::uint32_t toKivColour(const Colour& c) {
    const auto byte = [](double v) { return static_cast<std::uint32_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0)); };
    return byte(c.r) | byte(c.g) << 8 | byte(c.b) << 16;
}

Kiv3DPoint toKivPoint(const Vec3& p) {
    return {p.x, p.y, p.z};
}
Kiv3DVector toKivVector(const Vec3& v) {
    return {v.x, v.y, v.z};
}

constexpr Colour ink{0.16, 0.15, 0.17}; // of lines without a material

// Names are shown in lines and on terminals: what would end or colour those is replaced.
std::wstring shownName(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return kivFromUtf8(name);
}

KivMeshEdge::Kind toKivKind(SurfaceEdge::Kind kind) {
    switch (kind) {
    case SurfaceEdge::Kind::tangent:
        return KivMeshEdge::Kind::tangent;
    case SurfaceEdge::Kind::seam:
        return KivMeshEdge::Kind::seam;
    default:
        return KivMeshEdge::Kind::sharp;
    }
}

// A texture replaces a black colour, as programs that use the texture alone leave the colour at that.
Colour paint(const Material& material) {
    if (!material.textureLoaded) {
        return material.diffuse;
    }
    const Colour& texture = material.textureAverage;
    if (material.diffuse == Colour{}) {
        return texture;
    }
    return {material.diffuse.r * texture.r, material.diffuse.g * texture.g, material.diffuse.b * texture.b};
}

KivMaterial toKivMaterial(const Material& source) {
    KivMaterial material;
    material.setDiffuse(toKivColour(paint(source)));
    // The copy constructor of a material takes its diffuse colour from the ambient one; equal colours survive that.
    material.setAmbient(material.getDiffuse());
    material.setEmission(toKivColour(source.emission));
    // 128, the largest exponent of OpenGL, is the largest shine. Without an exponent there is no highlight.
    material.setShine(source.shininess * KivMaterial::maxShine() / 128.0);
    material.setSpecular(source.shininess > 0.0 ? toKivColour(source.specular) : 0);
    material.setTransparency(source.opacity);
    material.setTextureMode(source.picture != noIndex ? KivMaterial::bitmapTexture : KivMaterial::noTexture);
    return material;
}

KivTexture::Wrap toKivWrap(Wrap wrap) {
    switch (wrap) {
    case Wrap::clamp:
        return KivTexture::Wrap::clamp;
    case Wrap::mirror:
        return KivTexture::Wrap::mirror;
    default:
        return KivTexture::Wrap::repeat;
    }
}

// The textures of one file, made of its pictures when they are first asked for.
class Textures {
public:
    explicit Textures(std::vector<Picture>& filePictures) : pictures(filePictures) {}

    std::shared_ptr<const KivTexture> of(const Material& material) {
        if (pictures[material.picture].made != nullptr) {
            return pictures[material.picture].made;
        }
        const auto [entry, isNew] =
            known.try_emplace({material.picture, material.wrapU, material.wrapV, material.cutOut, material.cutsAll});
        if (isNew) {
            Picture& picture = pictures[material.picture];
            auto texture = std::make_shared<KivTexture>();
            texture->width = picture.width;
            texture->height = picture.height;
            texture->wrapU = toKivWrap(material.wrapU);
            texture->wrapV = toKivWrap(material.wrapV);
            texture->cutOut = material.cutOut;
            // The first one takes the pixels, which are many; others of the same picture are rare.
            std::shared_ptr<const KivTexture>& first = firsts[material.picture];
            if (first == nullptr) {
                texture->pixels = std::move(picture.pixels);
                first = texture;
            } else {
                texture->pixels = first->pixels;
            }
            texture->soft = texture->cutOut > 0.0 && !material.cutsAll &&
                            kivHasSoftAlpha({texture->width, texture->height, texture->pixels}, texture->cutOut);
            entry->second = std::move(texture);
        }
        return entry->second;
    }

private:
    std::vector<Picture>& pictures;
    std::map<std::tuple<std::uint32_t, Wrap, Wrap, double, bool>, std::shared_ptr<const KivTexture>> known;
    std::map<std::uint32_t, std::shared_ptr<const KivTexture>> firsts; // by picture
};

// In units of WorkWatch.
constexpr std::size_t costOfTriangle = 6;

class SceneBuilder {
public:
    SceneBuilder(double angle, KivModel& target, ImportProgress* importProgress, std::uint64_t allTriangles)
        : creaseAngle(angle), model(target), scene(*target.scene), progress(importProgress),
          trianglesOfAll(allTriangles) {}

    void addFile(ModelParts& parts, KivModelFileInfo& info) {
        listInstances(parts);
        place(parts);
        firstNode = model.nodes.size();
        for (const Node& node : parts.nodes) {
            model.nodes.push_back(
                {shownName(node.name), node.parent != noIndex ? static_cast<int>(firstNode + node.parent) : -1, {}});
            for (const std::string& layer : node.layers) {
                model.nodes.back().layers.push_back(shownName(layer));
            }
        }
        Textures texturesOfFile(parts.pictures);
        textures = &texturesOfFile;
        fileMaterials = &parts.materials;
        materials.assign(parts.materials.size(), KivMaterial());
        materialNames.clear();
        for (const Material& material : parts.materials) {
            materialNames.push_back(shownName(material.name));
        }
        std::vector<bool> used(parts.materials.size(), false);
        for (std::size_t i = 0; i < parts.materials.size(); ++i) {
            materials[i] = toKivMaterial(parts.materials[i]);
        }
        for (const SurfaceInstance& instance : instances) {
            addInstance(parts, instance, info);
            for (const ShapePart& part : shapes[instance.surface].parts) {
                markUsed(materialOf(part, instance), used);
            }
        }
        for (const Polyline& line : parts.polylines) {
            markUsed(line.material, used);
            addPolyline(line);
        }
        for (const Vec3& p : parts.points) {
            Kiv3DPoint point = toKivPoint(p);
            scene.addPoint(point);
        }
        for (std::size_t i = 0; i < parts.materials.size(); ++i) {
            if (used[i]) {
                KivModelMaterial& listed = model.materials.emplace_back();
                listed.name = shownName(parts.materials[i].name);
                listed.material = materials[i];
                listed.texture = shownName(parts.materials[i].texture);
            }
        }
        addCamerasAndLights(parts);
        for (const Animation& each : parts.animations) {
            model.animations.push_back(shownName(each.name));
            model.animationSeconds.push_back(each.seconds);
        }
    }

private:
    // further: triangles of the surface at hand, as far as it is built.
    void report(std::uint64_t further) const {
        if (progress != nullptr) {
            progress->report(static_cast<double>(builtTriangles + further) / static_cast<double>(trianglesOfAll));
        }
    }

    // The same again and again during long work.
    WorkWatch watchAt(std::uint64_t further) const {
        report(further);
        return WorkWatch([this, further] { report(further); });
    }

    Vec3 placed(const Vec3& p) const {
        return {(p.x - model.origin.x) * model.scale, (p.y - model.origin.y) * model.scale,
                (p.z - model.origin.z) * model.scale};
    }

    // A part of a surface as a mesh, without a material.
    struct ShapePart {
        std::unique_ptr<KivMesh> mesh;        // null without triangles, and once it is in the scene or shared
        std::shared_ptr<const KivMesh> shape; // when it is shared
        std::wstring name;
        std::uint32_t material = noIndex;
        std::uint32_t node = noIndex;
        std::uint64_t vertices = 0; // without those that only edges have
    };
    struct Shape {
        std::vector<ShapePart> parts;
        std::uint64_t given = 0;      // triangles of the file
        std::uint64_t degenerate = 0; // of these
        bool isBuilt = false;
        bool isShared = false; // it stands elsewhere than where it is, or more than once
    };

    static bool isInPlace(const SurfaceInstance& instance) {
        const SurfaceInstance inPlace;
        return instance.x == inPlace.x && instance.y == inPlace.y && instance.z == inPlace.z &&
               instance.origin == inPlace.origin;
    }

    void listInstances(const ModelParts& parts) {
        instances = parts.instances;
        shapes.clear();
        shapes.resize(parts.surfaces.size());
        for (std::uint32_t i = 0; parts.instances.empty() && i < parts.surfaces.size(); ++i) {
            instances.emplace_back().surface = i;
        }
        std::vector<int> uses(shapes.size(), 0);
        for (const SurfaceInstance& instance : instances) {
            Shape& shape = shapes[instance.surface];
            shape.isShared = ++uses[instance.surface] > 1 || !isInPlace(instance) || shape.isShared;
        }
    }

    KivMeshPlacement placementOf(const SurfaceInstance& instance) const {
        return {toKivVector(instance.x), toKivVector(instance.y), toKivVector(instance.z),
                toKivPoint(placed(instance.origin))};
    }

    static std::uint32_t materialOf(const ShapePart& part, const SurfaceInstance& instance) {
        return part.material != noIndex ? part.material : instance.material;
    }

    void addInstance(ModelParts& parts, const SurfaceInstance& instance, KivModelFileInfo& info) {
        Shape& shape = shapes[instance.surface];
        if (!shape.isBuilt) {
            buildShape(parts.surfaces[instance.surface], shape);
        }
        info.degenerate += shape.degenerate;
        for (ShapePart& part : shape.parts) {
            if (std::unique_ptr<KivMesh> mesh = meshOf(part, shape.isShared, instance)) {
                info.triangles += mesh->getNumTriangles();
                info.vertices += part.vertices;
                KivMaterial material;
                material = materialOf(materialOf(part, instance));
                mesh->setMaterial(material);
                scene.addMesh(mesh.release());
                const std::uint32_t node = instance.node != noIndex ? instance.node : part.node;
                model.meshNodes.push_back(node != noIndex ? static_cast<int>(firstNode + node) : -1);
                model.meshNames.push_back(instance.node != noIndex ? model.nodes[firstNode + node].name : part.name);
            }
        }
        builtTriangles += shape.given;
    }

    std::unique_ptr<KivMesh> meshOf(ShapePart& part, bool isShared, const SurfaceInstance& instance) const {
        if (!isShared) {
            return std::move(part.mesh);
        }
        if (part.mesh != nullptr) {
            part.shape = std::move(part.mesh);
        }
        if (part.shape == nullptr) {
            return nullptr;
        }
        auto mesh = std::make_unique<KivPlacedMesh>(part.shape, placementOf(instance));
        kivSetMeshEdges(*mesh, kivMeshEdges(*part.shape));
        kivSetNormalsFrom(*mesh, kivNormalsFrom(*part.shape));
        kivSetMeshPaint(*mesh, kivMeshPaint(*part.shape));
        kivSetMeshRest(*mesh, kivMeshRest(*part.shape));
        return mesh;
    }

    // Leaves nothing of the surface.
    void buildShape(Surface& surface, Shape& shape) {
        shape.isBuilt = true;
        shape.given = surface.corners.size() / 3;
        shape.degenerate = weldSurface(surface, watchAt(0));
        // Which way pieces are wound is a matter of the shape, not of the pose.
        const bool isPosed = !surface.restPositions.empty();
        surface.positions.swap(isPosed ? surface.restPositions : surface.positions);
        orientSurface(surface, watchAt(shape.given / 3));
        surface.positions.swap(isPosed ? surface.restPositions : surface.positions);
        report(shape.given / 2);
        makeMeshes(surface, shape);
        surface = {};
    }

    // Shapes lie around their own origin.
    void place(ModelParts& parts) const {
        const auto placeAll = [this](Points& points) {
            for (Vec3& p : points) {
                p = placed(p);
            }
        };
        for (std::size_t i = 0; i < parts.surfaces.size(); ++i) {
            for (Vec3& p : parts.surfaces[i].restPositions) {
                p = p * model.scale;
            }
            if (!shapes[i].isShared) {
                placeAll(parts.surfaces[i].positions);
                continue;
            }
            for (Vec3& p : parts.surfaces[i].positions) {
                p = p * model.scale;
            }
        }
        for (Polyline& line : parts.polylines) {
            placeAll(line.points);
        }
        placeAll(parts.points);
    }

    static void markUsed(std::uint32_t material, std::vector<bool>& used) {
        if (material != noIndex) {
            used[material] = true;
        }
    }

    KivMaterial materialOf(std::uint32_t number) {
        if (number != noIndex) {
            KivMaterial material;
            material = materials[number];
            return material;
        }
        Material plain;
        plain.diffuse = defaultColour(unpainted++);
        return toKivMaterial(plain);
    }

    // One mesh for each part that has triangles.
    void makeMeshes(const Surface& surface, Shape& shape) {
        const SurfaceVertices vertices = makeVertices(surface, creaseAngle, watchAt(surface.corners.size() / 6));
        const std::size_t numTriangles = vertices.corners.size() / 3;
        std::vector<std::size_t> sizes(surface.parts.size(), 0);
        for (std::size_t t = 0; t < numTriangles; ++t) {
            ++sizes[surface.triangleParts.empty() ? 0 : surface.triangleParts[t]];
        }
        // The triangles in the order of their parts, so that each part is walked once however many there are.
        std::vector<std::size_t> start(surface.parts.size() + 1, 0);
        for (std::size_t part = 0; part < sizes.size(); ++part) {
            start[part + 1] = start[part] + sizes[part];
        }
        std::vector<std::uint32_t> triangles(numTriangles);
        std::vector<std::size_t> next(start.begin(), start.end() - 1);
        for (std::size_t t = 0; t < numTriangles; ++t) {
            triangles[next[surface.triangleParts.empty() ? 0 : surface.triangleParts[t]]++] =
                static_cast<std::uint32_t>(t);
        }
        localIndex.assign(vertices.normals.size(), noIndex);
        findSides(surface);
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            const Surface::Part& source = surface.parts[i];
            ShapePart& part = shape.parts.emplace_back();
            part.name = nameOf(source);
            part.material = source.material;
            part.node = source.node;
            if (sizes[i] > 0) {
                part.mesh = makeMesh(surface, vertices, source, triangles.data() + start[i], sizes[i]);
                part.vertices = members.size();
            }
        }
    }

    // Files that group by material alone name no objects.
    std::wstring nameOf(const Surface::Part& part) const {
        return part.name.empty() && part.material != noIndex ? materialNames[part.material] : shownName(part.name);
    }

    // Leaves the numbers of its vertices in members.
    std::unique_ptr<KivMesh> makeMesh(const Surface& surface, const SurfaceVertices& vertices,
                                      const Surface::Part& part, const std::uint32_t* triangles,
                                      std::size_t numTriangles) {
        auto mesh = std::make_unique<KivMesh>();
        // A vertex between two parts comes into both meshes.
        members.clear();
        WorkWatch watch = watchAt(surface.corners.size() / 4);
        for (std::size_t t = 0; t < numTriangles; ++t) {
            watch.add(costOfTriangle);
            for (std::size_t i = 0; i < 3; ++i) {
                const std::uint32_t vertex = vertices.corners[triangles[t] * std::size_t{3} + i];
                if (localIndex[vertex] == noIndex) {
                    localIndex[vertex] = 0;
                    members.push_back(vertex);
                }
            }
        }
        std::sort(members.begin(), members.end());
        mesh->reserveVertexs(static_cast<unsigned int>(members.size()));
        mesh->reserveNormals(static_cast<unsigned int>(members.size()));
        mesh->reserveTriangles(static_cast<unsigned int>(numTriangles));
        for (std::size_t i = 0; i < members.size(); ++i) {
            watch.add(costOfTriangle);
            localIndex[members[i]] = static_cast<std::uint32_t>(i);
            mesh->addVertex(toKivPoint(surface.positions[vertices.positions[members[i]]]),
                            toKivVector(vertices.normals[members[i]]));
        }
        for (std::size_t t = 0; t < numTriangles; ++t) {
            watch.add(costOfTriangle);
            const std::uint32_t* corner = &vertices.corners[triangles[t] * std::size_t{3}];
            mesh->addTriangle(localIndex[corner[0]], localIndex[corner[1]], localIndex[corner[2]]);
        }
        for (const std::uint32_t vertex : members) {
            localIndex[vertex] = noIndex;
        }
        if (!surface.hasEdges) {
            kivSetNormalsFrom(*mesh, surface.cornerNormals.empty() ? KivNormalsFrom::triangles
                                     : surface.normalsAreMeant     ? KivNormalsFrom::host
                                                                   : KivNormalsFrom::file);
        }
        if (!surface.restPositions.empty()) {
            kivSetMeshRest(*mesh, restOf(surface, vertices, *mesh));
        }
        if (!vertices.paint.empty()) {
            addPaint(surface, vertices, part, *mesh);
        }
        if (surface.hasEdges) {
            addEdges(surface, vertices, static_cast<std::uint32_t>(&part - surface.parts.data()), *mesh);
        }
        return mesh;
    }

    // The mesh of which members are the vertices, at rest.
    std::shared_ptr<const KivMesh> restOf(const Surface& surface, const SurfaceVertices& vertices,
                                          const KivMesh& posed) const {
        auto rest = std::make_shared<KivMesh>();
        for (const std::uint32_t vertex : members) {
            const std::uint32_t given = vertices.given[vertex];
            const Vec3 normal = given != noIndex ? unit(surface.restNormals[given]) : vertices.normals[vertex];
            rest->addVertex(toKivPoint(surface.restPositions[vertices.positions[vertex]]), toKivVector(normal));
        }
        for (unsigned int t = 0; t < posed.getNumTriangles(); ++t) {
            unsigned int corner[3] = {};
            posed.getTriangle(corner, t);
            rest->addTriangle(corner[0], corner[1], corner[2]);
        }
        return rest;
    }

    // Of the mesh of which members are the vertices.
    void addPaint(const Surface& surface, const SurfaceVertices& vertices, const Surface::Part& part,
                  const KivMesh& mesh) {
        const Material* const material = part.material != noIndex ? &(*fileMaterials)[part.material] : nullptr;
        const bool isTextured = material != nullptr && material->picture != noIndex;
        if (!isTextured && !surface.isPaintColour) {
            return;
        }
        auto paint = std::make_shared<KivMeshPaint>();
        bool isPainted = false;
        for (const std::uint32_t vertex : members) {
            const std::uint32_t number = vertices.paint[vertex];
            isPainted = isPainted || number != noIndex;
            const Vec3 at = number != noIndex       ? surface.paint[number]
                            : surface.isPaintColour ? Vec3{1.0, 1.0, 1.0}
                                                    : Vec3{};
            paint->coordinates.push_back(
                {static_cast<float>(at.x), static_cast<float>(at.y), static_cast<float>(at.z)});
        }
        if (!isPainted) {
            return;
        }
        if (isTextured) {
            paint->texture = textures->of(*material);
            if (material->diffuse != Colour{}) {
                paint->factor = {material->diffuse.r, material->diffuse.g, material->diffuse.b};
            }
        }
        kivSetMeshPaint(mesh, std::move(paint));
    }

    // A side of a triangle, for edges of parts that are cut up by colour.
    struct Side {
        std::uint32_t low = 0;
        std::uint32_t high = 0;
        std::uint32_t third = 0; // the corner that is not on it
        std::uint32_t part = 0;

        friend bool operator<(const Side& one, const Side& other) {
            return std::tie(one.low, one.high) < std::tie(other.low, other.high);
        }
    };

    void findSides(const Surface& surface) {
        sides.clear();
        if (!surface.hasEdges || surface.parts.size() < 2 || surface.triangleParts.empty()) {
            return;
        }
        for (std::size_t i = 0; i < surface.corners.size(); ++i) {
            const std::size_t first = i / 3 * 3;
            const std::uint32_t a = surface.corners[i];
            const std::uint32_t b = surface.corners[first + (i + 1) % 3];
            sides.push_back(
                {std::min(a, b), std::max(a, b), surface.corners[first + (i + 2) % 3], surface.triangleParts[i / 3]});
        }
        std::stable_sort(sides.begin(), sides.end());
    }

    // The third corner of the one triangle of another part at a stretch of an edge; noIndex if there is none, or the
    // part itself is on both sides.
    std::uint32_t cornerBeyond(std::uint32_t a, std::uint32_t b, std::uint32_t part) const {
        const auto [begin, end] = std::equal_range(sides.begin(), sides.end(), Side{std::min(a, b), std::max(a, b)});
        if (end - begin != 2 || (begin->part == part) == ((begin + 1)->part == part)) {
            return noIndex;
        }
        return begin->part == part ? (begin + 1)->third : begin->third;
    }

    void addBeyond(const Surface& surface, const SurfaceEdge& edge, KivMeshEdges& edges) const {
        edges.beyond.resize(edges.vertices.size());
        KivMeshEdge& added = edges.edges.back();
        added.hasBeyond = !sides.empty();
        for (std::uint32_t i = 0; added.hasBeyond && i + 1 < edge.count; ++i) {
            const std::uint32_t corner =
                cornerBeyond(surface.edgePoints[edge.first + i], surface.edgePoints[edge.first + i + 1], edge.part);
            added.hasBeyond = corner != noIndex;
            if (added.hasBeyond) {
                edges.beyond[added.first + i] = toKivPoint(surface.positions[corner]);
            }
        }
    }

    // The edges of one part, on its mesh, of which members are the vertices.
    void addEdges(const Surface& surface, const SurfaceVertices& vertices, std::uint32_t part, KivMesh& mesh) {
        vertexAt.resize(surface.positions.size(), noIndex);
        for (std::size_t i = members.size(); i-- > 0;) {
            vertexAt[vertices.positions[members[i]]] = static_cast<std::uint32_t>(i);
        }
        auto edges = std::make_shared<KivMeshEdges>();
        for (const SurfaceEdge& edge : surface.edges) {
            if (edge.part == part) {
                addEdge(surface, edge, mesh, *edges);
            }
        }
        for (const std::uint32_t vertex : members) {
            vertexAt[vertices.positions[vertex]] = noIndex;
        }
        for (const SurfaceEdge& edge : surface.edges) {
            for (std::uint32_t i = edge.part == part ? 0 : edge.count; i < edge.count; ++i) {
                vertexAt[surface.edgePoints[edge.first + i]] = noIndex;
            }
        }
        kivSetMeshEdges(mesh, std::move(edges));
    }

    void addEdge(const Surface& surface, const SurfaceEdge& edge, KivMesh& mesh, KivMeshEdges& edges) {
        KivMeshEdge& added = edges.edges.emplace_back();
        added.kind = toKivKind(edge.kind);
        added.hasColour = edge.material != noIndex;
        added.colour = added.hasColour ? materials[edge.material].getDiffuse() : 0;
        added.first = static_cast<std::uint32_t>(edges.vertices.size());
        added.count = edge.count;
        for (std::uint32_t i = 0; i < edge.count; ++i) {
            const std::uint32_t position = surface.edgePoints[edge.first + i];
            // All triangles at a point may have been without an area.
            if (vertexAt[position] == noIndex) {
                vertexAt[position] = mesh.getNumVertexs();
                mesh.addVertex(toKivPoint(surface.positions[position]), Kiv3DVector(0.0, 0.0, 1.0));
            }
            edges.vertices.push_back(vertexAt[position]);
        }
        addBeyond(surface, edge, edges);
    }

    void addPolyline(const Polyline& line) {
        if (line.points.size() == 2) {
            KivLine single(toKivPoint(line.points[0]), toKivPoint(line.points[1]));
            scene.addLine(single);
            return;
        }
        auto polyline = std::make_unique<KivPolyline>();
        for (const Vec3& p : line.points) {
            polyline->addPoint(toKivPoint(p));
        }
        polyline->setClosed(line.closed);
        Material plain;
        plain.diffuse = ink;
        KivMaterial material;
        material = line.material != noIndex ? materials[line.material] : toKivMaterial(plain);
        polyline->setMaterial(material);
        polyline->setColor(material.getDiffuse());
        scene.addPolyline(polyline.release());
    }

    void addCamerasAndLights(const ModelParts& parts) {
        for (const Camera& source : parts.cameras) {
            KivModelCamera& camera = model.cameras.emplace_back();
            camera.name = shownName(source.name);
            camera.location = toKivPoint(placed(source.location));
            camera.direction = toKivVector(source.direction);
            camera.up = toKivVector(source.up);
            camera.verticalFov = source.verticalFov;
            camera.orthoHeight = source.orthoHeight * model.scale;
        }
        for (const Light& source : parts.lights) {
            model.lights.push_back(toKivLight(source));
        }
    }

    KivLight toKivLight(const Light& source) const {
        KivLight light;
        light.setDirection(toKivVector(source.direction));
        light.setLocation(toKivPoint(placed(source.location)));
        light.setDiffuse(toKivColour(source.colour));
        light.setSpecular(light.getDiffuse());
        switch (source.kind) {
        case Light::Kind::directional:
            light.setStyle(KivLight::directionalLight);
            light.setLocation(kivFarLocation(source));
            break;
        case Light::Kind::point:
            light.setStyle(KivLight::pointLight);
            break;
        case Light::Kind::spot:
            light.setStyle(KivLight::spotLight);
            // In radians, as the incidence of light on a surface is worked out in them.
            light.setSpotAngle(source.spotAngle);
            light.setAttenuation(toKivVector(source.attenuation));
            break;
        }
        return light;
    }

    // Parallel light has no place of its own; what needs one, such as the volumes of shadows, gets one so far outside
    // the scene that they are parallel to a fraction of a pixel.
    Kiv3DPoint kivFarLocation(const Light& source) const {
        KivBox box = model.bounds;
        const double distance = 1e4 * std::max(box.diagonalDistance() * model.scale, 1.0);
        const Vec3 centre{(box.getXMin() + box.getXMax()) / 2.0, (box.getYMin() + box.getYMax()) / 2.0,
                          (box.getZMin() + box.getZMax()) / 2.0};
        return toKivPoint(placed(centre) - source.direction * distance);
    }

    double creaseAngle;
    KivModel& model;
    KivScene& scene;
    std::vector<KivMaterial> materials;
    const std::vector<Material>* fileMaterials = nullptr; // what they were made of
    Textures* textures = nullptr;                         // of the same file
    std::vector<std::wstring> materialNames;              // of the same file
    std::size_t firstNode = 0;                            // of the same file among the nodes of the model
    std::vector<SurfaceInstance> instances;               // of the same file
    std::vector<Shape> shapes;                            // of each surface
    std::vector<std::uint32_t> localIndex;
    std::vector<std::uint32_t> members;
    std::vector<Side> sides;             // of the surface at hand, sorted
    std::vector<std::uint32_t> vertexAt; // of a position, in the mesh at hand
    std::size_t unpainted = 0;
    ImportProgress* progress;
    std::uint64_t trianglesOfAll;
    std::uint64_t builtTriangles = 0;
};

// The corners of a file may be in no order: marking small things and walking the positions in theirs waits less for
// memory than looking each corner up.
std::vector<std::uint8_t> usedPositions(const Surface& surface) {
    std::vector<std::uint8_t> isUsed(surface.positions.size(), 0);
    for (const std::uint32_t corner : surface.corners) {
        isUsed[corner] = 1;
    }
    return isUsed;
}

} // namespace

Colour defaultColour(std::size_t number) {
    static constexpr std::array<Colour, 8> tones{
        Colour{0.894, 0.600, 0.380}, Colour{0.373, 0.643, 0.643}, Colour{0.929, 0.769, 0.408},
        Colour{0.561, 0.694, 0.447}, Colour{0.824, 0.447, 0.443}, Colour{0.435, 0.537, 0.733},
        Colour{0.851, 0.792, 0.678}, Colour{0.596, 0.455, 0.616},
    };
    return tones[number % tones.size()];
}

void addBounds(const ModelParts& parts, KivBox& bounds) {
    Vec3 low{bounds.getXMin(), bounds.getYMin(), bounds.getZMin()};
    Vec3 high{bounds.getXMax(), bounds.getYMax(), bounds.getZMax()};
    const auto add = [&low, &high](const Vec3& p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    };
    std::vector<std::vector<std::uint8_t>> isUsed; // of each surface, however often it stands
    for (const Surface& surface : parts.surfaces) {
        isUsed.push_back(usedPositions(surface));
    }
    for (std::size_t i = 0; parts.instances.empty() && i < parts.surfaces.size(); ++i) {
        for (std::size_t p = 0; p < isUsed[i].size(); ++p) {
            if (isUsed[i][p] != 0) {
                add(parts.surfaces[i].positions[p]);
            }
        }
    }
    for (const SurfaceInstance& instance : parts.instances) {
        const Surface& surface = parts.surfaces[instance.surface];
        for (std::size_t p = 0; p < surface.positions.size(); ++p) {
            if (isUsed[instance.surface][p] != 0) {
                add(instance.placed(surface.positions[p]));
            }
        }
    }
    for (const Polyline& line : parts.polylines) {
        std::for_each(line.points.begin(), line.points.end(), add);
    }
    std::for_each(parts.points.begin(), parts.points.end(), add);
    bounds = KivBox(low.x, high.x, low.y, high.y, low.z, high.z);
}

KivBox emptyBounds() {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return {infinity, -infinity, infinity, -infinity, infinity, -infinity};
}

void choosePlacement(KivModel& model) {
    KivBox box = model.bounds;
    model.origin = Kiv3DPoint((box.getXMin() + box.getXMax()) / 2.0, (box.getYMin() + box.getYMax()) / 2.0,
                              (box.getZMin() + box.getZMax()) / 2.0);
    const double size = std::max({box.getXSize(), box.getYSize(), box.getZSize()});
    int exponent = 0;
    std::frexp(size, &exponent); // size is in [0.5, 1) * 2^exponent
    model.scale = size > 0.0 ? std::ldexp(1.0, std::min(7 - exponent, 1000)) : 1.0;
}

void assembleModel(std::vector<ModelParts>& files, double creaseAngle, KivModel& model, ImportProgress* progress,
                   const KivModel* placedLike) {
    model.bounds = emptyBounds();
    for (const ModelParts& parts : files) {
        addBounds(parts, model.bounds);
    }
    choosePlacement(model);
    if (placedLike != nullptr) {
        model.origin = placedLike->origin;
        model.scale = placedLike->scale;
    }
    model.up = files.front().zUp ? Kiv3DVector(0.0, 0.0, 1.0) : Kiv3DVector(0.0, 1.0, 0.0);
    fillModel(files, creaseAngle, model, progress);
}

void fillModel(std::vector<ModelParts>& files, double creaseAngle, KivModel& model, ImportProgress* progress) {
    std::uint64_t triangles = 0;
    for (const ModelParts& parts : files) {
        triangles += parts.numTriangles();
    }
    model.scene = std::make_unique<KivScene>();
    SceneBuilder builder(creaseAngle, model, progress, triangles);
    for (std::size_t i = 0; i < files.size(); ++i) {
        KivModelFileInfo& info = model.files[i];
        info.format = shownName(files[i].format);
        info.zUp = files[i].zUp;
        info.metresPerUnit = files[i].metresPerUnit;
        builder.addFile(files[i], info);
    }
}

} // namespace kivimport
