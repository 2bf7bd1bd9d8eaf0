// "selvarin render".
#ifndef APPS_CLI_RENDERCOMMAND_H
#define APPS_CLI_RENDERCOMMAND_H

#include "apps/cli/commandline.h"

// The exit status. Throws UsageError for wrong use and std::runtime_error for what fails.
int runRender(const RenderOptions& options);

#endif
