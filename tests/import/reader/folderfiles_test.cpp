#include "import/reader/folderfiles.h"

#include "../importtestfiles.h"

#include <memory>

#include <assimp/IOStream.hpp>
#include <sys/stat.h>

#include <gtest/gtest.h>

namespace {

using namespace kivimport;

// Keeps what it is told.
class RecordingReport : public ReaderReport {
public:
    void opened(std::uint64_t bytes) override {
        sizes.push_back(bytes);
    }

    std::vector<std::uint64_t> sizes;
    std::vector<double> told;

private:
    void tell(double whole) override {
        told.push_back(whole);
    }
};

} // namespace

TEST(FolderFiles, WhatIsWithin) {
    EXPECT_TRUE(isWithin("/a/b/c.png", "/a/b"));
    EXPECT_TRUE(isWithin("/a/b/d/c.png", "/a/b/"));
    EXPECT_TRUE(isWithin("/a/b/../b/c.png", "/a/b"));
    EXPECT_TRUE(isWithin("c.png", "."));
    EXPECT_FALSE(isWithin("/a/c.png", "/a/b"));
    EXPECT_FALSE(isWithin("/a/b/../c.png", "/a/b"));
    EXPECT_FALSE(isWithin("/a/bb/c.png", "/a/b"));
    EXPECT_FALSE(isWithin("../c.png", "."));
    EXPECT_FALSE(isWithin("/etc/passwd", "."));
}

TEST(FolderFiles, ReadsPlainFilesOfTheFolder) {
    const TestFolder folder;
    const TestFolder other;
    RecordingReport report;
    FolderFiles files(folder.path(""), report);
    const std::string path = folder.write("a.bin", "0123456789");
    other.write("b.bin", "x");
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    Assimp::IOStream* const stream = files.Open(path.c_str(), "rb");
    ASSERT_NE(stream, nullptr);
    char text[5] = {};
    EXPECT_EQ(stream->Read(text, 1, 4), 4U);
    EXPECT_STREQ(text, "0123");
    EXPECT_EQ(stream->Tell(), 4U);
    EXPECT_EQ(stream->FileSize(), 10U);
    EXPECT_EQ(stream->Seek(8, aiOrigin_SET), aiReturn_SUCCESS);
    EXPECT_EQ(stream->Read(text, 1, 4), 2U);
    EXPECT_EQ(stream->Write("x", 1, 1), 0U);
    files.Close(stream);
    EXPECT_EQ(report.sizes, std::vector<std::uint64_t>{10});
    EXPECT_EQ(files.Open(path.c_str(), "wb"), nullptr);
    EXPECT_EQ(files.Open(path.c_str(), "r+b"), nullptr);
    EXPECT_EQ(files.Open(folder.path("pipe").c_str(), "rb"), nullptr) << "it would wait for ever";
    EXPECT_EQ(files.Open(folder.path("").c_str(), "rb"), nullptr);
    EXPECT_EQ(files.Open(other.path("b.bin").c_str(), "rb"), nullptr);
    EXPECT_FALSE(files.Exists(other.path("b.bin").c_str()));
    EXPECT_TRUE(files.Exists(path.c_str()));
}

TEST(ReaderReport, TellsHundredthsOfTheWholeAndNeverLess) {
    RecordingReport report;
    report.setStep(0.0, 0.5);
    for (int i = 0; i <= 1000; ++i) {
        report.done(i / 1000.0);
    }
    report.setStep(0.5, 1.0);
    report.done(-1.0);
    report.done(2.0);
    report.done(0.1);
    EXPECT_LE(report.told.size(), 52U);
    EXPECT_GE(report.told.size(), 48U);
    EXPECT_TRUE(std::is_sorted(report.told.begin(), report.told.end()));
    EXPECT_EQ(report.told.back(), 1.0);
}
