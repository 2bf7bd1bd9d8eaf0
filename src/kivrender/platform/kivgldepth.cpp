#include "kivrender/platform/kivgldepth.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdio>

extern "C" void glClipControl(GLenum origin, GLenum depth);

namespace {

// The functions are there in every library; what the context can do is told by its version.
bool hasClipControl() {
    const auto* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    int major = 0;
    int minor = 0;
    return version != nullptr && std::sscanf(version, "%d.%d", &major, &minor) == 2 && major * 10 + minor >= 45;
}

} // namespace

bool kivClipDepthFromZero() {
    if (!hasClipControl()) {
        return false;
    }
    glClipControl(GL_LOWER_LEFT, GL_ZERO_TO_ONE);
    return true;
}

void kivClipDepthAsUsual() {
    if (hasClipControl()) {
        glClipControl(GL_LOWER_LEFT, GL_NEGATIVE_ONE_TO_ONE);
    }
}

bool kivIsDepthClippedFromZero() {
    GLint mode = GL_NEGATIVE_ONE_TO_ONE;
    if (hasClipControl()) {
        glGetIntegerv(GL_CLIP_DEPTH_MODE, &mode);
    }
    return mode == GL_ZERO_TO_ONE;
}
