#include "import/reader/plystrips.h"

#include "import/modelparts.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace {

using kivimport::plyWithoutStrips;

const char* const squareVertices = "0 0 0\n1 0 0\n0 1 0\n1 1 0\n";

std::string header(const std::string& format, const std::string& elements) {
    return "ply\nformat " + format + " 1.0\n" + elements + "end_header\n";
}

const char* const vertexElement = "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n";
const char* const stripElement = "element tristrips 1\nproperty list int int vertex_indices\n";

class PlyStrips : public testing::Test {
protected:
    std::string converted(const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
        return plyWithoutStrips(path);
    }
    void TearDown() override {
        std::filesystem::remove(path);
    }

    const std::string path =
        testing::TempDir() + "strips_" + testing::UnitTest::GetInstance()->current_test_info()->name() + ".ply";
};

std::string faces(int count) {
    return "element face " + std::to_string(count) + "\nproperty list uchar int vertex_indices\n";
}

TEST_F(PlyStrips, EveryOtherTriangleIsTurnedRound) {
    EXPECT_EQ(
        converted(header("ascii 1.0", std::string(vertexElement) + stripElement) + squareVertices + "4 0 1 2 3\n"),
        header("ascii 1.0", std::string(vertexElement) + faces(2)) + squareVertices + "3 0 1 2\n3 2 1 3\n");
}

TEST_F(PlyStrips, NegativeIndexBeginsTheNextStrip) {
    EXPECT_EQ(converted(header("ascii 1.0", std::string(vertexElement) + stripElement) + squareVertices +
                        "8 0 1 2 3 -1 3 2 1\n"),
              header("ascii 1.0", std::string(vertexElement) + faces(3)) + squareVertices +
                  "3 0 1 2\n3 2 1 3\n3 3 2 1\n");
}

TEST_F(PlyStrips, TrianglesThatJoinStripsAreLeftOutAndStillTurn) {
    EXPECT_EQ(
        converted(header("ascii 1.0", std::string(vertexElement) + stripElement) + squareVertices + "6 0 1 2 2 3 1\n"),
        header("ascii 1.0", std::string(vertexElement) + faces(2)) + squareVertices + "3 0 1 2\n3 3 2 1\n");
}

TEST_F(PlyStrips, WhatStandsBesideTheStripsStays) {
    const std::string other = "element note 2\nproperty list uchar float values\nproperty double weight\n";
    const std::string before = "2 1.5 2.5 7\n0 1e3\n";
    EXPECT_EQ(
        converted(header("ascii 1.0", other + stripElement + vertexElement) + before + "3 0 1 2\n" + squareVertices),
        header("ascii 1.0", other + faces(1) + vertexElement) + before + "3 0 1 2\n" + squareVertices);
}

// The number in the order of bytes that is asked for.
std::string bytes(std::uint32_t number, bool isLittle) {
    std::string text;
    for (int i = 0; i < 4; ++i) {
        text += static_cast<char>(number >> (isLittle ? 8 * i : 24 - 8 * i) & 0xffU);
    }
    return text;
}

TEST_F(PlyStrips, BinaryFilesKeepTheirOrderOfBytes) {
    for (const bool isLittle : {true, false}) {
        const std::string format = isLittle ? "binary_little_endian" : "binary_big_endian";
        const std::string vertices(4 * 12, '\x41');
        std::string strip = bytes(6, isLittle);
        for (const std::uint32_t index : {0U, 1U, 2U, 0xffffffffU, 3U, 300U}) {
            strip += bytes(index, isLittle);
        }
        const std::string next = "the rest";
        EXPECT_EQ(converted(header(format, std::string(vertexElement) + stripElement) + vertices + strip + next),
                  header(format, std::string(vertexElement) + faces(1)) + vertices + '\3' + bytes(0, isLittle) +
                      bytes(1, isLittle) + bytes(2, isLittle) + next);
    }
}

TEST_F(PlyStrips, FilesWithoutStripsAreNotTouched) {
    EXPECT_EQ(converted(header("ascii 1.0", std::string(vertexElement) + faces(0)) + squareVertices), "");
    EXPECT_EQ(converted("solid of another kind\nelement tristrips 1\n"), "");
    EXPECT_EQ(converted("ply\nformat ascii 1.0\nelement tristrips 1\n"), "");
    EXPECT_EQ(converted(""), "");
}

TEST_F(PlyStrips, HostileCountsEnd) {
    const std::string many = "element tristrips 18446744073709551615\n";
    EXPECT_EQ(converted(header("ascii 1.0", vertexElement + many) + squareVertices), "");
    EXPECT_THROW(converted(header("ascii 1.0", vertexElement + many + "property list int int vertex_indices\n") +
                           squareVertices + "3 0 1 2\n"),
                 kivimport::ImportError);
    EXPECT_THROW(converted(header("binary_little_endian 1.0", stripElement) + bytes(0x7fffffff, true) + "0123"),
                 kivimport::ImportError);
    EXPECT_THROW(converted(header("ascii 1.0",
                                  std::string("element none 18446744073709551615\n") + vertexElement + stripElement) +
                           squareVertices + "x 0 1 2\n"),
                 kivimport::ImportError);
    EXPECT_THROW(converted(header("ascii 1.0", "element tristrips 1\nproperty list int thing vertex_indices\n")),
                 kivimport::ImportError);
}

} // namespace
