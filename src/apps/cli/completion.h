// Completion rules for shells, made from the option tables.
#ifndef APPS_CLI_COMPLETION_H
#define APPS_CLI_COMPLETION_H

#include <string>
#include <string_view>

// For "bash", "zsh" or "fish"; empty for any other shell.
std::string completionFor(std::string_view shell);

#endif
