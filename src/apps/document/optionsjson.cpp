#include "apps/document/optionsjson.h"

#include "apps/document/documentvalues.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtypes.h"

#include <string>

namespace {

constexpr int largestSize = 1 << 20; // pixels, of a side

Json pathJson(const std::wstring& path) {
    return kivToUtf8(path);
}

// A path that the settings can hold whole.
std::wstring pathIn(const Json& value) {
    std::wstring path = kivFromUtf8(value.toString());
    return path.size() < kivMaxPath ? path : std::wstring();
}

} // namespace

Json optionsJson(const KivCommonSettings& o) {
    return JsonObject{{"antialias", o.getAntialias()},
                      {"customSize", o.getCustomSize()},
                      {"size", JsonArray{o.getResolution().cx, o.getResolution().cy}},
                      {"ambient", colourJson(o.getAmbientLight())},
                      {"background", colourJson(o.getBackgroundColor())},
                      {"backgroundImage", pathJson(o.getBackgroundImage())},
                      {"paper", pathJson(o.getPaperImage())},
                      {"vector", o.doVectorial()},
                      {"transparency", o.doTransparencies()},
                      {"shadows", o.doShadows()},
                      {"vectorSpeed", o.getVectorialSpeed()},
                      {"lines", o.doRenderIsoparams() != 0},
                      {"points", o.doRenderDim()},
                      {"saveShadows", o.doSaveShadows()},
                      {"saveDepth", o.doSaveDepth()},
                      {"saveImage", o.doSaveRender()},
                      {"imageFile", pathJson(o.getSaveRenderFile())},
                      {"vectorFile", pathJson(o.getSaveVectorFile())},
                      {"simplify", o.doVectorSimplify()},
                      {"offset", numberJson(o.getPolygonOffset())}};
}

bool equalOptions(const KivCommonSettings& a, const KivCommonSettings& b) {
    return a.getAntialias() == b.getAntialias() && a.getCustomSize() == b.getCustomSize() &&
           a.getResolution() == b.getResolution() && a.getAmbientLight() == b.getAmbientLight() &&
           a.getBackgroundColor() == b.getBackgroundColor() && a.getBackgroundImage() == b.getBackgroundImage() &&
           a.getPaperImage() == b.getPaperImage() && a.doVectorial() == b.doVectorial() &&
           a.doTransparencies() == b.doTransparencies() && a.doShadows() == b.doShadows() &&
           a.getVectorialSpeed() == b.getVectorialSpeed() && a.doRenderIsoparams() == b.doRenderIsoparams() &&
           a.doRenderDim() == b.doRenderDim() && a.doSaveShadows() == b.doSaveShadows() &&
           a.doSaveDepth() == b.doSaveDepth() && a.doSaveRender() == b.doSaveRender() &&
           a.getSaveRenderFile() == b.getSaveRenderFile() && a.getSaveVectorFile() == b.getSaveVectorFile() &&
           a.doVectorSimplify() == b.doVectorSimplify() && a.getPolygonOffset() == b.getPolygonOffset();
}

KivCommonSettings readOptions(const Json& json, const KivCommonSettings& fresh) {
    KivCommonSettings o = fresh;
    const auto flag = [&](const char* key, bool otherwise) { return json[key].toBool(otherwise); };
    o.setAntialias(std::clamp(json["antialias"].toInt(o.getAntialias()), 0, 2));
    o.setCustomSize(flag("customSize", o.getCustomSize()));
    if (const Json& size = json["size"]; size.toArray().size() == 2) {
        o.setResolution(
            {std::clamp(size.at(0).toInt(), 1, largestSize), std::clamp(size.at(1).toInt(), 1, largestSize)});
    }
    o.setAmbientLight(colourIn(json["ambient"], o.getAmbientLight()));
    o.setBackgroundColor(colourIn(json["background"], o.getBackgroundColor()));
    o.setBackgroundImage(pathIn(json["backgroundImage"]).c_str());
    o.setPaperImage(pathIn(json["paper"]).c_str());
    o.setVectorial(flag("vector", false));
    o.setTransparencies(flag("transparency", false));
    o.setShadows(flag("shadows", false));
    o.setVectorialSpeed(std::clamp(json["vectorSpeed"].toInt(), 0, 1));
    o.setRenderIsoparams(flag("lines", true));
    o.setRenderDim(flag("points", true));
    o.setSaveShadows(flag("saveShadows", false));
    o.setSaveDepth(flag("saveDepth", false));
    o.setSaveRender(flag("saveImage", false));
    o.setSaveRenderFile(pathIn(json["imageFile"]).c_str());
    o.setSaveVectorFile(pathIn(json["vectorFile"]).c_str());
    o.setVectorSimplify(flag("simplify", false));
    o.setPolygonOffset(std::clamp(finiteIn(json["offset"], o.getPolygonOffset()), 0.0, 1e6));
    return o;
}

Json cameraJson(const StudioCamera& c) {
    return JsonObject{
        {"target", tripleJson(c.target)},    {"distance", c.distance}, {"yaw", c.yaw},          {"pitch", c.pitch},
        {"up", c.up.z > c.up.y ? "z" : "y"}, {"fov", c.fov},           {"parallel", c.parallel}};
}

StudioCamera readCamera(const Json& json) {
    StudioCamera c;
    c.target = tripleIn(json["target"], c.target);
    c.distance = finiteIn(json["distance"], c.distance);
    c.yaw = finiteIn(json["yaw"], c.yaw);
    c.pitch = finiteIn(json["pitch"], c.pitch);
    c.up = json["up"].toString() == "z" ? Kiv3DVector(0.0, 0.0, 1.0) : Kiv3DVector(0.0, 1.0, 0.0);
    c.fov = finiteIn(json["fov"], c.fov);
    c.parallel = json["parallel"].toBool();
    c.sanitize();
    return c;
}

namespace {

constexpr const char* lightKinds[] = {"directional", "point", "spot"}; // in the order of StudioLight::Kind

} // namespace

Json lightJson(const StudioLight& light) {
    return JsonObject{{"kind", lightKinds[static_cast<int>(light.kind)]},
                      {"location", tripleJson(light.location)},
                      {"direction", tripleJson(light.direction)},
                      {"colour", colourJson(light.colour)},
                      {"angle", light.angle}};
}

StudioLight readLight(const Json& json) {
    StudioLight light;
    for (int i = 0; i < 3; ++i) {
        if (json["kind"].toString() == lightKinds[i]) {
            light.kind = static_cast<StudioLight::Kind>(i);
        }
    }
    light.location = tripleIn(json["location"], light.location);
    light.direction = tripleIn(json["direction"], light.direction);
    light.colour = colourIn(json["colour"], light.colour);
    light.angle = std::clamp(finiteIn(json["angle"], light.angle), 0.0, 90.0);
    return light;
}
