#include "kivrender/platform/kivpicturewriter.h"

#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivsystemerror.h"
#include "support/temphome.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <vector>

namespace {

std::vector<std::uint8_t> pixelsOf(tagSIZE size, int channels) {
    std::mt19937 random(7);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(size.cy) *
                                     static_cast<std::size_t>(channels));
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<std::uint8_t>(i % 97 < 60 ? i / 900 : random());
    }
    return pixels;
}

bool writeAll(const std::wstring& file, tagSIZE size, int channels, std::int32_t rowsAtATime) {
    const auto writer = KivPictureWriter::create(file, size, channels);
    if (!writer) {
        return false;
    }
    const std::vector<std::uint8_t> pixels = pixelsOf(size, channels);
    for (std::int32_t y = 0; y < size.cy; y += rowsAtATime) {
        const std::int32_t count = std::min(rowsAtATime, size.cy - y);
        if (!writer->write(pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(size.cx * channels),
                           count)) {
            return false;
        }
    }
    return writer->finish();
}

std::vector<char> bytesOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(KivPictureWriter, WhatItWritesIsReadBackPixelByPixel) {
    const TempFolder folder;
    for (const wchar_t* ending : {L"png", L"tif", L"TIFF"}) {
        for (const int channels : {1, 3}) {
            const tagSIZE size{401, 1203}; // several strips of a TIFF, several blocks of a PNG
            const std::wstring file = folder.wide() + L"/a." + ending;
            ASSERT_TRUE(writeAll(file, size, channels, 100));
            const auto image = KivImage::load(file);
            ASSERT_TRUE(image);
            ASSERT_EQ(image->width(), size.cx);
            ASSERT_EQ(image->height(), size.cy);
            const std::vector<std::uint8_t> pixels = pixelsOf(size, channels);
            std::vector<std::uint8_t> row(static_cast<std::size_t>(size.cx) * 3);
            for (std::int32_t y = 0; y < size.cy; ++y) {
                image->copyRowRgb(y, row.data());
                for (std::int32_t x = 0; x < size.cx; ++x) {
                    const std::size_t at = static_cast<std::size_t>(y) * size.cx + x;
                    for (int c = 0; c < 3; ++c) {
                        const std::size_t from = channels == 3 ? at * 3 + c : at;
                        ASSERT_EQ(row[static_cast<std::size_t>(x) * 3 + c], pixels[from]) << x << " " << y;
                    }
                }
            }
        }
    }
}

TEST(KivPictureWriter, TheSameRowsGiveTheSameBytesHoweverManyComeAtATime) {
    const TempFolder folder;
    for (const wchar_t* ending : {L"png", L"tif"}) {
        const std::wstring a = folder.wide() + L"/a." + ending;
        const std::wstring b = folder.wide() + L"/b." + ending;
        ASSERT_TRUE(writeAll(a, {300, 700}, 3, 1));
        ASSERT_TRUE(writeAll(b, {300, 700}, 3, 333));
        EXPECT_EQ(bytesOf(a), bytesOf(b));
    }
}

TEST(KivPictureWriter, ATiffOfMoreThanFourGigabytesIsABigTiff) {
    const TempFolder folder;
    for (const auto& [height, version] : {std::pair(1000, 42), std::pair(60000, 43)}) {
        const std::wstring file = folder.wide() + L"/a.tif";
        {
            const auto writer = KivPictureWriter::create(file, {40000, height}, 3);
            ASSERT_TRUE(writer);
            const std::vector<std::uint8_t> rows(40000 * 3 * 50, 200);
            for (int y = 0; y < height && version == 42; y += 50) {
                ASSERT_TRUE(writer->write(rows.data(), 50));
            }
            ASSERT_TRUE(writer->finish());
        }
        const std::vector<char> bytes = bytesOf(file);
        ASSERT_GT(bytes.size(), 16U);
        EXPECT_EQ(bytes[0], 'I');
        EXPECT_EQ(bytes[2], version);
    }
}

TEST(KivPictureWriter, NothingIsLeftWithoutItsEnd) {
    const TempFolder folder;
    {
        const auto writer = KivPictureWriter::create(folder.wide() + L"/a.tif", {10, 10}, 3);
        ASSERT_TRUE(writer);
        const std::vector<std::uint8_t> row(30, 1);
        ASSERT_TRUE(writer->write(row.data(), 1));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(KivPictureWriter, WhatCannotBeWrittenTellsWhy) {
    const TempFolder folder;
    EXPECT_EQ(KivPictureWriter::create(folder.wide() + L"/a.gif", {10, 10}, 3), nullptr);
    EXPECT_EQ(kivGetLastError(), kivErrorInvalidParameter);
    EXPECT_EQ(KivPictureWriter::create(folder.wide() + L"/none/a.png", {10, 10}, 3), nullptr);
    EXPECT_NE(kivGetLastError(), kivErrorInvalidParameter);
    EXPECT_FALSE(KivPictureWriter::canWrite(L"a.jpg"));
    EXPECT_TRUE(KivPictureWriter::canWrite(L"a.b.PNG"));
}

TEST(KivPictureWriter, AFullDiskIsTold) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full here";
    }
    const TempFolder folder;
    const std::filesystem::path file = folder.path() / "a.png";
    std::filesystem::create_symlink("/dev/full", file);
    EXPECT_FALSE(writeAll(file.wstring(), {2000, 2000}, 3, 500));
    EXPECT_EQ(kivGetLastError(), kivErrorDiskFull);
}

} // namespace
