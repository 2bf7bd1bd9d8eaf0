#include "kivrender/platform/kivfreedmemory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <thread>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr std::size_t large = 200U << 20U;
constexpr std::size_t pageSize = 4096;

long pageFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

void use(std::size_t bytes) {
    const auto memory = std::make_unique_for_overwrite<char[]>(bytes);
    std::memset(memory.get(), 1, bytes);
    EXPECT_EQ(static_cast<volatile char*>(memory.get())[bytes / 2], 1); // so that no compiler leaves it out
}

// The pages that the system has to give for a second use of as much memory; in a process of its own, as the choice
// holds for all of it.
int partOfPagesTakenAnew(bool isKept, bool isFreedByThread = false) {
    const pid_t child = fork();
    if (child == 0) {
        if (isKept) {
            kivKeepFreedMemory();
        }
        if (isFreedByThread) {
            std::thread(use, large).join();
        } else {
            use(large);
        }
        const long before = pageFaults();
        use(large - 5 * pageSize);
        _exit(static_cast<int>(100 * static_cast<std::size_t>(pageFaults() - before) * pageSize / large));
    }
    int state = 0;
    waitpid(child, &state, 0);
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

} // namespace

TEST(KivFreedMemory, IsUsedAgainWithoutTheSystem) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__GLIBC__)
    GTEST_SKIP() << "another allocator";
#else
    EXPECT_LT(partOfPagesTakenAnew(true), 5);
    EXPECT_LT(partOfPagesTakenAnew(true, true), 5);
    EXPECT_GT(partOfPagesTakenAnew(false), 90); // so it would show
#endif
}
