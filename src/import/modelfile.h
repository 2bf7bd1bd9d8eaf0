// The whole text of a file in memory.
#ifndef IMPORT_MODELFILE_H
#define IMPORT_MODELFILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kivimport {

// Throws ImportError if there is no such file, if it is not a plain file, is empty or larger than maxSize bytes.
void checkModelFile(const std::string& path, std::uint64_t maxSize);

class ModelFile {
public:
    // Throws as checkModelFile does, and if it can't be read.
    ModelFile(const std::string& path, std::uint64_t maxSize);

    std::string_view text() const {
        return {data.get(), size};
    }

private:
    std::unique_ptr<char[]> data;
    std::size_t size = 0;
};

} // namespace kivimport

#endif
