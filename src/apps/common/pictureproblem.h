// Whether a picture that a render is to lie over or under can be used: the library draws without what it can't read.
#ifndef APPS_COMMON_PICTUREPROBLEM_H
#define APPS_COMMON_PICTUREPROBLEM_H

#include <string>

enum class PictureProblem {
    none,
    missing,    // there is no such file
    noFile,     // a folder or a device
    unreadable, // the system does not let us
    noPicture,  // of another kind, broken, cut off or too large
};

// Reads the whole picture, since only that says whether it is whole. An empty name is not a problem.
PictureProblem problemOfPicture(const std::wstring& file);

// The end of a complaint in English; empty for none.
const char* pictureProblemText(PictureProblem problem);

#endif
