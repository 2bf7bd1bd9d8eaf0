#include "kivrender/platform/kivimage.h"

#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivwholefile.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <png.h>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

const GUID& encoderOf(KivImageFormat format) {
    for (const KivImageEncoder& encoder : kivImageEncoders()) {
        if (encoder.format == format) {
            return encoder.id;
        }
    }
    throw std::logic_error("no such encoder");
}

constexpr KivImageFormat formats[] = {KivImageFormat::bmp, KivImageFormat::png, KivImageFormat::gif,
                                      KivImageFormat::jpeg, KivImageFormat::tiff};

// Four flat quarters with one odd pixel in the corner; few colours, so that gif can keep them.
std::unique_ptr<KivImage> quarters(std::int32_t width, std::int32_t height) {
    auto image = KivImage::create({width, height});
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            std::uint8_t* to = image->row(y) + std::size_t{3} * static_cast<std::size_t>(x);
            to[0] = x < width / 2 ? 200 : 10;
            to[1] = y < height / 2 ? 30 : 220;
            to[2] = 90;
        }
    }
    image->row(0)[2] = 255;
    return image;
}

int difference(const KivImage& a, const KivImage& b) {
    int worst = 0;
    for (std::int32_t y = 0; y < a.height(); ++y) {
        for (std::int32_t x = 0; x < a.width(); ++x) {
            for (int shift = 0; shift < 24; shift += 8) {
                worst = std::max(worst, std::abs(static_cast<int>(a.pixel(x, y) >> shift & 0xFF) -
                                                 static_cast<int>(b.pixel(x, y) >> shift & 0xFF)));
            }
        }
    }
    return worst;
}

// What a function prints on standard error.
template <class Function> std::string printed(Function call) {
    ::testing::internal::CaptureStderr();
    call();
    return ::testing::internal::GetCapturedStderr();
}

class Image : public ::testing::Test {
protected:
    TempFolder folder;
};

} // namespace

TEST_F(Image, EveryFormatComesBackAsItWasSaved) {
    for (const tagSIZE size : {tagSIZE{1, 1}, tagSIZE{5, 3}, tagSIZE{64, 48}}) {
        const auto image = quarters(size.cx, size.cy);
        for (const KivImageFormat format : formats) {
            const Bytes bytes = image->encode(format);
            const auto back = KivImage::decode(bytes);
            ASSERT_TRUE(back) << static_cast<int>(format) << " " << size.cx;
            EXPECT_EQ(back->size(), size);
            EXPECT_EQ(back->layout(), KivImage::Layout::rgb24);
            if (format != KivImageFormat::jpeg) {
                EXPECT_EQ(difference(*image, *back), 0) << static_cast<int>(format) << " " << size.cx;
            }
        }
    }
}

TEST_F(Image, JpegIsNearlyTheSameAndKeepsColourAtEdges) {
    auto image = KivImage::create({64, 48});
    for (std::int32_t y = 0; y < 48; ++y) {
        for (std::int32_t x = 0; x < 64; ++x) {
            image->row(y)[3 * x + 2] = x < 32 ? 255 : 0;
            image->row(y)[3 * x + 0] = x < 32 ? 0 : 255;
        }
    }
    const auto back = KivImage::decode(image->encode(KivImageFormat::jpeg));
    ASSERT_TRUE(back);
    EXPECT_LE(difference(*image, *back), 8);
}

// Only the warning that the data end too early makes a picture broken.
TEST_F(Image, JpegWithBytesBetweenItsSegmentsIsRead) {
    const auto image = quarters(16, 16);
    Bytes bytes = image->encode(KivImageFormat::jpeg);
    ASSERT_GT(bytes.size(), 20U);
    const std::ptrdiff_t behindFirst =
        4 + (bytes[4] << 8 | bytes[5]); // the first segment has its length behind its mark
    bytes.insert(bytes.begin() + behindFirst, {0x12, 0x34});
    const auto back = KivImage::decode(bytes);
    ASSERT_TRUE(back);
    const auto clean = KivImage::decode(image->encode(KivImageFormat::jpeg));
    EXPECT_EQ(difference(*clean, *back), 0);
}

