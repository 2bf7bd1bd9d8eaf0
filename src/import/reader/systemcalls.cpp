#include "import/reader/systemcalls.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kivimport {

#if defined(__x86_64__) || defined(__aarch64__)

namespace {

#ifdef __x86_64__
constexpr std::uint32_t architecture = AUDIT_ARCH_X86_64;
#else
constexpr std::uint32_t architecture = AUDIT_ARCH_AARCH64;
#endif

// Calls whose arguments do not matter. One that a library makes beyond these fails as if it were forbidden, which is
// what it is.
constexpr int harmless[] = {
    // what is open, and names of files
    SYS_read,
    SYS_pread64,
    SYS_readv,
    SYS_preadv,
    SYS_write,
    SYS_writev,
    SYS_lseek,
    SYS_close,
    SYS_fstat,
    SYS_newfstatat,
    SYS_statx,
    SYS_fstatfs,
    SYS_getdents64,
    SYS_readlinkat,
    SYS_faccessat,
    SYS_faccessat2,
    SYS_getcwd,
    SYS_fadvise64,
    // memory
    SYS_munmap,
    SYS_mremap,
    SYS_brk,
    SYS_madvise,
    SYS_mincore,
    // itself
    SYS_futex,
    SYS_sched_yield,
    SYS_sched_getaffinity,
    SYS_rt_sigaction,
    SYS_rt_sigprocmask,
    SYS_rt_sigreturn,
    SYS_sigaltstack,
    SYS_getpid,
    SYS_gettid,
    SYS_getuid,
    SYS_geteuid,
    SYS_getgid,
    SYS_getegid,
    SYS_getrusage,
    SYS_getrandom,
    SYS_uname,
    SYS_sysinfo,
    SYS_exit,
    SYS_exit_group,
    SYS_restart_syscall,
    // sanitizers try by a pipe to themselves whether an address can be read
    SYS_pipe2,
    // time
    SYS_clock_gettime,
    SYS_clock_getres,
    SYS_gettimeofday,
    SYS_clock_nanosleep,
    SYS_nanosleep,
#ifdef __x86_64__
    SYS_stat,
    SYS_lstat,
    SYS_access,
    SYS_readlink,
    SYS_time,
    SYS_pipe,
#endif
};

constexpr std::uint32_t argument(int number) {
    // The lower half; both processors are little-endian.
    return static_cast<std::uint32_t>(offsetof(seccomp_data, args) +
                                      sizeof(std::uint64_t) * static_cast<std::size_t>(number));
}

class Filter {
public:
    Filter() {
        // Another architecture's numbers mean other calls.
        load(offsetof(seccomp_data, arch));
        instructions.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, architecture, 1, 0));
        end(SECCOMP_RET_KILL_PROCESS);
        load(offsetof(seccomp_data, nr));
    }

    void allow(int call) {
        skipUnlessEqual(static_cast<std::uint32_t>(call), 1);
        end(SECCOMP_RET_ALLOW);
    }
    // Only with none of the bits in the argument.
    void allowWithout(int call, int which, std::uint32_t bits) {
        skipUnlessEqual(static_cast<std::uint32_t>(call), 4);
        load(argument(which));
        instructions.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bits, 1, 0));
        end(SECCOMP_RET_ALLOW);
        deny();
    }
    // As if the kernel did not know it, so that the C library takes another one.
    void hide(int call) {
        skipUnlessEqual(static_cast<std::uint32_t>(call), 1);
        end(SECCOMP_RET_ERRNO | ENOSYS);
    }
    // Only with that value of the argument.
    void allowWith(int call, int which, std::uint32_t value) {
        skipUnlessEqual(static_cast<std::uint32_t>(call), 4);
        load(argument(which));
        skipUnlessEqual(value, 1);
        end(SECCOMP_RET_ALLOW);
        deny();
    }
    void deny() {
        end(SECCOMP_RET_ERRNO | EPERM);
    }

    void install() {
        sock_fprog program{static_cast<unsigned short>(instructions.size()), instructions.data()};
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
    }

private:
    void load(std::size_t offset) {
        instructions.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
    }
    void skipUnlessEqual(std::uint32_t value, std::uint8_t count) {
        instructions.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, count));
    }
    void end(std::uint32_t action) {
        instructions.push_back(BPF_STMT(BPF_RET | BPF_K, action));
    }

    std::vector<sock_filter> instructions;
};

} // namespace

void restrictSystemCalls() {
    constexpr std::uint32_t writes = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | O_APPEND | (O_TMPFILE & ~O_DIRECTORY);
    constexpr std::uint32_t thread = CLONE_VM | CLONE_FS | CLONE_FILES | CLONE_SYSVSEM | CLONE_SIGHAND | CLONE_THREAD |
                                     CLONE_SETTLS | CLONE_PARENT_SETTID | CLONE_CHILD_CLEARTID;
    const auto self = static_cast<std::uint32_t>(getpid());
    Filter filter;
    for (const int call : harmless) {
        filter.allow(call);
    }
    filter.allowWithout(SYS_openat, 2, writes);
#ifdef __x86_64__
    filter.allowWithout(SYS_open, 1, writes);
#endif
    filter.allowWithout(SYS_mmap, 2, PROT_EXEC);
    filter.allowWithout(SYS_mprotect, 2, PROT_EXEC);
    filter.allowWith(SYS_prlimit64, 0, 0);
#ifdef SYS_getrlimit
    filter.allow(SYS_getrlimit);
    filter.allow(SYS_setrlimit);
#endif
    // A thread, as the C library starts it, and no process. It is confined as the one that started it. What clone3 is
    // asked for lies in memory, where no filter looks.
    filter.allowWith(SYS_clone, 0, thread);
    filter.hide(SYS_clone3);
    filter.allow(SYS_rseq);
    filter.allow(SYS_set_robust_list);
    // By these a process ends itself where it finds that something is broken.
    filter.allowWith(SYS_tgkill, 0, self);
    filter.allowWith(SYS_kill, 0, self);
    filter.allowWith(SYS_fcntl, 1, F_GETFL);
    filter.deny();
    filter.install();
}

#else

void restrictSystemCalls() {}

#endif

} // namespace kivimport
