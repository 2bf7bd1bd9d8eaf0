// "selvarin catalogue".
#ifndef APPS_CLI_CATALOGUECOMMAND_H
#define APPS_CLI_CATALOGUECOMMAND_H

#include "apps/cli/commandline.h"

// The exit status: failed if any picture is missing. Throws UsageError for wrong use and std::runtime_error for what
// ends the whole run.
int runCatalogue(const Words& words);

#endif
