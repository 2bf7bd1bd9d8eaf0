// The commands that tell: shaders, formats, info, and --version.
#ifndef APPS_CLI_LISTCOMMANDS_H
#define APPS_CLI_LISTCOMMANDS_H

#include "apps/cli/commandline.h"

int runShaders(const Words& words);
int runFormats();
// Throws std::runtime_error if the model can't be used.
// What a report of a problem should name.
int runVersion();

#endif
