// The shadow engine's OpenGL calls, recorded: this program defines the functions that the library calls, so that their
// order and arguments can be compared without a context.
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shadow/kivshadows.h"
#include "support/meshsamples.h"
#include "support/pollcost.h"
#include "support/pollcounter.h"
#include "support/rawrandom.h"

#include <GL/gl.h>
#include <gl2ps.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

struct KivTestAccess {
    static void infiniteFrustum(KivShadows& shadows, const KivCamera& camera, double* matrix) {
        shadows.infiniteFrustum(camera, matrix);
    }
    static void parallelToInfinity(KivShadows& shadows, const KivCamera& camera, bool depthFromZero, double* matrix) {
        shadows.parallelToInfinity(camera, depthFromZero, matrix);
    }
    static const KivBox& sceneBox(const KivShadows& shadows) {
        return shadows.sceneBox;
    }
    static const std::vector<Kiv3DPoint>& sides(const KivShadows& shadows) {
        return shadows.volumeSides;
    }
    static const std::vector<Kiv3DPoint>& frontCaps(const KivShadows& shadows) {
        return shadows.volumeFrontCaps;
    }
    static const std::vector<Kiv3DPoint>& backCaps(const KivShadows& shadows) {
        return shadows.volumeBackCaps;
    }
};

namespace {

std::vector<std::string> calls;

template <class... Arguments> void record(const char* name, Arguments... arguments) {
    std::ostringstream text;
    text << name;
    ((text << ' ' << +arguments), ...);
    calls.push_back(text.str());
}

struct Vertex {
    double x, y, z, w;
    bool operator==(const Vertex&) const = default;
};

Vertex parseVertex(const std::string& call) {
    std::istringstream text(call);
    std::string name;
    Vertex v{};
    text >> name >> v.x >> v.y >> v.z >> v.w;
    return v;
}

// The vertices between the nth glBegin of that mode and its end.
std::vector<Vertex> primitive(GLenum mode, int which) {
    const std::string begin = "glBegin " + std::to_string(mode);
    std::vector<Vertex> vertices;
    auto at = calls.begin();
    for (int i = 0; i <= which; ++i) {
        at = std::find(at + (i > 0 ? 1 : 0), calls.end(), begin);
        if (at == calls.end()) {
            ADD_FAILURE() << "no " << begin << " number " << which;
            return vertices;
        }
    }
    for (++at; at != calls.end() && *at != "glEnd"; ++at) {
        vertices.push_back(parseVertex(*at));
    }
    return vertices;
}

KivLight lightAt(KivLight::lightStyle style, Kiv3DPoint location, Kiv3DVector direction = {0, 0, -1}) {
    KivLight light;
    light.setStyle(style);
    light.setLocation(location);
    light.setDirection(direction);
    return light;
}

// A box of edge 2 about the origin, twelve triangles, wound outwards, each corner a vertex of its own.
KivMesh box() {
    KivMesh mesh;
    const int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& face : faces) {
        const unsigned int first = mesh.getNumVertexs();
        for (const int corner : face) {
            mesh.addVertex(
                Kiv3DPoint((corner & 1) != 0 ? 1 : -1, (corner & 2) != 0 ? 1 : -1, (corner & 4) != 0 ? 1 : -1));
        }
        mesh.addQuad(first, first + 1, first + 2, first + 3);
    }
    return mesh;
}

KivMesh triangle() {
    KivMesh mesh;
    mesh.addVertex(Kiv3DPoint(0, 0, 0));
    mesh.addVertex(Kiv3DPoint(1, 0, 0));
    mesh.addVertex(Kiv3DPoint(0, 1, 0));
    mesh.addTriangle(0, 1, 2);
    return mesh;
}

class KivShadowsCalls : public testing::Test {
protected:
    void SetUp() override {
        calls.clear();
    }
    KivShadows shadows;
};

} // namespace

namespace {

// Draws from arrays, in place of calls for each corner.
const float* arrayOfCorners = nullptr;
struct Drawn {
    GLenum mode;
    std::vector<Vertex> corners;
};
std::vector<Drawn> drawnFromArrays;
bool keepsCorners = true;
// Corners of calls, kept as numbers while isExact is set: text would round them.
bool isExact = false;
std::vector<Vertex> exact;

} // namespace

