#include "kivrender/platform/kivbitmap.h"

#include "kivrender/platform/kivbitmapobject.h"
#include "kivrender/platform/kivsystemerror.h"

#include <utility>

namespace {

bool isDrawable(tagSIZE size) {
    if (size.cx > 0 && size.cy > 0) {
        return true;
    }
    kivSetLastError(kivErrorInvalidParameter);
    return false;
}

// Of sizes above 0 the product stays below 2^64.
std::uint64_t pixelBytes(tagSIZE size) {
    return static_cast<std::uint64_t>(size.cx) * static_cast<std::uint64_t>(size.cy) * 4U;
}

HBITMAP addBitmap(tagSIZE size, std::shared_ptr<KivPixelMemory> memory, bool isSection) {
    auto bitmap = std::make_shared<KivBitmapObject>();
    bitmap->size = size;
    bitmap->memory = std::move(memory);
    bitmap->isSection = isSection;
    return kivBitmapTable().add(std::move(bitmap));
}

} // namespace

KivBitmapTable& kivBitmapTable() {
    // Never destroyed: surfaces that are globals of the host are released after the library's own globals.
    static KivBitmapTable* const table = new KivBitmapTable;
    return *table;
}

bool kivGetBitmapInfo(HBITMAP bitmap, KivBitmapInfo* info) {
    const std::shared_ptr<KivBitmapObject> object = kivBitmapTable().find(bitmap);
    if (object == nullptr || info == nullptr) {
        kivSetLastError(kivErrorInvalidHandle);
        return false;
    }
    info->width = object->size.cx;
    info->height = object->size.cy;
    info->rowBytes = object->rowBytes();
    info->pixels = object->memory->data();
    info->isSection = object->isSection;
    return true;
}

HBITMAP kivCreateBitmap(tagSIZE size) {
    if (!isDrawable(size)) {
        return nullptr;
    }
    std::shared_ptr<KivPixelMemory> memory = KivPixelMemory::map(-1, pixelBytes(size));
    return memory != nullptr ? addBitmap(size, std::move(memory), false) : nullptr;
}

HBITMAP kivCreateBitmapOnSection(tagSIZE size, HANDLE section) {
    if (!isDrawable(size)) {
        return nullptr;
    }
    std::shared_ptr<KivPixelMemory> memory = kivSectionMemory(section);
    if (memory == nullptr) {
        kivSetLastError(kivErrorInvalidHandle);
        return nullptr;
    }
    if (memory->size() < pixelBytes(size)) {
        kivSetLastError(kivErrorNotEnoughMemory);
        return nullptr;
    }
    return addBitmap(size, std::move(memory), true);
}

HBITMAP kivShareBitmap(HBITMAP bitmap) {
    return bitmap == kivStandByBitmap() || kivBitmapTable().share(bitmap) ? bitmap : nullptr;
}

bool kivDeleteBitmap(HBITMAP bitmap) {
    return bitmap == kivStandByBitmap() || kivBitmapTable().release(bitmap);
}

HBITMAP kivStandByBitmap() {
    static const HBITMAP bitmap = kivCreateBitmap({1, 1});
    return bitmap;
}
