#include "kivrender/shadow/kivshadows.h"

#include "kivrender/platform/kivgldepth.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/scene/kivsingleprecision.h"
#include "kivrender/shader/kivpicturetile.h"

#include <GL/gl.h>
#include <gl2ps.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <unordered_map>

using edgeInfo = KivEdgesExtraction::edgeInfo;

namespace {

// The value that the cleared stencil buffer holds.
constexpr int stencilBase = 100;

// How far the far plane's z stays below w, so that a direction still passes the clip test at infinity.
constexpr double infinityMargin = 2.9802322387695312e-08; // 2 to the power of -25

void place(const Kiv3DPoint& point) {
    glVertex4d(point.x, point.y, point.z, 1.0);
}

// A point at infinity, away from the light.
void extrude(const Kiv3DPoint& point, const Kiv3DPoint& light) {
    glVertex4d(point.x - light.x, point.y - light.y, point.z - light.z, 0.0);
}

// An edge between two triangles counts double, a border once: the caps cover all triangles, so that a closed volume is
// met twice.
int timesOf(const edgeInfo& edge) {
    return edge.triangle0 != -1 && edge.triangle1 != -1 ? 2 : 1;
}

void sideQuad(const Kiv3DPoint& a, const Kiv3DPoint& b, const Kiv3DPoint& light) {
    place(a);
    place(b);
    extrude(b, light);
    extrude(a, light);
}

// From so many triangles on a volume goes out from arrays: a million calls for each corner cost more than the drawing.
constexpr std::size_t manyTriangles = 2000;

// Long loops ask for a cancel each time they have come through so many triangles or edges.
constexpr std::size_t trianglesPerPoll = 4096;

bool isPollDue(std::size_t n) {
    return n % trianglesPerPoll == trianglesPerPoll - 1;
}

// A volume as arrays, corner for corner what the calls would send and in the same order; OpenGL keeps corners in single
// precision either way. The points of the mesh come first, then each of them at infinity. After a cancel it is
// incomplete.
class VolumeArrays {
public:
    VolumeArrays(const std::vector<edgeInfo>& edges, const KivMesh& mesh, const Kiv3DPoint& light,
                 const std::vector<bool>& lightened)
        : numPoints(mesh.getNumVertexs()) {
        readPoints(mesh, light);
        std::size_t numSides = 0;
        for (const edgeInfo& edge : edges) {
            numSides += edge.lightened0 == edge.lightened1 ? 0U : static_cast<std::size_t>(timesOf(edge));
        }
        quads.reserve(numSides * 4);
        for (std::size_t i = 0; i < edges.size(); ++i) {
            if (isPollDue(i) && kivIsCancelled()) {
                return;
            }
            if (edges[i].lightened0 != edges[i].lightened1) {
                addSides(edges[i]);
            }
        }
        triangles.reserve(lightened.size() * 6);
        for (std::size_t t = 0; t < lightened.size(); ++t) {
            if (isPollDue(t) && kivIsCancelled()) {
                return;
            }
            unsigned int c[3];
            mesh.getTriangle(c, static_cast<unsigned int>(t));
            if (lightened[t]) {
                std::swap(c[0], c[2]);
            }
            triangles.insert(triangles.end(), {c[0], c[1], c[2], far(c[2]), far(c[1]), far(c[0])});
        }
    }

    void draw() const {
        glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
        for (const GLenum array : {GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY}) {
            glDisableClientState(array);
        }
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(4, GL_FLOAT, 0, corners.data());
        if (drawAll(GL_QUADS, quads)) {
            drawAll(GL_TRIANGLES, triangles);
        }
        glPopClientAttrib();
    }

private:
    // In pieces, with a question for a cancel between two. False after a cancel.
    static bool drawAll(GLenum mode, const std::vector<unsigned int>& indices) {
        constexpr std::size_t cornersPerCall = 49152; // 16384 triangles, 12288 quads
        for (std::size_t i = 0; i < indices.size(); i += cornersPerCall) {
            if (i > 0 && kivIsCancelled()) {
                return false;
            }
            const std::size_t count = std::min(cornersPerCall, indices.size() - i);
            glDrawElements(mode, static_cast<GLsizei>(count), GL_UNSIGNED_INT, &indices[i]);
        }
        return true;
    }

    unsigned int far(unsigned int point) const {
        return point + numPoints;
    }

