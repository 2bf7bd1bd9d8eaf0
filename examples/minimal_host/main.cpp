// The least that a program does to render with Selvarin: install a host, load the shaders, fill a scene, render it, and
// look at the picture.
//
//     minimal_host OUTPUT.png [SHADER TAG]
#include <kivrender/host/kivdefaulthost.h>
#include <kivrender/host/kivlanguage.h>
#include <kivrender/render/kivbitmapmanager.h>
#include <kivrender/render/kivrenderer.h>
#include <kivrender/scene/kivcamera.h>
#include <kivrender/scene/kivlight.h>
#include <kivrender/scene/kivmesh.h>
#include <kivrender/scene/kivscene.h>
#include <kivrender/settings/kivcommonsettings.h>
#include <kivrender/settings/kivmemorycommondatamanager.h>
#include <kivrender/settings/kivmemorydatamanager.h>
#include <kivrender/settings/kivstreamhead.h>

#include <cstdio>
#include <string>

namespace {

constexpr std::uint32_t rgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red | green << 8 | blue << 16;
}

// A cube of edge 2 about the origin. The scene takes ownership of the mesh.
KivMesh* makeCube() {
    auto* cube = new KivMesh;
    for (int i = 0; i < 8; ++i) {
        cube->addVertex(Kiv3DPoint((i & 1) != 0 ? 1 : -1, (i & 2) != 0 ? 1 : -1, (i & 4) != 0 ? 1 : -1));
    }
    cube->addQuad(0, 2, 3, 1);
    cube->addQuad(4, 5, 7, 6);
    cube->addQuad(0, 1, 5, 4);
    cube->addQuad(2, 6, 7, 3);
    cube->addQuad(0, 4, 6, 2);
    cube->addQuad(1, 3, 7, 5);
    KivMaterial paint;
    paint.setDiffuse(rgb(222, 120, 60));
    cube->setMaterial(paint);
    return cube;
}

// Everything that a render consumes: it empties the scene at its end, so each render fills it anew.
void fillScene(KivScene& scene) {
    scene.addMesh(makeCube());
    KivLight sun;
    sun.setStyle(KivLight::directionalLight);
    sun.setDirection(Kiv3DVector(-2, 3, -4));
    sun.setDiffuse(rgb(255, 255, 255));
    scene.addLight(sun);
}

// Looks at the origin from (3, -5, 4), with a vertical field of 36 degrees for a picture of 4 to 3.
KivCamera makeCamera() {
    KivCamera camera;
    camera.setLocation(Kiv3DPoint(3, -5, 4));
    camera.setDirection(Kiv3DVector(-3, 5, -4));
    camera.setUp(Kiv3DVector(0, 0, 1));
    camera.setFrustumNear(2);
    camera.setFrustumFar(14);
    const double top = 2 * 0.325; // near times the tangent of half the field
    camera.setFrustumTop(top);
    camera.setFrustumBottom(-top);
    camera.setFrustumRight(top * 4 / 3);
    camera.setFrustumLeft(-top * 4 / 3);
    return camera;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: minimal_host OUTPUT.png [SHADER TAG]\n");
        return 2;
    }
    const std::string output = argv[1];
    const std::string tag = argc > 2 ? argv[2] : "Cartoon";

    // The host is the library's door to this program: it must exist before anything else and outlive every render.
    KivDefaultHost host;
    KivHostApplicationServices::setDefaultHost(&host);
    kivLoadLanguage(L"en");

    KivRenderer renderer;
    if (!renderer.loadShaders()) {
        std::fprintf(stderr, "minimal_host: no shaders were found beside the library\n");
        return 1;
    }

    // What belongs to no shader: size, antialiasing, colours, and where the picture goes.
    KivCommonSettings settings;
    settings.setResolution({640, 480});
    settings.setAntialias(2);
    settings.setBackgroundColor(rgb(250, 247, 240));
    settings.setSaveRender(true);
    settings.setSaveRenderFile(std::wstring(output.begin(), output.end()).c_str());
    KivMemoryCommonDataManager common;
    settings.saveDataOnHost(&common);

    // Which shaders draw. With nothing behind the header each of them uses its own defaults.
    KivMemoryDataManager style;
    style.setSaving();
    kivWriteStreamHead(style, {{}, std::wstring(tag.begin(), tag.end()), {L"Outline"}});
    kivWriteStreamEnd(style);

    KivScene scene;
    fillScene(scene);
    KivBitmapManager surface;
    const bool done = renderer.render(&common, &style, &scene, makeCamera(), &surface, nullptr);
    renderer.unloadShaders();
    KivHostApplicationServices::setDefaultHost(nullptr);
    if (!done) {
        std::fprintf(stderr, "minimal_host: the render did not reach its end\n");
        return 1;
    }
    const tagSIZE size = surface.getSize();
    std::printf("%s: %d x %d pixels\n", output.c_str(), size.cx, size.cy);
    return 0;
}
