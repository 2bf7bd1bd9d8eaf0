// Compression in memory.
#ifndef KIVRENDER_PLATFORM_KIVDEFLATE_H
#define KIVRENDER_PLATFORM_KIVDEFLATE_H

#include "kivrender/platform/kivexport.h"

#include <string>
#include <string_view>

// A zlib stream (RFC 1950), as PDF's FlateDecode reads it; the same bytes give the same stream. Throws std::bad_alloc.
KIV_API std::string kivDeflate(std::string_view bytes);

#endif
