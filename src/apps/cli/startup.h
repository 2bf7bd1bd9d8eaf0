// The library as a program needs it: a host, the texts, the shaders.
#ifndef APPS_CLI_STARTUP_H
#define APPS_CLI_STARTUP_H

#include "apps/cli/clihost.h"
#include "kivrender/render/kivrenderer.h"

#include <string>

// The language of the texts that come from the library, by the code of its module. Without this the environment's: the
// first of LC_ALL, LC_MESSAGES and LANG that is set. Throws UsageError for a code that there is no module of.
void chooseLanguage(const std::string& code);
// The chosen one, else that of the environment.
std::string currentLanguage();
// Makes the texts of that language available, once. Warns on standard error if there are none.
void loadLanguage();

// Loads language and shaders, and undoes it at its end. Warns on standard error if there are none.
class Program {
public:
    Program();
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    CliHost& host() const {
        return services;
    }

private:
    mutable CliHost services;
    KivRenderer loader;
};

#endif
