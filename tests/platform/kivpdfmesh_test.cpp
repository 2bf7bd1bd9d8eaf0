#include "kivrender/platform/kivpdfmesh.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::array<double, 4> page = {0.0, 100.0, 0.0, 50.0};

// x and y in parts of 255 of the page, so that all four bytes of a coordinate are alike.
void addCorner(Bytes& data, std::uint8_t x, std::uint8_t y, std::array<std::uint8_t, 3> colour, std::uint8_t flag = 0) {
    data.push_back(flag);
    data.insert(data.end(), 4, x);
    data.insert(data.end(), 4, y);
    data.insert(data.end(), colour.begin(), colour.end());
}

Bytes triangle(std::array<std::uint8_t, 3> colour, bool turned = false) {
    Bytes data;
    addCorner(data, 0, 0, colour);
    addCorner(data, turned ? 0 : 255, turned ? 255 : 0, colour);
    addCorner(data, turned ? 255 : 0, turned ? 0 : 255, colour);
    return data;
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

const std::string outline = "0 0 m\n100 0 l\n0 50 l h\n";

TEST(KivPdfMesh, ATriangleIsAPathInItsColour) {
    EXPECT_EQ(kivPdfMeshPaths(triangle({255, 0, 51}), page),
              "q 1 j 0.4 w\n1 0 0.2 rg\n1 0 0.2 RG\n" + outline + "B\nQ\n");
    EXPECT_EQ(kivPdfMeshPaths(triangle({255, 0, 51}), page, false),
              "q 1 j 0.4 w\n1 0 0.2 rg\n1 0 0.2 RG\n" + outline + "f\nQ\n");
}

TEST(KivPdfMesh, ColoursHaveFourPlaces) {
    EXPECT_EQ(kivPdfMeshPaths(triangle({1, 2, 254}), page, false),
              "q 1 j 0.4 w\n0.0039 0.0078 0.9961 rg\n0.0039 0.0078 0.9961 RG\n" + outline + "f\nQ\n");
}

TEST(KivPdfMesh, OneColourIsOnePathAndAllTrianglesTurnOneWay) {
    const Bytes data = triangle({255, 0, 0}) + triangle({255, 0, 0}, true) + triangle({0, 0, 255});
    EXPECT_EQ(kivPdfMeshPaths(data, page),
              "q 1 j 0.4 w\n1 0 0 rg\n1 0 0 RG\n" + outline + outline + "B\n0 0 1 rg\n0 0 1 RG\n" + outline + "B\nQ\n");
}

TEST(KivPdfMesh, ALongPathIsPaintedInPieces) {
    Bytes data;
    for (const auto& [triangles, pieces] : {std::pair(256, 1U), std::pair(257, 2U), std::pair(512, 2U)}) {
        while (data.size() < static_cast<std::size_t>(triangles) * triangle({}).size()) {
            data = std::move(data) + triangle({0, 255, 0});
        }
        const std::string text = kivPdfMeshPaths(data, page);
        std::size_t painted = 0;
        for (std::size_t at = text.find("B\n"); at != std::string::npos; at = text.find("B\n", at + 1)) {
            ++painted;
        }
        EXPECT_EQ(painted, pieces) << triangles;
        EXPECT_EQ(text.find("rg"), text.rfind("rg")) << "a colour is set once";
    }
}

TEST(KivPdfMesh, WhatIsNoFlatTriangleIsLeft) {
    EXPECT_EQ(kivPdfMeshPaths({}, page), "");
    Bytes cut = triangle({1, 2, 3});
    cut.pop_back();
    EXPECT_EQ(kivPdfMeshPaths(cut, page), "");
    Bytes smooth = triangle({1, 2, 3});
    smooth.back() = 4;
    EXPECT_EQ(kivPdfMeshPaths(smooth, page), "");
    Bytes strip = triangle({1, 2, 3});
    strip[0] = 1;
    EXPECT_EQ(kivPdfMeshPaths(strip, page), "");
    EXPECT_EQ(kivPdfMeshPaths(triangle({1, 2, 3}), {0.0, std::numeric_limits<double>::infinity(), 0.0, 1.0}), "");
}

} // namespace
