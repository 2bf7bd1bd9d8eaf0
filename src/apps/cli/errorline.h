// Lines for the user on standard error: one each, whatever the names in them hold.
#ifndef APPS_CLI_ERRORLINE_H
#define APPS_CLI_ERRORLINE_H

#include <string>
#include <vector>

// "selvarin: text"
void printError(const std::string& text);
// "selvarin: warning: text"
void printWarning(const std::string& text);

// From here on warnings go into the list and not to standard error; null ends that.
void collectWarnings(std::vector<std::string>* list);

#endif
