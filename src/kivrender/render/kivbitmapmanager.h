// The off-screen surface of a render: the bitmap, the memory behind it, and the device and OpenGL contexts that draw
// into it.
//
// The host makes one, hands it to KivRenderer::render and finds the picture in it afterwards; its destructor gives
// everything back. Its memory can be a file in a folder of the user's choice, as a picture can be larger than memory.
//
// Swap rule: while the device context exists, the bitmap that is drawn into is selected into it and getHBitmap returns
// the context's stand-by bitmap of one pixel. Who wants the picture goes through wglLockBitmap or comes after
// deleteContext. The pixels of a handle are read by kivGetBitmapInfo (platform/kivbitmap.h).
//
// The lock is recursive and held for each single read or write of a handle, so that another thread may look at the
// surface while a render runs: it takes lock(), reads, and calls unlock().
#ifndef KIVRENDER_RENDER_KIVBITMAPMANAGER_H
#define KIVRENDER_RENDER_KIVBITMAPMANAGER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivpixelformat.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <mutex>
#include <string>

class KIV_API KivBitmapManager {
public:
    KivBitmapManager();
    // The copy names the same handles, as operator= does, and has the name of the vector file as well.
    KivBitmapManager(const KivBitmapManager& other);
    ~KivBitmapManager();

    // Names the other's five handles, the name of its backing file and its size. Bitmap and memory then have both as
    // owners and live until both are gone; a context ends when the first of the two ends it. What this object named
    // before is released. The source is not locked, vectorialTempFileName is not copied.
    void operator=(const KivBitmapManager& other);

    // Makes a bitmap of that size in pixels on a file in the folder, or on the system's memory if the folder is null,
    // empty or unusable. False on failure: without a message if the memory can't be reserved, with the host's
    // morvaneErrorMessage and that number as last error if the bitmap can't be made. The former bitmap is released on
    // success and kept on failure.
    bool buildBitmapMemory(const wchar_t* folder, tagSIZE newSize);
    // Makes an empty file for a vector page, writes its path to out, which holds kivMaxPath characters, and remembers
    // it. The file lives as long as this surface and its copies, or until the next one is made, and is gone however the
    // process ends; whoever wants to keep it copies it. Throws KivShader::stopReason with value 0 if no file can be
    // made; out is then untouched.
    void generateVectorialTempFileName(wchar_t* out);
    // Copies the picture of a device context onto this one, top left corner on top left corner. False if there is
    // nothing to copy from or to.
    bool copyBitmap(HDC source);
    // Ends the OpenGL context, if there is one, and the device context; the picture is then in getHBitmap.
    void deleteContext();

    void lock();
    void unlock();

    // The one that is set replaces the former one and is released by this object in the end; the former is the
    // caller's.
    HBITMAP getHBitmap();
    void setHBitmap(HBITMAP bitmap);
    HANDLE getHFile();
    void setHFile(HANDLE file);
    HANDLE getHSection();
    void setHSection(HANDLE section);
    HDC getHDC();
    void setHDC(HDC dc);
    HGLRC getHGLRC();
    void setHGLRC(HGLRC context);

    tagSIZE getSize();
    std::wstring& getVectorialTempFileName();

private:
    void release();
    void releaseMemory();
    void share(const KivBitmapManager& other);
    bool reportBitmapError(unsigned long code);

    HBITMAP hBitmap = nullptr;
    HANDLE hFile = nullptr; // the backing file, the invalid handle for the system's memory, null after a failure
    HANDLE hSection = nullptr;
    HDC hDC = nullptr;
    HGLRC hGLRC = nullptr;
    std::wstring tempFileName;
    std::wstring vectorialTempFileName;
    tagSIZE size{};
    std::recursive_mutex mutex;
};

// The device context of a surface. All of them return 0 or null for a null surface, with the last error
// kivErrorBadArguments (160), and for any other failure; non-zero on success. They hold the surface's lock.
extern "C" {

// Makes bitmap and device context for a size in pixels and asks for a pixel format with at least these bits and the
// generic flags of flags; returns the format's number. Without fileBacked the bitmap stands on memory of its own and
// the folder has no meaning; otherwise see buildBitmapMemory. A size that OpenGL can't draw, and a system without
// OpenGL, are told by the host's morvaneErrorMessage. On failure everything is undone and the last error is that of
// what failed.
KIV_API int wglCreateDefaultBitmapDC(KivBitmapManager* surface, tagSIZE* size, std::uint8_t colourBits,
                                     std::uint8_t alphaBits, std::uint8_t depthBits, std::uint8_t stencilBits,
                                     std::uint32_t flags, const wchar_t* folder, bool fileBacked);
// The same with the surface's own device context as the parent in place of the screen.
KIV_API int wglCreateCompatibleBitmapDC(KivBitmapManager* surface, tagSIZE* size, std::uint8_t colourBits,
                                        std::uint8_t alphaBits, std::uint8_t depthBits, std::uint8_t stencilBits,
                                        std::uint32_t flags, const wchar_t* folder, bool fileBacked);
// Ends the device context; the picture is in getHBitmap. 0 also if there is none.
KIV_API int wglDeleteBitmapDC(KivBitmapManager* surface);
// Finishes the drawing, releases the OpenGL context of this thread and returns the picture, which stays the surface's.
// Call it on the thread that renders, and wglUnLockBitmap after it.
KIV_API HBITMAP wglLockBitmap(KivBitmapManager* surface);
// Gives the picture back to the device context and takes the OpenGL context again, if one is given.
KIV_API int wglUnLockBitmap(KivBitmapManager* surface, HGLRC context);
}

// Sets the first pixel format, in the order of their numbers, that draws with OpenGL into bitmaps, has the generic bits
// of flags and at least these bits; returns its number. 0 if there is none, with the last error
// kivErrorInvalidPixelFormat (2000).
KIV_API int wglSetPixelFormat(HDC dc, std::uint8_t colourBits, std::uint8_t alphaBits, std::uint8_t depthBits,
                              std::uint8_t stencilBits, std::uint32_t flags);

#endif
