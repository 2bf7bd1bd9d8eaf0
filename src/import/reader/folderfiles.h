// The files of one folder, as Assimp asks for them: to be read alone, and nothing but plain files.
#ifndef IMPORT_READER_FOLDERFILES_H
#define IMPORT_READER_FOLDERFILES_H

#include "import/reader/readerreport.h"

#include <cstdint>
#include <filesystem>
#include <string>

#include <assimp/IOSystem.hpp>

namespace kivimport {

// Whether the path, by its name, stands in the folder or below it.
bool isWithin(const std::filesystem::path& path, const std::filesystem::path& folder);

class FolderFiles : public Assimp::IOSystem {
public:
    FolderFiles(std::string modelFolder, ReaderReport& readerReport);

    bool Exists(const char* file) const override;
    char getOsSeparator() const override;
    // Null for a file outside the folder, one that is not a plain file, and any mode that writes.
    Assimp::IOStream* Open(const char* file, const char* mode) override;
    void Close(Assimp::IOStream* stream) override;

private:
    std::string folder;
    ReaderReport& report;
    // Of all files so far, so that progress does not start again with each.
    std::uint64_t bytesOpened = 0;
    std::uint64_t bytesRead = 0;
};

} // namespace kivimport

#endif
