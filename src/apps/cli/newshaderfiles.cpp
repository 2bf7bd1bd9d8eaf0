// The files of a new shader. They are built and run by a test against the installed package.
#include "apps/cli/newshader.h"

namespace {

constexpr std::string_view buildFile =
    R"file(# The shader plug-in @Name@ and its test, against the installed Selvarin: where that is not found by itself, say
# -DCMAKE_PREFIX_PATH=/where/it/is. The plug-in goes into the folder Selvarin_SHADERS_DIR to be found by every program.
cmake_minimum_required(VERSION 3.25)
project(@Name@ LANGUAGES CXX)

find_package(Selvarin REQUIRED)

# The texts of its page, page.<language>.txt in this folder, go into the module.
selvarin_add_shader(@name@ @name@.cpp)
set_target_properties(@name@ PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/shaders)

enable_testing()
add_executable(test_@name@ test_@name@.cpp)
target_link_libraries(test_@name@ PRIVATE Selvarin::selvarin)
add_dependencies(test_@name@ @name@)
add_test(NAME @name@ COMMAND test_@name@ ${CMAKE_BINARY_DIR}/shaders)

install(TARGETS @name@ LIBRARY DESTINATION ${Selvarin_SHADERS_DIR})
)file";

constexpr std::string_view shader =
    R"file(// The shader @Name@: a base look that gives every facet one colour by the light on it.
//
// KivFacetShader of the kit draws: plain renders, previews, shadows, transparency, vector pages, objects with looks of
// their own. Here stand the settings and the colour of a facet.
#include <kivrender/scene/kivmaterial.h>
#include <kivrender/scene/kivmesh.h>
#include <shaders/kit/kivfacetshader.h>
#include <shaders/kit/kivshaderplugin.h>

namespace {

// Key, type, range, default, text, and the names of a choice. Add settings at the end: streams are read by position.
const KivSettingInfo settings[] = {
    {"Strength", KivSettingType::Double, 0, 1, 0.5, L"How much of the tint is in the light, 0 to 1", nullptr},
    {"Tint", KivSettingType::Colour, 0, 0xFFFFFF, 0x80C0FF, L"The colour that lit facets take on", nullptr},
    {"Inverted", KivSettingType::Bool, 0, 1, 0, L"Whether the shadows take on the tint instead", nullptr},
};
enum { strength, tint, inverted, numSettings };

int settingsTable(const KivSettingInfo** table) {
    *table = settings;
    return numSettings;
}

double part(std::uint32_t colour, unsigned int component) {
    return (colour >> 8 * component & 0xFF) / 255.0; // red is in the low byte
}

class @Name@ : public KivFacetShader {
public:
    explicit @Name@(HINSTANCE pluginModule)
        : KivFacetShader(pluginModule, L"@Name@", kivDefaultSettings(L"@Name@", settingsTable)) {}

    // light: from 0, where none reaches the facet, to 1.
    KivFacetColour colourOf(const KivMesh& mesh, const KivTablePageSettings& look, double light) const override {
        const double tinted = look.getValue(strength) * (look.getBool(inverted) ? 1 - light : light);
        KivFacetColour colour = {};
        for (unsigned int c = 0; c < 3; ++c) {
            const double own = part(mesh.getMaterial()->getDiffuse(), c);
            colour[c] = (0.25 + 0.75 * light) * (own + (part(look.getColour(tint), c) - own) * tinted);
        }
        return colour;
    }
};

} // namespace

// What the library looks for in a plug-in.
KIV_SHADER_PLUGIN(@Name@, settingsTable)
)file";

constexpr std::string_view english =
    "# The page of @Name@: the settings in the order in which they stand on it. Between tabs: the key, the label, the\n"
    "# unit, the tool tip, and for a choice the names of what can be chosen; a number with the word spin is a spin "
    "box.\n"
    "\n"
    "title\t@Name@\n"
    "defaults\tDefaults\t\tSets everything on this page back to its default.\n"
    "\n"
    "[Tint]\n"
    "Strength\tStrength\t\tHow much of the tint is in the light.\n"
    "Tint\tColour\t\tThe colour that lit facets take on.\n"
    "Inverted\tTint the shadows\t\tWhether the shadows take on the tint instead of the light.\n";