    void readPoints(const KivMesh& mesh, const Kiv3DPoint& light) {
        corners.resize(std::size_t{8} * numPoints);
        float* near = corners.data();
        float* away = near + std::size_t{4} * numPoints;
        for (unsigned int i = 0; i < numPoints; ++i, near += 4, away += 4) {
            if (isPollDue(i) && kivIsCancelled()) {
                return;
            }
            const Kiv3DPoint p = mesh.getVertex(i);
            const float here[4] = {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z), 1.0F};
            const float there[4] = {static_cast<float>(p.x - light.x), static_cast<float>(p.y - light.y),
                                    static_cast<float>(p.z - light.z), 0.0F};
            std::copy_n(here, 4, near);
            std::copy_n(there, 4, away);
        }
    }

    void addSides(const edgeInfo& edge) {
        auto a = static_cast<unsigned int>(edge.vertex0);
        auto b = static_cast<unsigned int>(edge.vertex1);
        if (edge.lightened1) {
            std::swap(a, b);
        }
        for (int i = 0; i < timesOf(edge); ++i) {
            quads.insert(quads.end(), {a, b, far(b), far(a)});
        }
    }

    unsigned int numPoints;
    std::vector<float> corners;
    std::vector<unsigned int> quads;
    std::vector<unsigned int> triangles;
};

} // namespace

struct KivShadows::Volume {
    KivMesh mesh;
    std::vector<edgeInfo> edges;

    std::size_t bytes() const {
        return edges.size() * sizeof(edgeInfo) + mesh.getNumVertexs() * sizeof(Kiv3DPoint) +
               std::size_t{mesh.getNumTriangles()} * 3 * sizeof(std::uint64_t);
    }
};

struct KivShadows::VolumeCache {
    std::size_t budget = 0;
    std::size_t used = 0;
    std::unordered_map<const KivMesh*, std::shared_ptr<Volume>> volumes;
};

KivShadows::KivShadows() = default;
KivShadows::KivShadows(const KivShadows&) = default;
KivShadows& KivShadows::operator=(const KivShadows&) = default;
KivShadows::~KivShadows() = default;

void KivShadows::setInfinitePerspective(const KivCamera& camera, const KivScene* scene) {
    double matrix[16];
    calculateSceneBoundingBox(scene);
    infiniteFrustum(camera, matrix);
    if (camera.getProjection() != KivCamera::perspective) {
        parallelToInfinity(camera, kivClipDepthFromZero(), matrix);
    }
    glMatrixMode(GL_PROJECTION);
    kivLoadPictureProjection();
    glMultMatrixd(matrix);
}

// The limit of the projection of glFrustum for a far plane at infinity, with the far end brought in by 2^-25: without
// that margin rounding would clip directions away. For a parallel projection depth is scaled by 2^-25 instead.
void KivShadows::infiniteFrustum(const KivCamera& camera, double* matrix) {
    constexpr double k = 1 - infinityMargin;
    const double width = camera.getFrustumRight() - camera.getFrustumLeft();
    const double height = camera.getFrustumTop() - camera.getFrustumBottom();
    const double acrossX = (camera.getFrustumRight() + camera.getFrustumLeft()) / width;
    const double acrossY = (camera.getFrustumTop() + camera.getFrustumBottom()) / height;
    for (int i = 0; i < 16; ++i) {
        matrix[i] = 0;
    }
    if (camera.getProjection() == KivCamera::perspective) {
        const double near = camera.getFrustumNear();
        matrix[0] = 2 * near / width;
        matrix[5] = 2 * near / height;
        matrix[8] = acrossX;
        matrix[9] = acrossY;
        matrix[10] = -k;
        matrix[11] = -1;
        matrix[14] = near * (k - 2);
    } else {
        matrix[0] = 2 / width;
        matrix[5] = 2 / height;
        matrix[10] = -infinityMargin;
        matrix[12] = -acrossX;
        matrix[13] = -acrossY;
        matrix[14] = infinityMargin - 1;
        matrix[15] = 1;
    }
}

