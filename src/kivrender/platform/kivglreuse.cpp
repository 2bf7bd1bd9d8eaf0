// A context of an ended surface made as good as new, for renders that follow one another quickly.
#include "kivrender/platform/kivgldepth.h"
#include "kivrender/platform/kivglobjects.h"
#include "kivrender/platform/kivglwarmup.h"

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <atomic>
#include <numeric>

namespace {

std::atomic<bool> keepsContexts{false};

// Names that shaders choose themselves are small, and drivers give the smallest that are free.
constexpr GLuint smallNames = 256;
// What a shader leaves behind under other names goes with its context.
constexpr int mostUses = 1000;

GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

bool hasErrors() {
    bool any = false;
    // A context that is lost gives the same error for ever.
    for (int i = 0; i < 16 && glGetError() != GL_NO_ERROR; ++i) {
        any = true;
    }
    return any;
}

void emptyMatrixStack(GLenum mode, GLenum depth) {
    glMatrixMode(mode);
    for (GLint left = integer(depth); left > 1; --left) {
        glPopMatrix();
    }
    glLoadIdentity();
}

// Of what the stacks of attributes do not hold.
void resetMatrices() {
    const GLint units = integer(GL_MAX_TEXTURE_COORDS);
    for (GLint unit = 0; unit < units; ++unit) {
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
        emptyMatrixStack(GL_TEXTURE, GL_TEXTURE_STACK_DEPTH);
    }
    emptyMatrixStack(GL_PROJECTION, GL_PROJECTION_STACK_DEPTH);
    emptyMatrixStack(GL_MODELVIEW, GL_MODELVIEW_STACK_DEPTH);
}

void deleteObjects() {
    std::array<GLuint, smallNames> names{};
    std::iota(names.begin(), names.end(), 1U);
    glDeleteTextures(smallNames, names.data());
    glDeleteLists(1, smallNames);
    glDeleteBuffers(smallNames, names.data());
    glUseProgram(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
}

// Back to what kivPrepareReuse saved. False if the stacks are not as a drawing that minds them leaves them.
bool popAttributes() {
    const GLint server = integer(GL_ATTRIB_STACK_DEPTH);
    const GLint client = integer(GL_CLIENT_ATTRIB_STACK_DEPTH);
    if (server < 1 || client < 1) {
        return false;
    }
    for (GLint i = 0; i < server; ++i) {
        glPopAttrib();
    }
    for (GLint i = 0; i < client; ++i) {
        glPopClientAttrib();
    }
    return true;
}

} // namespace

void kivKeepGlContexts(bool keep) {
    keepsContexts = keep;
}

bool kivKeepsGlContexts() {
    return keepsContexts;
}

void kivPrepareReuse(KivGlContextObject& context) {
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
    context.isReusable = true;
}

bool kivMakeAsNew(KivGlContextObject& context) {
    if (!context.isReusable || ++context.uses > mostUses || integer(GL_RENDER_MODE) != GL_RENDER ||
        integer(GL_LIST_INDEX) != 0) {
        return false;
    }
    hasErrors(); // what a shader did wrong is no reason to do without
    resetMatrices();
    if (!popAttributes()) {
        return false;
    }
    deleteObjects(); // now, as what was bound when attributes were saved would come to life again
    kivClipDepthAsUsual();
    context.framebuffer.renew();
    return !hasErrors();
}