TEST_F(Image, PngIsReadByAnotherReader) {
    std::mt19937 random(3);
    for (const std::int32_t width : {1, 7, 1280, 11000}) { // the last one has rows wider than deflate looks back
        auto image = KivImage::create({width, 9});
        for (std::int32_t y = 0; y < 9; ++y) {
            for (std::int32_t i = 0; i < 3 * width; ++i) {
                image->row(y)[i] = static_cast<std::uint8_t>(i < width ? random() : 17);
            }
        }
        const Bytes bytes = image->encode(KivImageFormat::png);
        png_image reader{};
        reader.version = PNG_IMAGE_VERSION;
        ASSERT_NE(png_image_begin_read_from_memory(&reader, bytes.data(), bytes.size()), 0) << reader.message;
        EXPECT_EQ(reader.format, static_cast<png_uint_32>(PNG_FORMAT_RGB));
        reader.format = PNG_FORMAT_RGB;
        Bytes pixels(PNG_IMAGE_SIZE(reader));
        ASSERT_NE(png_image_finish_read(&reader, nullptr, pixels.data(), 0, nullptr), 0) << reader.message;
        for (std::int32_t y = 0; y < 9; ++y) {
            for (std::int32_t x = 0; x < width; ++x) {
                const std::uint8_t* p = pixels.data() + (std::size_t{3} * static_cast<std::size_t>(y * width + x));
                ASSERT_EQ(image->pixel(x, y), static_cast<std::uint32_t>(p[0] | p[1] << 8 | p[2] << 16));
            }
        }
    }
}

TEST_F(Image, TheSamePictureGivesTheSameBytes) {
    const auto image = quarters(100, 80);
    image->setResolution(72, 72);
    for (const KivImageFormat format : formats) {
        const Bytes first = image->encode(format);
        EXPECT_FALSE(first.empty());
        EXPECT_EQ(first, image->encode(format)) << static_cast<int>(format);
    }
}

TEST_F(Image, IndexedPicturesKeepTheirPalette) {
    const std::uint8_t rows[] = {0, 1, 2, 99, 3, 4, 255, 99}; // 3 by 2, rows 4 apart
    const auto image = KivImage::createIndexed({3, 2}, rows, 4);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->rowBytes(), 4U);
    ASSERT_EQ(image->palette().size(), 256U);
    EXPECT_EQ(image->palette()[3], 0x030303U);
    image->palette()[1] = 0x0000FF; // blue
    EXPECT_EQ(image->pixel(1, 0), 0xFF0000U);
    for (const KivImageFormat format : formats) {
        const auto back = KivImage::decode(image->encode(format));
        ASSERT_TRUE(back) << static_cast<int>(format);
        EXPECT_LE(difference(*image, *back), format == KivImageFormat::jpeg ? 60 : 0) << static_cast<int>(format);
    }
    const Bytes png = image->encode(KivImageFormat::png);
    EXPECT_EQ(png[24], 8); // bits a pixel
    EXPECT_EQ(png[25], PNG_COLOR_TYPE_PALETTE);
    EXPECT_EQ(KivImage::createIndexed({3, 2}, rows, 2), nullptr);
}

TEST_F(Image, TwoColoursOfAnyKindSurviveInEveryFormat) {
    auto image = KivImage::create({9, 2});
    for (std::int32_t x = 0; x < 9; ++x) {
        image->row(0)[3 * x + 2] = 200; // red over green
        image->row(1)[3 * x + 1] = 100;
    }
    for (const KivImageFormat format : {KivImageFormat::bmp, KivImageFormat::gif, KivImageFormat::tiff}) {
        EXPECT_EQ(difference(*image, *KivImage::decode(image->encode(format))), 0) << static_cast<int>(format);
    }
}

// Rows are looked through by where the colour changes, so the first of a row counts whatever it is.
TEST_F(Image, AnyColourMayBeginARow) {
    for (const std::uint32_t first : {0x000000U, 0x000001U, 0x000100U, 0x010000U, 0x0000FFU, 0xFFFFFFU, 0x800000U}) {
        auto image = quarters(6, 2);
        for (int shift = 0; shift < 3; ++shift) {
            image->row(0)[shift] = static_cast<std::uint8_t>(first >> (8 * shift));
        }
        const auto back = KivImage::decode(image->encode(KivImageFormat::gif));
        ASSERT_TRUE(back);
        EXPECT_EQ(difference(*image, *back), 0) << first;
    }
}

