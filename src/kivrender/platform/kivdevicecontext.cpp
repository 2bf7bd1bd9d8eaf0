#include "kivrender/platform/kivglcontext.h"

#include "kivrender/platform/kivglobjects.h"
#include "kivrender/platform/kivsystemerror.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace {

constexpr int bitsPerPixel = 32;

// What framebuffers have, the lesser first, as callers take the first format that has all they ask for. They count as
// the system's own, generic ones whatever draws in the end, since renders ask for that.
constexpr std::uint32_t formatFlags = PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL | PFD_GENERIC_FORMAT;
constexpr std::array<KivPixelFormat, 2> formats{
    {{formatFlags, PFD_TYPE_RGBA, bitsPerPixel, 8, 32, 0}, {formatFlags, PFD_TYPE_RGBA, bitsPerPixel, 8, 32, 8}}};

bool isFormat(int number) {
    return number >= 1 && number <= static_cast<int>(formats.size());
}

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
    return findOrFail(dc) != nullptr ? static_cast<int>(formats.size()) : 0;
}

bool kivHasStencil(int pixelFormat) {
    return isFormat(pixelFormat) && formats[static_cast<std::size_t>(pixelFormat) - 1].stencilBits > 0;
}

bool kivDescribePixelFormat(HDC dc, int number, KivPixelFormat* format) {
    if (findOrFail(dc) == nullptr || format == nullptr) {
        return false;
    }
    if (!isFormat(number)) {
        kivSetLastError(kivErrorInvalidParameter);
        return false;
    }
    *format = formats[static_cast<std::size_t>(number) - 1];
    return true;
}

bool kivSetPixelFormat(HDC dc, int number) {
    const auto object = findOrFail(dc);
    if (object == nullptr) {
        return kivFailGl({KivGlFailure::wrongUse, 0, "a handle that is gone"});
    }
    const auto bitmap = kivBitmapTable().find(object->selected);
    if (!isFormat(number) || bitmap == nullptr) {
        return kivFailGl({KivGlFailure::wrongUse, 0, "no such pixel format"});
    }
    KivGlFailure failure;
    object->prepared = kivTakeGlContext(bitmap->size, kivHasStencil(number), &failure);
    if (object->prepared == nullptr) {
        return kivFailGl(failure);
    }
    object->pixelFormat = number;
    kivClearGlFailure();
    return true;
}