extern "C" {
void glPushClientAttrib(GLbitfield) {
    record("glPushClientAttrib");
}
void glPopClientAttrib() {
    record("glPopClientAttrib");
}
void glEnableClientState(GLenum) {}
void glDisableClientState(GLenum) {}
void glVertexPointer(GLint size, GLenum type, GLsizei stride, const void* pointer) {
    EXPECT_EQ(size, 4);
    EXPECT_EQ(type, static_cast<GLenum>(GL_FLOAT));
    EXPECT_EQ(stride, 0);
    arrayOfCorners = static_cast<const float*>(pointer);
}
void glDrawElements(GLenum mode, GLsizei count, GLenum type, const void* indices) {
    EXPECT_EQ(type, static_cast<GLenum>(GL_UNSIGNED_INT));
    record("glDrawElements", mode);
    if (!keepsCorners) {
        return;
    }
    Drawn drawn{mode, {}};
    for (GLsizei i = 0; i < count; ++i) {
        const float* corner = arrayOfCorners + std::size_t{4} * static_cast<const unsigned int*>(indices)[i];
        drawn.corners.push_back({corner[0], corner[1], corner[2], corner[3]});
    }
    drawnFromArrays.push_back(drawn);
}
// One pixel, of which every light is lost, is all there is to read.
void glReadPixels(GLint, GLint, GLsizei, GLsizei, GLenum, GLenum, void* pixels) {
    *static_cast<unsigned char*>(pixels) = 101;
}
void glDrawPixels(GLsizei, GLsizei, GLenum, GLenum, const void* pixels) {
    record("glDrawPixels", *static_cast<const unsigned char*>(pixels));
}
void glGetIntegerv(GLenum, GLint* value) {
    *value = 4;
}
void glPixelStorei(GLenum name, GLint value) {
    record("glPixelStorei", name, value);
}
void glBegin(GLenum mode) {
    record("glBegin", mode);
}
void glEnd() {
    record("glEnd");
}
void glVertex4d(GLdouble x, GLdouble y, GLdouble z, GLdouble w) {
    if (isExact) {
        const auto single = [](double value) { return static_cast<double>(static_cast<float>(value)); };
        exact.push_back({single(x), single(y), single(z), single(w)});
        return;
    }
    record("glVertex4d", x, y, z, w);
}
void glEnable(GLenum cap) {
    record("glEnable", cap);
}
void glDisable(GLenum cap) {
    record("glDisable", cap);
}
void glDepthFunc(GLenum func) {
    record("glDepthFunc", func);
}
void glDepthMask(GLboolean flag) {
    record("glDepthMask", flag);
}
void glColorMask(GLboolean r, GLboolean g, GLboolean b, GLboolean a) {
    record("glColorMask", r, g, b, a);
}
void glClearStencil(GLint s) {
    record("glClearStencil", s);
}
void glClear(GLbitfield mask) {
    record("glClear", mask);
}
void glStencilFunc(GLenum func, GLint ref, GLuint mask) {
    record("glStencilFunc", func, ref, mask);
}
void glStencilOp(GLenum fail, GLenum zfail, GLenum zpass) {
    record("glStencilOp", fail, zfail, zpass);
}
void glBlendFunc(GLenum s, GLenum d) {
    record("glBlendFunc", s, d);
}
void glPolygonOffset(GLfloat factor, GLfloat units) {
    record("glPolygonOffset", factor, units);
}
void glFrontFace(GLenum mode) {
    record("glFrontFace", mode);
}
void glMatrixMode(GLenum mode) {
    record("glMatrixMode", mode);
}
void glLoadIdentity() {
    record("glLoadIdentity");
}
void glMultMatrixd(const GLdouble*) {
    record("glMultMatrixd");
}
void glLightModeli(GLenum name, GLint value) {
    record("glLightModeli", name, value);
}
void glLightModelfv(GLenum name, const GLfloat* v) {
    record("glLightModelfv", name, v[0], v[1], v[2], v[3]);
}
void glLightfv(GLenum light, GLenum name, const GLfloat* v) {
    if (name == GL_SPOT_DIRECTION) {
        record("glLightfv", light, name, v[0], v[1], v[2]);
    } else {
        record("glLightfv", light, name, v[0], v[1], v[2], v[3]);
    }
}
void glLightf(GLenum light, GLenum name, GLfloat value) {
    record("glLightf", light, name, value);
}
// Unlike those of OpenGL these are not declared for other modules to see.
__attribute__((visibility("default"))) GLint gl2psEnable(GLint mode) {
    record("gl2psEnable", mode);
    return 0;
}
__attribute__((visibility("default"))) GLint gl2psBlendFunc(GLenum s, GLenum d) {
    record("gl2psBlendFunc", s, d);
    return 0;
}
}

namespace {

template <class... Arguments> std::string call(const char* name, Arguments... arguments) {
    std::ostringstream text;
    text << name;
    ((text << ' ' << +arguments), ...);
    return text.str();
}

TEST_F(KivShadowsCalls, PreShadowParametersInOrder) {
    shadows.preShadowParameters();
    const std::vector<std::string> expected = {call("glDisable", GL_TEXTURE_1D),
                                               call("glEnable", GL_DEPTH_TEST),
                                               call("glDepthFunc", GL_LESS),
                                               call("glEnable", GL_STENCIL_TEST),
                                               call("glClearStencil", 100),
                                               call("glClear", GL_STENCIL_BUFFER_BIT),
                                               call("glStencilFunc", GL_ALWAYS, 100, 0xFFFFFFFFU),
                                               call("glDepthMask", 0),
                                               call("glColorMask", 0, 0, 0, 0),
                                               call("glEnable", GL_CULL_FACE)};
    EXPECT_EQ(calls, expected);
}

TEST_F(KivShadowsCalls, PostShadowParametersInOrder) {
    std::vector<std::string> expected = {call("glDisable", GL_CULL_FACE),
                                         call("glColorMask", 1, 1, 1, 1),
                                         call("glDepthMask", 0),
                                         call("glDepthFunc", GL_LEQUAL),
                                         call("glStencilFunc", GL_NOTEQUAL, 103, 0xFFFFFFFFU),
                                         call("glStencilOp", GL_KEEP, GL_KEEP, GL_KEEP),
                                         call("glBlendFunc", GL_ONE, GL_ONE),
                                         call("glEnable", GL_BLEND),
                                         call("glEnable", GL_POLYGON_OFFSET_FILL),
                                         call("glPolygonOffset", 2.0F, 4.0F)};
    shadows.postShadowParameters(2.5F, 5.0F, GL_NOTEQUAL, 3, false);
    EXPECT_EQ(calls, expected);
    calls.clear();
    shadows.postShadowParameters(2.5F, 5.0F, GL_NOTEQUAL, 3, true);
    expected.insert(expected.end(), {call("gl2psEnable", GL2PS_BLEND), call("gl2psBlendFunc", GL_ONE, GL_ONE),
                                     call("gl2psEnable", GL2PS_POLYGON_OFFSET_FILL)});
    EXPECT_EQ(calls, expected);
}

TEST_F(KivShadowsCalls, SingleTriangleHasThreeSidesOnceAndTwoCaps) {
    const KivMesh mesh = triangle();
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0, 0, 5));
    shadows.drawShadowVolume(&mesh, &light, false);
    // The state around the two passes.
    ASSERT_GT(calls.size(), 2U);
    EXPECT_EQ(calls[0], call("glFrontFace", GL_CCW));
    EXPECT_EQ(calls[1], call("glStencilOp", GL_KEEP, GL_INCR, GL_KEEP));
    EXPECT_EQ(calls.back(), call("glFrontFace", GL_CCW));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), call("glStencilOp", GL_KEEP, GL_DECR, GL_KEEP)), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), call("glFrontFace", GL_CW)), 1);

    const std::vector<Vertex> sides = primitive(GL_QUADS, 0);
    EXPECT_EQ(sides.size(), 12U);
    EXPECT_EQ(primitive(GL_QUADS, 1), sides); // the volume goes out twice
    for (std::size_t i = 0; i + 3 < sides.size(); i += 4) {
        // Two points of the mesh, then the same two moved away from the light to infinity, in reverse.
        EXPECT_EQ(sides[i].w, 1);
        EXPECT_EQ(sides[i + 1].w, 1);
        EXPECT_EQ(sides[i + 2], (Vertex{sides[i + 1].x, sides[i + 1].y, sides[i + 1].z - 5, 0}));
        EXPECT_EQ(sides[i + 3], (Vertex{sides[i].x, sides[i].y, sides[i].z - 5, 0}));
    }
    // Lit from above: the cap at the mesh is wound in reverse, the one at infinity as the triangle is. Welding sorts
    // the vertices, so the corners are compared as a set and by their turning sense.
    const std::vector<Vertex> caps = primitive(GL_TRIANGLES, 0);
    ASSERT_EQ(caps.size(), 6U);
    const auto turn = [](const Vertex& a, const Vertex& b, const Vertex& c) {
        return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    };
    EXPECT_LT(turn(caps[0], caps[1], caps[2]), 0);
    EXPECT_GT(turn(caps[3], caps[4], caps[5]), 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(caps[i].w, 1);
        EXPECT_EQ(caps[i + 3].w, 0);
    }
}

