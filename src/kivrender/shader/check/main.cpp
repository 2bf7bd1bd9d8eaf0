// selvarin-plugin-check: loads shader plug-ins for the library, which watches whether that goes well, in a process of
// its own. Not for users.
#include "kivrender/platform/kivtext.h"
#include "kivrender/shader/kivplugintrial.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int channel = KivChildProcess::childChannel;

void tell(KivTrialStage stage) {
    const char byte = static_cast<char>(stage);
    if (write(channel, &byte, 1) != 1) {
        _exit(1); // who asked is gone
    }
}

// A path that ends with a zero byte. False at the end.
bool readPath(std::string& path) {
    path.clear();
    char byte = 0;
    while (read(channel, &byte, 1) == 1) {
        if (byte == '\0') {
            return true;
        }
        path += byte;
    }
    return false;
}

void limit(int resource, rlim_t most) {
    const rlimit both{most, most};
    setrlimit(static_cast<__rlimit_resource>(resource), &both);
}

} // namespace

int main(int argc, char** argv) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (argc != 2 || getppid() != std::atoi(argv[1])) {
        std::fputs("selvarin-plugin-check: Selvarin starts this program to try plug-ins; it does nothing by itself\n",
                   stderr);
        return 2;
    }
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_CPU, 60);
    std::string path;
    while (readPath(path)) {
        kivTryPlugin(kivFromUtf8(path), tell);
        tell(KivTrialStage::waits);
    }
    _exit(0);
}
