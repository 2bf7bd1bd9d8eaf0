// Which file a path leads to, and in which state it is.
#ifndef KIVRENDER_PLATFORM_KIVFILEIDENTITY_H
#define KIVRENDER_PLATFORM_KIVFILEIDENTITY_H

#include <string>

// Paths are in UTF-8. Place, size and times of a file in one line: two equal texts mean the same file in the same
// state. Empty if there is no such file.
std::string kivFileIdentity(const std::string& path);

// Whether both paths lead to one file, which stands under the second one itself and is not a link there.
bool kivIsThatFile(const std::string& path, const std::string& file);

// Whether this user may run it as a program.
bool kivIsProgram(const std::string& path);

#endif
