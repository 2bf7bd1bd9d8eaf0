// Pickers, encoders, reading, writing and scaling by the host.
#include "images_fixture.h"
#include "reference/twopassscale_reference.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <random>
#include <sys/resource.h>

namespace {

class PickingToolkit : public KivToolkit {
public:
    PickingToolkit() : previous(install(this)) {}
    ~PickingToolkit() override {
        install(previous);
    }

    int showMessage(HWND, const std::wstring&, const std::wstring&, KivMessageKind) override {
        return kivAnswerOk;
    }
    bool pickColor(HWND, std::uint32_t&) override {
        return false;
    }
    bool pickFile(KivFileRequest& request) override {
        asked = request;
        filters.clear();
        for (const wchar_t* at = request.filters; *at != L'\0'; at += std::wcslen(at) + 1) {
            filters.emplace_back(at);
        }
        request.file = file;
        request.filter = filter;
        return picks;
    }
    bool pickFolder(HWND, const std::wstring&, std::wstring&) override {
        return false;
    }
    unsigned int startTimer(unsigned int, std::function<void()>) override {
        return 0;
    }
    void stopTimer(unsigned int) override {}
    std::unique_ptr<KivWindow> createWindow(HINSTANCE, unsigned int, HWND) override {
        return nullptr;
    }

    bool picks = true;
    std::wstring file;
    int filter = 1;
    KivFileRequest asked;
    std::vector<std::wstring> filters;

private:
    KivToolkit* previous;
};

std::vector<std::uint32_t> pixelsOf(HBITMAP bitmap) {
    KivBitmapInfo info;
    EXPECT_TRUE(kivGetBitmapInfo(bitmap, &info));
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(info.width) * static_cast<std::size_t>(info.height));
    std::memcpy(pixels.data(), info.pixels, pixels.size() * 4);
    return pixels;
}

} // namespace

TEST_F(PictureTest, FilterTextHasAZeroAfterEachAndTwoAtTheEnd) {
    const wchar_t* parts[] = {L"ab", L"*.c", nullptr};
    wchar_t out[16];
    std::fill_n(out, 16, L'x');
    KivTestAccess::filterString(out, parts);
    EXPECT_EQ(std::wstring(out, 9), std::wstring(L"ab\0*.c\0\0x", 9));
}

TEST_F(PictureTest, BitmapPickerAsksAsAnOpenOrASaveDialog) {
    PickingToolkit toolkit;
    toolkit.file = L"/some/where/picture.png";
    wchar_t name[kivMaxPath] = L"preset";
    EXPECT_EQ(host->getBitmapFilename(nullptr, name, kivMaxPath, 1), 1);
    EXPECT_STREQ(name, L"/some/where/picture.png");
    EXPECT_STREQ(host->folderOfPickers(), L"/some/where");
    EXPECT_TRUE(toolkit.asked.open);
    EXPECT_TRUE(toolkit.asked.pathMustExist);
    EXPECT_TRUE(toolkit.asked.fileMustExist);
    EXPECT_FALSE(toolkit.asked.overwritePrompt);
    EXPECT_FALSE(toolkit.asked.hideReadOnly);
    EXPECT_EQ(toolkit.asked.filter, 1);
    EXPECT_EQ(toolkit.asked.file, L"");
    const std::vector<std::wstring> expected{kivText(40), L"*.bmp;*.jpe;*.jpg;*.jpeg;*.bmp;*.png;*.tif;*.tiff;",
                                             kivText(41), L"*.jpe;*.jpg;*.jpeg",
                                             kivText(49), L"*.tif;*.tiff",
                                             kivText(46), L"*.png",
                                             kivText(42), L"*.bmp",
                                             kivText(37), L"*.gif",
                                             kivText(36), L"*.*"};
    EXPECT_EQ(toolkit.filters, expected);

    host->getBitmapFilename(nullptr, name, kivMaxPath, 0);
    EXPECT_FALSE(toolkit.asked.open);
    EXPECT_TRUE(toolkit.asked.pathMustExist);
    EXPECT_FALSE(toolkit.asked.fileMustExist);
    EXPECT_TRUE(toolkit.asked.overwritePrompt);
    EXPECT_TRUE(toolkit.asked.hideReadOnly);
    EXPECT_EQ(toolkit.asked.folder, L"/some/where");
}

