// A host that keeps settings in documents: those of the whole picture, and those of single objects.
//
//     document_host new DOCUMENT STYLE              a document whose picture has a style
//     document_host object DOCUMENT NUMBER STYLE    an object (0 to 2) gets a style of its own
//     document_host share DOCUMENT NUMBER...        these objects get what they have in common, told value by value
//     document_host render DOCUMENT OUTPUT.png
#include "document.h"

#include <kivrender/host/kivdefaulthost.h>
#include <kivrender/host/kivlanguage.h>
#include <kivrender/platform/kivtext.h>
#include <kivrender/render/kivbitmapmanager.h>
#include <kivrender/render/kivrenderer.h>
#include <kivrender/scene/kivcamera.h>
#include <kivrender/scene/kivlight.h>
#include <kivrender/scene/kivmesh.h>
#include <kivrender/scene/kivscene.h>
#include <kivrender/settings/kivaveragedatamanager.h>
#include <kivrender/settings/kivcommonsettings.h>
#include <kivrender/settings/kivmemorycommondatamanager.h>
#include <kivrender/settings/kivmemorydatamanager.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int numObjects = 3;

constexpr std::uint32_t rgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red | green << 8 | blue << 16;
}

// A cube of edge 2 that stands at x.
KivMesh* makeCube(double x, std::uint32_t color) {
    auto* cube = new KivMesh;
    for (int i = 0; i < 8; ++i) {
        cube->addVertex(Kiv3DPoint(x + ((i & 1) != 0 ? 1 : -1), (i & 2) != 0 ? 1 : -1, (i & 4) != 0 ? 1 : -1));
    }
    cube->addQuad(0, 2, 3, 1);
    cube->addQuad(4, 5, 7, 6);
    cube->addQuad(0, 1, 5, 4);
    cube->addQuad(2, 6, 7, 3);
    cube->addQuad(0, 4, 6, 2);
    cube->addQuad(1, 3, 7, 5);
    KivMaterial paint;
    paint.setDiffuse(color);
    cube->setMaterial(paint);
    return cube;
}

KivCamera makeCamera() {
    KivCamera camera;
    camera.setLocation(Kiv3DPoint(4, -11, 6));
    camera.setDirection(Kiv3DVector(-4, 11, -6));
    camera.setUp(Kiv3DVector(0, 0, 1));
    camera.setFrustumNear(6);
    camera.setFrustumFar(24);
    camera.setFrustumTop(6 * 0.3);
    camera.setFrustumBottom(-6 * 0.3);
    camera.setFrustumRight(6 * 0.4);
    camera.setFrustumLeft(-6 * 0.4);
    return camera;
}

// The stream of a style, to be kept in a document.
Cells cellsOfStyle(KivRenderer& renderer, const std::string& style) {
    KivMemoryCommonDataManager common;
    KivMemoryDataManager stream;
    if (!renderer.loadStyle(&common, &stream, kivFromUtf8(style).c_str())) {
        throw std::runtime_error("there is no style \"" + style + "\"");
    }
    return stream.getCells();
}

// From the document into a stream. The shaders read their values as they come, so that a document that breaks off is
// found here.
void load(KivRenderer& renderer, const Cells& cells, KivMemoryDataManager& stream) {
    stream.setDocument(cells);
    if (!renderer.loadDocData(&stream)) {
        throw std::runtime_error("the document holds settings that no loaded shader can read");
    }
}

void fillScene(KivRenderer& renderer, const Document& document, KivScene& scene) {
    constexpr std::uint32_t colors[numObjects] = {rgb(222, 120, 60), rgb(90, 150, 90), rgb(80, 110, 190)};
    for (int i = 0; i < numObjects; ++i) {
        auto cube = std::unique_ptr<KivMesh>(makeCube(2.6 * (i - 1), colors[i]));
        const auto own = document.objects.find(i);
        if (own != document.objects.end()) {
            KivMemoryDataManager stream;
            load(renderer, own->second, stream);
            if (!renderer.loadDataToObject(cube.get(), &stream)) {
                throw std::runtime_error("object " + std::to_string(i) + " names a shader that is not loaded");
            }
        }
        scene.addMesh(cube.release());
    }
    KivLight sun;
    sun.setStyle(KivLight::directionalLight);
    sun.setDirection(Kiv3DVector(-2, 3, -4));
    sun.setDiffuse(rgb(255, 255, 255));
    scene.addLight(sun);
}

