// What a function writes to a C stream, as bytes.
#ifndef TESTS_SUPPORT_CAPTURED_H
#define TESTS_SUPPORT_CAPTURED_H

#include <cstdio>
#include <cstdlib>
#include <string>

template <class Function> std::string captured(Function write) {
    char* bytes = nullptr;
    std::size_t size = 0;
    std::FILE* file = open_memstream(&bytes, &size);
    write(file);
    std::fclose(file);
    std::string text(bytes, size);
    std::free(bytes);
    return text;
}

#endif
