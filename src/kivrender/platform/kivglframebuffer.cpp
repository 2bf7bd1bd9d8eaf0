#include "kivrender/platform/kivglframebuffer.h"

#include "kivrender/platform/kivworkarounds.h"

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// Shaders of the fixed function's age bind small texture names that they never asked for, so ours is not among them.
constexpr GLuint colourName = 0x7F4B4956;

constexpr std::array storeNames{GL_PACK_ALIGNMENT,   GL_PACK_ROW_LENGTH,    GL_PACK_SKIP_ROWS,    GL_PACK_SKIP_PIXELS,
                                GL_PACK_SWAP_BYTES,  GL_PACK_LSB_FIRST,     GL_UNPACK_ALIGNMENT,  GL_UNPACK_ROW_LENGTH,
                                GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SWAP_BYTES, GL_UNPACK_LSB_FIRST};
constexpr std::array<GLint, storeNames.size()> plainStore{4, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0};
constexpr std::array transferNames{GL_MAP_COLOR, GL_RED_SCALE,  GL_GREEN_SCALE, GL_BLUE_SCALE, GL_ALPHA_SCALE,
                                   GL_RED_BIAS,  GL_GREEN_BIAS, GL_BLUE_BIAS,   GL_ALPHA_BIAS};
constexpr std::array<GLfloat, transferNames.size()> plainTransfer{0, 1, 1, 1, 1, 0, 0, 0, 0};

// Sets all that a transfer of pixels depends on to plain copying, and puts it back at the end. By hand and not by
// glPushAttrib, whose stack may be full; and only where it differs, as some of these calls would be recorded into a
// display list that a shader has open.
class PlainTransfer {
public:
    PlainTransfer() {
        for (std::size_t i = 0; i < storeNames.size(); ++i) {
            glGetIntegerv(storeNames[i], &storeBefore[i]);
        }
        for (std::size_t i = 0; i < transferNames.size(); ++i) {
            glGetFloatv(transferNames[i], &transferBefore[i]);
        }
        glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &packBuffer);
        glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpackBuffer);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        apply(plainStore, plainTransfer);
    }
    PlainTransfer(const PlainTransfer&) = delete;
    PlainTransfer& operator=(const PlainTransfer&) = delete;
    ~PlainTransfer() {
        apply(storeBefore, transferBefore);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(packBuffer));
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(unpackBuffer));
    }

private:
    void apply(const std::array<GLint, storeNames.size()>& store,
               const std::array<GLfloat, transferNames.size()>& transfer) const {
        for (std::size_t i = 0; i < storeNames.size(); ++i) {
            if (storeBefore[i] != plainStore[i]) {
                glPixelStorei(storeNames[i], store[i]);
            }
        }
        for (std::size_t i = 0; i < transferNames.size(); ++i) {
            if (transferBefore[i] != plainTransfer[i]) {
                glPixelTransferf(transferNames[i], transfer[i]);
            }
        }
    }

    std::array<GLint, storeNames.size()> storeBefore{};
    std::array<GLfloat, transferNames.size()> transferBefore{};
    GLint packBuffer = 0;
    GLint unpackBuffer = 0;
};

GLint attachmentBits(GLenum attachment, GLenum name) {
    GLint bits = 0;
    glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, attachment, name, &bits);
    return bits;
}

bool hasColourOf8Bits() {
    constexpr std::array names{GL_FRAMEBUFFER_ATTACHMENT_RED_SIZE, GL_FRAMEBUFFER_ATTACHMENT_GREEN_SIZE,
                               GL_FRAMEBUFFER_ATTACHMENT_BLUE_SIZE, GL_FRAMEBUFFER_ATTACHMENT_ALPHA_SIZE};
    return std::all_of(names.begin(), names.end(),
                       [](GLenum name) { return attachmentBits(GL_COLOR_ATTACHMENT0, name) == 8; });
}

// The driver that draws in software hands out memory that is zero, and clearing it again would cost as much as all
// else that creates a framebuffer.
bool isZeroedByDriver() {
    const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    return renderer != nullptr && std::strstr(renderer, "llvmpipe") != nullptr && kivWorkaround("zeroed-targets");
}

} // namespace

bool KivGlFramebuffer::checkLimits(KivGlFailure* failure) const {
    GLint renderbuffer = 0;
    GLint texture = 0;
    std::array<GLint, 2> viewport{};
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &renderbuffer);
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &texture);
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport.data());
    const GLint limit = std::min(std::min(renderbuffer, texture), std::min(viewport[0], viewport[1]));
    if (whole.size.cx <= limit && whole.size.cy <= limit) {
        return true;
    }
    *failure = {KivGlFailure::tooLarge, limit, "GL_MAX_TEXTURE_SIZE"};
    return false;
}