// A parallel projection has no place for what lies at infinity: the far caps of volumes would be lost. And depth that
// is scaled to reach far leaves next to nothing for the scene: beside 1, single precision tells three depths apart. So
// the eye is not at infinity but so far away that nobody sees it: directions then have a place, depth 1, and a scene
// lies close to depth 0, where a context that clips depth from zero keeps all digits. Without such a context the eye
// comes nearer: the picture then bends by a part in some thousands, and depth is told apart in some thousands of steps.
void KivShadows::parallelToInfinity(const KivCamera& camera, bool depthFromZero, double* matrix) const {
    constexpr double k = 1 - infinityMargin;
    const double width = camera.getFrustumRight() - camera.getFrustumLeft();
    const double height = camera.getFrustumTop() - camera.getFrustumBottom();
    const double near = camera.getFrustumNear();
    const double extent = std::max(
        {camera.getFrustumFar() - near, width, height, sceneBox.getXSize(), sceneBox.getYSize(), sceneBox.getZSize()});
    const double away = (std::isfinite(extent) && extent > 0.0 ? extent : 1.0) * (depthFromZero ? 65536.0 : 4096.0);
    // w = 1 + (depth - near) / away; z = k (depth - near) / away, or the same from -w to w.
    const double w[2] = {-1.0 / away, 1.0 - near / away};
    const double z[2] = {-k / away, -k * near / away};
    std::fill_n(matrix, 16, 0.0);
    matrix[0] = 2 / width;
    matrix[5] = 2 / height;
    for (int i = 0; i < 2; ++i) {
        const int column = 8 + 4 * i;
        matrix[column] = -(camera.getFrustumRight() + camera.getFrustumLeft()) / width * w[i];
        matrix[column + 1] = -(camera.getFrustumTop() + camera.getFrustumBottom()) / height * w[i];
        matrix[column + 2] = depthFromZero ? z[i] : 2 * z[i] - w[i];
        matrix[column + 3] = w[i];
    }
}

void KivShadows::calculateSceneBoundingBox(const KivScene* scene) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    double low[3] = {infinity, infinity, infinity};
    double high[3] = {-infinity, -infinity, -infinity};
    for (unsigned int i = 0; KivMesh* mesh = scene->getMesh(i); ++i) {
        const KivBox& box = *mesh->getBoundingBox();
        const double meshLow[3] = {box.getXMin(), box.getYMin(), box.getZMin()};
        const double meshHigh[3] = {box.getXMax(), box.getYMax(), box.getZMax()};
        for (int axis = 0; axis < 3; ++axis) {
            if (meshLow[axis] < low[axis]) {
                low[axis] = meshLow[axis];
            }
            if (meshHigh[axis] > high[axis]) {
                high[axis] = meshHigh[axis];
            }
        }
    }
    sceneBox = KivBox(low[0], high[0], low[1], high[1], low[2], high[2]);
}

void KivShadows::preShadowParameters() {
    glDisable(GL_TEXTURE_1D);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glEnable(GL_STENCIL_TEST);
    glClearStencil(stencilBase);
    glClear(GL_STENCIL_BUFFER_BIT);
    glStencilFunc(GL_ALWAYS, stencilBase, ~0U);
    glDepthMask(GL_FALSE);
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    glEnable(GL_CULL_FACE);
}

void KivShadows::postShadowParameters(float factorOffset, float unitsOffset, unsigned int stencilFunc, int stencilLevel,
                                      bool vectorial) {
    glDisable(GL_CULL_FACE);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_FALSE);
    glDepthFunc(GL_LEQUAL);
    glStencilFunc(stencilFunc, stencilLevel + stencilBase, ~0U);
    glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
    glBlendFunc(GL_ONE, GL_ONE);
    glEnable(GL_BLEND);
    glEnable(GL_POLYGON_OFFSET_FILL);
    // Nearer than the depth pass, so that what shading adds passes the test against the depth of the same surface.
    glPolygonOffset(factorOffset - 0.5F, unitsOffset - 1.0F);
    if (vectorial) {
        gl2psEnable(GL2PS_BLEND);
        gl2psBlendFunc(GL_ONE, GL_ONE);
        gl2psEnable(GL2PS_POLYGON_OFFSET_FILL);
    }
}

void KivShadows::beginVolumes(std::size_t memoryBudget) {
    cache = std::make_shared<VolumeCache>();
    cache->budget = memoryBudget;
}

void KivShadows::endVolumes() {
    cache.reset();
}

