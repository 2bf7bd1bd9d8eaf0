// Sets OpenGL up to paint areas of plain colour over the picture, and puts everything back.
#ifndef SHADERS_COMMON_KIVPIXELPAINTING_H
#define SHADERS_COMMON_KIVPIXELPAINTING_H

#include "kivglstate.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivview.h"

#include <GL/gl.h>

// Coordinates are pixels of the picture from its lower left corner, in arrays of vertices alone.
class KivPixelPainting {
public:
    // atFront: at the near end of the depth range, for what a page takes or what lies ahead of surfaces yet to come;
    // otherwise without depth.
    KivPixelPainting(const KivView& view, bool atFront) {
        for (const GLenum off : {GL_LIGHTING, GL_TEXTURE_1D, GL_TEXTURE_2D, GL_BLEND, GL_CULL_FACE, GL_STENCIL_TEST,
                                 GL_POLYGON_OFFSET_FILL}) {
            glDisable(off);
        }
        if (atFront) {
            glEnable(GL_DEPTH_TEST);
            glDepthFunc(GL_ALWAYS);
            glDepthMask(GL_TRUE);
        } else {
            glDisable(GL_DEPTH_TEST);
        }
        glMatrixMode(GL_PROJECTION);
        glPushMatrix();
        kivLoadPictureProjection();
        // The depth of 0 is where depth is clipped.
        glOrtho(0.0, view.width(), 0.0, view.height(), view.hasFineDepth() ? -1.0 : 0.0, 1.0);
        glMatrixMode(GL_MODELVIEW);
        glPushMatrix();
        glLoadIdentity();
        glDisableClientState(GL_COLOR_ARRAY);
        glDisableClientState(GL_NORMAL_ARRAY);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
        glEnableClientState(GL_VERTEX_ARRAY);
    }
    ~KivPixelPainting() {
        glMatrixMode(GL_MODELVIEW);
        glPopMatrix();
        glMatrixMode(GL_PROJECTION);
        glPopMatrix();
    }
    KivPixelPainting(const KivPixelPainting&) = delete;
    KivPixelPainting& operator=(const KivPixelPainting&) = delete;

private:
    KivGlState state; // put back last
};

#endif