bool KivGlFramebuffer::createTargets() {
    const auto colourStorage = [this](GLint format) {
        glTexImage2D(GL_TEXTURE_2D, 0, format, whole.size.cx, whole.size.cy, 0, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV,
                     nullptr);
    };
    glGenFramebuffers(1, &framebuffer);
    glGenRenderbuffers(1, &depthStencil);
    colour = colourName;
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glBindTexture(GL_TEXTURE_2D, colour);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
    // Left to choose the format, drivers take the order of the bytes that they are told to expect.
    const bool isDriversChoice = kivWorkaround("bgra-target");
    colourStorage(isDriversChoice ? GL_RGBA : GL_RGBA8);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, colour, 0);
    if (isDriversChoice && !hasColourOf8Bits()) {
        colourStorage(GL_RGBA8);
    }
    glBindTexture(GL_TEXTURE_2D, 0);
    glBindRenderbuffer(GL_RENDERBUFFER, depthStencil);
    // Beside a stencil a depth of 32 bits takes eight bytes for each pixel, twice as much as without.
    glRenderbufferStorage(GL_RENDERBUFFER, stencilled ? GL_DEPTH32F_STENCIL8 : GL_DEPTH_COMPONENT32F, whole.size.cx,
                          whole.size.cy);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, stencilled ? GL_DEPTH_STENCIL_ATTACHMENT : GL_DEPTH_ATTACHMENT,
                              GL_RENDERBUFFER, depthStencil);
    const bool isSound = glGetError() == GL_NO_ERROR;
    return isSound && glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE && hasColourOf8Bits() &&
           attachmentBits(GL_DEPTH_ATTACHMENT, GL_FRAMEBUFFER_ATTACHMENT_DEPTH_SIZE) >= 32 &&
           (!stencilled || attachmentBits(GL_STENCIL_ATTACHMENT, GL_FRAMEBUFFER_ATTACHMENT_STENCIL_SIZE) >= 8);
}

bool KivGlFramebuffer::create(const KivGlFrame& newFrame, tagSIZE newSurface, bool withStencil, KivGlFailure* failure) {
    whole = newFrame;
    surface = newSurface;
    stencilled = withStencil;
    if (!checkLimits(failure)) {
        whole = {};
        surface = {};
        return false;
    }
    if (!createTargets()) {
        *failure = {KivGlFailure::noMemory, 0, "glRenderbufferStorage"};
        destroy();
        while (glGetError() != GL_NO_ERROR) {
        }
        return false;
    }
    // What a window of that size gives a context at its first use.
    glViewport(whole.left, whole.bottom, surface.cx, surface.cy);
    glScissor(whole.left, whole.bottom, surface.cx, surface.cy);
    if (!isZeroedByDriver()) {
        clear();
    }
    return true;
}

// Of a part, the part alone: a large frame would take as long to clear as to draw.
void KivGlFramebuffer::clear() const {
    if (!isWhole()) {
        glEnable(GL_SCISSOR_TEST);
    }
    glClearDepth(0.0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    glClearDepth(1.0);
    if (!isWhole()) {
        glDisable(GL_SCISSOR_TEST);
    }
}

void KivGlFramebuffer::renew() const {
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(whole.left, whole.bottom, surface.cx, surface.cy);
    glScissor(whole.left, whole.bottom, surface.cx, surface.cy);
    clear();
}

void KivGlFramebuffer::moveTo(const KivGlFrame& newFrame, tagSIZE newSurface) {
    whole = newFrame;
    surface = newSurface;
    renew();
}

void KivGlFramebuffer::destroy() {
    if (framebuffer != 0) {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDeleteFramebuffers(1, &framebuffer);
        glDeleteTextures(1, &colour);
        glDeleteRenderbuffers(1, &depthStencil);
    }
    framebuffer = 0;
    colour = 0;
    depthStencil = 0;
    stencilled = false;
    whole = {};
    surface = {};
}

void KivGlFramebuffer::read(std::int32_t firstRow, std::int32_t count, std::uint8_t* pixels) const {
    const PlainTransfer plain;
    GLint bound = 0;
    GLint buffer = 0;
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &bound);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    glGetIntegerv(GL_READ_BUFFER, &buffer);
    if (buffer != GL_COLOR_ATTACHMENT0) {
        glReadBuffer(GL_COLOR_ATTACHMENT0);
    }
    glReadPixels(whole.left, whole.bottom + firstRow, surface.cx, count, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, pixels);
    if (buffer != GL_COLOR_ATTACHMENT0) {
        glReadBuffer(static_cast<GLenum>(buffer));
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(bound));
}

void KivGlFramebuffer::write(const std::uint8_t* pixels) const {
    const PlainTransfer plain;
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    glBindTexture(GL_TEXTURE_2D, colour);
    glTexSubImage2D(GL_TEXTURE_2D, 0, whole.left, whole.bottom, surface.cx, surface.cy, GL_BGRA,
                    GL_UNSIGNED_INT_8_8_8_8_REV, pixels);
    glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(bound));
}
