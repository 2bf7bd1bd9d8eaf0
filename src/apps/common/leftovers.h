// Files that are not in their place yet, which go too when a signal ends the program at once.
#ifndef APPS_COMMON_LEFTOVERS_H
#define APPS_COMMON_LEFTOVERS_H

#include <string>

// For as long as this lives, the file at that path goes with such a signal.
class Leftover {
public:
    explicit Leftover(const std::string& path);
    ~Leftover();
    Leftover(const Leftover&) = delete;
    Leftover& operator=(const Leftover&) = delete;

private:
    std::string name;
    int slot = -1; // -1 where too many live at a time
};

// From here on SIGHUP, SIGINT and SIGTERM, unless they are ignored, as nohup does it, end the program with nothing left
// behind. A file above the user's limit is an error of that file, and no signal.
void cleanUpOnSignals();

// The same for signals of a fault of the program itself, and of a limit of its time, where nothing else handles them.
void cleanUpOnCrashes();

// What such a signal does; to be called by a handler of it.
void endBySignal(int signal);

// Installs a handler for the same signals.
void handleEndSignals(void (*handler)(int));

#endif