TEST_F(Image, GifOfManyColoursIsClose) {
    auto image = KivImage::create({64, 64});
    for (std::int32_t y = 0; y < 64; ++y) {
        for (std::int32_t x = 0; x < 64; ++x) {
            image->row(y)[3 * x] = static_cast<std::uint8_t>(4 * x);
            image->row(y)[3 * x + 1] = static_cast<std::uint8_t>(4 * y);
        }
    }
    const auto back = KivImage::decode(image->encode(KivImageFormat::gif));
    ASSERT_TRUE(back);
    EXPECT_LE(difference(*image, *back), 40);
}

TEST_F(Image, GifOfSeveralFramesGivesTheFirst) {
    const auto first = quarters(20, 10);
    Bytes bytes = first->encode(KivImageFormat::gif);
    bytes.pop_back(); // the end mark
    Bytes second = bytes;
    bytes.insert(bytes.end(), second.begin() + 13 + 24, second.end()); // garbage behind the first frame
    bytes.push_back(0x3B);
    const auto back = KivImage::decode(bytes);
    ASSERT_TRUE(back);
    EXPECT_EQ(difference(*first, *back), 0);
}

TEST_F(Image, ResolutionSurvives) {
    auto image = quarters(16, 16);
    image->setResolution(300, 150);
    for (const KivImageFormat format : {KivImageFormat::png, KivImageFormat::jpeg, KivImageFormat::tiff}) {
        const auto back = KivImage::decode(image->encode(format));
        ASSERT_TRUE(back);
        EXPECT_NEAR(back->horizontalResolution(), 300, 0.1) << static_cast<int>(format);
        EXPECT_NEAR(back->verticalResolution(), 150, 0.1) << static_cast<int>(format);
    }
    EXPECT_EQ(image->scaled({8, 8})->horizontalResolution(), 300);
}

TEST_F(Image, AlphaIsDropped) {
    png_image writer{};
    writer.version = PNG_IMAGE_VERSION;
    writer.width = 2;
    writer.height = 1;
    writer.format = PNG_FORMAT_RGBA;
    const std::uint8_t pixels[] = {10, 20, 30, 0, 40, 50, 60, 128};
    Bytes bytes(4096);
    png_alloc_size_t size = bytes.size();
    ASSERT_NE(png_image_write_to_memory(&writer, bytes.data(), &size, 0, pixels, 0, nullptr), 0);
    bytes.resize(size);
    const auto image = KivImage::decode(bytes);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), 0x1E140AU);
    EXPECT_EQ(image->pixel(1, 0), 0x3C3228U);
}

// The number of an entry of a TIFF's first directory, in little-endian files; -1 for none.
int tiffEntry(const std::vector<std::uint8_t>& file, int tag) {
    const auto number = [&](std::size_t at, int bytes) {
        int value = 0;
        for (int i = bytes - 1; i >= 0; --i) {
            value = value << 8 | file.at(at + static_cast<std::size_t>(i));
        }
        return value;
    };
    const auto directory = static_cast<std::size_t>(number(4, 4));
    for (int i = 0; i < number(directory, 2); ++i) {
        const std::size_t entry = directory + 2 + std::size_t{12} * static_cast<std::size_t>(i);
        if (number(entry, 2) == tag) {
            return number(entry + 8, 2);
        }
    }
    return -1;
}