// A cancelled volume draws nothing, wherever it is cancelled; what was made of it serves no other light.
TEST_F(KivShadowsCalls, ACancelledVolumeDrawsNothingAndIsNotKept) {
    const KivMesh mesh = box();
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0.3, 0.2, 9));
    for (const bool saved : {false, true}) {
        const auto drawCancelledAt = [&](long poll) {
            PollCounter counter(poll);
            const ScopedProgress scope(counter);
            shadows.drawShadowVolume(&mesh, &light, saved);
            return counter.polls;
        };
        calls.clear();
        const long all = drawCancelledAt(PollCounter::never);
        const std::vector<std::string> whole = calls;
        ASSERT_GT(all, 10);
        for (long poll = 1; poll <= all; ++poll) {
            shadows.beginVolumes(1 << 20);
            calls.clear();
            drawCancelledAt(poll);
            EXPECT_TRUE(calls.empty()) << "poll " << poll << " of " << all;
            EXPECT_TRUE(KivTestAccess::sides(shadows).empty());
            shadows.drawShadowVolume(&mesh, &light, saved);
            EXPECT_EQ(calls, whole) << "poll " << poll << " of " << all;
            shadows.endVolumes();
        }
    }
}

TEST_F(KivShadowsCalls, SingleTriangleFromBehindHasThreeSidesAsWell) {
    const KivMesh mesh = triangle();
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0, 0, -5));
    shadows.drawShadowVolume(&mesh, &light, false);
    EXPECT_EQ(primitive(GL_QUADS, 0).size(), 12U);
}

TEST_F(KivShadowsCalls, ClosedMeshHasAClosedLoopOfSidesTwice) {
    const KivMesh mesh = box();
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0.3, 0.2, 9)); // sees the top face alone
    shadows.drawShadowVolume(&mesh, &light, false);
    const std::vector<Vertex> sides = primitive(GL_QUADS, 0);
    ASSERT_EQ(sides.size(), 4U * 4U * 2U);
    int starts[4] = {};
    int ends[4] = {};
    for (std::size_t i = 0; i < sides.size(); i += 8) {
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(sides[i + k], sides[i + 4 + k]); // each quad a second time
        }
        EXPECT_EQ(sides[i].z, 1);
        const auto corner = [](const Vertex& v) { return (v.x > 0 ? 1 : 0) + (v.y > 0 ? 2 : 0); };
        ++starts[corner(sides[i])];
        ++ends[corner(sides[i + 1])];
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(starts[i], 1);
        EXPECT_EQ(ends[i], 1);
    }
    EXPECT_EQ(primitive(GL_TRIANGLES, 0).size(), 12U * 6U);
}

TEST_F(KivShadowsCalls, WhollyLitOpenMeshIsExtrudedAtItsBorder) {
    KivMesh mesh; // a square of two triangles
    for (int i = 0; i < 4; ++i) {
        mesh.addVertex(Kiv3DPoint(i == 1 || i == 2 ? 1 : 0, i >= 2 ? 1 : 0, 0));
    }
    mesh.addQuad(0, 1, 2, 3);
    const KivLight light = lightAt(KivLight::directionalLight, Kiv3DPoint(0, 0, 100));
    shadows.drawShadowVolume(&mesh, &light, false);
    EXPECT_EQ(primitive(GL_QUADS, 0).size(), 4U * 4U); // four borders, once each, and nothing for the diagonal
}

TEST_F(KivShadowsCalls, DirectionalLightExtrudesFromItsLocation) {
    const KivMesh mesh = triangle();
    const KivLight light = lightAt(KivLight::directionalLight, Kiv3DPoint(0, 0, 0), Kiv3DVector(1, 2, -3));
    shadows.drawShadowVolume(&mesh, &light, false);
    for (const Vertex& v : primitive(GL_QUADS, 0)) {
        EXPECT_EQ(v.z, 0); // radially from the origin, in the triangle's own plane, not along the direction
    }
}

