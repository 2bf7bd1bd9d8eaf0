#include "kivrender/platform/kivchildprocess.h"

#include "kivrender/platform/kivdescriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Above those that the child's own are put to.
constexpr int firstSpareDescriptor = 10;

// Where libraries are found stays the user's choice, and a build with sanitizers may be set up for them.
constexpr std::array<const char*, 4> keptNames{"LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"};

std::vector<std::string> childEnvironment() {
    std::vector<std::string> list{"LC_ALL=C"};
    for (const char* const name : keptNames) {
        if (const char* const value = secure_getenv(name)) {
            list.push_back(std::string(name) + "=" + value);
        }
    }
    return list;
}

// The form that the system's calls take; valid as long as the texts.
std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    for (std::string& text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

struct FileActions {
    explicit FileActions(int channel) {
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, channel, KivChildProcess::childChannel);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addclosefrom_np(&actions, KivChildProcess::childChannel + 1);
    }
    ~FileActions() {
        posix_spawn_file_actions_destroy(&actions);
    }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    posix_spawn_file_actions_t actions{};
};

struct Attributes {
    Attributes() {
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        sigemptyset(&signals);
        for (const int blocked : {SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&signals, blocked);
        }
        posix_spawnattr_setsigmask(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~Attributes() {
        posix_spawnattr_destroy(&attributes);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    posix_spawnattr_t attributes{};
};

} // namespace

KivChildProcess::~KivChildProcess() {
    kill();
    wait();
    if (socket >= 0) {
        close(socket);
    }
}

bool KivChildProcess::start(const std::string& program, const std::vector<std::string>& arguments, std::string& why) {
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        why = std::strerror(errno);
        return false;
    }
    socket = ends[0];
    const KivDescriptor low(ends[1]);
    // A host that has closed its standard streams would get their numbers.
    const KivDescriptor theirs(fcntl(low.get(), F_DUPFD_CLOEXEC, firstSpareDescriptor));
    if (theirs.get() < 0 || fcntl(socket, F_SETFL, O_NONBLOCK) != 0) {
        why = std::strerror(errno);
        return false;
    }
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = childEnvironment();
    const FileActions files(theirs.get());
    const Attributes attributes;
    pid_t number = 0;
    const int problem = posix_spawn(&number, program.c_str(), &files.actions, &attributes.attributes,
                                    pointers(words).data(), pointers(environment).data());
    if (problem != 0) {
        why = std::strerror(problem);
        return false;
    }
    process = number;
    handle = static_cast<int>(syscall(SYS_pidfd_open, number, 0)); // -1 before Linux 5.3
    return true;
}

void KivChildProcess::kill() {
    if (process == 0) {
        return;
    }
    if (handle >= 0) {
        syscall(SYS_pidfd_send_signal, handle, SIGKILL, nullptr, 0);
    } else {
        ::kill(process, SIGKILL);
    }
}

KivChildProcess::Ending KivChildProcess::wait() {
    if (process == 0) {
        return ending;
    }
    int status = 0;
    pid_t found = 0;
    do {
        found = waitpid(process, &status, 0);
    } while (found < 0 && errno == EINTR);
    if (found == process && WIFEXITED(status)) {
        ending = {Ending::Kind::exited, WEXITSTATUS(status)};
    } else if (found == process && WIFSIGNALED(status)) {
        ending = {Ending::Kind::killed, WTERMSIG(status)};
    }
    process = 0;
    if (handle >= 0) {
        close(handle);
        handle = -1;
    }
    return ending;
}

KivChildProcess::Ending KivChildProcess::waitOrKill(int milliseconds) {
    constexpr timespec pause{0, 1'000'000};
    siginfo_t news{};
    for (int i = 0; process != 0 && i < milliseconds; ++i) {
        news.si_pid = 0;
        if (waitid(P_PID, static_cast<id_t>(process), &news, WEXITED | WNOHANG | WNOWAIT) != 0 || news.si_pid != 0) {
            return wait();
        }
        nanosleep(&pause, nullptr);
    }
    kill();
    return wait();
}

std::uint64_t KivChildProcess::residentBytes() const {
    if (process == 0) {
        return 0;
    }
    const std::string name = "/proc/" + std::to_string(process) + "/statm";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "re"), std::fclose);
    unsigned long long pages = 0;
    if (file == nullptr || std::fscanf(file.get(), "%*u %llu", &pages) != 1) {
        return 0;
    }
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

double KivChildProcess::processorSeconds() const {
    clockid_t clock{};
    timespec time{};
    if (process == 0 || clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        return 0.0;
    }
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}
