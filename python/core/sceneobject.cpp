#include "core/sceneobject.h"

#include "core/runtime.h"
#include "import/scenebuilder.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivplacedmesh.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

std::uint32_t toKivColour(const kivimport::Colour& c) {
    const auto byte = [](double v) { return static_cast<std::uint32_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0)); };
    return byte(c.r) | byte(c.g) << 8 | byte(c.b) << 16;
}

KivBox boundsOf(const kivimport::ModelParts& parts) {
    KivBox box = kivimport::emptyBounds();
    kivimport::addBounds(parts, box);
    return box;
}

std::unique_ptr<KivMesh> movedMesh(const KivMesh& mesh, const Placement& from, const Placement& to) {
    auto moved = std::make_unique<KivMesh>();
    KivMaterial material;
    material = *mesh.getMaterial();
    moved->setMaterial(material);
    const unsigned int vertices = mesh.getNumVertexs();
    moved->reserveVertexs(vertices);
    moved->reserveNormals(mesh.hasNormals() ? vertices : 0);
    moved->reserveTriangles(mesh.getNumTriangles());
    for (unsigned int i = 0; i < vertices; ++i) {
        const Kiv3DPoint point = to.toScene(from.toModel(mesh.getVertex(i)));
        if (mesh.hasNormals()) {
            moved->addVertex(point, mesh.getNormal(i));
        } else {
            moved->addVertex(point);
        }
    }
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        unsigned int corners[3] = {};
        mesh.getTriangle(corners, i);
        moved->addTriangle(corners[0], corners[1], corners[2]);
    }
    // The numbers of the vertices stay.
    kivSetMeshPaint(*moved, kivMeshPaint(mesh));
    kivSetMeshEdges(*moved, kivMovedMeshEdges(kivPlacedMeshEdges(mesh), [&from, &to](const Kiv3DPoint& point) {
        return to.toScene(from.toModel(point));
    }));
    return moved;
}

std::unique_ptr<KivPolyline> movedPolyline(const KivPolyline& line, const Placement& from, const Placement& to) {
    auto moved = std::make_unique<KivPolyline>();
    for (int i = 0; i < line.numPoints(); ++i) {
        moved->addPoint(to.toScene(from.toModel(line.getPoint(i))));
    }
    moved->setClosed(line.isClosed());
    KivMaterial material;
    material = *line.getMaterial();
    moved->setMaterial(material);
    moved->setColor(line.getColor());
    return moved;
}

// The first mesh of a model; false if there is none left.
bool takeFirstMesh(KivModel& model, std::unique_ptr<KivMesh>& mesh) {
    mesh.reset(model.scene->getMesh(0));
    model.scene->removeMesh(0);
    return mesh != nullptr;
}

// The same surfaces with one colour, that of the middle of the palette.
kivimport::ModelParts wholeOf(const kivimport::ModelParts& parts) {
    kivimport::ModelParts whole = parts;
    whole.pictures.clear();
    for (kivimport::Material& material : whole.materials) {
        material.picture = kivimport::noIndex;
    }
    for (kivimport::Surface& surface : whole.surfaces) {
        surface.triangleParts.clear();
        surface.parts = {surface.parts[surface.parts.size() / 2]};
        surface.paint.clear();
        surface.cornerPaint.clear();
    }
    return whole;
}

// A line of a scene has no colour of its own, a polyline has.
std::unique_ptr<KivPolyline> paintedLine(const KivLine& line, const kivimport::Material& paint) {
    auto polyline = std::make_unique<KivPolyline>();
    polyline->addPoint(line.getStart());
    polyline->addPoint(line.getEnd());
    KivMaterial material;
    material.setDiffuse(toKivColour(paint.diffuse));
    material.setAmbient(material.getDiffuse());
    material.setTransparency(paint.opacity);
    polyline->setMaterial(material);
    polyline->setColor(material.getDiffuse());
    return polyline;
}

} // namespace

SceneObject::SceneObject(std::wstring objectName, ObjectKind kindOfObject, kivimport::ModelParts objectParts,
                         double angle)
    : name(std::move(objectName)), objectKind(kindOfObject), parts(std::move(objectParts)), creaseAngle(angle),
      split(parts.materials.size() > 1) {}

SceneObject::SceneObject(std::wstring objectName, ObjectKind kindOfObject, const Placement& place, const KivBox& bounds)
    : name(std::move(objectName)), objectKind(kindOfObject), box(bounds), isBuilt(true), current(place) {}

SceneObject::~SceneObject() = default;

const KivBox& SceneObject::bounds() const {
    if (!box) {
        box = boundsOf(parts);
    }
    return *box;
}

std::uint64_t SceneObject::numTriangles() const {
    std::uint64_t count = parts.numTriangles();
    for (const auto& mesh : meshes) {
        count += mesh->getNumTriangles();
    }
    return count;
}

std::uint64_t SceneObject::numVertices() const {
    std::uint64_t count = parts.points.size() + points.size() + lines.size() * 2;
    for (const kivimport::Surface& surface : parts.surfaces) {
        count += surface.positions.size();
    }
    for (const kivimport::Polyline& line : parts.polylines) {
        count += line.points.size();
    }
    for (const auto& mesh : meshes) {
        count += mesh->getNumVertexs();
    }
    for (const auto& line : polylines) {
        count += static_cast<std::uint64_t>(line->numPoints());
    }
    return count;
}

void SceneObject::takeMesh(std::unique_ptr<KivMesh> mesh) {
    meshes.push_back(std::move(mesh));
}