TEST_F(Image, PngAndTiffKeepStraightAlpha) {
    auto image = KivImage::createWithAlpha({2, 1});
    const std::uint8_t pixels[] = {10, 20, 200, 128, 250, 0, 30, 0}; // blue first; colours stay beside an alpha of 0
    std::copy(std::begin(pixels), std::end(pixels), image->row(0));
    const std::vector<std::uint8_t> png = image->encode(KivImageFormat::png);
    png_image reader = {};
    reader.version = PNG_IMAGE_VERSION;
    ASSERT_NE(png_image_begin_read_from_memory(&reader, png.data(), png.size()), 0);
    EXPECT_NE(reader.format & PNG_FORMAT_FLAG_ALPHA, 0U);
    reader.format = PNG_FORMAT_BGRA;
    std::uint8_t read[8] = {};
    ASSERT_NE(png_image_finish_read(&reader, nullptr, read, 0, nullptr), 0);
    EXPECT_TRUE(std::equal(std::begin(pixels), std::end(pixels), read));

    const std::vector<std::uint8_t> tiff = image->encode(KivImageFormat::tiff);
    EXPECT_EQ(tiffEntry(tiff, 277), 4) << "samples in a pixel";
    EXPECT_EQ(tiffEntry(tiff, 338), 2) << "the fourth is alpha, by which colours are not multiplied";
    const auto back = KivImage::decode(tiff);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->pixel(0, 0), 0x050A64U) << "libtiff lays straight alpha over black";

    for (const KivImageFormat format : {KivImageFormat::bmp, KivImageFormat::gif, KivImageFormat::jpeg}) {
        EXPECT_FALSE(KivImage::keepsAlpha(format));
        EXPECT_NE(KivImage::decode(image->encode(format)), nullptr);
    }
}

TEST_F(Image, FlipAndPart) {
    auto image = quarters(6, 5);
    const std::uint32_t top = image->pixel(0, 0);
    const std::uint32_t bottom = image->pixel(0, 4);
    image->flip();
    EXPECT_EQ(image->pixel(0, 4), top);
    EXPECT_EQ(image->pixel(0, 0), bottom);
    const auto part = image->part({0, 4, 2, 5});
    ASSERT_TRUE(part);
    EXPECT_EQ(part->size(), (tagSIZE{2, 1}));
    EXPECT_EQ(part->pixel(0, 0), top);
}

TEST_F(Image, ScalingKeepsFlatColoursAndPlaces) {
    const auto image = quarters(40, 40);
    for (const tagSIZE size : {tagSIZE{160, 160}, tagSIZE{20, 20}, tagSIZE{44, 36}}) {
        const auto scaled = image->scaled(size);
        ASSERT_TRUE(scaled);
        EXPECT_EQ(scaled->size(), size);
        EXPECT_EQ(scaled->pixel(size.cx * 3 / 4, size.cy / 4), image->pixel(30, 10));
        EXPECT_EQ(scaled->pixel(size.cx / 4, size.cy * 3 / 4), image->pixel(10, 30));
    }
}

TEST_F(Image, ScalingIsBicubic) {
    // One brighter column, enlarged 4 times: next to it the weights of a bicubic go below 0, and nothing changes
    // further away than two sources.
    auto flat = KivImage::create({9, 1});
    std::fill_n(flat->row(0), 27, std::uint8_t{100});
    flat->row(0)[12] = 200;
    const auto scaled = flat->scaled({36, 1});
    ASSERT_TRUE(scaled);
    const auto blue = [&](int x) { return static_cast<int>(scaled->pixel(x, 0) >> 16); };
    EXPECT_EQ(blue(8), 100);
    EXPECT_GT(blue(17), 180);
    EXPECT_LT(blue(12), 100); // the undershoot that a linear filter does not have
    EXPECT_EQ(blue(27), 100);
}

TEST_F(Image, SizesOutsideTheLimitsAreRefused) {
    EXPECT_FALSE(KivImage::create({0, 5}));
    EXPECT_FALSE(KivImage::create({5, -1}));
    EXPECT_FALSE(KivImage::create({40000, 1}));
    EXPECT_FALSE(KivImage::create({32767, 32767}));
    EXPECT_FALSE(quarters(4, 4)->scaled({0, 4}));
}

