// Waiting for a driver that has much to draw.
#include "kivrender/platform/kivglwait.h"
#include "support/glsurface.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

// Blended layers over the whole of a large picture: some hundred milliseconds for a processor.
void drawMuch() {
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    for (int i = 0; i < 12; ++i) {
        glColor4f(static_cast<float>(i % 2), 0.5F, 0.5F, 0.5F);
        glRectf(-1.0F, -1.0F, 1.0F, 1.0F);
    }
}

double millisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

TEST(KivGlWait, AsksWhileMuchIsDrawn) {
    GlSurface surface(4096, 4096);
    drawMuch();
    int asked = 0;
    const double waited = millisecondsOf([&asked] { kivWaitForGl([&asked] { return ++asked > 0; }); });
    // The driver draws while the calls are made, too: the wait is for the last layers, some ten questions on an idle
    // machine.
    EXPECT_GE(asked, 1) << "in " << waited << " ms";
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    asked = 0;
    kivWaitForGl([&asked] { return ++asked > 0; });
    EXPECT_EQ(asked, 0) << "nothing is left to draw";
}

TEST(KivGlWait, EndsWhenItIsToldTo) {
    GlSurface surface(4096, 4096);
    drawMuch();
    int asked = 0;
    kivWaitForGl([&asked] {
        ++asked;
        return false;
    });
    EXPECT_EQ(asked, 1);
}

// The number of questions in a small render is the same each time.
TEST(KivGlWait, ForASmallPictureAsksNothing) {
    GlSurface surface(400, 400);
    for (int i = 0; i < 200; ++i) {
        drawMuch();
    }
    kivWaitForGl([] {
        ADD_FAILURE();
        return false;
    });
}

TEST(KivGlWait, WithoutAContextIsNoWait) {
    kivWaitForGl([] {
        ADD_FAILURE();
        return false;
    });
}

} // namespace