// The welded copy of the mesh and its edges, from the cache if it is there. Null after a cancel: what was made so far
// is incomplete and must not serve another light.
std::shared_ptr<KivShadows::Volume> KivShadows::volumeOf(const KivMesh* mesh) {
    if (cache) {
        const auto found = cache->volumes.find(mesh);
        if (found != cache->volumes.end()) {
            return found->second;
        }
    }
    auto volume = std::make_shared<Volume>();
    volume->mesh.copyMeshCompacted(*mesh);
    if (kivIsCancelled()) {
        return nullptr;
    }
    KivEdgesExtraction::extractEdges(&volume->mesh, volume->edges, nullptr, nullptr);
    if (kivIsCancelled()) {
        return nullptr;
    }
    if (cache && cache->used + volume->bytes() <= cache->budget) {
        cache->used += volume->bytes();
        cache->volumes.emplace(mesh, volume);
    }
    return volume;
}

void KivShadows::drawShadowVolume(const KivMesh* mesh, const KivLight* light, bool saved) {
    const std::shared_ptr<Volume> volume = volumeOf(mesh);
    if (!volume) {
        return;
    }
    const std::vector<bool> lightened = lightenedTriangles(light, &volume->mesh);
    flagEdges(volume->edges, lightened);
    if (saved) {
        saveShadowVolume(volume->edges, true, &volume->mesh, light);
    }
    std::optional<VolumeArrays> arrays;
    if (!saved && lightened.size() >= manyTriangles) {
        arrays.emplace(volume->edges, volume->mesh, light->getLocation(), lightened);
    }
    // The volumes made since may be incomplete.
    if (kivIsCancelled()) {
        if (saved) {
            forgetStoredVolume();
        }
        return;
    }
    const auto draw = [&] {
        if (saved) {
            paintGLShadowVolume();
        } else if (arrays) {
            arrays->draw();
        } else {
            cast(volume->edges, &volume->mesh, light, lightened);
        }
    };
    // What faces the eye counts up where it is hidden, and what is turned away counts down.
    glFrontFace(GL_CCW);
    glStencilOp(GL_KEEP, GL_INCR, GL_KEEP);
    draw();
    glFrontFace(GL_CW);
    glStencilOp(GL_KEEP, GL_DECR, GL_KEEP);
    draw();
    if (saved) {
        forgetStoredVolume();
    }
    glFrontFace(GL_CCW);
}

void KivShadows::forgetStoredVolume() {
    volumeSides.clear();
    volumeFrontCaps.clear();
    volumeBackCaps.clear();
}

void KivShadows::createSilhouette(const KivMesh* mesh, const KivLight* light, std::vector<edgeInfo>& edges) {
    KivEdgesExtraction::extractEdges(mesh, edges, nullptr, nullptr);
    flagEdges(edges, lightenedTriangles(light, mesh));
}

// Each triangle once, however many edges and caps ask for it. After a cancel the rest counts as not lit.
std::vector<bool> KivShadows::lightenedTriangles(const KivLight* light, const KivMesh* mesh) {
    std::vector<bool> lightened(mesh->getNumTriangles());
    for (std::size_t t = 0; t < lightened.size(); ++t) {
        if (isPollDue(t) && kivIsCancelled()) {
            break;
        }
        lightened[t] = isTriangleLightened(static_cast<int>(t), light, mesh);
    }
    return lightened;
}

void KivShadows::flagEdges(std::vector<edgeInfo>& edges, const std::vector<bool>& lightened) {
    const auto lit = [&](int triangle) { return lightened[static_cast<std::size_t>(triangle)]; };
    KivProgress* progress = kivCurrentProgress();
    for (edgeInfo& edge : edges) {
        if (progress != nullptr && progress->isCancelled()) {
            return;
        }
        if (edge.triangle0 == -1) {
            edge.lightened1 = lit(edge.triangle1);
            edge.lightened0 = !edge.lightened1;
        } else if (edge.triangle1 == -1) {
            edge.lightened0 = lit(edge.triangle0);
            edge.lightened1 = !edge.lightened0;
        } else {
            edge.lightened0 = lit(edge.triangle0);
            edge.lightened1 = lit(edge.triangle1);
        }
    }
}