TEST_F(KivShadowsCalls, LightOfNoKnownStyleLightsNothingYetBordersAreExtruded) {
    const KivLight light = lightAt(static_cast<KivLight::lightStyle>(0), Kiv3DPoint(0, 0, 5));
    const KivMesh closed = box();
    for (int t = 0; t < 12; ++t) {
        EXPECT_FALSE(shadows.isTriangleLightened(t, &light, &closed));
    }
    shadows.drawShadowVolume(&closed, &light, false);
    EXPECT_TRUE(primitive(GL_QUADS, 0).empty());
    calls.clear();
    const KivMesh open = triangle();
    shadows.drawShadowVolume(&open, &light, false);
    EXPECT_EQ(primitive(GL_QUADS, 0).size(), 12U);
}

TEST_F(KivShadowsCalls, DegenerateTriangleIsNotLit) {
    KivMesh mesh;
    for (int i = 0; i < 3; ++i) {
        mesh.addVertex(Kiv3DPoint(i, 0, 0));
    }
    mesh.addTriangle(0, 1, 2);
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0, 0, 5));
    EXPECT_FALSE(shadows.isTriangleLightened(0, &light, &mesh));
}

TEST_F(KivShadowsCalls, GrazingLightCountsAsLit) {
    const KivMesh mesh = triangle();
    const KivLight light = lightAt(KivLight::directionalLight, Kiv3DPoint(), Kiv3DVector(1, 0, 0));
    EXPECT_TRUE(shadows.isTriangleLightened(0, &light, &mesh));
}

TEST_F(KivShadowsCalls, CappedIsHonouredByTheStoredFormAlone) {
    KivMesh mesh = triangle();
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0, 0, 5));
    std::vector<KivEdgesExtraction::edgeInfo> edges;
    shadows.createSilhouette(&mesh, &light, edges);
    shadows.castShadowVolume(edges, false, &mesh, &light);
    EXPECT_EQ(primitive(GL_TRIANGLES, 0).size(), 6U);
    shadows.saveShadowVolume(edges, false, &mesh, &light);
    EXPECT_EQ(KivTestAccess::sides(shadows).size(), 12U);
    EXPECT_TRUE(KivTestAccess::frontCaps(shadows).empty());
    EXPECT_TRUE(KivTestAccess::backCaps(shadows).empty());
}

TEST_F(KivShadowsCalls, StoredFormTakesTheLocationInSinglePrecisionAndMovesTheCaps) {
    KivMesh mesh = triangle();
    const double fine = 0.1; // no single-precision number
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(fine, 0, 5));
    std::vector<KivEdgesExtraction::edgeInfo> edges;
    shadows.createSilhouette(&mesh, &light, edges);
    shadows.saveShadowVolume(edges, true, &mesh, &light);
    const auto& front = KivTestAccess::frontCaps(shadows);
    const auto& back = KivTestAccess::backCaps(shadows);
    ASSERT_EQ(front.size(), 3U);
    ASSERT_EQ(back.size(), 3U);
    EXPECT_TRUE(front[0] == Kiv3DPoint(0, 1, -0.0001));
    EXPECT_TRUE(front[2] == Kiv3DPoint(0, 0, -0.0001));
    EXPECT_EQ(back[0].x, 0 - static_cast<double>(static_cast<float>(fine)));
    EXPECT_EQ(back[1].x, 1 - static_cast<double>(static_cast<float>(fine)));
}

// The stored form as it is defined, with its light rounded through memory, over meshes of loose and shared corners and
// lights that no coordinate of single precision holds. Optimisers have dropped the rounding of some coordinates, and of
// those only where neighbours are rounded alike.
class StoredVolume {
public:
    StoredVolume(KivShadows& shadows, const std::vector<KivEdgesExtraction::edgeInfo>& edges, const KivMesh& mesh,
                 const KivLight& light) {
        const Kiv3DPoint location = light.getLocation();
        volatile float rounded[3] = {};
        rounded[0] = static_cast<float>(location.x);
        rounded[1] = static_cast<float>(location.y);
        rounded[2] = static_cast<float>(location.z);
        const auto away = [&](const Kiv3DPoint& p) {
            return Kiv3DPoint(p.x - rounded[0], p.y - rounded[1], p.z - rounded[2]);
        };
        for (const auto& edge : edges) {
            const Kiv3DPoint p0 = mesh.getVertex(static_cast<unsigned int>(edge.vertex0));
            const Kiv3DPoint p1 = mesh.getVertex(static_cast<unsigned int>(edge.vertex1));
            if (edge.lightened0 && !edge.lightened1) {
                sides.insert(sides.end(), {p0, p1, away(p1), away(p0)});
            } else if (edge.lightened1 && !edge.lightened0) {
                sides.insert(sides.end(), {p1, p0, away(p0), away(p1)});
            }
        }
        for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
            if (shadows.isTriangleLightened(static_cast<int>(t), &light, &mesh)) {
                Kiv3DPoint p[3];
                mesh.getTriangle(p, t);
                Kiv3DVector offset = mesh.getTriangleNormal(t);
                offset.normalice();
                offset = offset * -0.0001;
                frontCaps.insert(frontCaps.end(), {p[2] + offset, p[1] + offset, p[0] + offset});
                backCaps.insert(backCaps.end(), {away(p[0]), away(p[1]), away(p[2])});
            }
        }
    }

    std::vector<Kiv3DPoint> sides;
    std::vector<Kiv3DPoint> frontCaps;
    std::vector<Kiv3DPoint> backCaps;
};

