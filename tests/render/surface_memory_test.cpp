// The memory behind the surface: a file in a folder, the system's memory, and what is refused.
#include "surface_fixture.h"

#include <csignal>
#include <cstring>
#include <fstream>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A small file system of its own on a folder, where the tests run as root.
class SmallMount {
public:
    SmallMount(const std::filesystem::path& folder, const char* options, unsigned long flags = 0)
        : path(folder), mounted(mount("none", folder.c_str(), "tmpfs", flags, options) == 0) {}
    SmallMount(const SmallMount&) = delete;
    SmallMount& operator=(const SmallMount&) = delete;
    ~SmallMount() {
        if (mounted) {
            umount2(path.c_str(), MNT_DETACH);
        }
    }

    bool isMounted() const {
        return mounted;
    }

private:
    std::filesystem::path path;
    bool mounted;
};

std::size_t openFiles() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

// The descriptor of this process whose file had that name, or -1.
int descriptorOf(const std::string& name) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
        if (!error && target.find(name) != std::string::npos) {
            return std::stoi(entry.path().filename().string());
        }
    }
    return -1;
}

void expectSystemMemory(KivBitmapManager& surface, tagSIZE size) {
    EXPECT_EQ(surface.getHFile(), kivInvalidHandle());
    EXPECT_NE(surface.getHSection(), nullptr);
    EXPECT_TRUE(KivTestAccess::tempFileName(surface).empty());
    EXPECT_EQ(surface.getSize(), size);
    KivBitmapInfo picture;
    ASSERT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &picture));
    EXPECT_EQ(picture.width, size.cx);
    EXPECT_EQ(picture.height, size.cy);
    EXPECT_TRUE(picture.isSection);
    const std::size_t bytes = picture.rowBytes * static_cast<std::size_t>(size.cy);
    EXPECT_EQ(std::count(picture.pixels, picture.pixels + bytes, 0), static_cast<std::ptrdiff_t>(bytes));
    std::memset(picture.pixels, 0x55, bytes);
}

} // namespace

TEST_F(SurfaceTest, WithoutFolderTheSystemsMemoryServes) {
    for (const wchar_t* folder : {static_cast<const wchar_t*>(nullptr), L""}) {
        KivBitmapManager surface;
        ASSERT_TRUE(surface.buildBitmapMemory(folder, {33, 21}));
        expectSystemMemory(surface, {33, 21});
    }
    EXPECT_TRUE(host->errors.empty());
}

TEST_F(SurfaceTest, AFolderThatDoesNotExistIsNoError) {
    const TestFolder folder;
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory((folder.wide() + L"/missing").c_str(), {33, 21}));
    expectSystemMemory(surface, {33, 21});
    EXPECT_TRUE(host->errors.empty());
}

TEST_F(SurfaceTest, AFileInPlaceOfTheFolderIsNoError) {
    const TestFolder folder;
    std::ofstream(folder.path / "file") << "text";
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory((folder.wide() + L"/file").c_str(), {5, 5}));
    expectSystemMemory(surface, {5, 5});
    EXPECT_TRUE(host->errors.empty());
}

TEST_F(SurfaceTest, AFolderThatCanNotBeWrittenIsNoError) {
    const TestFolder folder;
    const SmallMount readOnly(folder.path, "size=64k", MS_RDONLY);
    if (!readOnly.isMounted()) {
        // Without the right to mount we are not root either, so that permissions count.
        ASSERT_EQ(chmod(folder.path.c_str(), 0500), 0);
        ASSERT_NE(geteuid(), 0U) << "root, but not allowed to mount: nothing here can be made read-only";
    }
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory(folder.wide().c_str(), {5, 5}));
    expectSystemMemory(surface, {5, 5});
    EXPECT_TRUE(host->errors.empty());
    chmod(folder.path.c_str(), 0700);
}

