// A helper program at work in a process of its own, joined to this one by a single socket.
//
// The child gets nothing else of this process: no other descriptor, standard streams that lead nowhere, an environment
// of a few names, signals as a new program has them. SIGINT, SIGTERM and SIGHUP are blocked in it, as a terminal sends
// them to both: its owner decides what they mean. Works in hosts with threads, graphics contexts and handlers of
// SIGCHLD of their own, as the process is made by posix_spawn and waited for by its number alone.
#ifndef KIVRENDER_PLATFORM_KIVCHILDPROCESS_H
#define KIVRENDER_PLATFORM_KIVCHILDPROCESS_H

#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <string>
#include <vector>

class KIV_API KivChildProcess {
public:
    // The descriptor of the socket in the child.
    static constexpr int childChannel = 3;

    struct Ending {
        enum class Kind {
            exited, // number is the status
            killed, // number is the signal
            unknown // the process has a handler that took the news before us
        };
        Kind kind = Kind::unknown;
        int number = 0;
    };

    KivChildProcess() = default;
    // Kills and reaps what still runs.
    ~KivChildProcess();
    KivChildProcess(const KivChildProcess&) = delete;
    KivChildProcess& operator=(const KivChildProcess&) = delete;

    // program: an absolute path in UTF-8; nothing is searched for. False with the system's reason in why. At most once.
    bool start(const std::string& program, const std::vector<std::string>& arguments, std::string& why);

    // This side of the socket, a stream that does not block; -1 before start. Owned here.
    int channel() const {
        return socket;
    }

    // At once, whatever it does. Nothing happens once it has been waited for.
    void kill();
    // Returns when the child has ended; further calls give the same answer.
    Ending wait();
    // The same, but kills a child that is still there after so many milliseconds.
    Ending waitOrKill(int milliseconds);

    // Bytes of memory that it occupies, and seconds of processor time that it has used; 0 if that is not known.
    std::uint64_t residentBytes() const;
    double processorSeconds() const;

private:
    int socket = -1;
    int handle = -1; // of the process, so that a number that the system gives again is never meant
    int process = 0; // 0 for none, or waited for
    Ending ending;
};

#endif
