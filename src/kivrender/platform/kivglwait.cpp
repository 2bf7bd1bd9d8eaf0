#define GL_GLEXT_PROTOTYPES
#include "kivrender/platform/kivglwait.h"

#include "kivrender/platform/kivglcontext.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdio>

namespace {

constexpr GLuint64 nanosecondsBetween = 10'000'000;
// Smaller pictures are drawn in a moment.
constexpr GLint leastPixels = 1 << 18;

bool isLarge() {
    GLint viewport[4] = {};
    glGetIntegerv(GL_VIEWPORT, viewport);
    return static_cast<double>(viewport[2]) * viewport[3] >= leastPixels;
}

} // namespace

bool kivHasGlFences() {
    const auto* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    int major = 0;
    int minor = 0;
    return version != nullptr && std::sscanf(version, "%d.%d", &major, &minor) == 2 && major * 10 + minor >= 32;
}

void kivWaitForGl(const std::function<bool()>& goOn) {
    if (kivCurrentGlContext() == nullptr || !isLarge() || !kivHasGlFences()) {
        return;
    }
    const GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    if (fence == nullptr) {
        return;
    }
    while (glClientWaitSync(fence, GL_SYNC_FLUSH_COMMANDS_BIT, nanosecondsBetween) == GL_TIMEOUT_EXPIRED && goOn()) {
    }
    glDeleteSync(fence);
}
