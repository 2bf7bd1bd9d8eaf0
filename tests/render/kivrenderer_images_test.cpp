// Pictures beside and behind a render, in whole renders: a background image and what is drawn over it, the depth image
// of every kind of view, scenes with meshes that can't be drawn.
#include "kivrender/platform/kivimage.h"
#include "render/shippedlooks.h"

#include <GL/gl.h>
#include <gmock/gmock.h>

#include <cstdlib>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t backgroundColour = 0x306090; // red in the low byte

class KivRendererImages : public ShippedLooks {
protected:
    KivRendererImages() {
        settings.setBackgroundColor(backgroundColour);
    }
    void useCartoon() {
        loadShipped({"cartoon"});
        setStyle(L"Cartoon", L"");
    }

    std::wstring evenPicture(const std::string& name, tagSIZE size) {
        const auto image = KivImage::create(size);
        for (std::int32_t y = 0; y < size.cy; ++y) {
            for (std::int32_t x = 0; x < size.cx; ++x) {
                std::uint8_t* const to = image->row(y) + std::size_t{3} * static_cast<std::size_t>(x);
                to[0] = backgroundColour >> 16 & 0xFF;
                to[1] = backgroundColour >> 8 & 0xFF;
                to[2] = backgroundColour & 0xFF;
            }
        }
        GUID encoder;
        host.getEncoderClsidFromFileName(home.wide(name).c_str(), &encoder);
        EXPECT_EQ(image->save(home.wide(name), encoder), KivImageStatus::ok);
        return home.wide(name);
    }

    void lookInPerspective() {
        camera.setProjection(KivCamera::perspective);
        camera.setFrustumLeft(-0.2);
        camera.setFrustumRight(0.2);
        camera.setFrustumBottom(-0.2);
        camera.setFrustumTop(0.2);
    }

    std::unique_ptr<KivImage> depthImage(tagSIZE size) {
        settings.setSaveDepth(true);
        settings.setSaveRender(true);
        settings.setSaveRenderFile(home.wide("p.png").c_str());
        addThings();
        EXPECT_TRUE(render(size));
        auto image = KivImage::load(home.wide("p_depth.png"));
        EXPECT_TRUE(image != nullptr && image->size() == size);
        return image;
    }
};

// One in the colour of the background, smaller and larger than the picture, odd and even: it can't be seen, and nothing
// that is drawn later is moved by it.
TEST_F(KivRendererImages, ABackgroundImageMovesNeitherShadowsNorDepth) {
    useCartoon();
    lookInPerspective();
    for (const int antialias : {0, 1}) {
        for (const bool transparencies : {false, true}) {
            settings.setAntialias(antialias);
            settings.setShadows(true);
            settings.setTransparencies(transparencies);
            settings.setBackgroundImage(L"");
            addThings();
            ASSERT_TRUE(render({90, 70}));
            const std::vector<std::uint8_t> plain = picture();
            for (const tagSIZE size : {tagSIZE{40, 20}, tagSIZE{33, 101}, tagSIZE{200, 160}}) {
                settings.setBackgroundImage(evenPicture("b.png", size).c_str());
                addThings();
                ASSERT_TRUE(render({90, 70}));
                EXPECT_TRUE(picture() == plain) << size.cx << " x " << size.cy << " at level " << antialias;
            }
        }
    }
}

// What a shader does to the raster position does not move the depth that is put back behind transparent surfaces.
TEST_F(KivRendererImages, TheDepthThatIsPutBackGoesToTheOrigin) {
    loadShaders({"base"});
    setStyle(L"base", L"");
    settings.setShadows(true);
    settings.setTransparencies(true);
    bool moved = false;
    std::vector<float> depth;
    shader(L"base").onCall = [&](const std::string& call) {
        if (call.starts_with("triangle") && depth.empty()) {
            depth.resize(std::size_t{40} * 30);
            glReadPixels(0, 0, 40, 30, GL_DEPTH_COMPONENT, GL_FLOAT, depth.data());
        } else if (call.starts_with("depth") && !moved) {
            glBitmap(0, 0, 0.0F, 0.0F, 7.0F, 5.0F, nullptr);
            moved = true;
        }
    };
    scene.addMesh(rectangle(-1, -1, 0, 1).release());
    scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.5, 1.0, 0xFFFFFF, 0.5).release());
    ASSERT_TRUE(render({40, 30}));
    ASSERT_TRUE(moved);
    ASSERT_EQ(depth.size(), 1200U);
    EXPECT_LT(depth[0], 1.0F) << "the opaque half, from its first pixel on";
    EXPECT_EQ(depth[0], depth[19 + 29 * 40]);
    EXPECT_EQ(depth[20], 1.0F) << "and nothing of the transparent one";
    EXPECT_EQ(depth[20 + 15 * 40], 1.0F);
}

