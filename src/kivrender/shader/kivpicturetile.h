// A picture that is larger than a surface is drawn in tiles, each in a frame of its own. What a shader draws with the
// matrices that it finds lies in the right place of every tile. The size that it is given is that of the whole picture,
// and so a projection over the whole picture in pixels is right too, if it is loaded onto kivLoadPictureProjection in
// place of glLoadIdentity. Only what looks at single pixels of the frame has to ask for the tile.
//
// The frame is as large as the tile, or as the whole picture where OpenGL can draw that: the tile then lies in it where
// it lies in the picture, and nothing else of the frame is drawn.
//
// Tiles overlap by a margin that is cut off afterwards: what lies in it may depend on the tile's edge.
#ifndef KIVRENDER_SHADER_KIVPICTURETILE_H
#define KIVRENDER_SHADER_KIVPICTURETILE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <memory>

class KivImage;
class KivScene;

// What the first tile of a picture has found for all of them.
struct KivPictureKept {
    bool isShaped = false;                  // the next is known
    std::shared_ptr<const KivScene> shaped; // the scene in its smooth shapes; null where it is drawn as it is
};

// All lengths in pixels of the frame, which are smaller than those of the finished picture where that is reduced.
struct KivPictureTile {
    tagSIZE picture{};        // of the whole
    std::int32_t left = 0;    // of this tile in it, from the lower left corner
    std::int32_t bottom = 0;  // the same
    tagSIZE size{};           // of this tile with its margins
    std::uint64_t number = 0; // of the picture; the tiles of another one have another
    // All tiles are drawn twice where a shader asks for it: a survey lets it look at the depth of the whole picture
    // before it draws anything. What it draws in a survey is not seen.
    bool isSurvey = false;
    // The survey goes on to all tiles only if somebody has said so in its first.
    bool isSurveyWanted = false;
    bool isLast = false; // of the picture's tiles: what was kept for them can go
    // The images beside the render come here in place of files, reduced as the picture is.
    std::shared_ptr<KivImage> depth;
    std::shared_ptr<KivImage> shadow;
    // Of the picture; null where each tile is on its own.
    std::shared_ptr<KivPictureKept> kept;
    // Puts the tile's place into the projection even where a viewport could take it; for tests.
    bool isProjected = false;
    // The tile's lower left corner in the frame: left and bottom where the frame is that of the whole picture, else 0.
    std::int32_t frameLeft = 0;
    std::int32_t frameBottom = 0;
    bool isInWholeFrame = false;
};

// The tile that is being drawn; null when the picture is drawn as a whole. It ends with the frame.
KIV_API KivPictureTile* kivPictureTile();

// Makes a tile the current one of this process for as long as the object lives.
class KIV_API KivPictureTileScope {
public:
    explicit KivPictureTileScope(KivPictureTile& tile);
    KivPictureTileScope(const KivPictureTileScope&) = delete;
    KivPictureTileScope& operator=(const KivPictureTileScope&) = delete;
    ~KivPictureTileScope();
};

// Where reading and writing of pixels has to begin in the frame: the corner of the current tile; 0, 0 without one.
struct KivFrameCorner {
    std::int32_t x = 0;
    std::int32_t y = 0;
};
KIV_API KivFrameCorner kivFrameCorner();

// At the beginning of a drawing, in a context as it was made: nothing is drawn beside the tile, and the raster position
// is at its corner.
KIV_API void kivBeginPictureTile();

// The size of the picture that a frame of that size is a part of.
KIV_API tagSIZE kivPictureSize(tagSIZE frame);

// The viewport of a frame of that size: over the whole picture, whose lower left corner lies outside of a frame of the
// tile's size, or over the tile where the picture is larger than any viewport.
KIV_API void kivSetPictureViewport(tagSIZE frame);

// In place of glLoadIdentity for a projection; what is multiplied onto it is laid out for the whole picture.
KIV_API void kivLoadPictureProjection();

// Takes from a projection, column by column, what kivLoadPictureProjection has put into it.
KIV_API void kivRemovePicturePlace(double* projection);

#endif
