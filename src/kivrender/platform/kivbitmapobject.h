// The object behind HBITMAP, for the platform folder alone.
#ifndef KIVRENDER_PLATFORM_KIVBITMAPOBJECT_H
#define KIVRENDER_PLATFORM_KIVBITMAPOBJECT_H

#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivhandletable.h"
#include "kivrender/platform/kivpixelmemory.h"

struct KivBitmapObject {
    tagSIZE size{};
    std::shared_ptr<KivPixelMemory> memory; // never null, at least height rows
    bool isSection = false;

    std::size_t rowBytes() const {
        return static_cast<std::size_t>(size.cx) * 4U;
    }
};

using KivBitmapTable = KivHandleTable<KivBitmapObject, HBITMAP>;

KivBitmapTable& kivBitmapTable();

#endif