void SceneObject::takeLine(const KivLine& line) {
    lines.push_back(line);
}

void SceneObject::takePolyline(std::unique_ptr<KivPolyline> line) {
    polylines.push_back(std::move(line));
}

void SceneObject::takePoint(const Kiv3DPoint& point) {
    points.push_back(point);
}

template <class Change> void SceneObject::changeMaterials(Change change) {
    for (const auto& mesh : meshes) {
        KivMaterial material;
        material = *mesh->getMaterial();
        change(material);
        mesh->setMaterial(material);
    }
    for (const auto& line : polylines) {
        KivMaterial material;
        material = *line->getMaterial();
        change(material);
        line->setMaterial(material);
        line->setColor(material.getDiffuse());
    }
}

void SceneObject::setColour(const kivimport::Colour& colour) {
    for (kivimport::Material& material : parts.materials) {
        material.diffuse = colour;
        material.textureLoaded = false;
        material.picture = kivimport::noIndex;
    }
    for (kivimport::Surface& surface : parts.surfaces) {
        surface.paint.clear();
        surface.cornerPaint.clear();
    }
    for (const auto& mesh : meshes) {
        kivSetMeshPaint(*mesh, nullptr);
    }
    changeMaterials([paint = toKivColour(colour)](KivMaterial& material) {
        material.setDiffuse(paint);
        material.setAmbient(paint);
    });
}

void SceneObject::setOpacity(double opacity) {
    for (kivimport::Material& material : parts.materials) {
        material.opacity = opacity;
    }
    changeMaterials([opacity](KivMaterial& material) { material.setTransparency(opacity); });
}

void SceneObject::setLook(std::shared_ptr<const ObjectLooks> looks) {
    own = std::move(looks);
}

void SceneObject::dress(const ObjectLooks& ofPicture) {
    const ObjectLooks& looks = own ? *own : ofPicture;
    const Kiv3DObject none;
    const Kiv3DObject& plain = own ? looks.all : none;
    for (const auto& mesh : meshes) {
        static_cast<Kiv3DObject&>(*mesh) = split ? looks.surfaces : plain;
    }
    if (whole) {
        static_cast<Kiv3DObject&>(*whole) = looks.lines;
    }
    for (KivLine& line : lines) {
        static_cast<Kiv3DObject&>(line) = plain;
    }
    for (const auto& line : polylines) {
        static_cast<Kiv3DObject&>(*line) = plain;
    }
}

void SceneObject::place(const Placement& place) {
    if (isLost) {
        throw SelvarinError("the object \"" + kivToUtf8(name) + "\" was lost when memory ran out; add it again");
    }
    if (isBuilt && current == place) {
        return;
    }
    try {
        if (isBuilt) {
            move(place);
        } else {
            build(place);
        }
        current = place;
    } catch (const std::bad_alloc&) {
        isLost = true;
        throw;
    }
}

void SceneObject::build(const Placement& place) {
    bounds();
    if (split) {
        takeFirstMesh(*modelOf(wholeOf(parts), place), whole);
    }
    const kivimport::Material paint = parts.materials.front();
    const std::unique_ptr<KivModel> model = modelOf(std::move(parts), place);
    parts = {};
    isBuilt = true;
    KivScene& scene = *model->scene;
    for (std::unique_ptr<KivMesh> mesh; takeFirstMesh(*model, mesh);) {
        meshes.push_back(std::move(mesh));
    }
    for (unsigned int i = 0; i < scene.numPolyline(); ++i) {
        polylines.push_back(movedPolyline(*scene.getPolyline(i), {}, {}));
    }
    for (unsigned int i = 0; i < scene.numLines(); ++i) {
        polylines.push_back(paintedLine(*scene.getLine(i), paint));
    }
    for (unsigned int i = 0; i < scene.numPoints(); ++i) {
        points.push_back(*scene.getPoint(i));
    }
}

std::unique_ptr<KivModel> SceneObject::modelOf(kivimport::ModelParts of, const Placement& place) const {
    auto model = std::make_unique<KivModel>();
    model->origin = place.origin;
    model->scale = place.scale;
    model->bounds = bounds();
    model->files.emplace_back();
    std::vector<kivimport::ModelParts> files;
    files.push_back(std::move(of));
    kivimport::fillModel(files, creaseAngle, *model);
    return model;
}

void SceneObject::move(const Placement& place) {
    const auto moved = [&](const Kiv3DPoint& p) { return place.toScene(current.toModel(p)); };
    for (auto& mesh : meshes) {
        mesh = movedMesh(*mesh, current, place);
    }
    if (whole) {
        whole = movedMesh(*whole, current, place);
    }
    for (KivLine& line : lines) {
        line.setStart(moved(line.getStart()));
        line.setEnd(moved(line.getEnd()));
    }
    for (auto& line : polylines) {
        line = movedPolyline(*line, current, place);
    }
    for (Kiv3DPoint& point : points) {
        point = moved(point);
    }
}

void SceneObject::addTo(KivScene& scene) const {
    for (const auto& mesh : meshes) {
        scene.addMesh(mesh.get());
    }
    if (whole) {
        scene.addMesh(whole.get());
    }
    for (const KivLine& line : lines) {
        KivLine copy;
        copy = line;
        scene.addLine(copy);
    }
    for (const auto& line : polylines) {
        auto copy = std::make_unique<KivPolyline>();
        *copy = *line;
        scene.addPolyline(copy.release());
    }
    for (Kiv3DPoint point : points) {
        scene.addPoint(point);
    }
}