void render(KivRenderer& renderer, const Document& document, const std::string& output) {
    KivCommonSettings settings;
    settings.setResolution({480, 360});
    settings.setAntialias(2);
    settings.setBackgroundColor(rgb(250, 247, 240));
    settings.setSaveRender(true);
    settings.setSaveRenderFile(kivFromUtf8(output).c_str());
    KivMemoryCommonDataManager common;
    settings.saveDataOnHost(&common);

    KivMemoryDataManager stream;
    load(renderer, document.picture, stream);
    KivScene scene;
    fillScene(renderer, document, scene);
    KivBitmapManager surface;
    if (!renderer.render(&common, &stream, &scene, makeCamera(), &surface, nullptr)) {
        throw std::runtime_error("the render did not reach its end");
    }
}

// What several objects have in common goes back to all of them; where they differ each keeps its own.
void share(KivRenderer& renderer, Document& document, const std::vector<int>& numbers) {
    std::vector<std::unique_ptr<KivMemoryDataManager>> streams;
    std::vector<KivDataManager*> managers;
    for (const int number : numbers) {
        const auto own = document.objects.find(number);
        if (own == document.objects.end()) {
            throw std::runtime_error("object " + std::to_string(number) + " has no settings of its own");
        }
        streams.push_back(std::make_unique<KivMemoryDataManager>());
        load(renderer, own->second, *streams.back());
        managers.push_back(streams.back().get());
    }
    KivAverageDataManager together;
    together.buildAverageData(managers);
    int varied = 0;
    for (int i = 0; i < together.getNumProperties(); ++i) {
        varied += together.isVaried(i) ? 1 : 0;
    }
    together.rebuildObjectsDataFromAverageData(managers);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        document.objects[numbers[i]] = streams[i]->getCells();
    }
    std::printf("%d values, %d of them varied\n", together.getNumProperties(), varied);
}

int numberOf(const char* text) {
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    if (*text == '\0' || *end != '\0' || number < 0 || number >= numObjects) {
        throw std::runtime_error(std::string("there is no object ") + text);
    }
    return static_cast<int>(number);
}

int run(KivRenderer& renderer, int argc, char** argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "new" && argc == 4) {
        Document document;
        document.picture = cellsOfStyle(renderer, argv[3]);
        writeDocument(document, argv[2]);
        return 0;
    }
    if (command == "object" && argc == 5) {
        Document document = readDocument(argv[2]);
        document.objects[numberOf(argv[3])] = cellsOfStyle(renderer, argv[4]);
        writeDocument(document, argv[2]);
        return 0;
    }
    if (command == "share" && argc > 4) {
        Document document = readDocument(argv[2]);
        std::vector<int> numbers;
        for (int i = 3; i < argc; ++i) {
            numbers.push_back(numberOf(argv[i]));
        }
        share(renderer, document, numbers);
        writeDocument(document, argv[2]);
        return 0;
    }
    if (command == "render" && argc == 4) {
        render(renderer, readDocument(argv[2]), argv[3]);
        return 0;
    }
    std::fprintf(stderr, "usage: document_host new DOCUMENT STYLE | object DOCUMENT NUMBER STYLE | "
                         "share DOCUMENT NUMBER NUMBER... | render DOCUMENT OUTPUT.png\n");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    KivDefaultHost host;
    KivHostApplicationServices::setDefaultHost(&host);
    kivLoadLanguage(L"en");
    KivRenderer renderer;
    int status = 1;
    if (!renderer.loadShaders()) {
        std::fprintf(stderr, "document_host: no shaders were found beside the library\n");
        return status;
    }
    try {
        status = run(renderer, argc, argv);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "document_host: %s\n", problem.what());
    }
    renderer.unloadShaders();
    KivHostApplicationServices::setDefaultHost(nullptr);
    return status;
}
