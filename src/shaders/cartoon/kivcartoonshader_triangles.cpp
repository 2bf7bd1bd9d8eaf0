// Transparent triangles.
#define GL_GLEXT_PROTOTYPES
#include "kivcartoontriangles.h"
#include "kivglstate.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/shader/kivdrawing.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cstddef>

namespace {

// The stencil counts lights lost from here.
constexpr int stencilBase = 100;
// So many triangles are drawn together at most: enough to hide what a draw call costs, few enough for the growing
// picture to follow.
constexpr std::size_t mostTriangles = 4096;
// The atlases hold so many materials at most.
constexpr std::size_t mostRows = 1024;

KivVec vecOf(const Kiv3DVector& v) {
    return {v.x, v.y, v.z};
}

// Appends a triangle with corners of its own to a model.
void append(KivShadedMesh& model, const Kiv3DPoint* points, const Kiv3DVector* normals, bool hasNormals) {
    const KivVec face = kivUnit(vecOf((points[1] - points[0]) * (points[2] - points[0])));
    const auto first = static_cast<std::uint32_t>(model.points.size());
    KivVec sum;
    for (int k = 0; k < 3; ++k) {
        model.points.push_back({points[k].x, points[k].y, points[k].z});
        const KivVec normal = hasNormals ? kivUnit(vecOf(normals[k])) : face;
        model.normals.push_back(kivDot(normal, normal) > 0.0 ? normal : face);
        sum = sum + model.normals.back();
    }
    model.triangles.push_back({first, first + 1, first + 2});
    model.windings.push_back(kivDot(face, sum) < 0.0 ? -1 : 1);
}

double alphaOf(const KivMesh& mesh) {
    return std::clamp(mesh.getMaterial()->getTransparency(), 0.0, 1.0);
}

void setTexture(GLenum unit, GLuint texture, GLint mode, const float* coordinates, GLsizei stride) {
    glActiveTexture(unit);
    glBindTexture(GL_TEXTURE_2D, texture);
    glDisable(GL_TEXTURE_1D);
    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, mode);
    glClientActiveTexture(unit);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(2, GL_FLOAT, stride, coordinates);
}

// Lets through the pixels that lost exactly so many lights; of all of them, or more.
void testLost(int lost, int most) {
    if (lost == 0) {
        glStencilFunc(GL_GEQUAL, stencilBase, ~0U);
    } else {
        glStencilFunc(lost == most ? GL_LEQUAL : GL_EQUAL, stencilBase + lost, ~0U);
    }
}

} // namespace

KivCartoonShader::Triangles::Triangles(KivCartoonShader& owner) : shader(owner) {}

KivCartoonShader::Triangles::~Triangles() {
    deleteObjects();
}

void KivCartoonShader::Triangles::forget() {
    buffers[0] = buffers[1] = 0;
    for (Atlas& atlas : ramps) {
        atlas.texture = 0;
    }
    highlights.texture = dimmedHighlights.texture = 0;
}

void KivCartoonShader::Triangles::deleteObjects() {
    if (buffers[0] != 0) {
        glDeleteBuffers(2, buffers);
    }
    for (Atlas& atlas : ramps) {
        if (atlas.texture != 0) {
            glDeleteTextures(1, &atlas.texture);
        }
    }
    for (const Atlas* atlas : {&highlights, &dimmedHighlights}) {
        if (atlas->texture != 0) {
            glDeleteTextures(1, &atlas->texture);
        }
    }
    forget();
}

void KivCartoonShader::Triangles::startOver(int numLights) {
    flush();
    deleteObjects();
    lightsLost = numLights;
    kinds.clear();
    colors.clear();
    ramps.assign(static_cast<std::size_t>(std::max(numLights, 0)) + 1, Atlas());
    highlights = Atlas();
    dimmedHighlights = Atlas();
}

void KivCartoonShader::Triangles::add(const Kiv3DPoint* points, const Kiv3DVector* normals, const KivMesh& mesh,
                                      const KivScene& litScene, const KivCommonSettings& common, int numLights) {
    if (ramps.empty() || numLights != lightsLost || (colors.size() >= mostRows && kinds.count(&mesh) == 0)) {
        startOver(numLights);
    }
    scene = &litScene;
    settings = &common;
    if (&mesh != groupMesh) {
        closeGroup();
        groupMesh = &mesh;
        groupKind = &kindOf(mesh, common);
    }
    append(group, points, normals, mesh.hasNormals());
    if (indices.size() / 3 + group.triangles.size() >= mostTriangles) {
        flush();
    }
}

const KivCartoonShader::Triangles::Kind& KivCartoonShader::Triangles::kindOf(const KivMesh& mesh,
                                                                             const KivCommonSettings& common) {
    const auto found = kinds.find(&mesh);
    if (found != kinds.end()) {
        return found->second;
    }
    const KivCartoonLook look = shader.lookOf(mesh);
    KivCartoonColors of = shader.colorsOf(mesh, look, common);
    of.alpha = alphaOf(mesh);
    return kinds.emplace(&mesh, Kind{look, rowOf(of)}).first->second;
}