TEST_F(SurfaceTest, TheFileIsNamedReservedAndNotLeftBehind) {
    const TestFolder folder;
    const std::size_t openBefore = openFiles();
    {
        KivBitmapManager surface;
        ASSERT_TRUE(surface.buildBitmapMemory(folder.wide().c_str(), {200, 100}));
        const std::filesystem::path name(kivToUtf8(KivTestAccess::tempFileName(surface)));
        EXPECT_EQ(name.parent_path(), folder.path);
        EXPECT_EQ(name.filename().string().substr(0, 7), "Morvane");
        EXPECT_NE(surface.getHFile(), nullptr);
        EXPECT_NE(surface.getHFile(), kivInvalidHandle());
        EXPECT_EQ(folder.entries(), 0U) << "a crash must leave no file";
        const int descriptor = descriptorOf(name.filename().string());
        ASSERT_GE(descriptor, 0);
        struct stat status {};
        ASSERT_EQ(fstat(descriptor, &status), 0);
        EXPECT_EQ(status.st_size, 200 * 100 * 4 + 40);
        EXPECT_GE(status.st_blocks * 512, 200 * 100 * 4 + 40) << "the space is not reserved";
        // Bytes written to the picture are in the file.
        info(surface.getHBitmap()).pixels[17] = 0xA5;
        std::uint8_t byte = 0;
        ASSERT_EQ(pread(descriptor, &byte, 1, 17), 1);
        EXPECT_EQ(byte, 0xA5);
    }
    EXPECT_EQ(openFiles(), openBefore);
    EXPECT_EQ(folder.entries(), 0U);
}

TEST_F(SurfaceTest, AFullDiskFailsWithoutMessage) {
    const TestFolder folder;
    const SmallMount small(folder.path, "size=1m");
    if (!small.isMounted()) {
        GTEST_SKIP() << "mounting a small file system needs root; the limit on file sizes is tested in its place";
    }
    KivBitmapManager surface;
    EXPECT_FALSE(surface.buildBitmapMemory(folder.wide().c_str(), {1024, 1024}));
    EXPECT_EQ(kivGetLastError(), kivErrorDiskFull);
    EXPECT_EQ(surface.getHFile(), nullptr);
    EXPECT_EQ(surface.getHSection(), nullptr);
    EXPECT_EQ(surface.getHBitmap(), nullptr);
    EXPECT_EQ(create(surface, {1024, 1024}, folder.wide().c_str()), 0);
    EXPECT_EQ(kivGetLastError(), kivErrorDiskFull);
    EXPECT_EQ(surface.getHBitmap(), nullptr);
    EXPECT_TRUE(host->errors.empty());
    ASSERT_TRUE(startDrawing(surface, {256, 256}, folder.wide().c_str()))
        << "what fits is made, the space is free again";
    surface.deleteContext();
    EXPECT_EQ(info(surface.getHBitmap()).width, 256);
}

TEST_F(SurfaceTest, ALimitOnFileSizesFailsInPlaceOfEndingTheProcess) {
    const TestFolder folder;
    const auto inChild = [&] {
        const rlimit limit{1U << 20U, 1U << 20U};
        setrlimit(RLIMIT_FSIZE, &limit);
        KivBitmapManager surface;
        const bool isBuilt = surface.buildBitmapMemory(folder.wide().c_str(), {1024, 1024});
        sigset_t pending;
        sigpending(&pending);
        const bool isSound = !isBuilt && kivGetLastError() == kivErrorFileTooLarge && surface.getHFile() == nullptr &&
                             surface.getHSection() == nullptr && surface.getHBitmap() == nullptr &&
                             sigismember(&pending, SIGXFSZ) == 0 && host->errors.empty();
        _exit(isSound ? 0 : 1);
    };
    EXPECT_EXIT(inChild(), ::testing::ExitedWithCode(0), "");
}

