#include "kivrender/platform/kivmodulefile.h"

#include "kivrender/platform/kivdescriptor.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using FileHead = ElfW(Ehdr);
using Segment = ElfW(Phdr);

constexpr const wchar_t* noLibrary = L"it is no shared library";

// A file that has bytes at a place is at least so long; a sum that is too large for the type is longer than any file.
std::uint64_t endOf(std::uint64_t offset, std::uint64_t length) {
    const std::uint64_t end = offset + length;
    return end >= offset ? end : UINT64_MAX;
}

bool readAt(int file, void* to, std::size_t length, std::uint64_t offset) {
    return pread(file, to, length, static_cast<off_t>(offset)) == static_cast<ssize_t>(length);
}

// Of this process: what it can load is of the same kind.
bool isOfThisProcessor(const FileHead& head) {
    FileHead own;
    const KivDescriptor self(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    if (self.get() < 0 || !readAt(self.get(), &own, sizeof own, 0)) {
        return true;
    }
    return head.e_machine == own.e_machine && head.e_ident[EI_CLASS] == own.e_ident[EI_CLASS] &&
           head.e_ident[EI_DATA] == own.e_ident[EI_DATA];
}

std::wstring cutOff(std::uint64_t size, std::uint64_t announced) {
    return L"the file is cut off: it has " + std::to_wstring(size) + L" of " + std::to_wstring(announced) + L" bytes";
}

std::wstring faultOf(int file, std::uint64_t size) {
    FileHead head;
    if (size < SELFMAG || !readAt(file, &head, std::min<std::size_t>(sizeof head, size), 0) ||
        std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0) {
        return noLibrary;
    }
    if (size < sizeof head) {
        return cutOff(size, sizeof head);
    }
    if (!isOfThisProcessor(head)) {
        return L"it was built for another processor";
    }
    if (head.e_type != ET_DYN || head.e_phentsize != sizeof(Segment)) {
        return noLibrary;
    }
    std::uint64_t announced = endOf(head.e_phoff, std::uint64_t{head.e_phnum} * sizeof(Segment));
    announced = std::max(announced, endOf(head.e_shoff, std::uint64_t{head.e_shnum} * head.e_shentsize));
    std::vector<Segment> segments(head.e_phnum);
    if (announced > size || !readAt(file, segments.data(), segments.size() * sizeof(Segment), head.e_phoff)) {
        return cutOff(size, announced);
    }
    for (const Segment& segment : segments) {
        announced = std::max(announced, segment.p_filesz > 0 ? endOf(segment.p_offset, segment.p_filesz) : 0);
    }
    return announced > size ? cutOff(size, announced) : std::wstring();
}

} // namespace

std::wstring kivModuleFileFault(const std::wstring& path) {
    const KivDescriptor file(open(kivToUtf8(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info {};
    if (file.get() < 0 || fstat(file.get(), &info) != 0) {
        return {};
    }
    return S_ISREG(info.st_mode) ? faultOf(file.get(), static_cast<std::uint64_t>(info.st_size)) : noLibrary;
}
