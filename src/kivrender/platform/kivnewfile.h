// A file on its way to its name: written beside it and put in place as a whole. Where the file system knows files
// without a name it has none until then, so that nothing is left however the process ends; elsewhere it has a name of
// its own, which goes with the object.
#ifndef KIVRENDER_PLATFORM_KIVNEWFILE_H
#define KIVRENDER_PLATFORM_KIVNEWFILE_H

#include "kivrender/platform/kivdescriptor.h"

#include <optional>
#include <string>

#include <sys/stat.h>

class KivNewFile {
public:
    // The name that it is to have; a link is followed, so that it stays a link.
    explicit KivNewFile(const std::wstring& path);
    KivNewFile(const KivNewFile&) = delete;
    KivNewFile& operator=(const KivNewFile&) = delete;
    ~KivNewFile();

    // The file has the permissions of the one that it replaces, and its owner where the system lets us. What is no
    // regular file (a pipe, a device), or has no name that one could take, is opened itself. False with errno set.
    bool open();
    int descriptor() const {
        return file->get();
    }
    // Gives the file its name. With isUnique it fails with EEXIST where the name is taken. False with errno set.
    bool finish(bool isUnique = false);

private:
    bool followLinks(bool* isNamed);
    bool create();
    bool createNamed();
    bool keepPermissions() const;
    bool giveName(bool isUnique);
    bool rename(bool isUnique) const;
    std::string freeName() const;

    std::string target;
    std::string name;       // of the work in progress, empty for none
    bool isUnnamed = false; // waiting for a name
    bool isInPlace = false; // the old file itself is written
    std::optional<struct stat> old;
    std::optional<KivDescriptor> file;
};

// Writes all; false with errno set.
bool kivWriteAll(int descriptor, const void* bytes, std::size_t count);

#endif
