#include "kivrender/platform/kivtrash.h"

#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivreplacefile.h"
#include "kivrender/platform/kivtemporaryfile.h"
#include "kivrender/platform/kivtext.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Files larger than this are not copied from one file system to another.
constexpr std::size_t largestCopy = std::size_t{1} << 28;

// As the notes of the wastebasket want a path: every byte that is not plain is written as %XX.
std::string escaped(std::string_view path) {
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/-_.~";
    std::string out;
    for (const char c : path) {
        if (plain.find(c) != std::string_view::npos) {
            out += c;
            continue;
        }
        std::array<char, 4> text{};
        std::snprintf(text.data(), text.size(), "%%%02X", static_cast<unsigned int>(static_cast<unsigned char>(c)));
        out += text.data();
    }
    return out;
}

// The path from the root, with the last name as it stands: a link is not followed.
std::string absolute(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    char* const real = realpath(folder.c_str(), nullptr);
    if (real == nullptr) {
        return {};
    }
    std::string whole = real;
    std::free(real);
    return (whole == "/" ? whole : whole + "/") + path.substr(slash == std::string::npos ? 0 : slash + 1);
}

std::string now() {
    const std::time_t time = std::time(nullptr);
    std::tm local{};
    localtime_r(&time, &local);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local);
    return text.data();
}

bool moveFile(const std::string& from, const std::string& to) {
    if (rename(from.c_str(), to.c_str()) == 0) {
        return true;
    }
    if (errno != EXDEV) {
        return false;
    }
    const auto bytes = kivReadFile(kivFromUtf8(from), largestCopy);
    if (!bytes || !kivCreateFile(kivFromUtf8(to), *bytes)) {
        return false;
    }
    if (unlink(from.c_str()) != 0) {
        unlink(to.c_str());
        return false;
    }
    return true;
}

} // namespace

bool kivMoveToTrash(const std::wstring& path) {
    const std::string from = absolute(kivToUtf8(path));
    const std::wstring root = kivDataFolder();
    struct stat info {};
    if (from.empty() || root.empty() || lstat(from.c_str(), &info) != 0 || S_ISDIR(info.st_mode)) {
        return false;
    }
    const std::wstring files = root + L"/Trash/files/";
    const std::wstring notes = root + L"/Trash/info/";
    if (!kivMakeFolders(files) || !kivMakeFolders(notes)) {
        return false;
    }
    const std::string name = from.substr(from.find_last_of('/') + 1);
    const std::string note = "[Trash Info]\nPath=" + escaped(from) + "\nDeletionDate=" + now() + "\n";
    // The note is made first and holds the name: two programs never take the same one.
    constexpr int attempts = 10000;
    for (int i = 1; i <= attempts; ++i) {
        const std::wstring taken = kivFromUtf8(i == 1 ? name : name + "." + std::to_string(i));
        std::wstring noteName = notes;
        noteName.append(taken).append(L".trashinfo");
        errno = 0;
        if (!kivCreateFile(noteName, note)) {
            if (errno == EEXIST) {
                continue;
            }
            return false;
        }
        const std::string to = kivToUtf8(files + taken);
        if (access(to.c_str(), F_OK) != 0 && moveFile(from, to)) {
            return true;
        }
        const bool occupied = access(to.c_str(), F_OK) == 0;
        kivRemoveFile(noteName);
        if (!occupied) {
            return false;
        }
    }
    return false;
}
