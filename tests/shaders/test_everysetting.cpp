// Every setting of every plug-in changes the picture of a scene that has something for each: a cube, a bumpy sheet and
// a blunt roof without normals, a cube that names an edge, a ball with them and with colours at its vertices, a shiny
// material, lights from two sides, ambient light, lines and a point.
#include "kivcartoonsettings.h"
#include "kivoutlinesettings.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/shader/kivshadershape.h"
#include "picture.h"

#include <algorithm>
#include <memory>
#include <set>

namespace {

struct Change {
    const char* key;
    const char* value;
    Choices before = {}; // what the setting needs, and its own value if not the default
};

class EverySetting : public PictureTest {
protected:
    void SetUp() override {
        addMesh(sphereSurface(7, 10), true);
        addMesh(moved(cubeSurface(0.7), {2.0, 0.6, -0.4}));
        addMesh(bumpySheet());
        addMesh(moved(cubeSurface(0.5), {-1.8, 1.0, 0.8}));
        nameEdge(*scene.getMesh(3));
        addMesh(moved(cubeSurface(0.4), {2.0, -1.5, -0.2})); // stands in the sheet
        addMesh(moved(blunt(), {-1.9, -0.6, 1.2}));
        for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
            KivMaterial material;
            material.setDiffuse(clay);
            material.setSpecular(0xFFFFFF);
            material.setShine(120.0);
            scene.getMesh(i)->setMaterial(material);
        }
        paintBall(*scene.getMesh(0));
        addLight(KivLight::directionalLight, {}, {1.0, -1.0, -1.2});
        KivLine line(Kiv3DPoint(-2.6, 1.6, 0.0), Kiv3DPoint(2.6, 2.1, 0.5));
        scene.addLine(line);
        Kiv3DPoint point(-2.2, 0.9, 0.4);
        scene.addPoint(point);
        settings.setAmbientLight(0x705040);
        open(220);
        look({2.0, 2.4, 6.0}, 3.1, false);
    }

    // The diagonal of the front side is one over which the surface runs on.
    static void nameEdge(const KivMesh& cube) {
        auto named = std::make_shared<KivMeshEdges>();
        named->vertices = {4, 7};
        named->edges.push_back({KivMeshEdge::Kind::tangent, false, 0, 0, 2});
        kivSetMeshEdges(cube, named);
    }

    static void paintBall(const KivMesh& ball) {
        auto paint = std::make_shared<KivMeshPaint>();
        for (unsigned int i = 0; i < ball.getNumVertexs(); ++i) {
            const Kiv3DPoint p = ball.getVertex(i);
            paint->coordinates.push_back(
                {static_cast<float>(0.5 + 0.3 * p.x), 0.5F, static_cast<float>(0.5 - 0.3 * p.y)});
        }
        kivSetMeshPaint(ball, paint);
    }

    static KivSurface moved(KivSurface surface, const KivVec& by) {
        for (KivVec& p : surface.points) {
            p = p + by;
        }
        return surface;
    }
    // A roof without an edge at its ridge: each of the two there bends by 36 degrees.
    static KivSurface blunt() {
        KivSurface roof;
        for (const double x : {-0.6, 0.6}) {
            roof.points.insert(roof.points.end(), {{x, 0.0, -0.5}, {x, 0.3, -0.08}, {x, 0.3, 0.08}, {x, 0.0, 0.5}});
        }
        roof.triangles = {{0, 4, 1}, {1, 4, 5}, {1, 5, 2}, {2, 5, 6}, {2, 6, 3}, {3, 6, 7}};
        return roof;
    }

    // A square of 12 by 12 cells with a steep hill, a low one and ripples.
    static KivSurface bumpySheet() {
        constexpr std::uint32_t cells = 12;
        KivSurface sheet;
        for (std::uint32_t j = 0; j <= cells; ++j) {
            for (std::uint32_t i = 0; i <= cells; ++i) {
                const double height = i == 3 && j == 6 ? 1.1 : i == 9 && j == 9 ? 0.35 : (i + j) % 2 * 0.03;
                sheet.points.push_back({i * 0.42 - 2.6, height - 1.6, j * 0.36 - 2.0});
            }
        }
        for (std::uint32_t j = 0; j < cells; ++j) {
            for (std::uint32_t i = 0; i < cells; ++i) {
                const std::uint32_t a = j * (cells + 1) + i;
                sheet.triangles.push_back({a, a + cells + 1, a + 1});
                sheet.triangles.push_back({a + 1, a + cells + 1, a + cells + 2});
            }
        }
        return sheet;
    }