bool areEqual(const std::vector<Kiv3DPoint>& a, const std::vector<Kiv3DPoint>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Kiv3DPoint& p, const Kiv3DPoint& q) { return p.x == q.x && p.y == q.y && p.z == q.z; });
}

TEST_F(KivShadowsCalls, StoredVolumesAreThoseOfTheDefinition) {
    RawRandom random(7);
    const auto anywhere = [&random] {
        const double x = random.between(-2, 2);
        const double y = random.between(-2, 2);
        return Kiv3DPoint(x, y, random.between(-2, 2));
    };
    for (int round = 0; round < 2000; ++round) {
        KivMesh mesh;
        const unsigned int corners = 3 + random.below(8);
        for (unsigned int i = 0; i < corners; ++i) {
            mesh.addVertex(anywhere());
        }
        for (unsigned int t = 0; t <= random.below(12); ++t) {
            mesh.addTriangle(random.below(corners), random.below(corners), random.below(corners));
        }
        const KivLight light = lightAt(KivLight::pointLight, anywhere());
        std::vector<KivEdgesExtraction::edgeInfo> edges;
        KivShadows engine;
        engine.createSilhouette(&mesh, &light, edges);
        engine.saveShadowVolume(edges, true, &mesh, &light);
        const StoredVolume expected(engine, edges, mesh, light);
        ASSERT_TRUE(areEqual(KivTestAccess::sides(engine), expected.sides)) << "round " << round;
        ASSERT_TRUE(areEqual(KivTestAccess::frontCaps(engine), expected.frontCaps)) << "round " << round;
        ASSERT_TRUE(areEqual(KivTestAccess::backCaps(engine), expected.backCaps)) << "round " << round;
    }
}

TEST_F(KivShadowsCalls, StoredVolumeGoesOutTwiceAndIsForgotten) {
    const KivMesh mesh = box();
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0.3, 0.2, 9));
    shadows.drawShadowVolume(&mesh, &light, true);
    const std::vector<Vertex> sides = primitive(GL_QUADS, 0);
    EXPECT_EQ(sides.size(), 4U * 4U); // no doubling in this form
    EXPECT_EQ(primitive(GL_QUADS, 1), sides);
    for (std::size_t i = 0; i < sides.size(); ++i) {
        EXPECT_EQ(sides[i].w, i % 4 < 2 ? 1.0 : 0.0) << "two points of the mesh, two directions";
        EXPECT_EQ(sides[i].z, i % 4 < 2 ? 1.0 : -8.0);
    }
    const std::vector<Vertex> caps = primitive(GL_TRIANGLES, 0);
    for (std::size_t i = 0; i < caps.size(); ++i) {
        EXPECT_EQ(caps[i].w, i < 6 ? 1.0 : 0.0) << "all caps at the mesh, then all at infinity";
    }
    EXPECT_EQ(primitive(GL_TRIANGLES, 1), caps);
    EXPECT_EQ(primitive(GL_TRIANGLES, 0).size(), 2U * 6U); // the two lit triangles, at the mesh and at infinity
    EXPECT_TRUE(KivTestAccess::sides(shadows).empty());
    EXPECT_TRUE(KivTestAccess::frontCaps(shadows).empty());
    EXPECT_TRUE(KivTestAccess::backCaps(shadows).empty());
}

TEST_F(KivShadowsCalls, KeptVolumesDrawTheSame) {
    const KivMesh mesh = box();
    const KivLight first = lightAt(KivLight::pointLight, Kiv3DPoint(0.3, 0.2, 9));
    const KivLight second = lightAt(KivLight::pointLight, Kiv3DPoint(-7, 4, 3));
    const auto drawBoth = [&] {
        calls.clear();
        for (const KivLight* light : {&first, &second, &first}) {
            shadows.drawShadowVolume(&mesh, light, false);
        }
        return calls;
    };
    const auto plain = drawBoth();
    shadows.beginVolumes(1 << 20);
    EXPECT_EQ(drawBoth(), plain);
    shadows.beginVolumes(10); // no room for anything
    EXPECT_EQ(drawBoth(), plain);
    shadows.endVolumes();
    EXPECT_EQ(drawBoth(), plain);
}

// A large mesh goes out from arrays: the same corners in the same order as by calls, in the single precision that
// OpenGL brings either to.
TEST_F(KivShadowsCalls, LargeMeshesDrawTheSameCornersFromArrays) {
    for (const bool open : {true, false}) {
        const std::unique_ptr<KivMesh> mesh = gridMesh(4000);
        if (!open) { // a back of its own: every edge has two triangles or more
            const unsigned int count = mesh->getNumTriangles();
            for (unsigned int t = 0; t < count; ++t) {
                unsigned int c[3];
                mesh->getTriangle(c, t);
                mesh->addTriangle(c[0], c[2], c[1]);
            }
        }
        for (const KivLight& light :
             {lightAt(KivLight::pointLight, Kiv3DPoint(0.11, 0.2, 1.3)),
              lightAt(KivLight::directionalLight, Kiv3DPoint(50, 20, 30), Kiv3DVector(-5, -2, -1))}) {
            calls.clear();
            drawnFromArrays.clear();
            shadows.drawShadowVolume(mesh.get(), &light, false);
            EXPECT_EQ(calls, (std::vector<std::string>{
                                 call("glFrontFace", GL_CCW), call("glStencilOp", GL_KEEP, GL_INCR, GL_KEEP),
                                 "glPushClientAttrib", call("glDrawElements", GL_QUADS),
                                 call("glDrawElements", GL_TRIANGLES), "glPopClientAttrib", call("glFrontFace", GL_CW),
                                 call("glStencilOp", GL_KEEP, GL_DECR, GL_KEEP), "glPushClientAttrib",
                                 call("glDrawElements", GL_QUADS), call("glDrawElements", GL_TRIANGLES),
                                 "glPopClientAttrib", call("glFrontFace", GL_CCW)}));
            ASSERT_EQ(drawnFromArrays.size(), 4U);
            exact.clear();
            isExact = true;
            KivMesh welded;
            welded.copyMeshCompacted(*mesh);
            std::vector<KivEdgesExtraction::edgeInfo> edges;
            shadows.createSilhouette(&welded, &light, edges);
            shadows.castShadowVolume(edges, true, &welded, &light);
            isExact = false;
            std::vector<Vertex> fromArrays = drawnFromArrays[0].corners;
            EXPECT_GT(fromArrays.size(), 100U);
            fromArrays.insert(fromArrays.end(), drawnFromArrays[1].corners.begin(), drawnFromArrays[1].corners.end());
            EXPECT_TRUE(fromArrays == exact);
            EXPECT_TRUE(drawnFromArrays[2].corners == drawnFromArrays[0].corners);
            EXPECT_TRUE(drawnFromArrays[3].corners == drawnFromArrays[1].corners);
        }
    }
}

