#include "kivrender/platform/kivfileidentity.h"

#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

std::string kivFileIdentity(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        return {};
    }
    std::ostringstream text;
    text << info.st_dev << ' ' << info.st_ino << ' ' << info.st_size << ' ' << info.st_mtim.tv_sec << '.'
         << info.st_mtim.tv_nsec << ' ' << info.st_ctim.tv_sec << '.' << info.st_ctim.tv_nsec;
    return text.str();
}

bool kivIsThatFile(const std::string& path, const std::string& file) {
    struct stat there {};
    struct stat ours {};
    return stat(path.c_str(), &there) == 0 && lstat(file.c_str(), &ours) == 0 && S_ISREG(ours.st_mode) &&
           there.st_ino == ours.st_ino && there.st_dev == ours.st_dev;
}

bool kivIsProgram(const std::string& path) {
    return access(path.c_str(), X_OK) == 0;
}
