// Frames have a stencil where somebody may draw under one, and pictures are the same with and without.
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/shader/kivshaderstencil.h"
#include "render/shippedlooks.h"

#include <GL/gl.h>
#include <algorithm>

namespace {

class KivRendererStencil : public ShippedLooks {
protected:
    void load(bool withForeign) {
        if (withForeign) {
            TestShader::install(home.path() / "shaders", {"foreign"});
        }
        loadShipped({"backdrop", "cartoon", "halftone", "outline", "sketch"});
        setStyle(L"Cartoon", L"Outline");
    }

    // Renders the things, and looks at the bits of the frame whenever the render asks for a cancel.
    std::vector<std::uint8_t> draw() {
        stencilBits = 0;
        depthBits = 0;
        progress.onPoll = [this] {
            if (kivCurrentGlContext() != nullptr) {
                glGetIntegerv(GL_STENCIL_BITS, &stencilBits);
                glGetIntegerv(GL_DEPTH_BITS, &depthBits);
            }
        };
        addThings();
        EXPECT_TRUE(render({120, 90}));
        EXPECT_EQ(depthBits, 32);
        return picture();
    }

    GLint stencilBits = 0;
    GLint depthBits = 0;
};

TEST_F(KivRendererStencil, IsOnlyThereForShadowsWithOurShaders) {
    load(false);
    EXPECT_FALSE(kivNeedsStencil(false));
    EXPECT_TRUE(kivNeedsStencil(true));
    for (const bool transparencies : {false, true}) {
        settings.setTransparencies(transparencies);
        settings.setShadows(false);
        draw();
        EXPECT_EQ(stencilBits, 0);
        settings.setShadows(true);
        draw();
        EXPECT_EQ(stencilBits, 8);
    }
}

TEST_F(KivRendererStencil, IsThereForAPluginThatDoesNotSay) {
    load(true);
    EXPECT_TRUE(kivNeedsStencil(false));
    draw();
    EXPECT_EQ(stencilBits, 8);
}

TEST_F(KivRendererStencil, PicturesAreTheSameWithoutIt) {
    load(false);
    for (const bool transparencies : {false, true}) {
        settings.setTransparencies(transparencies);
        const std::vector<std::uint8_t> without = draw();
        ASSERT_EQ(stencilBits, 0);
        ASSERT_TRUE(kivWarmUpGl({120, 90}, true)); // what is there is used
        const std::vector<std::uint8_t> with = draw();
        ASSERT_EQ(stencilBits, 8);
        EXPECT_TRUE(with == without);
        EXPECT_NE(std::ranges::adjacent_find(with, std::ranges::not_equal_to()), with.end()) << "nothing is drawn";
    }
}

TEST_F(KivRendererStencil, AFrameThatWasMadeReadyWithoutItIsMadeAnew) {
    load(false);
    settings.setShadows(true);
    const std::vector<std::uint8_t> once = draw();
    ASSERT_TRUE(kivWarmUpGl({120, 90}, false));
    const std::vector<std::uint8_t> again = draw();
    EXPECT_EQ(stencilBits, 8);
    EXPECT_TRUE(again == once);
}

} // namespace
