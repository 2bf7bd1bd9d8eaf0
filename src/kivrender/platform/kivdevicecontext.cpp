#include "kivrender/platform/kivglcontext.h"

#include "kivrender/platform/kivglobjects.h"
#include "kivrender/platform/kivsystemerror.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr int bitsPerPixel = 32;

// There is one format: what the framebuffer of every context has. It counts as the system's own, generic one whatever
// draws in the end, since renders ask for that.
constexpr KivPixelFormat onlyFormat{
    PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL | PFD_GENERIC_FORMAT, PFD_TYPE_RGBA, bitsPerPixel, 8, 32, 8};

std::shared_ptr<KivDeviceContextObject> findOrFail(HDC dc) {
    auto object = kivDeviceContextTable().find(dc);
    if (object == nullptr) {
        kivSetLastError(kivErrorInvalidHandle);
    }
    return object;
}

} // namespace

KivDeviceContextTable& kivDeviceContextTable() {
    // Never destroyed: surfaces that are globals of the host are released after the library's own globals.
    static KivDeviceContextTable* const table = new KivDeviceContextTable;
    return *table;
}

HDC kivScreenDeviceContext() {
    static const HDC screen = kivDeviceContextTable().add(std::make_shared<KivDeviceContextObject>());
    return screen;
}

HDC kivCreateCompatibleDeviceContext(HDC parent) {
    if (findOrFail(parent) == nullptr) {
        return nullptr;
    }
    auto object = std::make_shared<KivDeviceContextObject>();
    object->selected = kivStandByBitmap();
    return kivDeviceContextTable().add(std::move(object));
}

bool kivDeleteDeviceContext(HDC dc) {
    const auto object = findOrFail(dc);
    if (object == nullptr || dc == kivScreenDeviceContext()) {
        return false;
    }
    const HBITMAP left = object->selected;
    if (!kivDeviceContextTable().release(dc)) {
        return false;
    }
    kivDeleteBitmap(left);
    return true;
}

HBITMAP kivSelectBitmap(HDC dc, HBITMAP bitmap) {
    const auto object = findOrFail(dc);
    if (object == nullptr || object->selected == nullptr || kivBitmapTable().find(bitmap) == nullptr) {
        kivSetLastError(kivErrorInvalidHandle);
        return nullptr;
    }
    return std::exchange(object->selected, bitmap);
}

HBITMAP kivSelectedBitmap(HDC dc) {
    const auto object = findOrFail(dc);
    return object != nullptr ? object->selected : nullptr;
}

bool kivCopyPixels(HDC target, HDC source, tagSIZE size) {
    const auto targetObject = findOrFail(target);
    const auto sourceObject = findOrFail(source);
    if (targetObject == nullptr || sourceObject == nullptr) {
        return false;
    }
    const auto to = kivBitmapTable().find(targetObject->selected);
    const auto from = kivBitmapTable().find(sourceObject->selected);
    if (to == nullptr || from == nullptr) {
        kivSetLastError(kivErrorInvalidHandle);
        return false;
    }
    const std::int32_t width = std::min(size.cx, std::min(to->size.cx, from->size.cx));
    const std::int32_t height = std::min(size.cy, std::min(to->size.cy, from->size.cy));
    if (width <= 0 || height <= 0) {
        return true;
    }
    const auto fromContext = sourceObject->drawing.lock();
    if (fromContext != nullptr && fromContext->bitmap == from) {
        kivBeforeBitmapChange(*fromContext);
    }
    const auto toContext = targetObject->drawing.lock();
    const bool isDrawing = toContext != nullptr && toContext->bitmap == to;
    if (isDrawing) {
        kivBeforeBitmapChange(*toContext);
    }
    const std::uint8_t* const copied = from->pixels();
    std::uint8_t* const pixels = to->pixels();
    for (std::int32_t fromTop = 1; fromTop <= height; ++fromTop) {
        std::memmove(pixels + to->rowBytes() * static_cast<std::size_t>(to->size.cy - fromTop),
                     copied + from->rowBytes() * static_cast<std::size_t>(from->size.cy - fromTop),
                     static_cast<std::size_t>(width) * 4U);
    }
    if (isDrawing) {
        kivAfterBitmapChange(*toContext);
    }
    return true;
}

int kivBitsPerPixel(HDC dc) {
    return findOrFail(dc) != nullptr ? bitsPerPixel : 0;
}

int kivPixelFormatCount(HDC dc) {
    return findOrFail(dc) != nullptr ? 1 : 0;
}

bool kivDescribePixelFormat(HDC dc, int number, KivPixelFormat* format) {
    if (findOrFail(dc) == nullptr || format == nullptr) {
        return false;
    }
    if (number != 1) {
        kivSetLastError(kivErrorInvalidParameter);
        return false;
    }
    *format = onlyFormat;
    return true;
}

bool kivSetPixelFormat(HDC dc, int number) {
    const auto object = findOrFail(dc);
    if (object == nullptr) {
        return kivFailGl({KivGlFailure::wrongUse, 0, "a handle that is gone"});
    }
    const auto bitmap = kivBitmapTable().find(object->selected);
    if (number != 1 || bitmap == nullptr) {
        return kivFailGl({KivGlFailure::wrongUse, 0, "no such pixel format"});
    }
    KivGlFailure failure;
    object->prepared = kivTakeGlContext(bitmap->size, &failure);
    if (object->prepared == nullptr) {
        return kivFailGl(failure);
    }
    object->pixelFormat = number;
    kivClearGlFailure();
    return true;
}
