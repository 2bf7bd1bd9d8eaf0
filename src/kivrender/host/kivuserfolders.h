// The user's own folders for styles.
#ifndef KIVRENDER_HOST_KIVUSERFOLDERS_H
#define KIVRENDER_HOST_KIVUSERFOLDERS_H

#include "kivrender/platform/kivexport.h"

// Whether they are made as soon as a host exists and where styles are listed, or only when a style is saved there. At
// first they are made, as hosts expect them; a program that leaves no empty folders behind says so before it makes its
// host.
KIV_API void kivMakeUserFoldersAtOnce(bool atOnce);
KIV_API bool kivMakesUserFoldersAtOnce();

#endif