TEST_F(Image, ABitmapIsSeenWithoutACopy) {
    const HBITMAP bitmap = kivCreateBitmap({3, 2});
    KivBitmapInfo info;
    ASSERT_TRUE(kivGetBitmapInfo(bitmap, &info));
    // The top right pixel is the last one of the second row.
    std::uint8_t* corner = info.pixels + info.rowBytes + 8;
    corner[0] = 3; // blue
    corner[1] = 2;
    corner[2] = 1;
    corner[3] = 77; // no meaning
    const auto image = KivImage::fromBitmap(bitmap);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(2, 0), 0x030201U);
    EXPECT_EQ(image->pixel(2, 1), 0U);
    for (const KivImageFormat format : {KivImageFormat::png, KivImageFormat::bmp, KivImageFormat::tiff}) {
        EXPECT_EQ(KivImage::decode(image->encode(format))->pixel(2, 0), 0x030201U);
    }
    kivDeleteBitmap(bitmap);
    EXPECT_FALSE(KivImage::fromBitmap(bitmap));
    EXPECT_FALSE(KivImage::fromBitmap(nullptr));
}

TEST_F(Image, BrokenAndTruncatedFilesAreRefusedQuietly) {
    const auto image = quarters(61, 47);
    for (const KivImageFormat format : formats) {
        const Bytes whole = image->encode(format);
        const std::string noise = printed([&] {
            for (const std::size_t length : {whole.size() / 8, whole.size() / 4, whole.size() / 2, whole.size() * 3 / 4,
                                             std::size_t{3}, std::size_t{0}}) {
                const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
                EXPECT_FALSE(KivImage::decode(cut)) << static_cast<int>(format) << " " << length;
            }
            std::mt19937 random(5);
            for (int round = 0; round < 300; ++round) {
                Bytes broken = whole;
                for (int i = 0; i < 4; ++i) {
                    broken[random() % broken.size()] = static_cast<std::uint8_t>(random());
                }
                const auto result = KivImage::decode(broken, 1 << 20);
                EXPECT_TRUE(!result || result->width() > 0);
            }
        });
        EXPECT_EQ(noise, "") << static_cast<int>(format);
    }
    EXPECT_FALSE(KivImage::load(folder.wide("missing.png")));
    EXPECT_FALSE(KivImage::load(folder.wide()));
    EXPECT_FALSE(KivImage::decode(Bytes(100, 'x')));
}

// Two grey pixels behind the directory of a TIFF file, where most writers put them before it.
Bytes tiffThatEndsWithItsPixels() {
    constexpr int entries[][3] = {{256, 4, 2}, {257, 4, 1}, {258, 3, 8}, {259, 3, 1}, {262, 3, 1},
                                  {273, 4, 0}, {277, 3, 1}, {278, 4, 1}, {279, 4, 2}};
    Bytes bytes = {'I', 'I', 42, 0, 8, 0, 0, 0, std::size(entries), 0};
    const auto add = [&bytes](int value, int size) {
        for (int i = 0; i < size; ++i) {
            bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        }
    };
    constexpr int pixels = 8 + 2 + 12 * static_cast<int>(std::size(entries)) + 4;
    for (const auto& [tag, type, value] : entries) {
        add(tag, 2);
        add(type, 2);
        add(1, 4);
        add(tag == 273 ? pixels : value, 4);
    }
    add(0, 4);
    bytes.insert(bytes.end(), {0x40, 0x90});
    return bytes;
}

TEST_F(Image, AFileMayEndWithItsLastPixelButNotBeforeIt) {
    Bytes bytes = tiffThatEndsWithItsPixels();
    const auto image = KivImage::decode(bytes);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), (tagSIZE{2, 1}));
    EXPECT_EQ(image->pixel(0, 0), 0x404040U);
    EXPECT_EQ(image->pixel(1, 0), 0x909090U);
    bytes.pop_back();
    EXPECT_FALSE(KivImage::decode(bytes));
}