    std::vector<Rgb> picture(KivShader& shader, const Choices& choices) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const bool isBase = !shader.isCombinable();
        const bool isSheet = &shader == &shaders.backdrop();
        channel.setHasNonCombinable(isBase || isSheet);
        if (isSheet) {
            choose(shaders.cartoon(), {});
            draw(shaders.cartoon());
        }
        choose(shader, choices);
        draw(shader);
        return pixels();
    }

    // All rows of the plug-in's table must be among the changes, but for those that only passes of shadows show.
    // The render decides on the mesh that is drawn in the place of another.
    void expectAll(KivShader& shader, const std::vector<Change>& changes, std::set<std::string> ofPasses = {}) {
        if (&shader != &shaders.backdrop()) {
            ofPasses.insert("SmoothShape");
        }
        std::set<std::string> left;
        int count = 0;
        const KivSettingInfo* table = kivShaderSettings(&shader, &count);
        for (int i = 0; i < count; ++i) {
            left.insert(table[i].key);
        }
        for (const std::string& key : ofPasses) {
            EXPECT_EQ(left.erase(key), 1U) << key;
        }
        for (const Change& change : changes) {
            EXPECT_EQ(left.erase(change.key), 1U) << change.key;
            Choices after = change.before;
            after.emplace_back(change.key, change.value);
            const std::vector<Rgb> one = picture(shader, change.before);
            const std::vector<Rgb> other = picture(shader, after);
            int different = 0;
            for (std::size_t i = 0; i < one.size(); ++i) {
                different += one[i] != other[i] ? 1 : 0;
            }
            EXPECT_GE(different, 10) << change.key << " set to " << change.value;
            EXPECT_TRUE(picture(shader, change.before) == one) << "nothing of " << change.key << " is left behind";
        }
        EXPECT_EQ(left, std::set<std::string>());
    }
};

} // namespace

TEST_F(EverySetting, OfTheBackdropChangesThePicture) {
    expectAll(shaders.backdrop(), {{"Colour", "#ff0000"},
                                   {"SecondColour", "#00ff00", {{"Gradient", "vertical"}}},
                                   {"Gradient", "round"},
                                   {"Grain", "80"},
                                   {"GrainSize", "6", {{"Grain", "80"}}},
                                   {"GrainEverywhere", "no", {{"Grain", "80"}}},
                                   {"Pattern", "lines"},
                                   {"PatternColour", "#0000ff", {{"Pattern", "grid"}}},
                                   {"PatternSpacing", "40", {{"Pattern", "lines"}}},
                                   {"PatternWidth", "5", {{"Pattern", "lines"}}},
                                   {"Frame", "4"},
                                   {"FrameDistance", "50", {{"Frame", "4"}}}});
}

TEST_F(EverySetting, OfTheCartoonChangesThePicture) {
    expectAll(shaders.cartoon(),
              {{"Bands", "5"},
               {"Softness", "90"},
               {"Balance", "60"},
               {"Shadow", "10"},
               {"ShadowSaturation", "100"},
               {"ShadowCoolness", "0"},
               {"Highlight", "no"},
               {"HighlightSize", "40"},
               {"HighlightStrength", "10"},
               {"Flat", "yes"},
               {"DoubleSided", "yes"},
               {"LightFromBehind", "100", {{"DoubleSided", "yes"}}},
               {"SmoothAngle", "120"},
               {"Evenness", "40", {{"Evenness", "0"}}},
               {"Saturation", "-100"},
               {"Lightness", "40"},
               {"Duotone", "100"},
               {"DuotoneDark", "#ff0000", {{"Duotone", "100"}}},
               {"DuotoneLight", "#00ff00", {{"Duotone", "100"}}},
               {"Ambient", "0"},
               {"CoolToWarm", "80"},
               {"RimWidth", "40"},
               {"WashEdge", "100", {{"Textures", "no"}}},
               {"RimColour", "#0000ff", {{"RimWidth", "40"}}},
               {"RimAround", "yes", {{"RimWidth", "40"}}},
               {"SmallestTone", "500", {{"SmallestTone", "0"}}},
               {"Textures", "no"},
               {"TextureColours", "3"}},
              // DarkLift shows on black things alone.
              {"CastShadowStrength", "CastShadowColour", "DarkLift"});
}

TEST_F(EverySetting, OfTheOutlineChangesThePicture) {
    expectAll(shaders.outline(), {{"Colour", "#ff0000"},
                                  {"Silhouettes", "no"},
                                  {"SilhouetteWidth", "6"},
                                  {"Borders", "no"},
                                  {"BorderWidth", "6"},
                                  {"Creases", "no"},
                                  {"CreaseWidth", "6"},
                                  {"CreaseAngle", "120"},
                                  {"SmoothCreaseAngle", "5", {{"CreaseLength", "0"}}},
                                  {"CreaseLength", "60", {{"CreaseLength", "0"}}},
                                  {"RoundedEdges", "12"},
                                  {"Detail", "100", {{"Detail", "0"}, {"ShortestLine", "0"}}},
                                  {"ShortestLine", "1000", {{"ShortestLine", "0"}, {"Detail", "60"}}},
                                  {"Smoothing", "50", {{"Smoothing", "0"}}},
                                  {"Lines", "no"},
                                  {"LineWidth", "7"},
                                  {"Tangents", "none"},
                                  {"Intersections", "no"},
                                  {"Taper", "60", {{"Taper", "0"}}}});
}

