// Draws a picture that is larger than a surface: in tiles that overlap by a margin, whose rows are handed over as soon
// as a row of tiles is complete, so that memory is taken for one row of tiles and one tile.
//
// A picture that could be drawn as a whole is the same to the byte: its tiles lie in a frame of the whole size, of
// which nothing else is drawn. Larger ones have frames of the tile's size, in which OpenGL rounds otherwise, and show
// the whole picture through a moved viewport; those larger than any viewport have the tile's place in their projection.
//
//     KivTiledPicture picture;
//     picture.size = {40000, 30000};
//     picture.colour = [&](const std::uint8_t* rows, std::int32_t count) { return writer->write(rows, count); };
//     if (kivRenderTiled(renderer, settings, &stream, scene, camera, picture) == KivTiledOutcome::done) {
//         writer->finish();
//     }
#ifndef KIVRENDER_RENDER_KIVTILEDRENDER_H
#define KIVRENDER_RENDER_KIVTILEDRENDER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <functional>

class KivCamera;
class KivCommonSettings;
class KivDataManager;
class KivRenderer;
class KivScene;

// Takes so many rows, from the top down and without padding. False ends the render.
using KivTakeRows = std::function<bool(const std::uint8_t* rows, std::int32_t count)>;

// The picture that is wanted and its receivers. All functions are called on the calling thread.
struct KivTiledPicture {
    tagSIZE size{}; // finished
    // The side of a tile without its margins, in pixels of the finished picture; 0 for one by the memory that it takes.
    std::int32_t tileSide = 0;
    KivTakeRows colour; // red, green, blue
    KivTakeRows depth;  // grey; may be empty, as may the next
    KivTakeRows shadow;
    // Called after each tile with the part that is done, 0 to 1; false cancels. May be empty. A cancel within a tile
    // comes by the host's progress object.
    std::function<bool(double)> progress;
    bool isProjected = false; // as in KivPictureTile, for tests
};

// How it ended. After all but done the rows that were taken are of no use.
enum class KivTiledOutcome {
    done,
    cancelled,
    notDrawn, // there was no surface for a tile, or no memory; the host has been told where KivRenderer tells it
    notTaken  // rows were refused
};

// Whether a picture has to be drawn in tiles: its frame, antialias levels included, is larger than a surface can be.
KIV_API bool kivNeedsTiles(tagSIZE size, int antialias);

// settings: those of the render; what they say of files and vector output has no meaning here. The scene is only read:
// each tile draws a copy, which shares its meshes. A KivShader::stopReason of the renderer leaves this function.
KIV_API KivTiledOutcome kivRenderTiled(KivRenderer& renderer, const KivCommonSettings& settings, KivDataManager* data,
                                       const KivScene& scene, const KivCamera& camera, const KivTiledPicture& picture);

#endif
