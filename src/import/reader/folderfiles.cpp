#include "import/reader/folderfiles.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include <assimp/IOStream.hpp>

namespace kivimport {
namespace {

namespace fs = std::filesystem;

using FilePointer = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

class FolderFile : public Assimp::IOStream {
public:
    FolderFile(FilePointer openFile, std::size_t bytes, ReaderReport& readerReport, const std::uint64_t& allOpened,
               std::uint64_t& allRead)
        : file(std::move(openFile)), size(bytes), report(readerReport), opened(allOpened), read(allRead) {}

    std::size_t Read(void* to, std::size_t itemSize, std::size_t count) override {
        const std::size_t got = std::fread(to, itemSize, count, file.get());
        read += got * itemSize;
        // Reading is a part of the parsing that follows it, or goes along with it: nobody knows which.
        report.done(0.5 * static_cast<double>(read) / static_cast<double>(opened));
        return got;
    }
    std::size_t Write(const void* /*from*/, std::size_t /*itemSize*/, std::size_t /*count*/) override {
        return 0;
    }
    aiReturn Seek(std::size_t offset, aiOrigin origin) override {
        const int from = origin == aiOrigin_SET ? SEEK_SET : origin == aiOrigin_CUR ? SEEK_CUR : SEEK_END;
        return fseeko(file.get(), static_cast<off_t>(offset), from) == 0 ? aiReturn_SUCCESS : aiReturn_FAILURE;
    }
    std::size_t Tell() const override {
        return static_cast<std::size_t>(ftello(file.get()));
    }
    std::size_t FileSize() const override {
        return size;
    }
    void Flush() override {}

private:
    FilePointer file;
    std::size_t size;
    ReaderReport& report;
    const std::uint64_t& opened;
    std::uint64_t& read;
};

} // namespace

bool isWithin(const fs::path& path, const fs::path& folder) {
    std::error_code problem;
    const fs::path there = fs::absolute(path, problem).lexically_normal();
    const fs::path here = fs::absolute(folder, problem).lexically_normal();
    const fs::path relative = there.lexically_relative(here);
    return !problem && !relative.empty() && *relative.begin() != "..";
}

FolderFiles::FolderFiles(std::string modelFolder, ReaderReport& readerReport)
    : folder(std::move(modelFolder)), report(readerReport) {}

bool FolderFiles::Exists(const char* file) const {
    std::error_code problem;
    return isWithin(file, folder) && fs::is_regular_file(file, problem);
}

char FolderFiles::getOsSeparator() const {
    return '/';
}

Assimp::IOStream* FolderFiles::Open(const char* file, const char* mode) {
    std::error_code problem;
    if (std::strpbrk(mode, "wa+") != nullptr || !Exists(file)) {
        return nullptr;
    }
    const std::uintmax_t size = fs::file_size(file, problem);
    FilePointer opened(problem ? nullptr : std::fopen(file, "rbe"), std::fclose);
    if (opened == nullptr) {
        return nullptr;
    }
    bytesOpened += size;
    report.opened(size);
    return new FolderFile(std::move(opened), size, report, bytesOpened, bytesRead);
}

void FolderFiles::Close(Assimp::IOStream* stream) {
    delete stream;
}

} // namespace kivimport
