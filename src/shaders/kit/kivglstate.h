// Keeps OpenGL's state for the length of a scope, client state included: what a shader sets for itself does not reach
// the next one. Made and ended with the same context current.
//
//     void MyShader::render(...) {
//         const KivGlState state;
//         glEnable(GL_BLEND); // ends with the scope
//     }
//
// Attributes alone are kept: matrices, bound buffers and programs are the shader's own business, as are display lists.
// The stack of attributes is 16 deep at least, so scopes may nest, but not without bound. Costs some microseconds: one
// for a pass or a mesh, not one for a triangle.
#ifndef SHADERS_KIT_KIVGLSTATE_H
#define SHADERS_KIT_KIVGLSTATE_H

#include <GL/gl.h>

class KivGlState {
public:
    // Pushes all attributes of server and client. An overflow of the stack is an error of OpenGL (GL_STACK_OVERFLOW).
    KivGlState() {
        glPushAttrib(GL_ALL_ATTRIB_BITS);
        glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
    }
    KivGlState(const KivGlState&) = delete;
    KivGlState& operator=(const KivGlState&) = delete;
    // Brings them back as they were.
    ~KivGlState() {
        glPopClientAttrib();
        glPopAttrib();
    }
};

#endif
