// What the plain interface of lib3mf lacks: owners, exceptions, strings.
#ifndef IMPORT_READER_LIB3MF_H
#define IMPORT_READER_LIB3MF_H

#include "import/modelparts.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include <Model/COM/NMR_DLLInterfaces.h>

namespace kivimport {

// Owns an object of lib3mf.
template <class Object> class Lib3mfHandle {
public:
    Lib3mfHandle() = default;
    ~Lib3mfHandle() {
        if (object != nullptr) {
            NMR::lib3mf_release(object);
        }
    }
    Lib3mfHandle(const Lib3mfHandle&) = delete;
    Lib3mfHandle& operator=(const Lib3mfHandle&) = delete;

    Object** out() {
        return &object;
    }
    Object* get() const {
        return object;
    }

private:
    Object* object = nullptr;
};

// Throws ImportError with the reason of a failure, which source, the object that was asked, knows.
inline void checkLib3mf(LIB3MFRESULT result, NMR::PLib3MFBase* source) {
    if (result == 0) {
        return;
    }
    DWORD code = 0;
    LPCSTR reason = nullptr;
    if (source != nullptr) {
        NMR::lib3mf_getlasterror(source, &code, &reason);
    }
    const std::string text = reason != nullptr ? reason : "";
    throw ImportError("it is broken or of another kind than its ending says (" +
                      (text.empty() ? "no reason is known" : text.substr(0, text.find_first_of("\r\n"))) + ")");
}

// A text of source. get(char* text, ULONG size, ULONG* length): copies it, or says how long it is if text is null.
template <class Get> std::string lib3mfText(NMR::PLib3MFBase* source, Get get) {
    ULONG length = 0;
    checkLib3mf(get(nullptr, 0, &length), source);
    std::string text(std::size_t{length} + 1, '\0');
    checkLib3mf(get(text.data(), length + 1, &length), source);
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

} // namespace kivimport

#endif
