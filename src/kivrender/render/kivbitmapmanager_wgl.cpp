// The device context of a surface: made, ended, and given up and taken back while the host looks at the picture.
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivpixelmemory.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"

namespace {

class SurfaceGuard {
public:
    explicit SurfaceGuard(KivBitmapManager* locked) : surface(locked) {
        surface->lock();
    }
    SurfaceGuard(const SurfaceGuard&) = delete;
    SurfaceGuard& operator=(const SurfaceGuard&) = delete;
    ~SurfaceGuard() {
        surface->unlock();
    }

private:
    KivBitmapManager* surface;
};

constexpr std::uint32_t genericBits = PFD_GENERIC_FORMAT | PFD_GENERIC_ACCELERATED;

int failBadArguments() {
    kivSetLastError(kivErrorBadArguments);
    return 0;
}

// A surface has one picture: what an earlier render left in it goes, and so does the bitmap of a failed one.
void dropBitmap(KivBitmapManager* surface) {
    kivDeleteBitmap(surface->getHBitmap());
    surface->setHBitmap(nullptr);
}

void closeMemory(KivBitmapManager* surface) {
    kivCloseHandle(surface->getHFile());
    kivCloseHandle(surface->getHSection());
    surface->setHFile(nullptr);
    surface->setHSection(nullptr);
}

HBITMAP makeBitmap(KivBitmapManager* surface, tagSIZE size, const wchar_t* folder, bool fileBacked) {
    if (fileBacked) {
        return surface->buildBitmapMemory(folder, size) ? surface->getHBitmap() : nullptr;
    }
    const HBITMAP bitmap = kivCreateBitmap(size);
    if (bitmap != nullptr) {
        dropBitmap(surface);
        surface->setHBitmap(bitmap);
    }
    return bitmap;
}

// The text with the sizes in its places. They are put in one by one: a translation is no format that could be trusted.
std::wstring tooLargeText(tagSIZE size, std::int32_t limit) {
    constexpr unsigned int id = 1004;
    const std::wstring place = L"%d";
    std::wstring text = kivText(id);
    std::size_t at = 0;
    for (const std::int32_t number : {size.cx, size.cy, limit, limit}) {
        at = text.find(place, at);
        if (at == std::wstring::npos) {
            break;
        }
        const std::wstring digits = std::to_wstring(number);
        text.replace(at, place.size(), digits);
        at += digits.size();
    }
    return text;
}

std::wstring noDriverText(const std::string& detail) {
    constexpr unsigned int id = 1005;
    return kivText(id).append(L" (").append(kivFromUtf8(detail)).append(L")");
}

// A picture that a user asks for in good faith and OpenGL can't draw, and a machine without OpenGL: a render would
// otherwise end without a word.
void reportGlFailure(tagSIZE size) {
    KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
    const KivGlFailure failure = kivGlFailure();
    if (host == nullptr) {
        return;
    }
    if (failure.kind == KivGlFailure::tooLarge) {
        host->morvaneErrorMessage(kivErrorInvalidPixelFormat, tooLargeText(size, failure.limit).c_str());
    } else if (failure.kind == KivGlFailure::noDriver) {
        host->morvaneErrorMessage(kivErrorInvalidPixelFormat, noDriverText(failure.detail).c_str());
    } else if (failure.kind == KivGlFailure::noMemory) {
        host->morvaneErrorMessage(kivErrorNotEnoughMemory, nullptr);
    }
}

bool isFitting(const KivPixelFormat& format, std::uint8_t colourBits, std::uint8_t alphaBits, std::uint8_t depthBits,
               std::uint8_t stencilBits, std::uint32_t flags) {
    constexpr std::uint32_t needed = PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL;
    return (format.flags & needed) == needed && (format.flags & genericBits) == (flags & genericBits) &&
           format.pixelType == PFD_TYPE_RGBA && format.colourBits >= colourBits && format.alphaBits >= alphaBits &&
           format.depthBits >= depthBits && format.stencilBits >= stencilBits;
}

} // namespace

int wglSetPixelFormat(HDC dc, std::uint8_t colourBits, std::uint8_t alphaBits, std::uint8_t depthBits,
                      std::uint8_t stencilBits, std::uint32_t flags) {
    const int count = kivPixelFormatCount(dc);
    for (int number = 1; number <= count; ++number) {
        KivPixelFormat format;
        if (kivDescribePixelFormat(dc, number, &format) &&
            isFitting(format, colourBits, alphaBits, depthBits, stencilBits, flags)) {
            if (kivSetPixelFormat(dc, number)) {
                return number;
            }
            break;
        }
    }
    kivSetLastError(kivErrorInvalidPixelFormat);
    return 0;
}

