// The object behind HBITMAP, for the platform folder alone.
#ifndef KIVRENDER_PLATFORM_KIVBITMAPOBJECT_H
#define KIVRENDER_PLATFORM_KIVBITMAPOBJECT_H

#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivhandletable.h"
#include "kivrender/platform/kivpixelmemory.h"

#include <memory>
#include <mutex>

// A picture that is not yet in the memory of its bitmap.
class KivDrawnPicture {
public:
    KivDrawnPicture() = default;
    KivDrawnPicture(const KivDrawnPicture&) = delete;
    KivDrawnPicture& operator=(const KivDrawnPicture&) = delete;
    virtual ~KivDrawnPicture() = default;

    // Copies rows, the bottom one being 0, without padding. False, with nothing copied, if the picture can't be had.
    virtual bool readRows(std::int32_t first, std::int32_t count, std::uint8_t* rows) = 0;
};

struct KivBitmapObject {
    tagSIZE size{};
    std::shared_ptr<KivPixelMemory> memory; // never null, at least height rows
    bool isSection = false;

    std::size_t rowBytes() const {
        return static_cast<std::size_t>(size.cx) * 4U;
    }

    // The pixels, after what was drawn has come into them. Whoever has them once may look at them at any time.
    std::uint8_t* pixels();
    // Rows, the bottom one being 0, without filling the memory for them.
    bool copyRows(std::int32_t first, std::int32_t count, std::uint8_t* rows);
    // The bitmap's picture is that one from now on, and is copied when it is asked for. False, with nothing changed,
    // for a bitmap whose pixels somebody has.
    bool keep(std::shared_ptr<KivDrawnPicture> picture);
    // The kept picture is about to change. It is given up, or copied if the bitmap is to have it.
    void settle(bool isWanted);

private:
    void copyKept();

    std::mutex guard; // of what follows
    std::shared_ptr<KivDrawnPicture> kept;
    bool hasReaders = false;
};

using KivBitmapTable = KivHandleTable<KivBitmapObject, HBITMAP>;

KivBitmapTable& kivBitmapTable();

#endif
