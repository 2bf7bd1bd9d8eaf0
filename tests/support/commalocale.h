// A locale in which numbers have a comma, in force for numbers while this lives. It is made on the spot: few machines
// that run tests have one.
#ifndef TESTS_SUPPORT_COMMALOCALE_H
#define TESTS_SUPPORT_COMMALOCALE_H

#include "support/temphome.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

class CommaLocale {
public:
    CommaLocale() : former(std::setlocale(LC_NUMERIC, nullptr)) {
        std::ofstream(folder.path() / "source") << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\n"
                                                   "grouping 3;3\nEND LC_NUMERIC\n";
        // Warns that it defines numbers alone.
        const std::string command = "localedef -c -i '" + (folder.path() / "source").string() +
                                    "' -f ANSI_X3.4-1968 '" + (folder.path() / "comma").string() + "' 2>/dev/null";
        static_cast<void>(std::system(command.c_str()));
        environment.set("LOCPATH", folder.path().string());
        std::setlocale(LC_NUMERIC, "comma");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, former.c_str());
    }

    // False where the system has no localedef; the locale is then the former one.
    static bool isInForce() {
        char text[8] = {};
        std::snprintf(text, sizeof text, "%.1f", 1.5);
        return std::string(text) == "1,5";
    }

private:
    std::string former;
    TempFolder folder;
    ScopedEnvironment environment;
};

#endif
