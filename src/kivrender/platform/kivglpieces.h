// Large meshes are drawn in pieces, so that a driver that draws by the processor never has more than a few of them
// before it. Such a driver keeps every triangle, set up for drawing, until it is drawn: a million in one call are a
// hundred megabytes, in pieces fifteen. Between two pieces the user may cancel.
//
//     glVertexPointer(3, GL_FLOAT, 0, corners.data());
//     kivDrawTrianglesInPieces(indices, [] { return !kivIsCancelled(); });
//
// The same is drawn in the same order as by one call of glDrawElements.
#ifndef KIVRENDER_PLATFORM_KIVGLPIECES_H
#define KIVRENDER_PLATFORM_KIVGLPIECES_H

#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <functional>
#include <span>

// indices: three for each triangle, of the arrays that the current context has enabled. goOn is asked between two
// pieces; once it says no, the rest stays undrawn and the result is false. May return before everything is drawn, as
// all of OpenGL. Needs a current context.
KIV_API bool kivDrawTrianglesInPieces(std::span<const std::uint32_t> indices, const std::function<bool()>& goOn);

#endif