constexpr std::string_view spanish =
    "# La página de @Name@: los ajustes en el orden en que aparecen.\n"
    "\n"
    "title\t@Name@\n"
    "defaults\tValores iniciales\t\tDevuelve todo lo de esta página a sus valores iniciales.\n"
    "\n"
    "[Tinte]\n"
    "Strength\tIntensidad\t\tCuánto del tinte hay en la luz.\n"
    "Tint\tColor\t\tEl color que toman las facetas iluminadas.\n"
    "Inverted\tTeñir las sombras\t\tSi son las sombras, y no la luz, las que toman el tinte.\n";

constexpr std::string_view test =
    R"file(// Loads the plug-in as every program does, and draws a cube with it in each kind of render.
//
//     test_@name@ FOLDER_OF_THE_PLUG-IN
#include <kivrender/dialogs/kivpagedlg.h>
#include <kivrender/host/kivdefaulthost.h>
#include <kivrender/host/kivlanguage.h>
#include <kivrender/host/kivresources.h>
#include <kivrender/platform/kivbitmap.h>
#include <kivrender/platform/kivmodule.h>
#include <kivrender/render/kivbitmapmanager.h>
#include <kivrender/render/kivrenderer.h>
#include <kivrender/scene/kivcamera.h>
#include <kivrender/scene/kivscene.h>
#include <kivrender/settings/kivcommonsettings.h>
#include <kivrender/settings/kivmemorycommondatamanager.h>
#include <kivrender/settings/kivmemorydatamanager.h>
#include <kivrender/settings/kivsettingstable.h>
#include <kivrender/settings/kivstreamhead.h>
#include <kivrender/shader/kivshader.h>
#include <kivrender/shader/kivshadercommunication.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "FAILED: %s\n", what);
        std::exit(1);
    }
}

void fillScene(KivScene& scene, double opacity) {
    auto* cube = new KivMesh;
    for (int i = 0; i < 8; ++i) {
        cube->addVertex(Kiv3DPoint((i & 1) != 0 ? 1 : -1, (i & 2) != 0 ? 1 : -1, (i & 4) != 0 ? 1 : -1));
    }
    const unsigned int sides[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& side : sides) {
        cube->addQuad(side[0], side[1], side[2], side[3]);
    }
    KivMaterial paint;
    paint.setDiffuse(0x3C78DE);
    paint.setTransparency(opacity);
    cube->setMaterial(paint);
    scene.addMesh(cube);
    KivLight sun;
    sun.setStyle(KivLight::directionalLight);
    sun.setDirection(Kiv3DVector(-2, 3, -4));
    sun.setLocation(Kiv3DPoint(100, -150, 200)); // shadows spread from here
    sun.setDiffuse(0xFFFFFF);
    scene.addLight(sun);
}

KivCamera makeCamera() {
    KivCamera camera;
    camera.setLocation(Kiv3DPoint(3, -5, 4));
    camera.setDirection(Kiv3DVector(-3, 5, -4));
    camera.setUp(Kiv3DVector(0, 0, 1));
    camera.setFrustumNear(2);
    camera.setFrustumFar(14);
    camera.setFrustumTop(0.65);
    camera.setFrustumBottom(-0.65);
    camera.setFrustumRight(0.65);
    camera.setFrustumLeft(-0.65);
    return camera;
}

// The bytes of a finished picture: blue, green, red and one more for each pixel, from the bottom row up.
std::vector<unsigned char> pixelsOf(KivBitmapManager& surface) {
    KivBitmapInfo info;
    check(kivGetBitmapInfo(surface.getHBitmap(), &info), "the picture has pixels");
    return {info.pixels, info.pixels + info.rowBytes * static_cast<std::size_t>(info.height)};
}

int differences(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
    int count = 0;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        count += a[i] != b[i] ? 1 : 0;
    }
    return count;
}

// Draws with the settings that the shader's page has now.
std::vector<unsigned char> draw(KivShader& shader, bool shadows, bool transparency, const std::wstring& vectorFile = {}) {
    KivMemoryDataManager style;
    style.setSaving();
    kivWriteStreamHead(style, {{}, shader.getTag(), {}});
    check(shader.saveData(&style, nullptr), "the settings go into a stream");
    kivWriteStreamEnd(style);

    KivCommonSettings settings;
    settings.setResolution({100, 100});
    settings.setAntialias(0);
    settings.setBackgroundColor(0xFFFFFF);
    settings.setShadows(shadows);
    settings.setTransparencies(transparency);
    settings.setVectorial(!vectorFile.empty());
    settings.setSaveVectorFile(vectorFile.c_str());
    KivMemoryCommonDataManager common;
    settings.saveDataOnHost(&common);

    KivScene scene;
    fillScene(scene, transparency ? 0.5 : 1);
    KivBitmapManager surface;
    KivRenderer renderer;
    check(renderer.render(&common, &style, &scene, makeCamera(), &surface, nullptr), "the render runs to its end");
    return pixelsOf(surface);
}

