#include "kivrender/shader/kivpicturetile.h"

#include "kivrender/platform/kivimage.h"

#include <GL/gl.h>

namespace {

KivPictureTile* current = nullptr;

// The part of the picture that a frame shows, as a map of clip coordinates: x' = scale x + shift w.
struct Place {
    double scaleX = 1.0;
    double scaleY = 1.0;
    double shiftX = 0.0;
    double shiftY = 0.0;
};

// A viewport that reaches beyond its frame takes whole pixels exactly; a projection adds rounding of its own.
bool isPlacedByViewport(const KivPictureTile& tile) {
    GLint limits[2] = {};
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, limits);
    return !tile.isProjected && tile.picture.cx <= limits[0] && tile.picture.cy <= limits[1];
}

Place placeOf(const KivPictureTile& tile) {
    const double width = tile.size.cx;
    const double height = tile.size.cy;
    return {tile.picture.cx / width, tile.picture.cy / height, (tile.picture.cx - 2.0 * tile.left) / width - 1.0,
            (tile.picture.cy - 2.0 * tile.bottom) / height - 1.0};
}

} // namespace

KivPictureTile* kivPictureTile() {
    return current;
}

KivPictureTileScope::KivPictureTileScope(KivPictureTile& tile) {
    current = &tile;
}

KivPictureTileScope::~KivPictureTileScope() {
    current = nullptr;
}

KivFrameCorner kivFrameCorner() {
    return current != nullptr ? KivFrameCorner{current->frameLeft, current->frameBottom} : KivFrameCorner{};
}

void kivBeginPictureTile() {
    if (current == nullptr || !current->isInWholeFrame) {
        return;
    }
    glEnable(GL_SCISSOR_TEST);
    glScissor(current->frameLeft, current->frameBottom, current->size.cx, current->size.cy);
    glBitmap(0, 0, 0.0F, 0.0F, static_cast<GLfloat>(current->frameLeft), static_cast<GLfloat>(current->frameBottom),
             nullptr);
}

tagSIZE kivPictureSize(tagSIZE frame) {
    return current != nullptr ? current->picture : frame;
}

void kivSetPictureViewport(tagSIZE frame) {
    if (current != nullptr && isPlacedByViewport(*current)) {
        glViewport(current->frameLeft - current->left, current->frameBottom - current->bottom, current->picture.cx,
                   current->picture.cy);
    } else {
        glViewport(0, 0, frame.cx, frame.cy);
    }
}

void kivLoadPictureProjection() {
    glLoadIdentity();
    if (current == nullptr || isPlacedByViewport(*current)) {
        return;
    }
    const Place place = placeOf(*current);
    double matrix[16] = {};
    matrix[0] = place.scaleX;
    matrix[5] = place.scaleY;
    matrix[10] = 1.0;
    matrix[12] = place.shiftX;
    matrix[13] = place.shiftY;
    matrix[15] = 1.0;
    glLoadMatrixd(matrix);
}

void kivRemovePicturePlace(double* projection) {
    if (current == nullptr || isPlacedByViewport(*current)) {
        return;
    }
    const Place place = placeOf(*current);
    for (int column = 0; column < 16; column += 4) {
        double* const m = projection + column;
        m[0] = (m[0] - place.shiftX * m[3]) / place.scaleX;
        m[1] = (m[1] - place.shiftY * m[3]) / place.scaleY;
    }
}
