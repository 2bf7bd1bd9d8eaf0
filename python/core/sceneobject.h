// One object of a Python scene: a mesh, lines or points with a name. Until the scene is drawn for the first time it is
// plain data; the library's objects are made when the place of the whole scene is known, and moved when that changes.
#ifndef CORE_SCENEOBJECT_H
#define CORE_SCENEOBJECT_H

#include "core/placement.h"
#include "import/modelparts.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivpolyline.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

enum class ObjectKind { mesh, lines, points };

// What an object carries of shaders and settings, to be copied onto the library's objects.
struct ObjectLooks {
    Kiv3DObject all;
    Kiv3DObject surfaces; // the base shader alone
    Kiv3DObject lines;    // everything but the base shader
};

class SceneObject {
public:
    // Of plain data, whose numbers were checked.
    SceneObject(std::wstring objectName, ObjectKind objectKind, kivimport::ModelParts objectParts, double angle);
    // Of what an importer has made already.
    SceneObject(std::wstring objectName, ObjectKind objectKind, const Placement& place, const KivBox& box);
    SceneObject(const SceneObject&) = delete;
    SceneObject& operator=(const SceneObject&) = delete;
    ~SceneObject();

    std::wstring name;
    bool isVisible = true;

    ObjectKind kind() const {
        return objectKind;
    }
    // In the model's own coordinates; its ends are swapped if there is nothing in it.
    const KivBox& bounds() const;
    std::uint64_t numTriangles() const;
    std::uint64_t numVertices() const;

    void takeMesh(std::unique_ptr<KivMesh> mesh);
    void takeLine(const KivLine& line);
    void takePolyline(std::unique_ptr<KivPolyline> line);
    void takePoint(const Kiv3DPoint& point);

    void setColour(const kivimport::Colour& colour);
    void setOpacity(double opacity);
    // A look of its own; null for that of the picture.
    void setLook(std::shared_ptr<const ObjectLooks> looks);
    // Several colours are several meshes, which would be outlined one by one: they get the base shader alone, and one
    // mesh of the whole surface everything else.
    bool isSplit() const {
        return split;
    }
    // Before a render: an object that is split and has no look of its own takes the picture's from here.
    void dress(const ObjectLooks& ofPicture);

    // Makes or moves the library's objects. What fails for want of memory is lost: later calls throw SelvarinError.
    void place(const Placement& place);
    // Lends the meshes, which the caller takes out of the scene again, and copies everything else.
    void addTo(KivScene& scene) const;
    std::size_t numMeshes() const {
        return meshes.size() + (whole ? 1 : 0);
    }

private:
    void build(const Placement& place);
    std::unique_ptr<KivModel> modelOf(kivimport::ModelParts of, const Placement& place) const;
    void move(const Placement& place);
    template <class Change> void changeMaterials(Change change);

    ObjectKind objectKind;
    mutable std::optional<KivBox> box; // once it was asked for
    kivimport::ModelParts parts;       // until it is built
    double creaseAngle = 0.0;
    bool isBuilt = false;
    bool isLost = false;
    Placement current;
    bool split = false;
    std::shared_ptr<const ObjectLooks> own;
    std::vector<std::unique_ptr<KivMesh>> meshes;
    std::unique_ptr<KivMesh> whole; // of an object that is split
    std::vector<KivLine> lines;
    std::vector<std::unique_ptr<KivPolyline>> polylines;
    std::vector<Kiv3DPoint> points;
};

#endif
