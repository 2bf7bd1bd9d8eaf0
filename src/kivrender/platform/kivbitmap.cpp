#include "kivrender/platform/kivbitmap.h"

#include "kivrender/platform/kivbitmapobject.h"
#include "kivrender/platform/kivdeferredpicture.h"
#include "kivrender/platform/kivsystemerror.h"

#include <cstring>
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

std::uint8_t* KivBitmapObject::pixels() {
    const std::lock_guard lock(guard);
    hasReaders = true;
    copyKept();
    return memory->data();
}

bool KivBitmapObject::copyRows(std::int32_t first, std::int32_t count, std::uint8_t* rows) {
    const std::lock_guard lock(guard);
    if (kept != nullptr) {
        return kept->readRows(first, count, rows);
    }
    std::memcpy(rows, memory->data() + rowBytes() * static_cast<std::size_t>(first),
                rowBytes() * static_cast<std::size_t>(count));
    return true;
}

bool KivBitmapObject::keep(std::shared_ptr<KivDrawnPicture> picture) {
    const std::lock_guard lock(guard);
    if (hasReaders) {
        return false;
    }
    kept = std::move(picture);
    return true;
}

void KivBitmapObject::settle(bool isWanted) {
    const std::lock_guard lock(guard);
    if (isWanted) {
        copyKept();
    }
    kept = nullptr;
}

void KivBitmapObject::copyKept() {
    if (kept != nullptr) {
        kept->readRows(0, size.cy, memory->data());
        kept = nullptr;
    }
}

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
    info->pixels = object->pixels();
    info->isSection = object->isSection;
    return true;
}

bool kivGetBitmapSize(HBITMAP bitmap, tagSIZE* size, bool* isSection) {
    const std::shared_ptr<KivBitmapObject> object = kivBitmapTable().find(bitmap);
    if (object == nullptr) {
        kivSetLastError(kivErrorInvalidHandle);
        return false;
    }
    *size = object->size;
    *isSection = object->isSection;
    return true;
}

bool kivReadBitmapRows(HBITMAP bitmap, std::int32_t first, std::int32_t count, std::uint8_t* rows) {
    const std::shared_ptr<KivBitmapObject> object = kivBitmapTable().find(bitmap);
    if (object == nullptr) {
        kivSetLastError(kivErrorInvalidHandle);
        return false;
    }
    if (first < 0 || count < 0 || count > object->size.cy - first) {
        kivSetLastError(kivErrorInvalidParameter);
        return false;
    }
    return count == 0 || object->copyRows(first, count, rows);
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
