// Large meshes that are drawn in pieces.
#include "kivrender/platform/kivglpieces.h"
#include "support/glsurface.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace {

// A carpet of small overlapping triangles over the whole view, each with a colour of its own: the picture depends on
// their order.
struct Carpet {
    explicit Carpet(std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            const float x = static_cast<float>(i * 2654435761U >> 16U) / 32768.0F - 1.0F;
            const float y = static_cast<float>(i * 2246822519U >> 16U) / 32768.0F - 1.0F;
            corners.insert(corners.end(), {x, y, x + 0.05F, y, x, y + 0.05F});
            for (int corner = 0; corner < 3; ++corner) {
                colors.insert(colors.end(), {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8U),
                                             static_cast<std::uint8_t>(i >> 16U), 255});
                indices.push_back(3 * i + static_cast<std::uint32_t>(corner));
            }
        }
    }
    void enable() const {
        glEnableClientState(GL_VERTEX_ARRAY);
        glEnableClientState(GL_COLOR_ARRAY);
        glVertexPointer(2, GL_FLOAT, 0, corners.data());
        glColorPointer(4, GL_UNSIGNED_BYTE, 0, colors.data());
    }

    std::vector<float> corners;
    std::vector<std::uint8_t> colors;
    std::vector<std::uint32_t> indices;
};

bool always() {
    return true;
}

std::vector<std::uint8_t> pixels(int side) {
    std::vector<std::uint8_t> all(static_cast<std::size_t>(side) * side * 4);
    glReadPixels(0, 0, side, side, GL_RGBA, GL_UNSIGNED_BYTE, all.data());
    glClear(GL_COLOR_BUFFER_BIT);
    return all;
}

// The largest memory that this process had since the last look, in megabytes.
double peakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kilobytes = 0.0;
        if (word == "VmHWM:" && status >> kilobytes) {
            return kilobytes / 1024.0;
        }
    }
    return 0.0;
}

TEST(KivGlPieces, AreThePictureOfOneCall) {
    GlSurface surface(256, 256);
    const Carpet carpet(100000);
    carpet.enable();
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(carpet.indices.size()), GL_UNSIGNED_INT, carpet.indices.data());
    const std::vector<std::uint8_t> whole = pixels(256);
    EXPECT_TRUE(kivDrawTrianglesInPieces(carpet.indices, always));
    EXPECT_EQ(pixels(256), whole);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(KivGlPieces, EndWhenTheyAreToldTo) {
    GlSurface surface(256, 256);
    const Carpet carpet(100000);
    carpet.enable();
    int asked = 0;
    EXPECT_FALSE(kivDrawTrianglesInPieces(carpet.indices, [&asked] { return ++asked < 2; }));
    EXPECT_EQ(asked, 2);
    const std::vector<std::uint8_t> part = pixels(256);
    EXPECT_TRUE(kivDrawTrianglesInPieces(carpet.indices, always));
    EXPECT_NE(pixels(256), part);
}

TEST(KivGlPieces, OfFewTrianglesAreOneCall) {
    GlSurface surface(64, 64);
    const Carpet carpet(1000);
    carpet.enable();
    const auto never = [] {
        ADD_FAILURE();
        return false;
    };
    EXPECT_TRUE(kivDrawTrianglesInPieces(carpet.indices, never));
    EXPECT_TRUE(kivDrawTrianglesInPieces({}, never));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

// The driver keeps what it has not drawn yet; in one call this carpet takes it a hundred megabytes and more.
TEST(KivGlPieces, LeaveTheDriverLittleToKeep) {
    GlSurface surface(512, 512);
    const Carpet carpet(600000);
    carpet.enable();
    std::ofstream("/proc/self/clear_refs") << "5\n"; // the peak starts anew
    const double before = peakMemory();
    ASSERT_GT(before, 0.0);
    EXPECT_TRUE(kivDrawTrianglesInPieces(carpet.indices, always));
    glFinish();
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // whose allocators hold freed memory back
    EXPECT_LT(peakMemory() - before, 60.0);
#endif
}

} // namespace