// A volume of many triangles goes out in pieces, so that a cancel is answered between two of them.
TEST_F(KivShadowsCalls, LargeVolumesGoOutInPieces) {
    const std::unique_ptr<KivMesh> mesh = gridMesh(60000);
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0.11, 0.2, 0.3)); // in a hollow
    shadows.beginVolumes(std::size_t{1} << 30);
    drawnFromArrays.clear();
    PollCounter counter;
    {
        const ScopedProgress scope(counter);
        shadows.drawShadowVolume(mesh.get(), &light, false);
    }
    ASSERT_GT(drawnFromArrays.size(), 8U);
    std::size_t corners[2] = {};
    for (const Drawn& drawn : drawnFromArrays) {
        EXPECT_LE(drawn.corners.size(), 49152U);
        corners[drawn.mode == GL_QUADS ? 0 : 1] += drawn.corners.size();
    }
    EXPECT_EQ(corners[0] % 8, 0U);
    EXPECT_GT(corners[0], 0U);
    EXPECT_EQ(corners[1], std::size_t{2 * 6} * mesh->getNumTriangles()) << "up and down";

    // From here on the mesh is welded already: the polls are those of this light alone.
    const std::size_t pieces = drawnFromArrays.size();
    PollCounter later;
    {
        const ScopedProgress scope(later);
        shadows.drawShadowVolume(mesh.get(), &light, false);
    }
    ASSERT_EQ(drawnFromArrays.size(), 2 * pieces);
    std::size_t drawnBefore = 0;
    for (long poll = later.polls - static_cast<long>(pieces); poll <= later.polls; ++poll) {
        drawnFromArrays.clear();
        PollCounter cancel(poll);
        const ScopedProgress scope(cancel);
        shadows.drawShadowVolume(mesh.get(), &light, false);
        EXPECT_GE(drawnFromArrays.size(), drawnBefore);
        EXPECT_LT(drawnFromArrays.size(), pieces);
        EXPECT_EQ(calls.back(), call("glFrontFace", GL_CCW)) << "the state is left as always";
        drawnBefore = drawnFromArrays.size();
    }
    EXPECT_GT(drawnBefore, pieces / 2);
    shadows.endVolumes();
}

TEST_F(KivShadowsCalls, EachEdgeOfASilhouetteAsksForACancel) {
    KivMesh mesh;
    mesh.copyMeshCompacted(box());
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0.3, 0.2, 9));
    std::vector<KivEdgesExtraction::edgeInfo> edges;
    PollCounter counter;
    {
        const ScopedProgress scope(counter);
        shadows.createSilhouette(&mesh, &light, edges);
    }
    EXPECT_EQ(counter.polls, 1 + 18);
    for (long poll = 2; poll <= counter.polls; ++poll) {
        std::vector<KivEdgesExtraction::edgeInfo> partly;
        PollCounter cancel(poll);
        const ScopedProgress scope(cancel);
        shadows.createSilhouette(&mesh, &light, partly);
        ASSERT_EQ(partly.size(), 18U);
        EXPECT_EQ(cancel.polls, poll);
        for (std::size_t i = 0; i < partly.size(); ++i) {
            const bool isReached = static_cast<long>(i) < poll - 2;
            EXPECT_EQ(partly[i].lightened0, isReached && edges[i].lightened0);
            EXPECT_EQ(partly[i].lightened1, isReached && edges[i].lightened1);
        }
    }
}

// What a cancel interrupts is not kept for the next light.
TEST_F(KivShadowsCalls, ACancelledVolumeIsNotKept) {
    const KivMesh mesh = box();
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0.3, 0.2, 9));
    shadows.drawShadowVolume(&mesh, &light, false);
    const auto expected = calls;
    PollCounter counter;
    {
        const ScopedProgress scope(counter);
        shadows.drawShadowVolume(&mesh, &light, false);
    }
    shadows.beginVolumes(1 << 20);
    for (long poll = 1; poll <= counter.polls; ++poll) {
        {
            calls.clear();
            PollCounter cancel(poll);
            const ScopedProgress scope(cancel);
            shadows.drawShadowVolume(&mesh, &light, false);
            EXPECT_TRUE(calls.empty()) << "nothing is drawn of a volume that is not whole";
        }
        KivShadows copy(shadows);
        copy.drawShadowVolume(&mesh, &light, false);
        EXPECT_EQ(calls, expected) << poll;
        shadows.beginVolumes(1 << 20);
    }
    shadows.endVolumes();
}