std::size_t KivCartoonShader::Triangles::rowOf(const KivCartoonColors& of) {
    const auto known = std::find(colors.begin(), colors.end(), of);
    if (known != colors.end()) {
        return static_cast<std::size_t>(known - colors.begin());
    }
    // Every ramp twice, so that a lookup between the two meets one and the same ramp however it is rounded.
    const auto addRow = [](Atlas& atlas, const std::vector<KivRampEntry>& ramp) {
        for (int i = 0; i < 2; ++i) {
            atlas.entries.insert(atlas.entries.end(), ramp.begin(), ramp.end());
        }
        atlas.isLoaded = false;
    };
    const int parts = std::max(lightsLost, 1);
    for (std::size_t lost = 0; lost < ramps.size(); ++lost) {
        addRow(ramps[lost], kivCartoonRamp(of, KivCartoonLayer::dimmed, {parts, static_cast<int>(lost)}));
    }
    addRow(highlights, kivHighlightRamp(of));
    KivCartoonColors dimmed = of;
    dimmed.highlightStrength *= 1.0 - of.paint.castStrength;
    addRow(dimmedHighlights, kivHighlightRamp(dimmed));
    colors.push_back(of);
    return colors.size() - 1;
}

// Lights the triangles of one mesh.
void KivCartoonShader::Triangles::closeGroup() {
    if (!group.triangles.empty()) {
        shader.buildBatch(group, *groupMesh, groupKind->look, *settings, *scene, batch, Division::inOrder);
        const auto firstVertex = static_cast<std::uint32_t>(vertices.size());
        const std::size_t firstIndex = indices.size();
        const auto row = static_cast<float>(groupKind->row);
        for (const KivCartoonVertex& v : batch.vertices) {
            vertices.push_back({v.x, v.y, v.z, v.light, row, v.shine, row});
        }
        for (const std::uint32_t index : batch.front) {
            indices.push_back(firstVertex + index);
        }
        for (const KivCartoonRun& run : batch.runs) {
            if (runs.empty() || runs.back().isFront != run.isFront) {
                runs.push_back(run);
            }
            runs.back().end = firstIndex + run.end;
        }
        group.points.clear();
        group.normals.clear();
        group.triangles.clear();
        group.windings.clear();
    }
    groupMesh = nullptr;
}

void KivCartoonShader::Triangles::load(Atlas& atlas) {
    if (atlas.texture == 0) {
        glGenTextures(1, &atlas.texture);
    }
    glBindTexture(GL_TEXTURE_2D, atlas.texture);
    if (atlas.isLoaded) {
        return;
    }
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, kivRampEntries,
                 static_cast<GLsizei>(atlas.entries.size() / kivRampEntries), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 atlas.entries.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    atlas.isLoaded = true;
}

void KivCartoonShader::Triangles::flush() {
    closeGroup();
    if (!indices.empty()) {
        const KivGlState state;
        glDisable(GL_LIGHTING);
        glDisable(GL_CULL_FACE);
        glShadeModel(GL_SMOOTH);
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        // The shadows on transparent surfaces leave a depth test that passes everything.
        glDepthFunc(GL_LEQUAL);
        // From the number of a row to the border between its two copies.
        for (Vertex& v : vertices) {
            v.lightRow = v.shineRow = (v.lightRow * 2.0F + 1.0F) / static_cast<float>(colors.size() * 2);
        }
        if (buffers[0] == 0) {
            glGenBuffers(2, buffers);
        }
        glBindBuffer(GL_ARRAY_BUFFER, buffers[0]);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size() * sizeof(Vertex)), vertices.data(),
                     GL_STREAM_DRAW);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers[1]);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indices.size() * sizeof(std::uint32_t)),
                     indices.data(), GL_STREAM_DRAW);
        for (int level = 0; level <= std::max(lightsLost, 0); ++level) {
            drawLevel(level);
        }
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    }
    vertices.clear();
    indices.clear();
    runs.clear();
}

// The places where so many lights are lost.
void KivCartoonShader::Triangles::drawLevel(int level) {
    if (lightsLost > 0) {
        glEnable(GL_STENCIL_TEST);
        testLost(level, lightsLost);
    } else {
        glDisable(GL_STENCIL_TEST);
    }
    Atlas& ramp = ramps[static_cast<std::size_t>(level)];
    Atlas& highlight = level == 0 ? highlights : dimmedHighlights;
    glActiveTexture(GL_TEXTURE0);
    load(ramp);
    load(highlight);
    glEnableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
    constexpr GLsizei stride = sizeof(Vertex);
    const auto at = [](std::size_t offset) { return reinterpret_cast<const float*>(offset); };
    glVertexPointer(3, GL_FLOAT, stride, at(offsetof(Vertex, x)));
    setTexture(GL_TEXTURE0, ramp.texture, GL_REPLACE, at(offsetof(Vertex, light)), stride);
    setTexture(GL_TEXTURE1, highlight.texture, GL_DECAL, at(offsetof(Vertex, shine)), stride);
    drawRuns();
}