TEST_F(EverySetting, OfTheHalftoneChangesThePicture) {
    expectAll(shaders.halftone(), {{"Pattern", "stipple"},
                                   {"Colour", "#ff0000"},
                                   {"Overprint", "100", {{"Colour", "#ffffff"}}},
                                   {"Spacing", "12"},
                                   {"Angle", "10"},
                                   {"Tone", "30"},
                                   {"Ink", "20"},
                                   {"Levels", "2"}});
}

TEST_F(EverySetting, OfTheSketchChangesThePicture) {
    expectAll(shaders.sketch(), {{"Medium", "charcoal"},
                                 {"Colour", "#ff0000"},
                                 {"Width", "9"},
                                 {"Pressure", "0"},
                                 {"Grain", "0"},
                                 {"Wobble", "12"},
                                 {"Overshoot", "60"},
                                 {"Strokes", "5"},
                                 {"StrokeLength", "30"},
                                 {"Silhouettes", "no"},
                                 {"Borders", "no"},
                                 {"Creases", "no"},
                                 {"CreaseAngle", "120"},
                                 {"SmoothCreaseAngle", "5", {{"CreaseLength", "0"}}},
                                 {"CreaseLength", "60", {{"CreaseLength", "0"}}},
                                 {"RoundedEdges", "12"},
                                 {"Detail", "100", {{"Detail", "0"}, {"ShortestLine", "0"}}},
                                 {"ShortestLine", "1000", {{"ShortestLine", "0"}}},
                                 {"Hidden", "thin"},
                                 {"Hatching", "no"},
                                 {"HatchTone", "20"},
                                 {"HatchSpacing", "15"},
                                 {"HatchAngle", "-20"},
                                 {"HatchDirection", "form"},
                                 {"CrossHatching", "no"},
                                 {"Lines", "no"},
                                 {"Seed", "7"},
                                 {"Tangents", "none"},
                                 {"Intersections", "no"}});
}

TEST_F(EverySetting, TheShapeIsAskedForAsTheSettingsSay) {
    const KivMesh& mesh = *scene.getMesh(0);
    for (KivShader* const shader : std::initializer_list<KivShader*>{&shaders.cartoon(), &shaders.halftone(),
                                                                     &shaders.outline(), &shaders.sketch()}) {
        choose(*shader, {});
        EXPECT_TRUE(kivShaderShape(*shader, mesh).smooth);
        choose(*shader, {{"SmoothShape", "no"}});
        EXPECT_FALSE(kivShaderShape(*shader, mesh).smooth);
    }
    choose(shaders.cartoon(), {{"SmoothAngle", "70"}});
    EXPECT_EQ(kivShaderShape(shaders.cartoon(), mesh).smoothAngle, 70.0);
    choose(shaders.cartoon(), {{"Flat", "yes"}});
    EXPECT_FALSE(kivShaderShape(shaders.cartoon(), mesh).smooth);
    choose(shaders.outline(), {{"CreaseAngle", "30"}});
    EXPECT_EQ(kivShaderShape(shaders.outline(), mesh).smoothAngle, 30.0);
    EXPECT_FALSE(kivShaderShape(shaders.backdrop(), mesh).smooth);
}

TEST_F(EverySetting, PercentagesAreParts) {
    Choices choices;
    for (const char* key : {"Softness", "Balance", "Shadow", "ShadowSaturation", "ShadowCoolness", "HighlightStrength",
                            "LightFromBehind", "Saturation", "Lightness", "Duotone", "Ambient", "CastShadowStrength"}) {
        choices.emplace_back(key, std::to_string(10 + choices.size()));
    }
    const KivCartoonLook look = kivCartoonLook(shaderSettings(shaders.cartoon(), choices));
    const double parts[] = {look.bands.softness, look.bands.balance,     look.paint.shadow,    look.paint.saturation,
                            look.paint.coolness, look.highlightStrength, look.lightFromBehind, look.saturation,
                            look.lightness,      look.paint.duotone,     look.ambient,         look.paint.castStrength};
    for (std::size_t i = 0; i < std::size(parts); ++i) {
        EXPECT_NEAR(parts[i], 0.1 + 0.01 * static_cast<double>(i), 1e-12) << choices[i].first;
    }
    const KivLineLook lines = kivOutlineLook(shaderSettings(shaders.outline(), {{"CreaseLength", "30"}}));
    EXPECT_NEAR(lines.rules.creaseLength, 0.3, 1e-12);
}