TEST_F(Image, HugePicturesAreRefusedBeforeTheyTakeMemory) {
    // Only the header counts: the rest is not even there.
    Bytes png = quarters(8, 8)->encode(KivImageFormat::png);
    EXPECT_FALSE(KivImage::decode(png, 63));
    EXPECT_TRUE(KivImage::decode(png, 64));

    Bytes bmp = quarters(8, 8)->encode(KivImageFormat::bmp);
    bmp[20] = 1; // 65544 wide
    EXPECT_FALSE(KivImage::decode(bmp));

    for (const KivImageFormat format : formats) {
        EXPECT_FALSE(KivImage::decode(quarters(8, 8)->encode(format), 63)) << static_cast<int>(format);
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const long peak = usage.ru_maxrss;
    Bytes jpeg = quarters(8, 8)->encode(KivImageFormat::jpeg);
    for (std::size_t i = 0; i + 8 < jpeg.size(); ++i) {
        if (jpeg[i] == 0xFF && jpeg[i + 1] == 0xC0) { // the frame header: height, width
            jpeg[i + 5] = jpeg[i + 7] = 0x7F;
            jpeg[i + 6] = jpeg[i + 8] = 0xFF;
        }
    }
    EXPECT_FALSE(KivImage::decode(jpeg));
    getrusage(RUSAGE_SELF, &usage);
    EXPECT_LT(usage.ru_maxrss - peak, 100000); // KiB
}

TEST_F(Image, SavesByEncoder) {
    const auto image = quarters(20, 10);
    for (const KivImageEncoder& encoder : kivImageEncoders()) {
        const std::wstring file = folder.wide() + L"/picture." + encoder.endings[0];
        EXPECT_EQ(image->save(file, encoder.id), KivImageStatus::ok);
        EXPECT_TRUE(KivImage::load(file));
    }
    EXPECT_EQ(image->save(folder.wide("picture.xyz"), GUID{}), KivImageStatus::unknownFormat);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "picture.xyz"));
}

TEST_F(Image, AFailedSaveLeavesTheOldFileAndNothingElse) {
    const auto image = quarters(400, 300);
    const std::wstring file = folder.wide("picture.bmp");
    ASSERT_TRUE(kivWriteWholeFile(file, Bytes{'o', 'l', 'd'}));

    // A limit on the size of files stands for a full disk.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 1000;
    auto* handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const KivImageStatus status = image->save(file, encoderOf(KivImageFormat::bmp));
    const unsigned long error = kivGetLastError();
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);

    EXPECT_EQ(status, KivImageStatus::systemError);
    EXPECT_EQ(error, kivErrorFileTooLarge);
    EXPECT_EQ(folder.read("picture.bmp"), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_F(Image, WholeFilesFollowLinksAndKeepPermissions) {
    ASSERT_TRUE(kivWriteWholeFile(folder.wide("real"), Bytes{'1'}));
    chmod((folder.path() / "real").c_str(), 0640);
    std::filesystem::create_symlink("real", folder.path() / "link");
    ASSERT_TRUE(kivWriteWholeFile(folder.wide("link"), Bytes{'2'}));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link"));
    EXPECT_EQ(folder.read("real"), "2");
    struct stat info {};
    stat((folder.path() / "real").c_str(), &info);
    EXPECT_EQ(info.st_mode & 0777U, 0640U);
    EXPECT_TRUE(kivWriteWholeFile(L"/dev/null", Bytes{'3'}));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    ASSERT_TRUE(kivCopyWholeFile(folder.wide("real"), folder.wide("copy")));
    EXPECT_EQ(folder.read("copy"), "2");
    EXPECT_FALSE(kivCopyWholeFile(folder.wide("missing"), folder.wide("copy")));
    EXPECT_EQ(kivGetLastError(), kivErrorFileNotFound);
    EXPECT_EQ(folder.read("copy"), "2");
}

TEST_F(Image, WhetherAFileCanBeWrittenIsSeenWithoutATrace) {
    EXPECT_TRUE(kivCanWriteFile(folder.wide("new")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 0);
    ASSERT_TRUE(kivWriteWholeFile(folder.wide("old"), Bytes{'1'}));
    EXPECT_TRUE(kivCanWriteFile(folder.wide("old")));
    EXPECT_EQ(folder.read("old"), "1");
    EXPECT_FALSE(kivCanWriteFile(folder.wide()));
    EXPECT_FALSE(kivCanWriteFile(folder.wide("missing/new")));
    EXPECT_FALSE(kivCanWriteFile(L""));
    if (geteuid() != 0) {
        chmod((folder.path() / "old").c_str(), 0444);
        EXPECT_FALSE(kivCanWriteFile(folder.wide("old")));
    }
    // A name as long as a folder takes.
    EXPECT_TRUE(kivCanWriteFile(folder.wide(std::string(255, 'n'))));
}