bool KivShadows::isTriangleLightened(int triangle, const KivLight* light, const KivMesh* mesh) {
    const Kiv3DVector normal = mesh->getTriangleNormal(static_cast<unsigned int>(triangle));
    Kiv3DVector incidence;
    switch (light->getStyle()) {
    case KivLight::directionalLight:
        incidence = light->getDirection();
        break;
    case KivLight::pointLight:
    case KivLight::spotLight:
        incidence = mesh->getTriangleBaricentre(static_cast<unsigned int>(triangle)) - light->getLocation();
        break;
    default:
        break; // a vector of no length counts as pointing along with the normal: nothing is lit
    }
    return incidence.cosAngle(normal) <= 0.0;
}

void KivShadows::castShadowVolume(std::vector<edgeInfo>& edges, bool, KivMesh* mesh, const KivLight* light) {
    cast(edges, mesh, light, lightenedTriangles(light, mesh));
}

void KivShadows::cast(const std::vector<edgeInfo>& edges, const KivMesh* mesh, const KivLight* light,
                      const std::vector<bool>& lightened) {
    const Kiv3DPoint source = light->getLocation();
    glBegin(GL_QUADS);
    for (const edgeInfo& edge : edges) {
        if (edge.lightened0 == edge.lightened1) {
            continue;
        }
        Kiv3DPoint a = mesh->getVertex(static_cast<unsigned int>(edge.vertex0));
        Kiv3DPoint b = mesh->getVertex(static_cast<unsigned int>(edge.vertex1));
        if (edge.lightened1) {
            std::swap(a, b);
        }
        for (int i = 0; i < timesOf(edge); ++i) {
            sideQuad(a, b, source);
        }
    }
    glEnd();
    glBegin(GL_TRIANGLES);
    const unsigned int count = mesh->getNumTriangles();
    for (unsigned int t = 0; t < count; ++t) {
        Kiv3DPoint p[3];
        mesh->getTriangle(p, t);
        if (lightened[t]) {
            std::swap(p[0], p[2]);
        }
        place(p[0]);
        place(p[1]);
        place(p[2]);
        extrude(p[2], source);
        extrude(p[1], source);
        extrude(p[0], source);
    }
    glEnd();
}

void KivShadows::saveShadowVolume(std::vector<edgeInfo>& edges, bool capped, KivMesh* mesh, const KivLight* light) {
    // Single precision is what the stored form has always had; its directions are told apart from the drawn ones by it.
    const Kiv3DPoint exact = light->getLocation();
    const Kiv3DPoint source(kivToSinglePrecision(exact.x), kivToSinglePrecision(exact.y),
                            kivToSinglePrecision(exact.z));
    const auto away = [&](const Kiv3DPoint& p) { return Kiv3DPoint(p.x - source.x, p.y - source.y, p.z - source.z); };
    for (const edgeInfo& edge : edges) {
        if (edge.lightened0 == edge.lightened1) {
            continue;
        }
        Kiv3DPoint a = mesh->getVertex(static_cast<unsigned int>(edge.vertex0));
        Kiv3DPoint b = mesh->getVertex(static_cast<unsigned int>(edge.vertex1));
        if (edge.lightened1) {
            std::swap(a, b);
        }
        volumeSides.insert(volumeSides.end(), {a, b, away(b), away(a)});
    }
    if (!capped) {
        return;
    }
    const unsigned int count = mesh->getNumTriangles();
    for (unsigned int t = 0; t < count; ++t) {
        if (!isTriangleLightened(static_cast<int>(t), light, mesh)) {
            continue;
        }
        Kiv3DPoint p[3];
        mesh->getTriangle(p, t);
        const Kiv3DVector inwards = mesh->getTriangleNormal(t).normal() * -0.0001;
        volumeFrontCaps.insert(volumeFrontCaps.end(), {p[2] + inwards, p[1] + inwards, p[0] + inwards});
        volumeBackCaps.insert(volumeBackCaps.end(), {away(p[0]), away(p[1]), away(p[2])});
    }
}

void KivShadows::paintGLShadowVolume() {
    glBegin(GL_QUADS);
    for (std::size_t i = 0; i < volumeSides.size(); ++i) {
        const Kiv3DPoint& point = volumeSides[i];
        glVertex4d(point.x, point.y, point.z, i % 4 < 2 ? 1.0 : 0.0);
    }
    glEnd();
    glBegin(GL_TRIANGLES);
    for (const Kiv3DPoint& point : volumeFrontCaps) {
        place(point);
    }
    for (const Kiv3DPoint& direction : volumeBackCaps) {
        glVertex4d(direction.x, direction.y, direction.z, 0.0);
    }
    glEnd();
}
