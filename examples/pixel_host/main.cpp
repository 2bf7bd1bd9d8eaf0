// A program that changes settings of a shader by their keys and takes the picture from memory, with no file in between.
//
//     pixel_host SHADER TAG [KEY=VALUE...]    writes a picture in the form PPM to standard output
#include <kivrender/dialogs/kivpagedlg.h>
#include <kivrender/host/kivdefaulthost.h>
#include <kivrender/host/kivlanguage.h>
#include <kivrender/platform/kivbitmap.h>
#include <kivrender/platform/kivtext.h>
#include <kivrender/render/kivbitmapmanager.h>
#include <kivrender/render/kivrenderer.h>
#include <kivrender/scene/kivcamera.h>
#include <kivrender/scene/kivmesh.h>
#include <kivrender/scene/kivscene.h>
#include <kivrender/settings/kivcommonsettings.h>
#include <kivrender/settings/kivmemorycommondatamanager.h>
#include <kivrender/settings/kivmemorydatamanager.h>
#include <kivrender/settings/kivsettingstable.h>
#include <kivrender/settings/kivstreamhead.h>
#include <kivrender/shader/kivshader.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace {

// A pyramid on a square, in the model's own units.
void fillScene(KivScene& scene) {
    auto* pyramid = new KivMesh;
    pyramid->addVertex(Kiv3DPoint(-1, -1, 0));
    pyramid->addVertex(Kiv3DPoint(1, -1, 0));
    pyramid->addVertex(Kiv3DPoint(1, 1, 0));
    pyramid->addVertex(Kiv3DPoint(-1, 1, 0));
    pyramid->addVertex(Kiv3DPoint(0, 0, 1.5));
    pyramid->addQuad(0, 3, 2, 1);
    for (unsigned int i = 0; i < 4; ++i) {
        pyramid->addTriangle(i, (i + 1) % 4, 4);
    }
    KivMaterial paint;
    paint.setDiffuse(0x4080E0); // red is in the low byte
    pyramid->setMaterial(paint);
    scene.addMesh(pyramid);
    KivLight sun;
    sun.setStyle(KivLight::directionalLight);
    sun.setDirection(Kiv3DVector(-2, 3, -4));
    scene.addLight(sun);
}

KivCamera makeCamera() {
    KivCamera camera;
    camera.setLocation(Kiv3DPoint(3, -5, 4));
    camera.setDirection(Kiv3DVector(-3, 5, -3.5));
    camera.setUp(Kiv3DVector(0, 0, 1));
    camera.setFrustumNear(2);
    camera.setFrustumFar(14);
    camera.setFrustumTop(0.65);
    camera.setFrustumBottom(-0.65);
    camera.setFrustumRight(0.65);
    camera.setFrustumLeft(-0.65);
    return camera;
}

// Sets one setting, which stands on one of the shader's pages. The pages are made without windows.
void setByKey(KivShader& shader, const std::string& key, const std::string& value) {
    shader.createPages(nullptr, nullptr);
    std::string why = "there is no such setting";
    for (unsigned int i = 0; KivPageDlg* const page = shader.getPage(nullptr, i); ++i) {
        auto* const settings = dynamic_cast<KivTablePageSettings*>(page->getSettings());
        if (settings != nullptr && settings->find(key) >= 0) {
            if (settings->setText(key, value, &why)) {
                return;
            }
            break;
        }
    }
    throw std::runtime_error(key + "=" + value + ": " + why);
}

// The head of a stream, and the block of the shader with what its pages hold.
void writeStyle(KivShader& shader, KivMemoryDataManager& style) {
    style.setSaving();
    kivWriteStreamHead(style, {{}, shader.getTag(), {}});
    shader.saveData(&style, nullptr);
    kivWriteStreamEnd(style);
}

// The rows lie from the bottom up and are rowBytes apart; a pixel is blue, green, red and one byte more.
void writePpm(KivBitmapManager& surface, std::FILE* file) {
    KivBitmapInfo info;
    if (!kivGetBitmapInfo(surface.getHBitmap(), &info)) {
        throw std::runtime_error("the surface holds no picture");
    }
    std::fprintf(file, "P6 %d %d 255\n", info.width, info.height);
    for (int y = info.height; y-- > 0;) {
        const std::uint8_t* const row = info.pixels + static_cast<std::size_t>(y) * info.rowBytes;
        for (int x = 0; x < info.width; ++x) {
            const std::uint8_t rgb[] = {row[4 * x + 2], row[4 * x + 1], row[4 * x]};
            std::fwrite(rgb, 1, sizeof rgb, file);
        }
    }
}

void run(int argc, char** argv) {
    KivRenderer renderer;
    if (!renderer.loadShaders()) {
        throw std::runtime_error("no shaders were found beside the library");
    }
    KivShader* const shader = KivShader::getByTag(kivFromUtf8(argv[1]).c_str());
    if (shader == nullptr) {
        throw std::runtime_error(std::string("there is no shader ") + argv[1]);
    }
    for (int i = 2; i < argc; ++i) {
        const std::string word = argv[i];
        const std::size_t sign = std::min(word.find('='), word.size());
        setByKey(*shader, word.substr(0, sign), word.substr(std::min(sign + 1, word.size())));
    }
    KivMemoryDataManager style;
    writeStyle(*shader, style);
    KivCommonSettings settings;
    settings.setResolution({160, 120});
    settings.setBackgroundColor(0xFFFFFF);
    KivMemoryCommonDataManager common;
    settings.saveDataOnHost(&common);
    KivScene scene;
    fillScene(scene);
    KivBitmapManager surface;
    if (!renderer.render(&common, &style, &scene, makeCamera(), &surface, nullptr)) {
        throw std::runtime_error("the render did not reach its end");
    }
    writePpm(surface, stdout);
    shader->destroyPages(nullptr); // before their plug-in goes
    renderer.unloadShaders();
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: pixel_host SHADER TAG [KEY=VALUE...]\n");
        return 2;
    }
    KivDefaultHost host;
    KivHostApplicationServices::setDefaultHost(&host);
    kivLoadLanguage(L"en");
    try {
        run(argc, argv);
        return 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "pixel_host: %s\n", problem.what());
        return 1;
    }
}
