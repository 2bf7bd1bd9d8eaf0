// A surface that is a part of a larger frame. The numbers that OpenGL computes for a triangle depend on where it lies
// in the frame, to their last digits: a part of a picture is the same to the byte only where it lies in its frame as it
// does in that of the whole picture. For the library's own use.
#ifndef KIVRENDER_PLATFORM_KIVGLFRAME_H
#define KIVRENDER_PLATFORM_KIVGLFRAME_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>

// All lengths in pixels.
struct KivGlFrame {
    tagSIZE size{};          // of what OpenGL draws into
    std::int32_t left = 0;   // of the surface's lower left corner in it
    std::int32_t bottom = 0; // the same
};

// While an object of this class lives, the contexts that this thread makes draw into such a frame; their bitmaps have
// the size of the surface and get its part of the frame. The rest of the frame holds no picture: what draws takes care
// to draw into the part alone. Objects follow one another, and none lies in another.
class KIV_API KivGlFrameScope {
public:
    explicit KivGlFrameScope(const KivGlFrame& wanted);
    KivGlFrameScope(const KivGlFrameScope&) = delete;
    KivGlFrameScope& operator=(const KivGlFrameScope&) = delete;
    ~KivGlFrameScope();

private:
    KivGlFrame frame;
};

// The frame of a surface of that size: the current scope's, or one of the same size.
KivGlFrame kivGlFrameOf(tagSIZE surface);

#endif
