// Renders with shaders that come with the library, of things that throw shadows on one another and are seen through.
#ifndef TESTS_RENDER_SHIPPEDLOOKS_H
#define TESTS_RENDER_SHIPPEDLOOKS_H

#include "kivrender/platform/kivbitmap.h"
#include "render/renderfixture.h"
#include "support/closedshapes.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

class ShippedLooks : public KivRendererRender {
protected:
    ~ShippedLooks() override {
        if (isLoaded) {
            renderer.unloadShaders();
        }
    }

    void loadShipped(const std::vector<std::string>& names) {
        const std::filesystem::path folder = home.path() / "shaders";
        std::filesystem::create_directories(folder);
        for (const std::string& name : names) {
            std::filesystem::copy_file(SELVARIN_BIN_DIR "/shaders/" + name + ".so", folder / (name + ".so"));
        }
        isLoaded = true;
        EXPECT_TRUE(renderer.loadShaders());
    }

    // A slab with a ball and a glass box on it, one light, seen from above.
    void addThings() {
        scene.empty();
        scene.addMesh(closedBox({-0.9, -0.9, -0.2}, {0.9, 0.9, 0.0}).release());
        scene.addMesh(closedSphere({-0.3, 0.1, 0.4}, 0.3, 24, 12).release());
        auto glass = closedBox({0.2, -0.4, 0.05}, {0.7, 0.1, 0.6});
        KivMaterial material;
        material.setDiffuse(0x40A0FF);
        material.setTransparency(0.6);
        glass->setMaterial(material);
        scene.addMesh(glass.release());
        KivLight lamp;
        lamp.setStyle(KivLight::pointLight);
        lamp.setLocation({-2.0, 1.5, 4.0});
        scene.addLight(lamp);
    }

    // The colours, without the fourth byte of a pixel, which has no meaning.
    std::vector<std::uint8_t> picture() {
        KivBitmapInfo info;
        EXPECT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
        std::vector<std::uint8_t> colours;
        for (int y = 0; y < info.height; ++y) {
            const std::uint8_t* pixel = info.pixels + static_cast<std::size_t>(y) * info.rowBytes;
            for (int x = 0; x < info.width; ++x, pixel += 4) {
                colours.insert(colours.end(), pixel, pixel + 3);
            }
        }
        return colours;
    }

private:
    bool isLoaded = false;
};

#endif
