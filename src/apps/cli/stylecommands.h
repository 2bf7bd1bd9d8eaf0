// The commands that deal in styles: styles, preview, style.
#ifndef APPS_CLI_STYLECOMMANDS_H
#define APPS_CLI_STYLECOMMANDS_H

#include "apps/cli/commandline.h"

// Each returns the exit status, and throws UsageError for wrong use and std::runtime_error for what fails.
int runStyles(const PreviewOptions& options);
int runPreview(const PreviewOptions& options);
int runStyle(const Words& words);

#endif
