#include "kivcartoonshader.h"

#include "kivcartoonareas.h"
#include "kivcartoonspecks.h"
#include "kivdarkparts.h"
#include "kivglstate.h"
#include "kivrender/lines/kivdrawnskins.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivdrawing.h"
#include "kivrender/shader/kivobjectnumbers.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivsmoothnormals.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

namespace {

// The longest side of a triangle, in pixels of the finished picture, over which light is interpolated.
constexpr double longestSide = 10.0;
// The same where a surface that shines is strongly bent.
constexpr double longestTurn = 2.0;
// More lights than this are not ranked at each vertex.
constexpr unsigned int mostRanks = 8;
// In vector output each division is a face of the drawing.
constexpr double longestVectorSide = 40.0;

// The stencil counts lights lost from here.
constexpr int stencilBase = 100;

Kiv3DPoint pointOf(const KivVec& v) {
    return {v.x, v.y, v.z};
}

Kiv3DVector vectorOf(const KivVec& v) {
    return {v.x, v.y, v.z};
}

KivVec vecOf(const Kiv3DVector& v) {
    return {v.x, v.y, v.z};
}

// How much nearer than the state of the passes has it surfaces lie in the depth pass, and in the passes that paint: in
// slopes and in steps of the depth buffer. Volumes end in the same triangles in another order of corners, and what is
// painted is divided more finely; over long thin triangles their depths differ by more than the few steps that the
// state allows for, and surfaces would shade themselves in specks.
constexpr float depthSlopes = 1.0F;
constexpr float depthSteps = 8.0F;
constexpr float paintSlopes = 1.25F;
constexpr float paintSteps = 16.0F;
// How much farther the triangles that are seen from behind lie in the depth pass. They must be in front of the volumes
// too: of an open sheet the light may fall on them.
constexpr float backSlopes = 0.5F * depthSlopes;
constexpr float backSteps = 0.5F * depthSteps;

void bringForward(float slopes, float steps) {
    float factor = 0.0F;
    float units = 0.0F;
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
    glPolygonOffset(factor - slopes, units - steps);
}

// Over a finished picture, under the stencil: in full where no light is lost, and as weak as cast shadows are strong
// elsewhere.
void drawHighlights(KivCartoonPainter& painter, const KivCartoonBatch& batch, const KivCartoonColors& colors,
                    bool vectorial) {
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glStencilFunc(GL_GEQUAL, stencilBase, ~0U);
    painter.draw(batch, colors, KivCartoonLayer::highlight, 1, vectorial);
    if (colors.paint.castStrength < 1.0) {
        KivCartoonColors weak = colors;
        weak.highlightStrength *= 1.0 - colors.paint.castStrength;
        glStencilFunc(GL_LESS, stencilBase, ~0U);
        painter.draw(batch, weak, KivCartoonLayer::highlight, 1, vectorial);
    }
}

// From the colours of areas of a skin to those of its parts.
KivDrawnSkin::Tone toneOf(const KivCartoonSkin& skin, const KivCartoonColors& colors, KivCartoonLayer layer) {
    const auto tones = std::make_shared<const KivAreaTones>(colors, layer);
    return [skin, tones](std::uint32_t recorded, std::uint32_t color) {
        KivTone own = kivToneOf(color);
        for (std::size_t c = 0; c < 3; ++c) {
            own[c] *= skin.paint->factor[c];
        }
        return tones->of(recorded, kivAdjusted(own, skin.saturation, skin.lightness));
    };
}

// For a drawing that wants to know what lies on a surface.
void tellSkin(const KivMesh& mesh, const KivCartoonBatch& batch, const KivCartoonColors& colors) {
    KivDrawnSkins* const drawn = kivCollectedSkins();
    if (drawn == nullptr || batch.paint.empty()) {
        return;
    }
    KivDrawnSkin skin;
    skin.object = kivNumberOfObject(&mesh);
    skin.paint = batch.skin.paint;
    skin.numColors = batch.skin.numColors;
    skin.lit = toneOf(batch.skin, colors, KivCartoonLayer::full);
    skin.corners.reserve(batch.front.size() + batch.back.size());
    for (const std::vector<std::uint32_t>* indices : {&batch.front, &batch.back}) {
        for (const std::uint32_t i : *indices) {
            const KivCartoonVertex& v = batch.vertices[i];
            skin.corners.push_back({{v.x, v.y, v.z}, batch.paint[i]});
        }
    }
    drawn->add(std::move(skin));
}

void tellSkinWithoutLight(const KivMesh& mesh, const KivCartoonBatch& batch, const KivCartoonColors& colors) {
    KivDrawnSkins* const drawn = kivCollectedSkins();
    KivDrawnSkin* const skin = drawn != nullptr ? drawn->of(kivNumberOfObject(&mesh)) : nullptr;
    if (skin != nullptr && !batch.paint.empty()) {
        skin->shaded = toneOf(batch.skin, colors, KivCartoonLayer::shadow);
    }
}

// Of a picture that is drawn in tiles the part that this one shows, with what decides on it: an island of a tone is
// known as too small only where all of it is there, and it is no longer than its area at the thinnest.
std::optional<KivCartoonPart> partOf(const KivView& view, const KivCartoonLook& look, double pixel) {
    const KivPictureTile* const tile = kivPictureTile();
    if (tile == nullptr) {
        return std::nullopt;
    }
    const auto across = [&](double x) { return 2.0 * x / tile->picture.cx - 1.0; };
    const auto upward = [&](double y) { return 2.0 * y / tile->picture.cy - 1.0; };
    const KivCartoonPart shown{across(tile->left), upward(tile->bottom), across(tile->left + tile->size.cx),
                               upward(tile->bottom + tile->size.cy)};
    return shown.grownBy((look.smallestTone + longestSide) * pixel, view);
}

KivView viewOfContext() {
    GLint viewport[4] = {0, 0, 1, 1};
    glGetIntegerv(GL_VIEWPORT, viewport);
    const tagSIZE whole = kivPictureSize({viewport[2], viewport[3]});
    return kivCurrentView(whole.cx, whole.cy);
}

void evenLight(KivShadedMesh& model, double evenness, double pixel) {
    const KivView view = viewOfContext();
    // What can't be large enough to matter is not looked for.
    if (kivEvenPasses(model, view, evenness * pixel) > 0) {
        const double noise = kivNoiseOf(model, kivUsualSide(model, view) / pixel);
        const double reach = kivEvenReach(evenness, noise);
        kivEvenNormals(model.points, model.triangles, model.normals, kivEvenPasses(model, view, reach * pixel));
    }
}

// How far a thing of that part of the scene's size is more than a detail: 0 for what may well be a pupil or a screw,
// which black suits, 1 for what is large enough to have lines of its own.
double bulkOf(double part) {
    constexpr double detail = 0.08;
    constexpr double large = 0.2;
    const double t = std::clamp((part - detail) / (large - detail), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

} // namespace

// The lights of the scene as the toolbox of the shaders sees them.
class KivCartoonShader::Lights : public KivCartoonLights {
public:
    Lights(const KivCartoonShader& owner, const KivScene& litScene, const KivView& seenFrom, double lightFromBehind)
        : shader(owner), scene(litScene), view(seenFrom), behind(lightFromBehind) {
        for (unsigned int i = 0; i < scene.numLights(); ++i) {
            const KivLight* light = scene.getLight(i);
            const bool ends = light->getStyle() == KivLight::spotLight;
            uniform =
                uniform && (light->getStyle() == KivLight::directionalLight || light->getStyle() == KivLight::noLight);
            if (ends && edges.size() < 32) {
                edges.push_back(light);
            }
        }
    }

    double light(const KivVec& point, const KivVec& normal) const override {
        return shader.calculateLightIncidence(pointOf(point), vectorOf(normal), &scene, 1.0 - behind);
    }

    double shine(const KivVec& point, const KivVec& normal) const override {
        const KivVec toEye = kivUnit(view.toViewer(point));
        double best = 0.0;
        for (unsigned int i = 0; i < scene.numLights(); ++i) {
            const KivLight* light = scene.getLight(i);
            if (shader.calculateLightIncidenceToLight(pointOf(point), vectorOf(normal), light) > 0.0) {
                const KivVec toLight = light->getStyle() == KivLight::directionalLight
                                           ? -vecOf(light->getDirection())
                                           : vecOf(light->getLocation() - pointOf(point));
                best = std::max(best, kivDot(normal, kivUnit(kivUnit(toLight) + toEye)));
            }
        }
        return kivShineOfCosine(best);
    }

    int numEdges() const override {
        return static_cast<int>(edges.size());
    }

    // By how much the point lies inside the cone, in radians; the toolbox counts the very edge as inside.
    double edgeSide(const KivVec& point, int i) const override {
        const KivLight* spot = edges[i];
        const double cosine =
            shader.calculateAngleBetweenAxis(pointOf(point) - spot->getLocation(), spot->getDirection());
        return spot->getSpotAngle() - std::acos(std::clamp(cosine, -1.0, 1.0));
    }

    double lightInside(const KivVec& point, const KivVec& normal, std::uint32_t inside) const override {
        double best = 0.0;
        std::size_t edge = 0;
        for (unsigned int i = 0; i < scene.numLights(); ++i) {
            const KivLight* light = scene.getLight(i);
            double value = 0.0;
            if (edge < edges.size() && edges[edge] == light) {
                if ((inside & 1U << edge) != 0U) {
                    value = shader.calculateAngleBetweenAxis(vectorOf(normal), -light->getDirection());
                }
                ++edge;
            } else {
                value = shader.calculateLightIncidenceToLight(pointOf(point), vectorOf(normal), light);
            }
            best = std::max(best, value < 0.0 && shader.doubleSided ? -value * behind : value);
        }
        return best;
    }

    bool isUniform() const override {
        return uniform;
    }

    void incidences(const KivVec& point, const KivVec& normal, std::vector<double>& out) const override {
        out.clear();
        for (unsigned int i = 0; i < scene.numLights(); ++i) {
            out.push_back(shader.calculateLightIncidenceToLight(pointOf(point), vectorOf(normal), scene.getLight(i)));
        }
    }

private:
    const KivCartoonShader& shader;
    const KivScene& scene;
    const KivView& view;
    double behind;
    bool uniform = true;
    std::vector<const KivLight*> edges; // the spots, in the order of the scene
};

// The rim of light as a highlight: the way from the contour to where the rim ends stands for the radius of a highlight.
// On the side that turns away from the light it is widest and runs out towards the ends.
class KivCartoonShader::RimLights : public KivCartoonLights {
public:
    RimLights(const KivScene& scene, const KivView& seenFrom, const KivCartoonRim& wanted)
        : view(seenFrom), rim(wanted) {
        for (unsigned int i = 0; i < scene.numLights() && !rim.around; ++i) {
            const KivLight* light = scene.getLight(i);
            const double strength = kivToneOf(light->getDiffuse())[1];
            if (light->getStyle() != KivLight::noLight && strength > strongest) {
                strongest = strength;
                key = light;
            }
        }
    }

    double light(const KivVec&, const KivVec&) const override {
        return 0.0;
    }
    double lightInside(const KivVec&, const KivVec&, std::uint32_t) const override {
        return 0.0;
    }
    double shine(const KivVec& point, const KivVec& normal) const override {
        const double width = rim.width * shareAt(point, normal);
        const double facing = std::max(0.0, kivDot(normal, kivUnit(view.toViewer(point))));
        const double angle = width > 0.0 ? radius * facing / width : 180.0;
        return kivShineOfCosine(std::cos(std::min(angle, 180.0) * std::numbers::pi / 180.0));
    }
    int numEdges() const override {
        return 0;
    }
    double edgeSide(const KivVec&, int) const override {
        return 0.0;
    }
    bool isUniform() const override {
        return true;
    }

    // What a batch of these lights is drawn with, as the layer of highlights.
    KivCartoonColors colors(const KivCartoonPaint& paint) const {
        KivCartoonColors result;
        result.bands.softness = 0.0;
        result.highlightStrength = 1.0;
        result.highlightSize = radius;
        result.highlightColor = kivDuotone(rim.color, paint);
        return result;
    }

private:
    static constexpr double radius = 20.0; // degrees

    // How far a normal turns away from the light in the picture, 0 to 1.
    double shareAt(const KivVec& point, const KivVec& normal) const {
        if (key == nullptr) {
            return 1.0;
        }
        const KivVec shining = key->getStyle() == KivLight::directionalLight
                                   ? vecOf(key->getDirection())
                                   : point - vecOf(key->getLocation() - Kiv3DPoint());
        const KivVec toEye = kivUnit(view.toViewer(point));
        const KivVec aside = shining - toEye * kivDot(shining, toEye);
        // A light from the eye itself leaves all sides alike.
        if (kivLength(aside) < 0.05 * kivLength(shining)) {
            return 1.0;
        }
        return std::max(0.0, kivDot(normal, kivUnit(aside)));
    }

    const KivView& view;
    KivCartoonRim rim;
    const KivLight* key = nullptr;
    double strongest = -1.0;
};

KivCartoonLook KivCartoonShader::lookOf(const Kiv3DObject& object) const {
    return kivCartoonLook(settingsOf(object));
}

double KivCartoonShader::liftOf(const KivMesh& mesh, double lift) const {
    const auto known = bulks.find(&mesh);
    return known == bulks.end() ? lift : lift * known->second;
}

KivCartoonColors KivCartoonShader::colorsOf(const KivMesh& mesh, const KivCartoonLook& look,
                                            const KivCommonSettings& settings) const {
    const KivMaterial* material = mesh.getMaterial();
    KivCartoonColors colors;
    colors.bands = look.bands;
    colors.paint = look.paint;
    colors.paint.ambient = kivToneOf(settings.getAmbientLight());
    for (double& part : colors.paint.ambient) {
        part *= look.ambient;
    }
    colors.diffuse = kivToneOf(material->getDiffuse());
    const KivTone emission = kivToneOf(material->getEmission());
    // A painted mesh keeps its colours, and so does their mean, which some looks draw in their place.
    if (kivMeshPaint(mesh) == nullptr && kivLifted(colors.diffuse, emission, look.darkLift) != colors.diffuse) {
        colors.diffuse = kivLifted(colors.diffuse, emission, liftOf(mesh, look.darkLift));
    }
    colors.diffuse = kivAdjusted(colors.diffuse, look.saturation, look.lightness);
    colors.emission = kivAdjusted(emission, look.saturation, std::min(look.lightness, 0.0));
    if (look.highlight && material->getShine() > 0.0) {
        // A specular colour that is no brighter than the surface would darken it; then the highlight is white.
        const KivTone specular = kivToneOf(material->getSpecular());
        const double brightness = specular[0] + specular[1] + specular[2];
        if (brightness > 0.0) {
            colors.highlightStrength = look.highlightStrength * std::min(1.0, brightness / 1.5);
            const double most = std::max({specular[0], specular[1], specular[2]});
            for (int c = 0; c < 3; ++c) {
                colors.highlightColor[c] = specular[c] / most;
            }
            colors.highlightColor = kivDuotone(colors.highlightColor, colors.paint);
        }
        colors.highlightSize = look.highlightSize;
    }
    return colors;
}

std::shared_ptr<const KivShadedMesh> KivCartoonShader::modelOf(const KivMesh& mesh, const KivCartoonLook& look,
                                                               const KivCommonSettings& settings, bool isEven) {
    const KivPictureTile* const tile = kivPictureTile();
    const std::uint64_t picture = tile != nullptr ? tile->number : 0;
    if (picture != modelledPicture) {
        models.clear();
        modelledPicture = picture;
    }
    if (const auto known = models.find({&mesh, isEven}); known != models.end()) {
        return known->second;
    }
    auto model = std::make_shared<KivShadedMesh>(kivReadShadedMesh(mesh, look.smoothAngle));
    if (isEven && !look.flat) {
        evenLight(*model, look.evenness, settings.doVectorial() ? 1.0 : 1 << std::clamp(settings.getAntialias(), 0, 2));
    }
    if (tile != nullptr) {
        models[{&mesh, isEven}] = model;
    }
    return model;
}

void KivCartoonShader::buildBatch(const KivShadedMesh& model, const KivMesh& mesh, const KivCartoonLook& look,
                                  const KivCommonSettings& settings, const KivScene& scene, KivCartoonBatch& out,
                                  Division division) {
    const KivView view = viewOfContext();
    doubleSided = look.doubleSided;
    const Lights lights(*this, scene, view, look.lightFromBehind);
    KivCartoonDetail detail;
    detail.flat = look.flat;
    detail.shine = colorsOf(mesh, look, settings).highlightStrength > 0.0;
    detail.rampEntries = kivRampEntries;
    const double pixel = settings.doVectorial() ? 1.0 : 1 << std::clamp(settings.getAntialias(), 0, 2);
    detail.longestSide = (settings.doVectorial() ? longestVectorSide : longestSide) * pixel;
    detail.longestTurn = (settings.doVectorial() ? longestVectorSide : longestTurn) * pixel;
    if (settings.doVectorial()) {
        const KivCartoonColors colors = colorsOf(mesh, look, settings);
        detail.inAreas = true;
        detail.lightEdges = kivCartoonSteps(colors, KivCartoonLayer::full, 1).edges;
        detail.shineEdges = kivHighlightSteps(colors).edges;
    }
    detail.keepOrder = division == Division::inOrder;
    detail.part = partOf(view, look, pixel);
    // A page takes up no textures unless its drawing asks for them, and transparent triangles come without what lies
    // beside their mesh.
    const bool isWanted = !settings.doVectorial() || kivCollectedSkins() != nullptr;
    const bool mayBePainted = look.textures && isWanted && !detail.keepOrder && !model.paint.empty();
    const KivCartoonSkin skin{mayBePainted ? kivMeshPaint(mesh) : nullptr, look.saturation, look.lightness,
                              look.textureColours};
    detail.isPainted = skin.isUsable();
    // One light alone leaves its own dark side dark enough; of a flat look every triangle is what it shows.
    if (settings.doShadows() && !settings.doVectorial() && !look.flat && division == Division::whereNeeded &&
        scene.numLights() >= 2 && scene.numLights() <= mostRanks) {
        detail.ranks = static_cast<int>(scene.numLights());
    }
    if (division == Division::none) {
        detail.shine = false;
        detail.longestSide = std::numeric_limits<double>::infinity();
    }
    kivBuildCartoon(model, view, lights, detail, out);
    if (!look.flat && division == Division::whereNeeded) {
        kivRemoveSpecks(kivSpeckRules(colorsOf(mesh, look, settings), look.smallestTone, pixel), view, out);
    }
    if (detail.isPainted) {
        out.skin = skin;
    }
}

// Over the finished picture of a mesh, in cast shadows too: the lamp stands behind it.
void KivCartoonShader::drawRim(const KivShadedMesh& model, const KivCartoonLook& look,
                               const KivCommonSettings& settings, const KivScene& scene, KivCartoonPainter& painter) {
    const KivView view = viewOfContext();
    const RimLights lights(scene, view, look.rim);
    const KivCartoonColors colors = lights.colors(look.paint);
    const bool vectorial = settings.doVectorial();
    const double pixel = vectorial ? 1.0 : 1 << std::clamp(settings.getAntialias(), 0, 2);
    KivCartoonDetail detail;
    detail.flat = look.flat;
    detail.shine = true;
    detail.rampEntries = kivRampEntries;
    detail.longestSide = (vectorial ? longestVectorSide : longestSide) * pixel;
    detail.longestTurn = (vectorial ? longestVectorSide : longestTurn) * pixel;
    detail.part = partOf(view, look, pixel);
    detail.inAreas = vectorial;
    detail.shineEdges = vectorial ? kivHighlightSteps(colors).edges : std::vector<float>();
    KivCartoonBatch batch;
    kivBuildCartoon(model, view, lights, detail, batch);
    kivRemoveSpecks(kivSpeckRules(colors, look.smallestTone, pixel), view, batch);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    // Its triangles are divided otherwise than those of the picture that it lies on.
    bringForward(paintSlopes - depthSlopes, depthSteps);
    painter.draw(batch, colors, KivCartoonLayer::highlight, 1, vectorial);
}

const KivCartoonBatch& KivCartoonShader::batchOf(const KivMesh& mesh, const KivCartoonLook& look,
                                                 const KivCommonSettings& settings, const KivScene& scene) {
    const auto [entry, isNew] = batches.try_emplace(&mesh);
    if (isNew) {
        buildBatch(*modelOf(mesh, look, settings), mesh, look, settings, scene, entry->second);
    }
    return entry->second;
}

void KivCartoonShader::drawLit(const KivMesh& mesh, const KivCommonSettings& settings, KivScene& scene,
                               bool vectorial) {
    glDisable(GL_BLEND);
    const KivCartoonLook look = lookOf(mesh);
    std::shared_ptr<const KivShadedMesh> model = modelOf(mesh, look, settings);
    buildBatch(*model, mesh, look, settings, scene, scratch);
    if (look.rim.width <= 0.0) {
        model = nullptr; // as large as the batch, and of no more use
    }
    if (kivIsCancelled()) {
        return; // the batch may be cut short
    }
    KivCartoonPainter painter(&skins);
    KivDrawing::beginObject(&mesh, vectorial);
    const KivCartoonColors colors = colorsOf(mesh, look, settings);
    painter.draw(scratch, colors, KivCartoonLayer::full, 1, vectorial);
    if (vectorial) {
        tellSkin(mesh, scratch, colors);
    }
    if (look.rim.width > 0.0) {
        drawRim(*model, look, settings, scene, painter);
    }
}

void KivCartoonShader::render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera&,
                              KivScene* scene, tagSIZE, KivShaderCommunication& communication, bool named) {
    const bool vectorial = settings.doVectorial();
    for (unsigned int i = 0; i < scene->numMeshes(); ++i) {
        const KivMesh* mesh = scene->getMesh(i);
        if (mesh == nullptr || !kivIsForShader(*mesh, getTag(), named)) {
            continue;
        }
        if (kivIsCancelled()) {
            return;
        }
        {
            const KivGlState state;
            float factor = 0.0F;
            float units = 0.0F;
            communication.getPolygonOffset(&factor, &units);
            glEnable(GL_POLYGON_OFFSET_FILL);
            glPolygonOffset(factor, units);
            drawLit(*mesh, settings, *scene, vectorial);
        }
        if (KivProgress* progress = kivCurrentProgress()) {
            progress->advance(2, false);
        }
        flushAndShow(surface, vectorial);
    }
}

// Each of the two comes once the context of a render is there, and the one before it has gone.
void KivCartoonShader::loadRenderData(KivDataManager* manager, const KivCommonSettings& settings) {
    skins.forget();
    KivTableShader::loadRenderData(manager, settings);
}

void KivCartoonShader::prepareObjectRendering(const KivCommonSettings&, KivScene* scene) {
    skins.forget();
    batches.clear();
    bulks.clear();
    std::vector<const KivMesh*> meshes;
    std::vector<KivDarkMesh> dark;
    for (unsigned int i = 0; scene != nullptr && i < scene->numMeshes(); ++i) {
        if (const KivMesh* const mesh = scene->getMesh(i)) {
            meshes.push_back(mesh);
            const KivTone own = kivToneOf(mesh->getMaterial()->getDiffuse());
            const KivTone emission = kivToneOf(mesh->getMaterial()->getEmission());
            if (kivMeshPaint(*mesh) == nullptr && kivLifted(own, emission, lookOf(*mesh).darkLift) != own) {
                dark.push_back({mesh, own});
            }
        }
    }
    if (dark.empty()) {
        return;
    }
    kivMeasureDarkParts(dark);
    const double sceneSize = kivSizeOf(meshes);
    for (const KivDarkMesh& each : dark) {
        bulks[each.mesh] = sceneSize > 0.0 ? bulkOf(each.size / sceneSize) : 1.0;
    }
}

void KivCartoonShader::renderMeshDepth(const KivMesh* mesh, const KivCommonSettings& settings, KivScene* scene,
                                       KivShadows&, const KivCamera&, bool vectorial) {
    const KivGlState state;
    batches.erase(mesh);
    const KivCartoonLook look = lookOf(*mesh);
    // The mesh's own triangles, as the shadow volumes end in them.
    buildBatch(*modelOf(*mesh, look, settings, false), *mesh, look, settings, *scene, scratch, Division::none);
    KivCartoonPainter painter(&skins);
    painter.setBackOffset(backSlopes, backSteps);
    KivDrawing::beginObject(mesh, vectorial);
    bringForward(depthSlopes, depthSteps);
    glDisable(GL_BLEND);
    painter.draw(scratch, colorsOf(*mesh, look, settings), KivCartoonLayer::black, 1, vectorial);
}

void KivCartoonShader::renderMeshPass(const KivMesh* mesh, const KivLight* light, int lightIndex, int numLights,
                                      const KivCommonSettings& settings, KivScene* scene, int pass, const KivCamera&,
                                      bool vectorial) {
    const KivGlState state;
    const KivCartoonLook look = lookOf(*mesh);
    const KivCartoonColors colors = colorsOf(*mesh, look, settings);
    if (pass == 2 && colors.emission == KivTone{}) {
        return;
    }
    const KivCartoonBatch& batch = batchOf(*mesh, look, settings, *scene);
    KivCartoonPainter painter(&skins);
    KivDrawing::beginObject(mesh, vectorial);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    bringForward(paintSlopes, paintSteps);
    if (pass != 3) {
        // The test of the volumes is still on and lets nothing through where all lights are lost.
        glDisable(GL_STENCIL_TEST);
    }
    if (pass == 1) {
        painter.draw(batch, colors, KivCartoonLayer::shadow, 1, vectorial);
        if (vectorial) {
            tellSkinWithoutLight(*mesh, batch, colors);
        }
    } else if (pass == 2) {
        painter.draw(batch, colors, KivCartoonLayer::emission, 1, vectorial);
    } else if (light != nullptr && numLights > 0) {
        glStencilFunc(GL_GEQUAL, stencilBase + numLights - 1 - lightIndex, ~0U);
        painter.draw(batch, colors, KivCartoonLayer::share, {numLights, lightIndex}, vectorial);
        if (lightIndex == numLights - 1 && colors.highlightStrength > 0.0) {
            drawHighlights(painter, batch, colors, vectorial);
        }
        if (lightIndex == numLights - 1 && look.rim.width > 0.0) {
            glDisable(GL_STENCIL_TEST);
            drawRim(*modelOf(*mesh, look, settings), look, settings, *scene, painter);
        }
    }
}

void KivCartoonShader::renderOpaqueMesh(const KivMesh* mesh, const KivCommonSettings& settings, KivScene* scene,
                                        const KivCamera&, int, KivNonCombinableShader*, int pass, bool vectorial) {
    if (pass != 1) {
        return;
    }
    const KivGlState state;
    drawLit(*mesh, settings, *scene, vectorial);
}
