// "selvarin info".
#ifndef APPS_CLI_INFOCOMMAND_H
#define APPS_CLI_INFOCOMMAND_H

#include "apps/cli/commandline.h"

// The exit status. Throws UsageError for wrong use and std::runtime_error for a model that can't be read.
int runInfo(const Words& words);

#endif