TEST_F(PictureTest, ANameWithoutEndingGetsTheOneOfItsRow) {
    PickingToolkit toolkit;
    toolkit.file = L"/a.b/picture";
    const wchar_t* bitmapEndings[] = {L".jpg", L".jpg", L".tif", L".png", L".bmp", L".gif", L".jpg"};
    const wchar_t* vectorEndings[] = {L".pdf", L".pdf", L".ps", L".eps", L".ai", L".svg", L".pdf"};
    wchar_t name[kivMaxPath];
    for (int row = 1; row <= 7; ++row) {
        toolkit.filter = row;
        EXPECT_EQ(host->getBitmapFilename(nullptr, name, kivMaxPath, 0), 1);
        EXPECT_EQ(name, std::wstring(L"/a.b/picture") + bitmapEndings[row - 1]);
        EXPECT_EQ(toolkit.asked.endings, std::vector<std::wstring>(bitmapEndings, bitmapEndings + 7));
        EXPECT_EQ(host->getVectorialFilename(nullptr, name, kivMaxPath, 0), 1);
        EXPECT_EQ(toolkit.asked.endings, std::vector<std::wstring>(vectorEndings, vectorEndings + 7));
        EXPECT_EQ(name, std::wstring(L"/a.b/picture") + vectorEndings[row - 1]);
    }
    const std::vector<std::wstring> expected{kivText(40), L"*.pdf;*.ps;*.eps;*.ai;*.svg;",
                                             kivText(75), L"*.pdf",
                                             kivText(4),  L"*.ps",
                                             kivText(70), L"*.eps",
                                             kivText(76), L"*.ai",
                                             kivText(86), L"*.svg",
                                             kivText(36), L"*.*"};
    EXPECT_EQ(toolkit.filters, expected);
}

TEST_F(PictureTest, ACancelledPickerEmptiesTheNameAndKeepsTheFolder) {
    PickingToolkit toolkit;
    toolkit.picks = false;
    toolkit.file = L"/elsewhere/x";
    wchar_t name[kivMaxPath] = L"preset";
    EXPECT_EQ(host->getBitmapFilename(nullptr, name, kivMaxPath, 1), 0);
    EXPECT_STREQ(name, L"");
    EXPECT_STREQ(host->folderOfPickers(), L"");
}

TEST_F(PictureTest, PickedNamesAreCutToTheBuffer) {
    PickingToolkit toolkit;
    toolkit.file = L"/" + std::wstring(400, L'd') + L"/f.png";
    wchar_t name[11];
    name[10] = L'!';
    EXPECT_EQ(host->getBitmapFilename(nullptr, name, 10, 1), 1);
    EXPECT_STREQ(name, L"/dddddddd");
    EXPECT_EQ(name[10], L'!');
    EXPECT_EQ(std::wcslen(host->folderOfPickers()), static_cast<std::size_t>(kivMaxPath - 1));
}

TEST_F(PictureTest, EncodersByTypeAndByEnding) {
    const GUID untouched{1, 2, 3, {4}};
    GUID found = untouched;
    EXPECT_EQ(host->getEncoderClsid(L"image/PNG", &found), -1);
    EXPECT_EQ(host->getEncoderClsid(L"image/webp", &found), -1);
    EXPECT_EQ(found, untouched);
    const std::pair<const wchar_t*, const wchar_t*> endings[] = {
        {L"a.bmp", L"image/bmp"},   {L"a.PNG", L"image/png"},  {L"a.b.gif", L"image/gif"}, {L"a.jpg", L"image/jpeg"},
        {L"a.Jpeg", L"image/jpeg"}, {L"a.tif", L"image/tiff"}, {L"a.tiff", L"image/tiff"}};
    for (const auto& [file, type] : endings) {
        GUID byType;
        GUID byEnding;
        const int index = host->getEncoderClsid(type, &byType);
        EXPECT_GE(index, 0);
        EXPECT_EQ(host->getEncoderClsidFromFileName(file, &byEnding), index);
        EXPECT_EQ(byEnding, byType);
    }
    for (const wchar_t* file : {L"a.xyz", L"a", L"a.png/b", L"", L"a."}) {
        EXPECT_EQ(host->getEncoderClsidFromFileName(file, &found), 0);
        EXPECT_EQ(found, untouched);
    }
}

TEST_F(PictureTest, SavesTheSurfaceUprightInEveryFormat) {
    KivBitmapManager surface;
    fill(surface, {8, 6}, 0x00203040);
    KivBitmapInfo info;
    ASSERT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
    std::memset(info.pixels + 5 * info.rowBytes, 255, info.rowBytes); // the top row
    for (const char* name : {"a.bmp", "a.png", "a.gif", "a.tif", "a.jpg"}) {
        host->saveImage(surface, folder.wide(name).c_str());
        const auto image = KivImage::load(folder.wide(name));
        ASSERT_TRUE(image) << name;
        EXPECT_EQ(image->size(), (tagSIZE{8, 6}));
        if (name != std::string("a.jpg")) {
            EXPECT_EQ(image->pixel(3, 0), 0xFFFFFFU) << name;
            EXPECT_EQ(image->pixel(3, 5), 0x403020U) << name;
        }
    }
    EXPECT_TRUE(host->messages.empty());
    EXPECT_TRUE(host->errors.empty());
}

