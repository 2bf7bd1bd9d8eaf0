// The lock of the surface: one thread replaces the picture, as a render does, others look at it, as a host's window
// does from its own thread.
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivpixelmemory.h"
#include "kivrender/render/kivbitmapmanager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr int rounds = 300;

// All bytes of the picture are equal; what was read.
int uniformByte(HBITMAP bitmap) {
    KivBitmapInfo picture;
    if (!kivGetBitmapInfo(bitmap, &picture)) {
        return -1;
    }
    const std::size_t bytes = picture.rowBytes * static_cast<std::size_t>(picture.height);
    const int first = picture.pixels[0];
    for (std::size_t i = 1; i < bytes; ++i) {
        EXPECT_EQ(picture.pixels[i], first);
    }
    return first;
}

void paint(HBITMAP bitmap, int byte) {
    KivBitmapInfo picture;
    ASSERT_TRUE(kivGetBitmapInfo(bitmap, &picture));
    std::memset(picture.pixels, byte, picture.rowBytes * static_cast<std::size_t>(picture.height));
}

} // namespace

TEST(SurfaceThreads, ReadersUnderTheLockSeeWholePictures) {
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {32, 32}));
    std::atomic<bool> isDone{false};
    std::atomic<int> seen{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!isDone) {
                surface.lock();
                surface.lock();
                seen += uniformByte(surface.getHBitmap()) >= 0 ? 1 : 0;
                surface.unlock();
                surface.unlock();
                surface.getHDC();
                surface.getHGLRC();
                surface.getSize();
                std::this_thread::yield();
            }
        });
    }
    for (int round = 1; round <= rounds; ++round) {
        surface.lock();
        if (round % 10 == 0) {
            ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {16 + round % 7, 16}));
        }
        paint(surface.getHBitmap(), round & 0xFF);
        surface.unlock();
        std::this_thread::yield();
    }
    while (seen == 0) {
        std::this_thread::yield();
    }
    isDone = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_GT(seen, 0);
}

TEST(SurfaceThreads, TheSwapIsSeenWholeOrNotAtAll) {
    KivBitmapManager surface;
    ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {32, 32}));
    const HBITMAP picture = surface.getHBitmap();
    const HDC dc = kivCreateCompatibleDeviceContext(kivScreenDeviceContext());
    surface.setHDC(dc);
    surface.setHBitmap(kivSelectBitmap(dc, picture)); // as after the start of a render
    std::atomic<bool> isDone{false};
    std::thread reader([&] {
        while (!isDone) {
            surface.lock();
            const HBITMAP shown = surface.getHBitmap();
            EXPECT_TRUE(shown == picture || shown == kivStandByBitmap());
            if (shown == picture) {
                uniformByte(shown);
            }
            surface.unlock();
            std::this_thread::yield();
        }
    });
    for (int round = 0; round < rounds; ++round) {
        paint(picture, round & 0xFF); // drawing, while nobody else can reach the picture
        EXPECT_EQ(wglLockBitmap(&surface), picture);
        std::this_thread::yield();
        EXPECT_EQ(wglUnLockBitmap(&surface, nullptr), 1);
    }
    isDone = true;
    reader.join();
    surface.deleteContext();
    EXPECT_EQ(surface.getHBitmap(), picture);
}

TEST(SurfaceThreads, HandlesMayBeMadeAndEndedOnManyThreads) {
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i) {
        workers.emplace_back([] {
            for (int round = 0; round < rounds; ++round) {
                KivBitmapManager surface;
                ASSERT_TRUE(surface.buildBitmapMemory(nullptr, {4, 4}));
                KivBitmapManager copy;
                copy = surface;
                ASSERT_EQ(copy.getHBitmap(), surface.getHBitmap());
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
}
