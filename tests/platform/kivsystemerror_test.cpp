#include "kivrender/platform/kivsystemerror.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <thread>

namespace {

TEST(KivSystemError, NumbersOfTheSystemBecomeThoseOfHosts) {
    struct Case {
        int number;
        unsigned long code;
    };
    // The codes are those that hosts have always known, so they stand here as numbers.
    constexpr Case cases[] = {{ENOENT, 2},  {ENOTDIR, 3},  {ELOOP, 3},    {ENAMETOOLONG, 3}, {EMFILE, 4},  {ENFILE, 4},
                              {EACCES, 5},  {EPERM, 5},    {EBADF, 6},    {ENOMEM, 8},       {EAGAIN, 8},  {EROFS, 19},
                              {EINVAL, 87}, {ENOSPC, 112}, {EDQUOT, 112}, {EEXIST, 183},     {EFBIG, 223}, {EPIPE, 31},
                              {EIO, 31},    {0, 31},       {-1, 31}};
    for (const Case& each : cases) {
        EXPECT_EQ(kivErrorFromErrno(each.number), each.code) << "errno " << each.number;
    }
}

TEST(KivSystemError, EachCodeHasASentenceOfItsOwn) {
    std::set<std::wstring> sentences;
    for (const unsigned long code :
         {2UL, 3UL, 4UL, 5UL, 6UL, 8UL, 19UL, 31UL, 87UL, 112UL, 160UL, 183UL, 223UL, 2000UL}) {
        const std::wstring text = kivSystemErrorText(code);
        EXPECT_FALSE(text.starts_with(L"Error")) << code;
        EXPECT_EQ(text.back(), L'.') << code;
        EXPECT_TRUE(sentences.insert(text).second) << code;
    }
    EXPECT_EQ(kivSystemErrorText(kivErrorFileNotFound), L"The file can't be found.");
    EXPECT_EQ(kivSystemErrorText(kivErrorDiskFull), L"The disk is full.");
}

TEST(KivSystemError, AnUnknownCodeIsToldByItsNumber) {
    EXPECT_EQ(kivSystemErrorText(7), L"Error 7.");
    EXPECT_EQ(kivSystemErrorText(0), L"Error 0.");
}

TEST(KivSystemError, TheLastOneBelongsToItsThread) {
    kivSetLastError(kivErrorDiskFull);
    unsigned long seen = 1;
    std::thread([&seen] {
        seen = kivGetLastError();
        kivSetLastError(kivErrorAccessDenied);
    }).join();
    EXPECT_EQ(seen, 0U);
    EXPECT_EQ(kivGetLastError(), kivErrorDiskFull);
}

} // namespace
