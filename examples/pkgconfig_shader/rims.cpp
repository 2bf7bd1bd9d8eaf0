// A shader plug-in without a build system: one file, built by pkg-config.
//
//     c++ -std=c++20 -O2 -shared -fPIC -fvisibility=hidden rims.cpp -o rims.so $(pkg-config --cflags --libs
//     selvarin-kit)
//
// It paints what looks away from the light in a colour of its own. The texts of its page stand below instead of in
// files.
#include <kivrender/scene/kivmaterial.h>
#include <kivrender/scene/kivmesh.h>
#include <shaders/kit/kivfacetshader.h>
#include <shaders/kit/kivshaderplugin.h>

namespace {

const KivSettingInfo settings[] = {
    {"Rim", KivSettingType::Colour, 0, 0xFFFFFF, 0x602020, L"The colour of facets with little light", nullptr},
    {"Share", KivSettingType::Double, 0, 1, 0.3, L"The light below which a facet has it, 0 to 1", nullptr},
};
enum { rim, share, numSettings };

int settingsTable(const KivSettingInfo** table) {
    *table = settings;
    return numSettings;
}

class Rims : public KivFacetShader {
public:
    explicit Rims(HINSTANCE pluginModule)
        : KivFacetShader(pluginModule, L"Rims", kivDefaultSettings(L"Rims", settingsTable)) {}

    KivFacetColour colourOf(const KivMesh& mesh, const KivTablePageSettings& look, double light) const override {
        const std::uint32_t colour =
            light < look.getValue(share) ? look.getColour(rim) : mesh.getMaterial()->getDiffuse();
        return {(colour & 0xFF) / 255.0, (colour >> 8 & 0xFF) / 255.0, (colour >> 16 & 0xFF) / 255.0};
    }
};

} // namespace

std::string_view kivPageTextsIn(std::string_view language) {
    if (language == "es") {
        return "title\tBordes\n[Borde]\nRim\tColor\nShare\tHasta esta luz\n";
    }
    return language == "en" ? "title\tRims\n[Rim]\nRim\tColour\nShare\tUp to this light\n" : "";
}

KIV_SHADER_PLUGIN(Rims, settingsTable)
