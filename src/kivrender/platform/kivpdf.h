// Reworks a PDF file after it was printed.
#ifndef KIVRENDER_PLATFORM_KIVPDF_H
#define KIVRENDER_PLATFORM_KIVPDF_H

#include "kivrender/platform/kivexport.h"

#include <string>

// Turns areas of one colour that gl2ps has printed as a shading into paths, and compresses the streams, in place; the
// same file gives the same bytes. A file that is not understood stays as it is, and that is no failure. False with the
// last error set if the new file could not be written; then the old one is there, or, of a file that has no name in a
// folder, a part of the new one.
KIV_API bool kivFinishPdf(const std::wstring& path);

#endif
