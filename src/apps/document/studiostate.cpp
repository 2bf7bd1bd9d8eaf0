#include "apps/document/studiostate.h"

#include "apps/document/documentpaths.h"
#include "apps/document/documenttexts.h"
#include "apps/document/lookjson.h"
#include "apps/document/optionsjson.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivstreamhead.h"
#include "kivrender/shader/kivshader.h"

#include <algorithm>

namespace {

// The first form knows looks of objects only one by one, the second shows all objects and has a background. A document
// is written in the first form that can say it, so that older programs can read it.
constexpr int firstFormat = 1;
constexpr int looksFormat = 2;
constexpr int formatNumber = 3;
constexpr const wchar_t* outlineTag = L"Outline";

// Of a document that says nothing of drawings: older programs knew one switch.
DrawingOptions impliedDrawing(const KivCommonSettings& options) {
    DrawingOptions drawing = plainDrawingOptions();
    if (options.doVectorSimplify()) {
        drawing.areas = KivDrawingCollector::Areas::faces;
    }
    return drawing;
}

constexpr const char* ourKeys[] = {"selvarin",    "models",  "upAxis",       "camera",
                                   "lights",      "options", "look",         "objects",
                                   "objectLooks", "drawing", "objectStates", "withoutBackground"};

Json modelsJson(const std::vector<std::wstring>& models, const std::wstring& folder) {
    Json paths = Json::Array();
    for (const std::wstring& model : models) {
        Json entry = JsonObject{{"path", kivToUtf8(model)}};
        if (!folder.empty()) {
            entry["relative"] = kivToUtf8(relativePath(model, folder));
        }
        paths.append(std::move(entry));
    }
    return paths;
}

// A document that was moved together with its models finds them beside it. False for a model without a name.
bool readModels(const Json& json, const std::wstring& folder, std::vector<std::wstring>* models) {
    for (const Json& entry : json.toArray()) {
        const std::string& path = entry["path"].toString();
        const std::string& relative = entry["relative"].toString();
        const std::wstring beside =
            folder.empty() || relative.empty() ? std::wstring() : existingPath(kivFromUtf8(relative), folder);
        const std::wstring chosen = beside.empty() ? kivFromUtf8(path) : beside;
        if (chosen.empty() || chosen.find(L'\0') != std::wstring::npos) {
            return false;
        }
        models->push_back(chosen);
    }
    return true;
}

} // namespace

StudioState StudioState::fresh() {
    StudioState state;
    state.options.setBackgroundColor(0xE8F2F7);
    state.options.setAmbientLight(0x404040);
    state.options.setResolution({1280, 960});
    state.options.setRenderIsoparams(true);
    state.options.setRenderDim(true);
    return state;
}

KivMemoryDataManager StudioState::freshLook() {
    KivMemoryDataManager plain;
    plain.setSaving();
    plain.setDefault();
    if (KivShader::getByTag(outlineTag) == nullptr) {
        return plain;
    }
    plain.setLoading();
    KivStreamHead head = kivReadStreamHead(plain);
    head.add(outlineTag);
    return kivWithStreamHead(plain.getCells(), head);
}

Json StudioState::toJson(const std::wstring& folder) const {
    Json json = unknown;
    json["selvarin"] = !shown.empty() || withoutBackground ? formatNumber : objects.empty() ? firstFormat : looksFormat;
    json["models"] = modelsJson(models, folder);
    json["upAxis"] = upAxis == 'z' ? "z" : upAxis == 'y' ? "y" : "";
    json["camera"] = cameraJson(camera);
    if (hasLights) {
        Json array = Json::Array();
        for (const StudioLight& light : lights) {
            array.append(lightJson(light));
        }
        json["lights"] = array;
    }
    json["options"] = optionsJson(options);
    json["look"] = lookJson(look);
    if (!(drawing == impliedDrawing(options))) {
        json["drawing"] = drawingJson(drawing);
    }
    if (!objects.empty()) {
        json["objectLooks"] = objectLooksJson(objects);
    }
    if (!shown.empty()) {
        json["objectStates"] = objectStatesJson(shown);
    }
    if (withoutBackground) {
        json["withoutBackground"] = true;
    }
    return json;
}

bool StudioState::fromJson(const Json& json, const std::wstring& folder, std::wstring* why) {
    const auto refuse = [why](DocumentText text) {
        *why = documentText(text);
        return false;
    };
    const int number = json["selvarin"].toInt();
    if (number < 1 || number > formatNumber) {
        return refuse(number < 1 ? DocumentText::noDocument : DocumentText::newerDocument);
    }
    StudioState read = fresh();
    if (!readModels(json["models"], folder, &read.models)) {
        return refuse(DocumentText::namelessModel);
    }
    const std::string& axis = json["upAxis"].toString();
    read.upAxis = axis == "z" ? 'z' : axis == "y" ? 'y' : 0;
    read.camera = readCamera(json["camera"]);
    read.hasLights = json["lights"].isArray();
    if (json["lights"].toArray().size() > mostLights) {
        *why = documentText(DocumentText::tooManyLights, std::to_wstring(mostLights));
        return false;
    }
    for (const Json& light : json["lights"].toArray()) {
        read.lights.push_back(readLight(light));
    }
    read.options = readOptions(json["options"], read.options);
    read.drawing = json.contains("drawing") ? readDrawingOptions(json["drawing"]) : impliedDrawing(read.options);
    if (!readLook(json["look"], &read.look)) {
        return refuse(DocumentText::damagedLook);
    }
    if (!readFirstObjectLooks(json["objects"], &read.objects) || !readObjectLooks(json["objectLooks"], &read.objects) ||
        !readObjectStates(json["objectStates"], &read.shown)) {
        return refuse(DocumentText::damagedObject);
    }
    read.withoutBackground = json["withoutBackground"].toBool();
    read.unknown = json;
    for (const char* const key : ourKeys) {
        read.unknown.remove(key);
    }
    *this = read;
    return true;
}

bool StudioState::operator==(const StudioState& other) const {
    return models == other.models && upAxis == other.upAxis && camera == other.camera && hasLights == other.hasLights &&
           lights == other.lights && equalOptions(options, other.options) && drawing == other.drawing &&
           look == other.look && objects == other.objects && shown == other.shown &&
           withoutBackground == other.withoutBackground && unknown == other.unknown;
}