KivTablePageSettings& settingsOf(KivShader& shader) {
    shader.createPages(nullptr, nullptr); // a page without a window
    KivPageDlg* const page = shader.getPage(nullptr, 0);
    check(page != nullptr, "there is a page");
    auto* const settings = dynamic_cast<KivTablePageSettings*>(page->getSettings());
    check(settings != nullptr, "it has the settings of the table");
    return *settings;
}

void testPictures(KivShader& shader) {
    const std::vector<unsigned char> blank(100 * 100 * 4, 0xFF);
    const auto plain = draw(shader, false, false);
    check(differences(plain, blank) > 3000, "a plain render shows the cube");
    check(differences(draw(shader, true, false), plain) < 400, "a cube alone looks the same with shadows");
    const auto glass = draw(shader, false, true);
    check(differences(glass, blank) > 3000 && differences(glass, plain) > 3000, "glass is drawn, and lets light through");
    check(differences(draw(shader, true, true), blank) > 3000, "shadows and transparency work together");

    KivTablePageSettings& settings = settingsOf(shader);
    check(settings.setText("Strength", "1") && settings.setText("Tint", "#ff0000"), "settings have these keys");
    check(differences(draw(shader, false, false), plain) > 1000, "the settings change the picture");
    check(!settings.setText("Strength", "7"), "a value out of range is refused");
    settings.setDefaults();
    check(differences(draw(shader, false, false), plain) == 0, "the defaults bring the first picture back");
}

void testPreview(KivShader& shader) {
    KivCommonSettings settings;
    settings.setResolution({110, 110});
    settings.setAntialias(0);
    KivBitmapManager surface;
    KivShaderCommunication channel;
    KivHostApplicationServices& host = *KivHostApplicationServices::getDefaultHost();
    KivRenderer renderer;
    check(renderer.renderPreview(settings, host.getPreviewScene(), *host.getPreviewCamera(), &surface, nullptr, {},
                                 channel, nullptr),
          "there is an empty preview");
    const auto empty = pixelsOf(surface);
    check(renderer.renderPreview(settings, host.getPreviewScene(), *host.getPreviewCamera(), &surface, shader.getTag(),
                                 {}, channel, nullptr),
          "there is a preview");
    check(differences(pixelsOf(surface), empty) > 3000, "it shows the preview scene");
}

void testLanguages(KivShader& shader) {
    std::string forms[2];
    int number = 0;
    for (const wchar_t* const language : {L"es", L"en"}) {
        check(kivLoadLanguage(language), "the language is there");
        check(std::wstring(shader.getName()) == L"@Name@", "the shader has its name");
        forms[number++] = kivFindResource(kivModuleOf(*reinterpret_cast<void* const* const*>(&shader)),
                                          KivResourceKind::dialog, 1);
    }
    check(!forms[0].empty() && !forms[1].empty() && forms[0] != forms[1], "the page speaks two languages");
}

} // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : ".";
    KivDefaultHost host;
    KivHostApplicationServices::setDefaultHost(&host);
    kivLoadLanguage(L"en");
    check(KivShader::loadShaders(std::wstring(folder.begin(), folder.end()).c_str()) == 1, "the plug-in loads");
    KivShader& shader = *KivShader::getByIndex(0);
    check(std::wstring(shader.getTag()) == L"@Name@", "it has its tag");
    testPictures(shader);
    testPreview(shader);
    testLanguages(shader);
    shader.destroyPages(nullptr);
    KivShader::unLoadAll();
    KivHostApplicationServices::setDefaultHost(nullptr);
    std::printf("@Name@: all is well\n");
    return 0;
}
)file";

} // namespace

const std::vector<NewShaderFile>& newShaderFiles() {
    static const std::vector<NewShaderFile> files = {{"CMakeLists.txt", buildFile},
                                                     {"@name@.cpp", shader},
                                                     {"page.en.txt", english},
                                                     {"page.es.txt", spanish},
                                                     {"test_@name@.cpp", test}};
    return files;
}
