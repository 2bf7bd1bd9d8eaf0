#include "import/reader/glbchunks.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace {

using kivimport::alignedGlb;

std::string number(std::uint32_t n) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) {
        bytes.push_back(static_cast<char>(n >> (8 * i) & 0xff));
    }
    return bytes;
}

std::string chunk(const std::string& type, const std::string& bytes) {
    return number(static_cast<std::uint32_t>(bytes.size())) + type + bytes;
}

std::string file(const std::string& chunks, std::uint32_t version = 2) {
    return "glTF" + number(version) + number(static_cast<std::uint32_t>(12 + chunks.size())) + chunks;
}

const std::string binary("BIN\0", 4);

class GlbChunks : public testing::Test {
protected:
    std::string aligned(const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
        return alignedGlb(path);
    }
    void TearDown() override {
        std::filesystem::remove(path);
    }

    const std::string path =
        testing::TempDir() + "chunks_" + testing::UnitTest::GetInstance()->current_test_info()->name() + ".glb";
};

TEST_F(GlbChunks, AreFilledUpToFourBytes) {
    EXPECT_EQ(aligned(file(chunk("JSON", "{\"a\":1}") + chunk(binary, "12345") + chunk("MORE", "123456"))),
              file(chunk("JSON", "{\"a\":1} ") + chunk(binary, std::string("12345\0\0\0", 8)) +
                   chunk("MORE", std::string("123456\0\0", 8))));
}

TEST_F(GlbChunks, AFileThatNeedsNoChangeGetsNone) {
    EXPECT_EQ(aligned(file(chunk("JSON", "{\"a\":12}") + chunk(binary, "1234"))), "");
    EXPECT_EQ(aligned(file(chunk("JSON", "{\"a\":1}"), 1)), ""); // the first version had no chunks
    EXPECT_EQ(aligned(""), "");
    EXPECT_EQ(aligned("glTF"), "");
    EXPECT_EQ(aligned("glXF" + file(chunk("JSON", "{}")).substr(4)), "");
    EXPECT_EQ(alignedGlb(path + ".none"), "");
}

TEST_F(GlbChunks, ChunksThatRunPastTheEndAreLeftToTheReader) {
    const std::string whole = file(chunk("JSON", "{\"a\":1}") + chunk(binary, "12345"));
    for (std::size_t i = 1; i < 5 + 8 + 7 + 8; ++i) {
        const bool endsBetweenChunks = i == 5 + 8;
        EXPECT_EQ(aligned(whole.substr(0, whole.size() - i)).empty(), !endsBetweenChunks) << i;
    }
    EXPECT_EQ(aligned(file(number(0xffffffff) + "JSON{}")), "");
}

} // namespace