int wglCreateCompatibleBitmapDC(KivBitmapManager* surface, tagSIZE* size, std::uint8_t colourBits,
                                std::uint8_t alphaBits, std::uint8_t depthBits, std::uint8_t stencilBits,
                                std::uint32_t flags, const wchar_t* folder, bool fileBacked) {
    if (surface == nullptr || size == nullptr) {
        return failBadArguments();
    }
    const SurfaceGuard guard(surface);
    const HDC parent = surface->getHDC();
    const HDC dc = kivCreateCompatibleDeviceContext(parent);
    if (dc == nullptr) {
        return 0;
    }
    if (colourBits == 0) {
        colourBits = static_cast<std::uint8_t>(kivBitsPerPixel(parent));
    }
    const HBITMAP bitmap = makeBitmap(surface, *size, folder, fileBacked);
    if (bitmap == nullptr) {
        const unsigned long error = kivGetLastError();
        dropBitmap(surface);
        closeMemory(surface);
        kivDeleteDeviceContext(dc);
        kivSetLastError(error);
        return 0;
    }
    surface->setHBitmap(kivSelectBitmap(dc, bitmap));
    const int format = wglSetPixelFormat(dc, colourBits, alphaBits, depthBits, stencilBits, flags);
    if (format == 0) {
        const unsigned long error = kivGetLastError();
        closeMemory(surface);
        kivDeleteBitmap(kivSelectBitmap(dc, surface->getHBitmap()));
        surface->setHBitmap(nullptr);
        kivDeleteDeviceContext(dc);
        reportGlFailure(*size);
        kivSetLastError(error);
        return 0;
    }
    surface->setHDC(dc);
    return format;
}

int wglCreateDefaultBitmapDC(KivBitmapManager* surface, tagSIZE* size, std::uint8_t colourBits, std::uint8_t alphaBits,
                             std::uint8_t depthBits, std::uint8_t stencilBits, std::uint32_t flags,
                             const wchar_t* folder, bool fileBacked) {
    if (surface == nullptr || size == nullptr) {
        return failBadArguments();
    }
    const SurfaceGuard guard(surface);
    surface->deleteContext(); // a cancelled render leaves its contexts behind
    surface->setHDC(kivScreenDeviceContext());
    return wglCreateCompatibleBitmapDC(surface, size, colourBits, alphaBits, depthBits, stencilBits, flags, folder,
                                       fileBacked);
}

int wglDeleteBitmapDC(KivBitmapManager* surface) {
    if (surface == nullptr) {
        return failBadArguments();
    }
    const SurfaceGuard guard(surface);
    const HDC dc = surface->getHDC();
    if (dc == nullptr) {
        return 0;
    }
    // Null if the context is the screen, after a failure, or was ended through a copy of the surface: what hBitmap
    // names then stays.
    if (const HBITMAP picture = kivSelectBitmap(dc, surface->getHBitmap()); picture != nullptr) {
        surface->setHBitmap(picture);
    }
    kivDeleteDeviceContext(dc);
    surface->setHDC(nullptr);
    return 1;
}

HBITMAP wglLockBitmap(KivBitmapManager* surface) {
    if (surface == nullptr) {
        failBadArguments();
        return nullptr;
    }
    kivMakeGlCurrent(nullptr, nullptr); // waits for the drawing to end
    const SurfaceGuard guard(surface);
    const HBITMAP picture = kivSelectBitmap(surface->getHDC(), surface->getHBitmap());
    if (picture != nullptr) {
        surface->setHBitmap(picture);
    }
    return picture;
}

int wglUnLockBitmap(KivBitmapManager* surface, HGLRC context) {
    if (surface == nullptr) {
        return failBadArguments();
    }
    const SurfaceGuard guard(surface);
    if (const HBITMAP standBy = kivSelectBitmap(surface->getHDC(), surface->getHBitmap()); standBy != nullptr) {
        surface->setHBitmap(standBy);
    }
    if (context == nullptr) {
        return 1;
    }
    return kivMakeGlCurrent(surface->getHDC(), context) ? 1 : 0;
}