TEST_F(PictureTest, AnUnknownEndingIsToldWithItsStatus) {
    KivBitmapManager surface;
    fill(surface, {4, 4}, 0);
    const std::wstring file = folder.wide("picture.xyz");
    host->saveImage(surface, file.c_str());
    ASSERT_EQ(host->messages.size(), 1U);
    EXPECT_EQ(host->messages[0], L"GDI+ ERROR 13\n\nWhile saving file \"" + file + L"\".");
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "picture.xyz"));
}

TEST_F(PictureTest, AFileThatCannotBeWrittenIsToldByTheSystemsError) {
    KivBitmapManager surface;
    fill(surface, {4, 4}, 0);
    const std::wstring file = folder.wide("missing/picture.png");
    host->saveImage(surface, file.c_str());
    ASSERT_EQ(host->errors.size(), 1U);
    EXPECT_EQ(host->errors[0].first, kivErrorFileNotFound);
    EXPECT_EQ(host->errors[0].second, L"While saving file \"" + file + L"\".");
    EXPECT_TRUE(host->messages.empty());
}

TEST_F(PictureTest, ASurfaceWithoutPictureSavesNothingWithoutAMessage) {
    KivBitmapManager surface;
    host->saveImage(surface, folder.wide("picture.png").c_str());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "picture.png"));
    EXPECT_TRUE(host->messages.empty());
    EXPECT_TRUE(host->errors.empty());
}

TEST_F(PictureTest, LoadGivesRowsFromTheTopWithRedLow) {
    const std::wstring file = picture("a.png", {6, 4}, 0x332211, 0x665544);
    std::uint32_t* pixels = nullptr;
    SIZE size;
    host->loadImage(&pixels, &size, file.c_str());
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(size, (SIZE{6, 4}));
    EXPECT_EQ(pixels[0], 0x665544U);
    EXPECT_EQ(pixels[5], 0x332211U);
    EXPECT_EQ(pixels[18], 0x332211U);
    delete[] pixels;
}

TEST_F(PictureTest, LoadLooksBesideTheLibraryToo) {
    wchar_t home[kivMaxPath];
    host->getMorvaneFolder(home);
    const std::string name = "picture-beside-the-library.png";
    const std::filesystem::path beside = std::filesystem::path(kivToUtf8(home)) / name;
    picture(name, {3, 3}, 0x010203, 0x010203);
    std::filesystem::copy_file(folder.path() / name, beside, std::filesystem::copy_options::overwrite_existing);
    std::uint32_t* pixels = nullptr;
    SIZE size;
    host->loadImage(&pixels, &size, kivFromUtf8(name).c_str());
    std::filesystem::remove(beside);
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(pixels[4], 0x010203U);
    delete[] pixels;
}

TEST_F(PictureTest, AFailedLoadLeavesNull) {
    std::uint32_t something = 0;
    std::uint32_t* pixels = &something;
    SIZE size{7, 7};
    host->loadImage(&pixels, &size, folder.wide("missing.png").c_str());
    EXPECT_EQ(pixels, nullptr);
    EXPECT_TRUE(host->messages.empty());
}

TEST_F(PictureTest, AStretchedImageHasAWidthOfAMultipleOfFour) {
    auto source = KivImage::create({10, 10});
    source->setResolution(96, 48);
    for (const std::int32_t width : {1, 4, 5, 8}) {
        const std::unique_ptr<KivImage> result(host->stretchImageBilinear(source.get(), SIZE{width, 7}));
        ASSERT_TRUE(result);
        EXPECT_EQ(result->size(), (tagSIZE{(width + 3) / 4 * 4, 7}));
        EXPECT_EQ(result->layout(), KivImage::Layout::rgb24);
        EXPECT_EQ(result->horizontalResolution(), 96);
        EXPECT_EQ(result->verticalResolution(), 48);
    }
    EXPECT_EQ(host->stretchImageBilinear(source.get(), SIZE{0, 7}), nullptr);
    EXPECT_EQ(host->stretchImageBilinear(static_cast<KivImage*>(nullptr), SIZE{4, 7}), nullptr);
}

