// Keeps OpenGL's state for the length of a scope, client state included: what a shader sets for itself does not reach
// the next one. Made and ended with the same context current.
#ifndef SHADERS_KIT_KIVGLSTATE_H
#define SHADERS_KIT_KIVGLSTATE_H

#include <GL/gl.h>

class KivGlState {
public:
    KivGlState() {
        glPushAttrib(GL_ALL_ATTRIB_BITS);
        glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
    }
    KivGlState(const KivGlState&) = delete;
    KivGlState& operator=(const KivGlState&) = delete;
    ~KivGlState() {
        glPopClientAttrib();
        glPopAttrib();
    }
};

#endif
