#include "import/modelfile.h"

#include "import/modelparts.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace kivimport {

void checkModelFile(const std::string& path, std::uint64_t maxSize) {
    std::error_code problem;
    const std::filesystem::file_status status = std::filesystem::status(path, problem);
    if (status.type() == std::filesystem::file_type::not_found) {
        throw ImportError("there is no such file");
    }
    if (status.type() == std::filesystem::file_type::directory) {
        throw ImportError("it is a folder");
    }
    if (status.type() != std::filesystem::file_type::regular) {
        throw ImportError("it is no plain file");
    }
    const std::uintmax_t size = std::filesystem::file_size(path, problem);
    if (problem) {
        throw ImportError("it can't be opened (" + problem.message() + ")");
    }
    if (size == 0) {
        throw ImportError("the file is empty");
    }
    if (size > maxSize) {
        throw ImportError("it is too large: " + std::to_string(size) + " bytes, at most " + std::to_string(maxSize) +
                          " are read");
    }
}

ModelFile::ModelFile(const std::string& path, std::uint64_t maxSize) {
    checkModelFile(path, maxSize);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr) {
        throw ImportError(std::string("it can't be opened (") + std::strerror(errno) + ")");
    }
    const std::size_t expected = std::filesystem::file_size(path);
    data = std::make_unique_for_overwrite<char[]>(expected);
    // What another program appends or cuts meanwhile is not our matter: what has been read is what there is.
    size = std::fread(data.get(), 1, expected, file.get());
    if (std::ferror(file.get()) != 0) {
        throw ImportError(std::string("it can't be read (") + std::strerror(errno) + ")");
    }
}

} // namespace kivimport
