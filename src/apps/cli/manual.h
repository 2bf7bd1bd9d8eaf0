// What users read about the program, made from the option tables.
#ifndef APPS_CLI_MANUAL_H
#define APPS_CLI_MANUAL_H

#include "apps/cli/optiontable.h"

#include <string>

// Of the program; width is that of the terminal in characters.
std::string helpText(int width);
// Of one command.
std::string helpText(const CommandInfo& command, int width);
// The manual page, section 1, in troff.
std::string manualPage();

#endif
