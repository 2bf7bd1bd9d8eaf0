#include "import/reader/processlimits.h"

#include "import/reader/systemcalls.h"
#include "import/readerprotocol.h"

#include <cstddef>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>

#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kivimport {
namespace {

// A sanitizer maps terabytes for its books; a limit below them would stop the program and one above them nothing.
constexpr std::uint64_t mostOwnAddresses = std::uint64_t{1} << 40;
constexpr std::uint64_t stackBytes = std::uint64_t{16} << 20;
constexpr std::uint64_t openFiles = 64;

std::uint64_t addressesInUse() {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/proc/self/statm", "re"), std::fclose);
    unsigned long long pages = 0;
    if (file == nullptr || std::fscanf(file.get(), "%llu", &pages) != 1) {
        return 0;
    }
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
    return a > std::numeric_limits<std::uint64_t>::max() - b ? RLIM_INFINITY : a + b;
}

// Limits that stand already are kept where they are lower.
void setLimit(decltype(RLIMIT_AS) what, std::uint64_t value, std::uint64_t most) {
    rlimit limit{};
    getrlimit(what, &limit);
    limit.rlim_max = std::min<rlim_t>(limit.rlim_max, most);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, value);
    setrlimit(what, &limit);
}

void endWithoutMemory() {
    _exit(readerOutOfMemory);
}

// --- files ---

// Younger than the header of this system.
constexpr std::uint64_t truncateRight = std::uint64_t{1} << 14; // Landlock 3

// Reads of the folder's files, and nothing else. Where the kernel has no Landlock nothing happens.
void restrictFiles(const std::vector<std::string>& readable) {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1) {
        return;
    }
    // All rights of its first version, the lowest thirteen; moving between folders is denied from the second on by
    // itself.
    landlock_ruleset_attr rules{};
    rules.handled_access_fs = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
    if (version >= 3) {
        rules.handled_access_fs |= truncateRight;
    }
    const int set = static_cast<int>(syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0));
    for (const std::string& path : readable) {
        const int place = open(path.c_str(), O_PATH | O_CLOEXEC);
        struct stat info {};
        if (place >= 0 && fstat(place, &info) == 0) {
            landlock_path_beneath_attr rule{};
            rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;
            if (S_ISDIR(info.st_mode)) {
                rule.allowed_access |= LANDLOCK_ACCESS_FS_READ_DIR;
            }
            rule.parent_fd = place;
            syscall(SYS_landlock_add_rule, set, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
        }
        if (place >= 0) {
            close(place);
        }
    }
    syscall(SYS_landlock_restrict_self, set, 0);
    close(set);
}

// An administrator's process may read what others have locked: the model may be among it. All other powers go.
void dropPowers() {
    __user_cap_header_struct header{};
    header.version = _LINUX_CAPABILITY_VERSION_3;
    __user_cap_data_struct powers[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capget, &header, powers) != 0) {
        return;
    }
    for (__user_cap_data_struct& each : powers) {
        each.inheritable = 0;
    }
    powers[0].effective &= 1U << CAP_DAC_READ_SEARCH;
    powers[0].permitted &= 1U << CAP_DAC_READ_SEARCH;
    powers[1].effective = 0;
    powers[1].permitted = 0;
    syscall(SYS_capset, &header, powers);
}

} // namespace

bool endWithParent(int parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    return getppid() == parent; // it may have ended before the call
}

ProcessLimits::ProcessLimits(const std::vector<std::string>& readable, std::uint64_t maxMemory,
                             std::uint64_t maxSeconds)
    : ownAddresses(addressesInUse()), canLimitAddresses(ownAddresses > 0 && ownAddresses < mostOwnAddresses) {
    std::set_new_handler(endWithoutMemory);
    setLimit(RLIMIT_CORE, 0, 0);
    prctl(PR_SET_DUMPABLE, 0); // nor to a program that collects dumps
    setLimit(RLIMIT_FSIZE, 0, 0);
    setLimit(RLIMIT_STACK, stackBytes, stackBytes);
    setLimit(RLIMIT_NOFILE, openFiles, openFiles);
    setLimit(RLIMIT_CPU, maxSeconds, maxSeconds + 1);
    if (canLimitAddresses) {
        const std::uint64_t most = sum(ownAddresses, maxMemory);
        setLimit(RLIMIT_AS, most, most);
    }
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    restrictFiles(readable);
    dropPowers();
    restrictSystemCalls();
}

void ProcessLimits::setMemory(std::uint64_t bytes) const {
    if (canLimitAddresses) {
        rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, sum(ownAddresses, bytes));
        setrlimit(RLIMIT_AS, &limit);
    }
}

} // namespace kivimport