// With shadows the passes of a parallel view see it from far away; its depth image is that of the camera all the same.
TEST_F(KivRendererImages, TheDepthImageOfAParallelViewIsTheSameWithShadows) {
    useCartoon();
    camera.setFrustumNear(4.0);
    camera.setFrustumFar(5.5);
    for (const int antialias : {0, 1}) {
        for (const bool transparencies : {false, true}) {
            settings.setAntialias(antialias);
            settings.setTransparencies(transparencies);
            settings.setShadows(false);
            const auto plain = depthImage({61, 50});
            settings.setShadows(true);
            const auto shadowed = depthImage({61, 50});
            ASSERT_TRUE(plain && shadowed);
            int between = 0;
            int different = 0;
            for (int y = 0; y < 50; ++y) {
                for (int x = 0; x < 61; ++x) {
                    const int a = static_cast<int>(plain->pixel(x, y) & 0xFFU);
                    between += a > 20 && a < 235 ? 1 : 0;
                    different += std::abs(a - static_cast<int>(shadowed->pixel(x, y) & 0xFFU)) > 1 ? 1 : 0;
                }
            }
            EXPECT_GT(between, 1000);
            EXPECT_LT(different, 10) << "pixels at outlines, at most";
        }
    }
}

TEST_F(KivRendererImages, TheDepthOfAParallelViewLeavesThePictureAsItIs) {
    useCartoon();
    settings.setShadows(true);
    settings.setPaperImage(evenPicture("paper.png", {16, 16}).c_str());
    addThings();
    ASSERT_TRUE(render({60, 50}));
    const std::vector<std::uint8_t> without = picture();
    depthImage({60, 50});
    EXPECT_TRUE(picture() == without);
}

// Of a mesh without a look the passes draw nothing, and so its depth is none.
TEST_F(KivRendererImages, TheDepthOfAParallelViewHasTheMeshesThatAreDrawn) {
    useCartoon();
    settings.setShadows(true);
    settings.setSaveDepth(true);
    settings.setSaveRender(true);
    settings.setSaveRenderFile(home.wide("p.png").c_str());
    scene.addMesh(rectangle(-1, -1, 0, 1).release());
    scene.addMesh(rectangle(0, -1, 1, 1).release());
    scene.getMesh(1)->setNonCombinableShader(L"nobody");
    ASSERT_TRUE(render({40, 30}));
    const auto image = KivImage::load(home.wide("p_depth.png"));
    ASSERT_TRUE(image);
    EXPECT_LT(image->pixel(10, 15) & 0xFFU, 250U);
    EXPECT_EQ(image->pixel(30, 15), 0xFFFFFFU);
}

TEST_F(KivRendererImages, ACancelWhileTheDepthOfAParallelViewIsDrawnEndsTheRender) {
    useCartoon();
    settings.setShadows(true);
    depthImage({40, 30});
    const int polls = progress.polls;
    for (int poll = polls - 8; poll <= polls; ++poll) { // the ones before are those of the passes
        std::filesystem::remove(home.path() / "p_depth.png");
        progress.polls = 0;
        progress.cancelAtPoll = poll;
        addThings();
        EXPECT_FALSE(render({40, 30}));
        EXPECT_LE(progress.polls, polls + 3) << "it ends at once";
    }
}

TEST_F(KivRendererImages, MeshesThatCanNotBeDrawnAreLeftOutAndTold) {
    useCartoon();
    for (const bool shadows : {false, true}) {
        for (const bool transparencies : {false, true}) {
            settings.setShadows(shadows);
            settings.setTransparencies(transparencies);
            host.messages.clear();
            addThings();
            ASSERT_TRUE(render({40, 30}));
            EXPECT_THAT(host.messages, IsEmpty());
            const std::vector<std::uint8_t> whole = picture();
            addThings();
            for (const unsigned int wrong : {4U, 4000000000U}) {
                auto broken = rectangle(-1, -1, 1, 1, 2.0);
                broken->addTriangle(0, 1, wrong);
                scene.addMesh(broken.release());
            }
            ASSERT_TRUE(render({40, 30}));
            EXPECT_THAT(host.messages,
                        ElementsAre(L"Meshes left out, as a triangle of theirs names a vertex that is not there: 2"));
            EXPECT_TRUE(picture() == whole);
        }
    }
}

} // namespace
