// "selvarin animate".
#ifndef APPS_CLI_ANIMATECOMMAND_H
#define APPS_CLI_ANIMATECOMMAND_H

#include "apps/cli/commandline.h"

// The exit status. Throws UsageError for wrong use and std::runtime_error for what fails.
int runAnimate(const Words& words);

#endif
