// The page that gl2ps writes, as this system needs it: opened by a wide file name, closed with a stage that may replace
// what was recorded, with ticks and a cancel test on the way. One page at a time in a process, on the thread that has
// the OpenGL context.
//
// gl2ps itself records into a feedback buffer of its own from gl2psBeginPage on. At the end we leave feedback mode in
// its place, read its buffer, hand it the primitives one by one, and let it sort and print: it then finds no feedback
// of its own.
#ifndef KIVRENDER_VECTOR_GL2PSPAGE_H
#define KIVRENDER_VECTOR_GL2PSPAGE_H

#include "kivrender/platform/kivexport.h"

#include <gl2ps.h>

#include <vector>

// Adobe Illustrator's files are PDF inside.
inline constexpr GLint GL2PS_AI = 6;

// As gl2psBeginPage, but for the file. It is made when printing begins, and only then; what stood under that name goes.
// A page that is still open, as a cancelled render leaves it, is given up first. With GL2PS_OCCLUSION_CULL what is
// hidden is left out of a page that is simplified.
KIV_API GLint gl2psBeginPageW(const char* title, const char* producer, GLint viewport[4], GLint format, GLint sort,
                              GLint options, GLint colormode, GLint colorsize, GL2PSrgba* colormap, GLint nr, GLint ng,
                              GLint nb, GLint buffersize, const wchar_t* filename);

// simplify, which may be null, gets the recorded floats in the form of FeedbackPrimitive's parsers and returns others
// from malloc, or null with a count of 0 for a cancel. Without it beginOutput, which may be null, gets the number of
// primitives. tick is called once for each primitive that is printed, and with simplify once more for each that is
// handed over; isCancelled is asked as often.
//
// GL2PS_SUCCESS, or GL2PS_OVERFLOW where the buffer was too small, GL2PS_ERROR where the file could not be written (the
// last error says why), GL2PS_NO_FEEDBACK after a cancel, GL2PS_UNINITIALIZED without a page. Only a success leaves a
// file.
KIV_API GLint gl2psEndPage(float* (*simplify)(float* feedback, int* used), void (*tick)(), bool (*isCancelled)(),
                           void (*beginOutput)(int primitives));

// A page that is only recorded and never printed: nothing is written anywhere. The end gives what was recorded, as
// LibraryFeedback reads it; GL2PS_SUCCESS, GL2PS_OVERFLOW where the buffer was too small, GL2PS_UNINITIALIZED without a
// page.
KIV_API GLint gl2psBeginRecording(GLint buffersize);
KIV_API GLint gl2psEndRecording(std::vector<float>* recorded);
// What KivVectorPage::wasOrderExact tells of a drawing that was recorded and sorted by the caller; each recording
// begins with true.
void kivNoteOrder(bool isExact);

// Gives an open page up: no file is left. The context that it was opened in may be gone; nothing happens without a
// page.
KIV_API void gl2psDiscardPage();

#endif