TEST_F(KivShadowsCalls, AsksForACancelByCost) {
    const std::unique_ptr<KivMesh> ball = bumpyBall(500000);
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(3, 6, 2));
    keepsCorners = false;
    shadows.beginVolumes(std::size_t{1} << 30);
    shadows.drawShadowVolume(ball.get(), &light, false);
    PollCost::expectAllowed([&] { shadows.drawShadowVolume(ball.get(), &light, false); });
    shadows.endVolumes();
    keepsCorners = true;
}

TEST_F(KivShadowsCalls, InfiniteFrustumPerspective) {
    KivCamera camera;
    camera.setFrustumLeft(-2);
    camera.setFrustumRight(4);
    camera.setFrustumBottom(-1);
    camera.setFrustumTop(3);
    camera.setFrustumNear(5);
    camera.setFrustumFar(7);
    double m[16];
    KivTestAccess::infiniteFrustum(shadows, camera, m);
    const double k = 0.9999999701976776;
    const double expected[16] = {10.0 / 6, 0, 0, 0, 0, 2.5, 0, 0, 2.0 / 6, 0.5, -k, -1, 0, 0, 5 * (k - 2), 0};
    for (int i = 0; i < 16; ++i) {
        EXPECT_DOUBLE_EQ(m[i], expected[i]) << i;
    }
    camera.setProjection(KivCamera::orthographic);
    KivTestAccess::infiniteFrustum(shadows, camera, m);
    const double e = 2.9802322387695312e-08;
    const double parallel[16] = {2.0 / 6, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, -e, 0, -2.0 / 6, -0.5, e - 1, 1};
    for (int i = 0; i < 16; ++i) {
        EXPECT_DOUBLE_EQ(m[i], parallel[i]) << i;
    }
}

// A parallel view with a place for what lies at infinity: the picture is that of glOrtho, the near plane has the least
// depth, depth grows without end, and every direction away from the eye has depth 1 within the clip volume.
TEST_F(KivShadowsCalls, ParallelViewsHaveAPlaceForInfinity) {
    KivCamera camera;
    camera.setProjection(KivCamera::orthographic);
    camera.setFrustumLeft(-2);
    camera.setFrustumRight(4);
    camera.setFrustumBottom(-1);
    camera.setFrustumTop(3);
    for (const double near : {-6.0, 0.0, 5.0}) {
        camera.setFrustumNear(near);
        camera.setFrustumFar(near + 10.0);
        for (const bool fromZero : {true, false}) {
            double m[16];
            KivTestAccess::parallelToInfinity(shadows, camera, fromZero, m);
            const auto clip = [&m](double x, double y, double z, double w, int row) {
                return m[row] * x + m[4 + row] * y + m[8 + row] * z + m[12 + row] * w;
            };
            const double least = fromZero ? 0.0 : -1.0;
            const double bend = fromZero ? 2e-5 : 4e-4;
            double last = least - 1e-12;
            for (const double depth : {0.0, 0.001, 1.0, 9.0, 10.0, 1000.0}) {
                const double z = -(near + depth);
                const double w = clip(3, 2, z, 1, 3);
                ASSERT_GT(w, 0.0);
                if (depth <= 10.0) {
                    EXPECT_NEAR(clip(3, 2, z, 1, 0) / w, (3 - 1) / 3.0, bend);
                    EXPECT_NEAR(clip(3, 2, z, 1, 1) / w, (2 - 1) / 2.0, bend);
                }
                const double ndc = clip(3, 2, z, 1, 2) / w;
                EXPECT_GT(ndc, last);
                last = ndc;
            }
            EXPECT_NEAR(clip(0, 0, -near, 1, 2) / clip(0, 0, -near, 1, 3), least, 1e-12);
            const double w = clip(0.3, -0.4, -1, 0, 3);
            EXPECT_GT(w, 0.0);
            EXPECT_LE(clip(0.3, -0.4, -1, 0, 2), w);
            EXPECT_NEAR(clip(0.3, -0.4, -1, 0, 2) / w, 1.0, 1e-7);
        }
    }
}

// A mesh that is kept asks no more questions for its weld; one for which there is no room asks them again.
TEST_F(KivShadowsCalls, NoMoreVolumesAreKeptThanThereIsRoomFor) {
    const KivMesh mesh = box();
    const KivLight light = lightAt(KivLight::pointLight, Kiv3DPoint(0.3, 0.2, 9));
    const auto pollsOfTheSecondLight = [&](std::size_t budget) {
        shadows.beginVolumes(budget);
        shadows.drawShadowVolume(&mesh, &light, false);
        PollCounter counter;
        const ScopedProgress scope(counter);
        shadows.drawShadowVolume(&mesh, &light, false);
        shadows.endVolumes();
        return counter.polls;
    };
    const long kept = pollsOfTheSecondLight(1 << 20);
    EXPECT_EQ(pollsOfTheSecondLight(10), kept + 12 + 1 + 1 + 35 + 3) << "the weld's, the edges', and two in between";
    EXPECT_EQ(pollsOfTheSecondLight(0), pollsOfTheSecondLight(10));
}

TEST_F(KivShadowsCalls, TheSceneBoxHoldsAllMeshes) {
    KivScene scene;
    for (const Kiv3DVector& way : {Kiv3DVector(3, -5, 7), Kiv3DVector(-4, 6, -2), Kiv3DVector()}) {
        auto* mesh = new KivMesh(box());
        auto* moved = new KivMesh;
        for (unsigned int i = 0; i < mesh->getNumVertexs(); ++i) {
            moved->addVertex(mesh->getVertex(i) + way);
        }
        delete mesh;
        scene.addMesh(moved);
    }
    shadows.setInfinitePerspective(KivCamera(), &scene);
    const KivBox& all = KivTestAccess::sceneBox(shadows);
    EXPECT_EQ(all.getXMin(), -5.0);
    EXPECT_EQ(all.getXMax(), 4.0);
    EXPECT_EQ(all.getYMin(), -6.0);
    EXPECT_EQ(all.getYMax(), 7.0);
    EXPECT_EQ(all.getZMin(), -3.0);
    EXPECT_EQ(all.getZMax(), 8.0);
}