TEST_F(SurfaceTest, MemoryThatTheSystemRefusesFailsWithoutMessage) {
    const auto inChild = [&] {
        const rlimit limit{8ULL << 30U, 8ULL << 30U};
        const bool isLimited = setrlimit(RLIMIT_AS, &limit) == 0;
        std::vector<std::unique_ptr<KivBitmapManager>> surfaces;
        bool isRefused = false;
        // 2 GiB of addresses each, none of it touched.
        for (int i = 0; isLimited && i < 8 && !isRefused; ++i) {
            surfaces.push_back(std::make_unique<KivBitmapManager>());
            isRefused = !surfaces.back()->buildBitmapMemory(nullptr, {32768, 16383});
        }
        const bool isSound = isRefused && kivGetLastError() == kivErrorNotEnoughMemory &&
                             surfaces.back()->getHBitmap() == nullptr && surfaces.back()->getHFile() == nullptr &&
                             host->errors.empty();
        _exit(isSound ? 0 : 1);
    };
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's own address space leaves no room for the limit";
#endif
    EXPECT_EXIT(inChild(), ::testing::ExitedWithCode(0), "");
}

TEST_F(SurfaceTest, ASizeThatWrapsAroundIn32BitsIsRefusedAsOutOfMemory) {
    // 4 GiB exactly, so that 40 bytes are asked for; a little more; and a product of 2^63 pixels.
    for (const tagSIZE size : {tagSIZE{32768, 32768}, tagSIZE{65536, 16385}, tagSIZE{0x40000000, 0x40000000}}) {
        host->errors.clear();
        KivBitmapManager surface;
        EXPECT_FALSE(surface.buildBitmapMemory(nullptr, size));
        EXPECT_EQ(kivGetLastError(), kivErrorNotEnoughMemory);
        EXPECT_EQ(surface.getHBitmap(), nullptr);
        EXPECT_NE(surface.getHSection(), nullptr) << "the caller closes it";
        ASSERT_EQ(host->errors.size(), 1U);
        EXPECT_EQ(host->errors[0].first, 8U);
        EXPECT_EQ(host->errors[0].second, L"");
        EXPECT_EQ(create(surface, size), 0);
        EXPECT_EQ(kivGetLastError(), kivErrorNotEnoughMemory);
        EXPECT_EQ(surface.getHSection(), nullptr);
        EXPECT_EQ(surface.getHFile(), nullptr);
    }
}

TEST_F(SurfaceTest, WidthOrHeightBelowOneIsRefused) {
    for (const tagSIZE size :
         {tagSIZE{0, 10}, tagSIZE{10, 0}, tagSIZE{-1, 10}, tagSIZE{10, -1}, tagSIZE{0, 0}, tagSIZE{-4, -4}}) {
        host->errors.clear();
        KivBitmapManager surface;
        EXPECT_FALSE(surface.buildBitmapMemory(nullptr, size));
        EXPECT_EQ(kivGetLastError(), kivErrorInvalidParameter);
        EXPECT_EQ(surface.getHBitmap(), nullptr);
        EXPECT_EQ(surface.getHFile(), nullptr);
        ASSERT_EQ(host->errors.size(), 1U);
        EXPECT_EQ(host->errors[0].first, kivErrorInvalidParameter);
        EXPECT_EQ(create(surface, size), 0);
        EXPECT_EQ(surface.getHBitmap(), nullptr);
    }
}

TEST_F(SurfaceTest, FailuresWithoutAHostAreOnlyAnswers) {
    KivHostApplicationServices::setDefaultHost(nullptr);
    KivBitmapManager surface;
    EXPECT_FALSE(surface.buildBitmapMemory(nullptr, {0, 0}));
    EXPECT_EQ(create(surface, {20000, 2}), 0);
    KivHostApplicationServices::setDefaultHost(host.get());
}

TEST_F(SurfaceTest, AFailedBuildKeepsTheFormerBitmap) {
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {7, 7}));
    info(surface.getHBitmap()).pixels[0] = 9;
    EXPECT_FALSE(surface.buildBitmapMemory(nullptr, {0, 7}));
    EXPECT_EQ(info(surface.getHBitmap()).width, 7);
    EXPECT_EQ(info(surface.getHBitmap()).pixels[0], 9);
}
