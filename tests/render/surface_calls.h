// Counts the calls of OpenGL and EGL that the library makes: this program's own definitions of these functions come
// before the system's and pass each call on.
#ifndef TESTS_RENDER_SURFACE_CALLS_H
#define TESTS_RENDER_SURFACE_CALLS_H

// Of all counted functions together, since the program started.
int surfaceGlCalls();

#endif
