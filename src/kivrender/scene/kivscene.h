// What one render draws: meshes, lights, lines, points and polylines, and the list of triangles ordered from far to
// near that transparency and vector output walk.
//
// The host fills a scene before each render; the render empties it. Meshes and polylines are handed over and deleted by
// the scene; the rest is copied in.
//
//     auto scene = std::make_unique<KivScene>();
//     auto mesh = std::make_unique<KivMesh>();
//     mesh->addTriangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
//     scene->addMesh(mesh.release());      // the scene deletes it
//     scene->addLight(light);              // copied
//     renderer.render(&common, &stream, scene.get(), camera, &surface, &size);
//
// Numbers of meshes, lights and so on count from 0 in the order of adding. A scene may be copied before a render, so
// that the next one need not be filled anew: copies share the meshes. Not for several threads at once.
#ifndef KIVRENDER_SCENE_KIVSCENE_H
#define KIVRENDER_SCENE_KIVSCENE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivpolyline.h"

#include <memory>
#include <vector>

class KivCamera;
class KivPageSettings;
template <class T> class KivShared;

class KIV_API KivScene {
public:
    // One triangle of the scene.
    struct meshTriangle {
        int mesh = 0;     // number of the mesh in the scene
        int triangle = 0; // number of the triangle in the mesh
    };

    KivScene();
    // Copies refer to the same meshes and polylines; the last scene that does so deletes them.
    KivScene(const KivScene& other);
    KivScene& operator=(const KivScene& other);
    ~KivScene();

    // Room for as many more, so that adding does not move what is there. Never needed.
    void reserveMesh(unsigned int count);
    void reserveLights(unsigned int count);
    void reserveLines(unsigned int count);
    void reservePointCloud(unsigned int count);
    void reservePolylines(unsigned int count);

    // Takes ownership. The triangles that the mesh has now are counted for the room of the ordered list; later ones
    // are declared with addNumtriangles.
    void addMesh(KivMesh* mesh);
    void addNumtriangles(unsigned int count);
    // Takes the mesh out without deleting it: it is the caller's then. Later meshes move down by one, which an ordered
    // list does not follow. Does nothing for an index out of range.
    void removeMesh(unsigned int index);
    // Puts another mesh in the place of one, which goes unless another scene refers to it too. Takes ownership. Empties
    // the ordered list. Does nothing for an index out of range; the mesh stays the caller's then, and null is none.
    void replaceMesh(unsigned int index, KivMesh* mesh);
    // Deletes the meshes with a triangle that names a vertex which the mesh does not have, and returns their number:
    // what is drawn of a scene reads vertices unchecked. A render calls it first. Looks at every triangle once.
    unsigned int removeBrokenMeshes();
    // Lines and polylines, which are deleted; points.
    void removeLines();
    void removePoints();
    // Copied in, and changed through getLight from then on.
    void addLight(KivLight& light);
    void addLine(KivLine& line);
    void addPoint(Kiv3DPoint& point);
    // Takes ownership.
    void addPolyline(KivPolyline* polyline);

    // How many there are.
    unsigned int numMeshes() const;
    unsigned int numLights() const;
    unsigned int numLines() const;
    unsigned int numPoints() const;
    unsigned int numPolyline() const;

    // Copies, without shader settings. Indices are not checked.
    KivMesh getMeshCopy(unsigned int index) const;
    KivLight getLightCopy(unsigned int index) const;
    KivLine getLineCopy(unsigned int index) const;
    Kiv3DPoint getPointCopy(unsigned int index) const;
    KivPolyline getPolylineCopy(unsigned int index) const;

    // The object in place; null for an index out of range. Pointers to lights, lines and points are good until the
    // next one of the kind is added.
    KivMesh* getMesh(unsigned int index) const;
    KivLight* getLight(unsigned int index) const;
    KivLine* getLine(unsigned int index) const;
    Kiv3DPoint* getPoint(unsigned int index) const;
    KivPolyline* getPolyline(unsigned int index) const;

    // The length of the ordered list: 0 until it was ordered.
    unsigned int numTriangles() const;
    // One triangle of the ordered list, points and normals into arrays of three; the index is not checked. meshIndex
    // may be null. A mesh without normals gives zero vectors.
    void getOrderedTriangle(unsigned int index, KivMesh** mesh, Kiv3DPoint* points, Kiv3DVector* normals) const;
    void getOrderedTriangle(unsigned int index, KivMesh** mesh, int* meshIndex, Kiv3DPoint* points,
                            Kiv3DVector* normals) const;

    // Deletes meshes and polylines and removes everything else.
    void empty();

    // Add the triangles of all meshes that are not opaque, or of all meshes, to the ordered list: the farther the
    // middle of a triangle is from the camera's location, the nearer to the front of the list; at equal distance in
    // order of adding. The list is not emptied first; what it holds of removed meshes goes. Ask for a cancel; a
    // cancelled call leaves the list as it was.
    void orderTrianglesTransparent(const KivCamera& camera);
    void orderTrianglesVectorial(const KivCamera& camera);

    // Gives all meshes that shader and that page. The page stays the caller's and must outlive its use by the meshes.
    void addSettingsToAllMeshes(const wchar_t* shaderName, bool combinable, const KivPageSettings* settings);
    // All meshes forget their shaders and pages; no page is deleted.
    void deleteSettingsToAllMeshes();

private:
    void orderTriangles(const KivCamera& camera, bool transparentOnly);

    std::vector<std::shared_ptr<KivShared<KivMesh>>> meshes;
    // The getters hand out objects that may be changed although the scene is const.
    mutable std::vector<KivLight> lights;
    mutable std::vector<KivLine> lines;
    mutable std::vector<Kiv3DPoint> pointCloud;
    std::vector<std::shared_ptr<KivShared<KivPolyline>>> polylines;
    std::vector<meshTriangle> orderedTriangles;
    unsigned int totalTriangles = 0;
};

#endif