TEST_F(PictureTest, StretchingASurfaceReplacesItsPictureAndSize) {
    std::mt19937 random(9);
    KivBitmapManager surface;
    fill(surface, {64, 48}, 0);
    KivBitmapInfo info;
    ASSERT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
    std::vector<std::uint32_t> source(64 * 48);
    for (std::uint32_t& pixel : source) {
        pixel = random();
    }
    std::memcpy(info.pixels, source.data(), source.size() * 4);
    const HBITMAP old = surface.getHBitmap();
    host->stretchImageBilinear(kivScreenDeviceContext(), &surface, SIZE{16, 12});
    EXPECT_EQ(surface.getSize(), (tagSIZE{16, 12}));
    EXPECT_FALSE(kivGetBitmapInfo(old, &info));
    C2PassScale<CBilinearFilter> centred;
    centred.setCentred(true);
    std::uint32_t* const wanted = centred.scale(source.data(), 64, 48, 16, 12);
    EXPECT_EQ(pixelsOf(surface.getHBitmap()), std::vector<std::uint32_t>(wanted, wanted + 16 * 12));
    kivFreePixels(wanted, 16 * 12);
}

TEST_F(PictureTest, AHostOfItsOwnLaysFirstPixelsOnEachOther) {
    const std::vector<std::uint32_t> source = {0, 0, 0, 80, 0, 0, 0, 0};
    KivBitmapManager surface;
    fill(surface, {8, 1}, 0);
    KivBitmapInfo info;
    ASSERT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
    std::memcpy(info.pixels, source.data(), source.size() * 4);
    const HBITMAP target = kivCreateBitmap({4, 1});
    host->KivHostApplicationServices::stretchImageBilinear(kivScreenDeviceContext(), target,
                                                           kivShareBitmap(surface.getHBitmap()), SIZE{4, 1});
    EXPECT_EQ(pixelsOf(target), reference::scale(source, 8, 1, 4, 1));
    kivDeleteBitmap(target);
}

TEST_F(PictureTest, WithoutMemoryForTheScalerABlitTakesOver) {
    KivBitmapManager surface;
    fill(surface, {64, 48}, 0xFF102030);
    kivLimitPixelAllocations(0);
    host->stretchImageBilinear(kivScreenDeviceContext(), &surface, SIZE{16, 12});
    EXPECT_EQ(surface.getSize(), (tagSIZE{16, 12}));
    EXPECT_EQ(pixelsOf(surface.getHBitmap()), std::vector<std::uint32_t>(16 * 12, 0x00102030));
}

TEST_F(PictureTest, WithoutAContextForTheBlitNothingIsCopiedAndTheSourceStillGoes) {
    KivBitmapManager surface;
    fill(surface, {64, 48}, 0xFF102030);
    const HBITMAP target = kivCreateBitmap({16, 12});
    const HBITMAP source = kivShareBitmap(surface.getHBitmap());
    kivLimitPixelAllocations(0);
    host->stretchImageBilinear(nullptr, target, source, SIZE{16, 12});
    EXPECT_EQ(pixelsOf(target), std::vector<std::uint32_t>(16 * 12, 0));
    surface.setHBitmap(nullptr);
    kivDeleteBitmap(source); // the surface's own share
    KivBitmapInfo info;
    EXPECT_FALSE(kivGetBitmapInfo(source, &info)); // so the other one was consumed
    kivDeleteBitmap(target);
}

TEST_F(PictureTest, ABitmapThatIsNoSectionIsBlittedAndDeleted) {
    const HBITMAP source = kivCreateBitmap({8, 8});
    KivBitmapInfo info;
    ASSERT_TRUE(kivGetBitmapInfo(source, &info));
    ASSERT_FALSE(info.isSection);
    std::memset(info.pixels, 0x40, 8 * 8 * 4);
    const HBITMAP target = kivCreateBitmap({2, 2});
    kivLimitPixelAllocations(0); // so that it is not the scaler that did it
    host->stretchImageBilinear(kivScreenDeviceContext(), target, source, SIZE{2, 2});
    EXPECT_EQ(pixelsOf(target), std::vector<std::uint32_t>(4, 0x404040));
    EXPECT_FALSE(kivGetBitmapInfo(source, &info));
    kivDeleteBitmap(target);
}

TEST_F(PictureTest, ASourceThatIsGoneChangesNothing) {
    const HBITMAP source = kivCreateBitmap({8, 8});
    kivDeleteBitmap(source);
    const HBITMAP target = kivCreateBitmap({2, 2});
    host->stretchImageBilinear(kivScreenDeviceContext(), target, source, SIZE{2, 2});
    EXPECT_EQ(pixelsOf(target), std::vector<std::uint32_t>(4, 0));
    kivDeleteBitmap(target);
}
