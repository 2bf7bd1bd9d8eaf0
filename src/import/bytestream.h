// Bytes on their way from one process to another.
#ifndef IMPORT_BYTESTREAM_H
#define IMPORT_BYTESTREAM_H

#include <cstddef>

namespace kivimport {

class ByteSink {
public:
    virtual ~ByteSink() = default;
    // All of them, or an exception.
    virtual void write(const void* data, std::size_t size) = 0;
};

class ByteSource {
public:
    virtual ~ByteSource() = default;
    // Fills all of data, or throws.
    virtual void read(void* data, std::size_t size) = 0;
};

} // namespace kivimport

#endif
