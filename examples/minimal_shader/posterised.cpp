// A shader plug-in in one file: it paints every facet in one of a few tones of its material's colour, by how squarely
// the light falls on it. Built as a module and put into the library's shaders folder, every host finds it.
//
// KivFacetShader of the kit draws: plain renders, previews, shadows, transparency, vector pages, objects with looks of
// their own. What is left to say is which settings there are and which colour a facet has.
#include <kivrender/scene/kivmaterial.h>
#include <kivrender/scene/kivmesh.h>
#include <shaders/kit/kivfacetshader.h>
#include <shaders/kit/kivshaderplugin.h>

#include <algorithm>
#include <cmath>

namespace {

// Each setting is declared once: command line, style files, streams, range checks and the page follow from the table.
const KivSettingInfo settings[] = {
    {"Tones", KivSettingType::Int, 2, 16, 4, L"Number of tones between dark and light", nullptr},
    {"Dark", KivSettingType::Double, 0, 1, 0.35, L"Brightness of the darkest tone, 0 black, 1 the full colour",
     nullptr},
    {"Colours", KivSettingType::Choice, 0, 2, 0, L"Where the colours come from", "material|grey|ink"},
    {"Ink", KivSettingType::Colour, 0, 0xFFFFFF, 0x804020, L"The colour for all, where it is chosen", nullptr},
    {"Behind", KivSettingType::Bool, 0, 1, 0, L"Whether light from behind a facet counts", nullptr},
};
enum { tones, dark, colours, ink, behind, numSettings };

int settingsTable(const KivSettingInfo** table) {
    *table = settings;
    return numSettings;
}

class Posterised : public KivFacetShader {
public:
    explicit Posterised(HINSTANCE pluginModule)
        : KivFacetShader(pluginModule, L"Posterised", kivDefaultSettings(L"Posterised", settingsTable)) {}

    // The light is brought to one of the tones, from the dark one to the full colour.
    KivFacetColour colourOf(const KivMesh& mesh, const KivTablePageSettings& look, double light) const override {
        const int count = look.getInt(tones);
        const double step = std::min(std::floor(light * count), count - 1.0) / (count - 1.0);
        const double tone = look.getValue(dark) + (1 - look.getValue(dark)) * step;
        const std::uint32_t colour = look.getInt(colours) == 2 ? look.getColour(ink) : mesh.getMaterial()->getDiffuse();
        KivFacetColour parts = {};
        for (unsigned int c = 0; c < 3; ++c) {
            parts[c] = (colour >> 8 * c & 0xFF) / 255.0 * tone;
        }
        if (look.getInt(colours) == 1) {
            parts.fill(0.3 * parts[0] + 0.59 * parts[1] + 0.11 * parts[2]);
        }
        return parts;
    }
    double lightFromBehind(const KivTablePageSettings& look) const override {
        return look.getBool(behind) ? 1 : 0;
    }
};

} // namespace

// What the library looks for in a plug-in.
KIV_SHADER_PLUGIN(Posterised, settingsTable)
