// "selvarin render".
#ifndef APPS_CLI_RENDERCOMMAND_H
#define APPS_CLI_RENDERCOMMAND_H

#include "apps/cli/commandline.h"

#include <cstdint>

class CliHost;

// The exit status. Throws UsageError for wrong use and std::runtime_error for what fails.
int runRender(const RenderOptions& options);

// The same in a program that is there already, without a summary. Throws what main would tell.
struct RenderTold {
    std::uint64_t triangles = 0;
};
RenderTold renderWithin(const RenderOptions& options, CliHost& host);

#endif
