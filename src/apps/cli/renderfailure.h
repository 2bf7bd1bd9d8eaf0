// The line about a picture that was not made.
#ifndef APPS_CLI_RENDERFAILURE_H
#define APPS_CLI_RENDERFAILURE_H

#include <string>
#include <vector>

class CliHost;
class OutputFile;

// One line: which file of the user's, and why. isDrawn: the render came to its end. Where the library has told nothing,
// it is error: the last error as it was when the render had ended, with 0 before it began.
std::string renderFailure(const OutputFile& output, bool isDrawn, const std::vector<std::string>& messages,
                          unsigned long error, CliHost& host);

#endif
