// Pictures in a context that other pictures were drawn in before.
#include "kivrender/platform/kivglwarmup.h"
#include "picture.h"

namespace {

class KeptContext : public PictureTest {
protected:
    KeptContext() {
        addMesh(sphereSurface(16, 24), true);
        addLight(KivLight::directionalLight, {0.0, 0.0, 0.0}, {-1.0, -1.0, -2.0});
    }
    ~KeptContext() override {
        surface.deleteContext();
        kivKeepGlContexts(false);
        kivCoolDownGl();
    }

    std::vector<Rgb> picture(const std::vector<KivShader*>& drawn) {
        open(64);
        look({0.5, 1.0, 4.0}, 0.4, true);
        for (KivShader* const shader : drawn) {
            choose(*shader, {});
            draw(*shader);
        }
        std::vector<Rgb> result = pixels();
        surface.deleteContext();
        return result;
    }
};

} // namespace

TEST_F(KeptContext, DrawsWhatANewOneDraws) {
    const std::vector<std::vector<KivShader*>> looks = {
        {&shaders.cartoon(), &shaders.outline()}, {&shaders.backdrop(), &shaders.sketch()}, {&shaders.outline()}};
    std::vector<std::vector<Rgb>> wanted;
    for (const auto& look : looks) {
        wanted.push_back(picture(look));
    }
    EXPECT_NE(wanted[0], wanted[1]);
    kivKeepGlContexts(true);
    for (int round = 0; round < 2; ++round) {
        for (std::size_t i = 0; i < looks.size(); ++i) {
            EXPECT_EQ(picture(looks[i]), wanted[i]) << "round " << round << ", look " << i;
        }
    }
}
