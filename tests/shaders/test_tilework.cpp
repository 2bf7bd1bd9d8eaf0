// What a tile of a large picture costs: what lies in it, and not the whole picture.
#define GL_GLEXT_PROTOTYPES
#include "kivrender/shader/kivpicturetile.h"
#include "picture.h"

#include <GL/gl.h>
#include <GL/glext.h>

namespace {

class TileWork : public PictureTest {
protected:
    static constexpr int whole = 768;
    static constexpr int side = 96;

    TileWork() {
        addMesh(sphereSurface(12, 16), true);
        addLight(KivLight::pointLight, {2.0, 3.0, 4.0}, {0.0, 0.0, -1.0});
    }

    // How many triangles the shader hands to OpenGL for a frame: of the whole picture or of the current tile.
    GLuint trianglesOf(KivShader& shader) {
        open(kivPictureTile() != nullptr ? side : whole);
        kivSetPictureViewport(size);
        size = {whole, whole};
        look({0.5, 1.0, 4.0}, 0.4, true);
        choose(shader, {});
        GLuint query = 0;
        GLuint count = 0;
        glGenQueries(1, &query);
        glBeginQuery(GL_PRIMITIVES_GENERATED, query);
        draw(shader);
        glEndQuery(GL_PRIMITIVES_GENERATED);
        glGetQueryObjectuiv(query, GL_QUERY_RESULT, &count);
        surface.deleteContext();
        return count;
    }

    // Of all tiles together.
    GLuint trianglesOfTiles(KivShader& shader, bool isSurvey) {
        constexpr int across = whole / side;
        GLuint sum = 0;
        for (int i = 0; i < across * across; ++i) {
            KivPictureTile tile;
            tile.picture = {whole, whole};
            tile.left = i % across * side;
            tile.bottom = i / across * side;
            tile.size = {side, side};
            tile.number = 1;
            tile.isSurvey = isSurvey;
            tile.isLast = !isSurvey && i + 1 == across * across;
            const KivPictureTileScope current(tile);
            sum += trianglesOf(shader);
        }
        return sum;
    }
};

} // namespace

TEST_F(TileWork, TheTilesOfASurfaceCostLittleMoreThanTheWhole) {
    const GLuint once = trianglesOf(shaders.cartoon());
    EXPECT_GT(once, 10000U);
    const GLuint tiled = trianglesOfTiles(shaders.cartoon(), false);
    EXPECT_GE(tiled, once);
    // Each reaches some pixels over its edge, which is much where tiles are as small as here.
    EXPECT_LT(tiled, 4 * once);
}

TEST_F(TileWork, TheTilesOfStrokesCostLittleMoreThanTheWhole) {
    // No base look: the mesh lays its depth, which every tile has to do.
    for (KivShader* const shader :
         {static_cast<KivShader*>(&shaders.outline()), static_cast<KivShader*>(&shaders.sketch())}) {
        channel.setHasNonCombinable(true);
        const GLuint once = trianglesOf(*shader);
        EXPECT_GT(once, 150U);
        trianglesOfTiles(*shader, true);
        const GLuint tiled = trianglesOfTiles(*shader, false);
        // Tiles without margins lose a little of each line at their edges.
        EXPECT_GT(tiled, once / 2);
        EXPECT_LT(tiled, 3 * once);
    }
}
