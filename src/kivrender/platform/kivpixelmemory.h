// The memory behind a surface: a file in a folder of the user's choice or the system's memory, and a section of either
// that bitmaps stand on.
//
// Files and sections are handles of the kind that bitmaps are (platform/kivbitmap.h): never given twice, refused once
// closed, with a count of owners. Null and kivInvalidHandle() are never handles of anything.
#ifndef KIVRENDER_PLATFORM_KIVPIXELMEMORY_H
#define KIVRENDER_PLATFORM_KIVPIXELMEMORY_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

// Stands for "no file: use the system's memory".
KIV_API HANDLE kivInvalidHandle();

// Makes a new empty file in the folder, named by the prefix, a number and ".tmp", and takes its name out of the folder
// at once, so that nothing is left behind however the process ends. *name gets the full path it had. Null on failure,
// with the last error set and *name untouched.
KIV_API HANDLE kivCreateTemporaryFile(const std::wstring& folder, const std::wstring& prefix, std::wstring* name);

// A section of that many bytes over a file, which grows to that size with its space reserved on the disk, or over the
// system's memory for kivInvalidHandle(). All bytes are 0. Null on failure, with the last error set: kivErrorDiskFull,
// kivErrorFileTooLarge, kivErrorNotEnoughMemory, kivErrorInvalidHandle, or kivErrorInvalidParameter for 0 bytes.
KIV_API HANDLE kivCreateSection(HANDLE file, std::uint32_t bytes);

// One more owner of a file or a section. Returns the same handle; null and the invalid value come back as they are, a
// closed one as null.
KIV_API HANDLE kivShareHandle(HANDLE handle);

// One owner less; the last one closes. False for null, the invalid value and a closed handle.
KIV_API bool kivCloseHandle(HANDLE handle);

// The mapped memory itself. For platform/ only: bitmaps keep it alive through this.
class KivPixelMemory {
public:
    // Null on failure with the last error set. A descriptor of -1 takes the system's memory.
    static std::shared_ptr<KivPixelMemory> map(int descriptor, std::size_t bytes);
    KivPixelMemory(const KivPixelMemory&) = delete;
    KivPixelMemory& operator=(const KivPixelMemory&) = delete;
    ~KivPixelMemory();

    std::uint8_t* data() const {
        return address;
    }
    std::size_t size() const {
        return bytes;
    }

private:
    KivPixelMemory(std::uint8_t* start, std::size_t length) : address(start), bytes(length) {}

    std::uint8_t* address;
    std::size_t bytes;
};

// The memory of an open section, or null.
std::shared_ptr<KivPixelMemory> kivSectionMemory(HANDLE section);

#endif
