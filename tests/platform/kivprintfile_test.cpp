#include "kivrender/platform/kivprintfile.h"

#include "kivrender/platform/kivsystemerror.h"
#include "support/temphome.h"

#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

class KivPrintFileTest : public testing::Test {
protected:
    static void print(KivPrintFile& file, const std::string& text) {
        EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), file.stream()), text.size());
    }
    bool exists() const {
        return std::filesystem::exists(folder.path() / "page");
    }

    TempFolder folder;
};

TEST_F(KivPrintFileTest, WhatIsPrintedIsWrittenAtTheEnd) {
    KivPrintFile file(folder.wide("page"));
    print(file, "no line end");
    EXPECT_EQ(file.close(), KivPrintFile::Outcome::written);
    EXPECT_EQ(file.stream(), nullptr);
    EXPECT_EQ(folder.read("page"), "no line end");
}

TEST_F(KivPrintFileTest, WithoutAnEndNothingStays) {
    {
        KivPrintFile file(folder.wide("page"));
        print(file, std::string(200000, 'x') + "\n");
        std::fflush(file.stream());
        EXPECT_TRUE(exists());
        print(file, "more");
    }
    EXPECT_FALSE(exists());
}

TEST_F(KivPrintFileTest, AStoppedFileGoes) {
    KivPrintFile file(folder.wide("page"));
    print(file, std::string(200000, 'x') + "\n");
    std::fflush(file.stream());
    file.stop();
    print(file, "more\n");
    EXPECT_EQ(file.close(), KivPrintFile::Outcome::stopped);
    EXPECT_FALSE(exists());
}

TEST_F(KivPrintFileTest, TheWatcherSeesWhatIsPrintedAndMayEndIt) {
    KivPrintFile file(folder.wide("page"));
    std::size_t seen = 0;
    int calls = 0;
    file.onPrint([](std::string& lines) { lines.clear(); },
                 [&](std::string_view block) {
                     seen += block.size();
                     return ++calls < 2;
                 });
    for (int i = 0; i < 4; ++i) {
        print(file, std::string(99, 'x') + "\n");
        std::fflush(file.stream());
    }
    EXPECT_EQ(calls, 2) << "it is not asked again";
    EXPECT_EQ(seen, 200U) << "unchanged";
    EXPECT_EQ(file.close(), KivPrintFile::Outcome::stopped);
    EXPECT_FALSE(exists());
}

TEST_F(KivPrintFileTest, TheChangerSeesAWholeHeadAndThenWholeLines) {
    KivPrintFile file(folder.wide("page"));
    std::vector<std::string> pieces;
    file.onPrint(
        [&](std::string& lines) {
            pieces.push_back(lines);
            lines = "<" + lines + ">";
        },
        {});
    const auto printAtOnce = [&](const std::string& text) {
        print(file, text);
        std::fflush(file.stream());
    };
    const std::string head = std::string(4094, 'h') + "\n";
    printAtOnce(head);
    EXPECT_TRUE(pieces.empty()) << "one byte is missing";
    printAtOnce("a");
    printAtOnce("b\nc");
    printAtOnce("d\n");
    printAtOnce("end");
    EXPECT_EQ(file.close(), KivPrintFile::Outcome::written);
    EXPECT_EQ(pieces, (std::vector<std::string>{head, "ab\n", "cd\n", "end"}));
    EXPECT_EQ(folder.read("page"), "<" + head + "><ab\n><cd\n><end>");
}

TEST_F(KivPrintFileTest, APlaceThatCannotBeWrittenIsAFailure) {
    KivPrintFile file(folder.wide("missing/page"));
    print(file, "text\n");
    kivSetLastError(0);
    EXPECT_EQ(file.close(), KivPrintFile::Outcome::failed);
    EXPECT_EQ(kivGetLastError(), kivErrorFileNotFound);
}

TEST_F(KivPrintFileTest, AFullDiskIsAFailureAndDevicesStay) {
    KivPrintFile file(L"/dev/full");
    print(file, std::string(200000, 'x') + "\n");
    kivSetLastError(0);
    EXPECT_EQ(file.close(), KivPrintFile::Outcome::failed);
    EXPECT_EQ(kivGetLastError(), kivErrorDiskFull);
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
}

} // namespace