TEST_F(KivShadowsCalls, EmptySceneLeavesTheBoxAtInfinity) {
    KivScene scene;
    KivCamera camera;
    camera.setFrustumLeft(-1);
    camera.setFrustumRight(1);
    camera.setFrustumBottom(-1);
    camera.setFrustumTop(1);
    camera.setFrustumNear(1);
    shadows.setInfinitePerspective(camera, &scene);
    const KivBox& box = KivTestAccess::sceneBox(shadows);
    EXPECT_EQ(box.getXMin(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(box.getZMax(), -std::numeric_limits<double>::infinity());
    const std::vector<std::string> expected = {call("glMatrixMode", GL_PROJECTION), "glLoadIdentity", "glMultMatrixd"};
    EXPECT_EQ(calls, expected);
}

// What a byte holds above 100 is 155 lights; further ones must not turn the shadow into light.
TEST_F(KivShadowsCalls, MoreLightsThanAByteHoldsStayAtItsEnd) {
    for (const auto& [lights, sum] : {std::pair{1, 101}, {154, 254}, {155, 255}, {156, 255}, {255, 255}, {400, 255}}) {
        shadows.createInitialStencilBuffer({1, 1});
        for (int i = 0; i < lights; ++i) {
            shadows.addCurrentStencil({1, 1});
        }
        calls.clear();
        shadows.saveAndDestroyStencilBuffer({1, 1});
        EXPECT_EQ(calls, (std::vector<std::string>{
                             call("glPixelStorei", GL_PACK_ALIGNMENT, 1), call("glPixelStorei", GL_UNPACK_ALIGNMENT, 1),
                             call("glDrawPixels", sum), call("glPixelStorei", GL_PACK_ALIGNMENT, 4),
                             call("glPixelStorei", GL_UNPACK_ALIGNMENT, 4)}))
            << lights;
        calls.clear();
        shadows.saveAndDestroyStencilBuffer({1, 1});
        EXPECT_TRUE(calls.empty()) << "the sum is gone once it was written";
    }
}

TEST_F(KivShadowsCalls, OnlyAmbientLight) {
    KivScene scene;
    KivLight light;
    scene.addLight(light);
    scene.addLight(light);
    KivCommonSettings settings;
    settings.setAmbientLight(0x0000FF | 0x330000); // full red, a fifth of blue
    shadows.setOnlyAmbientLight(&settings, &scene);
    const std::vector<std::string> expected = {call("glLightModeli", GL_LIGHT_MODEL_LOCAL_VIEWER, 1),
                                               call("glLightModeli", GL_LIGHT_MODEL_TWO_SIDE, 0),
                                               call("glLightModelfv", GL_LIGHT_MODEL_AMBIENT, 1.0F, 0.0F, 0.2F, 1.0F),
                                               call("glDisable", GL_LIGHT0), call("glDisable", GL_LIGHT1)};
    EXPECT_EQ(calls, expected);
}

TEST_F(KivShadowsCalls, OnlyOneLight) {
    KivScene scene;
    KivLight spot = lightAt(KivLight::spotLight, Kiv3DPoint(1, 2, 3), Kiv3DVector(0, 0, -1));
    spot.setDiffuse(0xFFFFFF);
    spot.setSpotAngle(30);
    spot.setSpotexponent(4);
    spot.setAttenuation(Kiv3DVector(1, 0.5, 0.25));
    KivLight sun = lightAt(KivLight::directionalLight, Kiv3DPoint(), Kiv3DVector(1, 2, -3));
    scene.addLight(spot);
    scene.addLight(sun);
    KivCommonSettings settings;
    shadows.setOnlyOtherLight(&settings, &scene, 0);
    const std::vector<std::string> forSpot = {call("glLightModelfv", GL_LIGHT_MODEL_AMBIENT, 0.0F, 0.0F, 0.0F, 1.0F),
                                              call("glEnable", GL_LIGHT0),
                                              call("glLightfv", GL_LIGHT0, GL_DIFFUSE, 1.0F, 1.0F, 1.0F, 1.0F),
                                              call("glLightfv", GL_LIGHT0, GL_SPECULAR, 0.0F, 0.0F, 0.0F, 1.0F),
                                              call("glLightfv", GL_LIGHT0, GL_POSITION, 1.0F, 2.0F, 3.0F, 1.0F),
                                              call("glLightfv", GL_LIGHT0, GL_SPOT_DIRECTION, 0.0F, 0.0F, -1.0F),
                                              call("glLightf", GL_LIGHT0, GL_SPOT_EXPONENT, 4.0F),
                                              call("glLightf", GL_LIGHT0, GL_SPOT_CUTOFF, 30.0F),
                                              call("glLightf", GL_LIGHT0, GL_CONSTANT_ATTENUATION, 1.0F),
                                              call("glLightf", GL_LIGHT0, GL_LINEAR_ATTENUATION, 0.5F),
                                              call("glLightf", GL_LIGHT0, GL_QUADRATIC_ATTENUATION, 0.25F)};
    EXPECT_EQ(calls, forSpot);
    calls.clear();
    shadows.setOnlyOtherLight(&settings, &scene, 1);
    EXPECT_EQ(calls.back(), call("glLightfv", GL_LIGHT1, GL_POSITION, -1.0F, -2.0F, 3.0F, 0.0F));
    calls.clear();
    settings.setVectorial(true);
    shadows.setOnlyOtherLight(&settings, &scene, 0);
    EXPECT_TRUE(calls.empty());
}

} // namespace
