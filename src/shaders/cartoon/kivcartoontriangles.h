// Transparent triangles of the cartoon shader on their way into the picture.
#ifndef SHADERS_CARTOON_KIVCARTOONTRIANGLES_H
#define SHADERS_CARTOON_KIVCARTOONTRIANGLES_H

#include "kivcartoonpainter.h"
#include "kivcartoonsettings.h"
#include "kivcartoonshader.h"
#include "kivshadedmesh.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

// Takes triangles one by one, from back to front, and draws them together in the same order, with the result of drawing
// each by itself. The ramps of all materials are rows of one texture, so that meshes that lie inside each other do not
// part the list. Under shadows the list is drawn once for each number of lights that a pixel may have lost, where the
// stencil holds that number: each pixel is met by one of these only, and so still by its triangles in their order.
//
// One at a time for a context; makes its textures and buffers there and must end while that context is current.
class KivCartoonShader::Triangles {
public:
    explicit Triangles(KivCartoonShader& owner);
    Triangles(const Triangles&) = delete;
    Triangles& operator=(const Triangles&) = delete;
    ~Triangles();

    // The context is gone, and what was made there with it.
    void forget();

    // numLights: that may be lost, with shadows; -1 without. Meshes, settings and scene must stay as they are until the
    // next flush.
    void add(const Kiv3DPoint* points, const Kiv3DVector* normals, const KivMesh& mesh, const KivScene& scene,
             const KivCommonSettings& settings, int numLights);
    // Draws what was taken so far.
    void flush();

private:
    // As OpenGL gets it: two texture coordinates each for the ramp and for the highlight.
    struct Vertex {
        float x;
        float y;
        float z;
        float light;
        float lightRow;
        float shine;
        float shineRow;
    };
    // How the triangles of a mesh are drawn.
    struct Kind {
        KivCartoonLook look;
        std::size_t row;
    };
    // One row for each material.
    struct Atlas {
        unsigned int texture = 0;
        bool isLoaded = false;
        std::vector<KivRampEntry> entries;
    };

    const Kind& kindOf(const KivMesh& mesh, const KivCommonSettings& settings);
    std::size_t rowOf(const KivCartoonColors& colors);
    void closeGroup();
    void startOver(int numLights);
    void drawLevel(int level);
    void drawRuns() const;
    static void load(Atlas& atlas);
    void deleteObjects();

    KivCartoonShader& shader;
    const KivScene* scene = nullptr;
    const KivCommonSettings* settings = nullptr;
    int lightsLost = -1; // the most that may be
    // Data of meshes and materials; a row of the atlases for each of the colours.
    std::unordered_map<const KivMesh*, Kind> kinds;
    std::vector<KivCartoonColors> colors;
    std::vector<Atlas> ramps; // for each number of lights lost
    Atlas highlights;
    Atlas dimmedHighlights;
    // Triangles of one mesh that are not lit yet.
    const KivMesh* groupMesh = nullptr;
    const Kind* groupKind = nullptr;
    KivShadedMesh group;
    // Lit triangles.
    KivCartoonBatch batch;
    std::vector<Vertex> vertices;
    std::vector<std::uint32_t> indices;
    std::vector<KivCartoonRun> runs;
    unsigned int buffers[2] = {0, 0};
};

#endif