// Front and back with their own polygon offsets, as all surfaces: what lies on an opaque surface and faces it must not
// show in specks.
void KivCartoonShader::Triangles::drawRuns() const {
    GLfloat factor = 0.0F;
    GLfloat units = 0.0F;
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
    std::size_t start = 0;
    for (const KivCartoonRun& run : runs) {
        const float times = run.isFront ? 1.0F : 2.0F;
        glPolygonOffset(factor * times, units * times);
        if (run.end > start) {
            glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(run.end - start), GL_UNSIGNED_INT,
                           reinterpret_cast<const void*>(start * sizeof(std::uint32_t)));
        }
        start = run.end;
    }
    glPolygonOffset(factor, units);
}

void KivCartoonShader::forgetTriangles() {
    if (triangles != nullptr) {
        triangles->forget();
    }
    if (trianglePainter != nullptr) {
        trianglePainter->forget();
    }
}

void KivCartoonShader::beginTransparency(bool vectorial) {
    forgetTriangles();
    triangles = std::make_unique<Triangles>(*this);
    trianglePainter = vectorial ? std::make_unique<KivCartoonPainter>() : nullptr;
    isPageMixed = false;
}

void KivCartoonShader::renderTransparentTriangle(const Kiv3DPoint* points, const Kiv3DVector* normals,
                                                 const KivMesh* mesh, KivScene* scene, const KivCamera&,
                                                 const KivCommonSettings& settings, int, int,
                                                 KivNonCombinableShader* defaultShader, KivShadows* shadows, int pass,
                                                 const KivLight* light, int lightIndex, int numLights, bool vectorial) {
    if (vectorial) {
        if (pass == 1 || (pass == 3 && shadows != nullptr && light != nullptr)) {
            if (!isPageMixed) {
                // From here on the page mixes colours by their alpha; what was drawn before covers.
                KivDrawing::enableTransparency(true, true);
                isPageMixed = true;
            }
            KivShadedMesh model;
            append(model, points, normals, mesh->hasNormals());
            drawVectorTriangle(model, *mesh, settings, *scene, shadows != nullptr, pass,
                               {std::max(numLights, 1), lightIndex});
        }
    } else if (pass == 1) {
        isDefaultShader = defaultShader == this;
        triangleScene = scene;
        const int lost = shadows != nullptr ? numLights : -1;
        if (triangles != nullptr) {
            triangles->add(points, normals, *mesh, *scene, settings, lost);
        } else {
            Triangles one(*this);
            one.add(points, normals, *mesh, *scene, settings, lost);
            one.flush();
        }
    }
}

void KivCartoonShader::drawVectorTriangle(const KivShadedMesh& model, const KivMesh& mesh,
                                          const KivCommonSettings& settings, const KivScene& scene, bool hasShadows,
                                          int pass, KivCartoonShare share) {
    const KivCartoonLook look = lookOf(mesh);
    buildBatch(model, mesh, look, settings, scene, scratch);
    KivCartoonColors colors = colorsOf(mesh, look, settings);
    colors.alpha = alphaOf(mesh);
    const KivGlState state;
    glEnable(GL_BLEND);
    glDepthFunc(GL_LEQUAL);
    KivDrawing::beginObject(&mesh, true);
    KivCartoonPainter local;
    KivCartoonPainter& painter = trianglePainter != nullptr ? *trianglePainter : local;
    if (pass == 1) {
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        painter.draw(scratch, colors, hasShadows ? KivCartoonLayer::shadow : KivCartoonLayer::full, 1, true);
    } else {
        glStencilFunc(GL_GEQUAL, stencilBase + share.parts - 1 - share.part, ~0U);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE);
        painter.draw(scratch, colors, KivCartoonLayer::share, share, true);
    }
}

// Between two meshes another shader may have its turn, for which all that lies behind must be in the picture.
void KivCartoonShader::endTransparentTriangle(int meshIndex, int previousMeshIndex, int pass, bool) {
    if (triangles == nullptr || pass != 3 || (meshIndex == previousMeshIndex && meshIndex >= 0)) {
        return;
    }
    const KivMesh* next = meshIndex >= 0 && triangleScene != nullptr
                              ? triangleScene->getMesh(static_cast<unsigned int>(meshIndex))
                              : nullptr;
    const bool isOurs = next != nullptr && isDefaultShader && !next->hasObjectSettings();
    if (!isOurs) {
        triangles->flush();
    }
}

void KivCartoonShader::endTransparency(bool vectorial) {
    if (isPageMixed) {
        KivDrawing::enableTransparency(false, vectorial);
        isPageMixed = false;
    }
    if (triangles != nullptr) {
        triangles->flush();
    }
    triangles.reset();
    trianglePainter.reset();
}
