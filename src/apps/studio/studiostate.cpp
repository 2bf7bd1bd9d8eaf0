#include "apps/studio/studiostate.h"

#include "apps/studio/studiotexts.h"

#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/platform/kivwholefile.h"
#include "kivrender/settings/kivstreamhead.h"
#include "kivrender/shader/kivshader.h"
#include "qt/kivqttext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <numbers>
#include <unordered_map>

namespace {

using std::numbers::pi;
// The first form knows looks of objects only one by one, the second shows all objects and has a background. A document
// is written in the first form that can say it, so that older programs can read it.
constexpr int firstFormat = 1;
constexpr int looksFormat = 2;
constexpr int formatNumber = 3;
constexpr const wchar_t* outlineTag = L"Outline";
// Far more than any document has: what is beyond was not written by us.
constexpr qint64 largestFile = 64 << 20;
constexpr std::size_t mostCells = 200'000;
constexpr std::size_t mostLights = 1000;
constexpr int mostObjects = 1'000'000;
constexpr int largestSize = 1 << 20;

QJsonArray toArray(double x, double y, double z) {
    return {x, y, z};
}

// --- numbers that JSON has no form for

QJsonValue toValue(double number) {
    if (std::isnan(number)) {
        return QStringLiteral("nan");
    }
    if (std::isinf(number)) {
        return number > 0 ? QStringLiteral("inf") : QStringLiteral("-inf");
    }
    return number;
}

double toNumber(const QJsonValue& value, double otherwise = 0.0) {
    if (value.isString()) {
        const QString text = value.toString();
        return text == QLatin1String("nan")    ? std::numeric_limits<double>::quiet_NaN()
               : text == QLatin1String("inf")  ? std::numeric_limits<double>::infinity()
               : text == QLatin1String("-inf") ? -std::numeric_limits<double>::infinity()
                                               : otherwise;
    }
    return value.toDouble(otherwise);
}

double finite(const QJsonValue& value, double otherwise) {
    const double number = toNumber(value, otherwise);
    return std::isfinite(number) ? number : otherwise;
}

template <class Triple> Triple toTriple(const QJsonValue& value, const Triple& otherwise) {
    const QJsonArray array = value.toArray();
    return array.size() == 3
               ? Triple(finite(array[0], otherwise.x), finite(array[1], otherwise.y), finite(array[2], otherwise.z))
               : otherwise;
}

// --- colours

QString colourText(std::uint32_t colour) {
    return QStringLiteral("#%1").arg((colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF), 6, 16,
                                     QLatin1Char('0'));
}

std::uint32_t toColour(const QJsonValue& value, std::uint32_t otherwise) {
    const QString text = value.toString();
    bool good = false;
    const std::uint32_t rgb = text.size() == 7 && text[0] == QLatin1Char('#') ? text.mid(1).toUInt(&good, 16) : 0;
    return good ? (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16 : otherwise;
}

// --- streams: each cell is its kind and its value

struct CellKind {
    KivProperty::propertyType type;
    const char* name;
};
constexpr CellKind cellKinds[] = {{KivProperty::Int, "int"},
                                  {KivProperty::Float, "float"},
                                  {KivProperty::Double, "double"},
                                  {KivProperty::Bool, "bool"},
                                  {KivProperty::Char, "char"},
                                  {KivProperty::String, "text"},
                                  {KivProperty::UnsignedShort, "short"},
                                  {KivProperty::UnsignedLong, "long"}};

template <class T> T valueOf(const KivProperty& cell) {
    T value{};
    cell.getValue(value);
    return value;
}

QJsonValue cellValue(const KivProperty& cell) {
    switch (cell.getType()) {
    case KivProperty::Int:
        return valueOf<int>(cell);
    case KivProperty::Float:
        return toValue(static_cast<double>(valueOf<float>(cell)));
    case KivProperty::Double:
        return toValue(valueOf<double>(cell));
    case KivProperty::Bool:
        return valueOf<bool>(cell);
    case KivProperty::Char:
        return static_cast<int>(valueOf<char>(cell));
    case KivProperty::String:
        return kivToQt(valueOf<std::wstring>(cell));
    case KivProperty::UnsignedShort:
        return static_cast<int>(valueOf<unsigned short>(cell));
    case KivProperty::UnsignedLong:
        return static_cast<qint64>(valueOf<std::uint32_t>(cell));
    case KivProperty::Void:
        break;
    }
    return {};
}

QJsonArray streamArray(const KivMemoryDataManager& stream) {
    QJsonArray array;
    for (const KivProperty& cell : stream.getCells()) {
        for (const CellKind& kind : cellKinds) {
            if (kind.type == cell.getType()) {
                array.append(QJsonArray{QLatin1String(kind.name), cellValue(cell)});
            }
        }
    }
    return array;
}

template <class T> T within(const QJsonValue& value) {
    const double number = std::trunc(finite(value, 0.0));
    return static_cast<T>(std::clamp(number, static_cast<double>(std::numeric_limits<T>::min()),
                                     static_cast<double>(std::numeric_limits<T>::max())));
}

bool appendCell(KivMemoryDataManager& stream, const QString& kind, const QJsonValue& value) {
    if (kind == QLatin1String("int")) {
        return stream.saveInt(within<int>(value));
    }
    if (kind == QLatin1String("float")) {
        return stream.saveFloat(static_cast<float>(toNumber(value)));
    }
    if (kind == QLatin1String("double")) {
        return stream.saveDouble(toNumber(value));
    }
    if (kind == QLatin1String("bool")) {
        return stream.saveBool(value.toBool());
    }
    if (kind == QLatin1String("char")) {
        return stream.saveChar(within<char>(value));
    }
    if (kind == QLatin1String("text")) {
        return stream.saveString(kivFromQt(value.toString()).c_str());
    }
    if (kind == QLatin1String("short")) {
        return stream.saveUnsignedShort(within<unsigned short>(value));
    }
    return kind == QLatin1String("long") && stream.saveUnsignedLong(within<std::uint32_t>(value));
}

bool readStream(const QJsonValue& value, StudioLook* look) {
    if (!value.isArray() || static_cast<std::size_t>(value.toArray().size()) > mostCells) {
        return false;
    }
    KivMemoryDataManager read;
    read.setSaving();
    for (const auto& cell : value.toArray()) {
        const QJsonArray pair = cell.toArray();
        if (pair.size() != 2 || !appendCell(read, pair[0].toString(), pair[1])) {
            return false;
        }
    }
    *look = read;
    return true;
}

// --- looks of objects

QByteArray bytesOf(const QJsonArray& array) {
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

// Each look with the meshes that have it: what looks the same is written once, wherever it stands in memory.
QJsonArray objectsArray(const StudioObjectLooks& objects) {
    struct Group {
        QJsonArray meshes;
        QJsonArray cells;
    };
    std::vector<Group> groups;
    std::unordered_map<const void*, std::size_t> byPlace;
    QHash<QByteArray, std::size_t> byCells;
    for (const auto& [mesh, look] : objects) {
        const auto [place, isNew] = byPlace.try_emplace(look.place(), groups.size());
        if (isNew) {
            const QJsonArray cells = streamArray(look.stream());
            const QByteArray bytes = bytesOf(cells);
            if (const auto same = byCells.constFind(bytes); same != byCells.constEnd()) {
                place->second = *same;
            } else {
                byCells.insert(bytes, groups.size());
                groups.push_back({{}, cells});
            }
        }
        groups[place->second].meshes.append(mesh);
    }
    QJsonArray array;
    for (const Group& group : groups) {
        array.append(QJsonObject{{"objects", group.meshes}, {"look", group.cells}});
    }
    return array;
}

bool isMesh(int number) {
    return number >= 0 && number < mostObjects;
}

bool readObjects(const QJsonArray& array, StudioObjectLooks* objects) {
    for (const auto& entry : array) {
        StudioLook look;
        const QJsonObject group = entry.toObject();
        if (!readStream(group["look"], &look) || !group["objects"].isArray()) {
            return false;
        }
        for (const auto& mesh : group["objects"].toArray()) {
            const int number = mesh.toInt(-1);
            if (!isMesh(number)) {
                return false;
            }
            objects->edit()[number] = look;
        }
    }
    return true;
}

// Each state with the meshes that are in it.
QJsonArray statesArray(const StudioObjectStates& states) {
    std::map<StudioObjectState, QJsonArray> groups;
    for (const auto& [mesh, state] : states.map()) {
        groups[state].append(mesh);
    }
    QJsonArray array;
    for (const auto& [state, meshes] : groups) {
        QJsonObject entry{{"objects", meshes}};
        if (state.hidden) {
            entry["hidden"] = true;
        }
        if (state.ghost) {
            entry["ghost"] = true;
        }
        if (state.colour) {
            entry["colour"] = colourText(*state.colour);
        }
        array.append(entry);
    }
    return array;
}

bool readStates(const QJsonArray& array, StudioObjectStates* states) {
    for (const auto& listed : array) {
        const QJsonObject entry = listed.toObject();
        StudioObjectState state;
        state.hidden = entry["hidden"].toBool();
        state.ghost = entry["ghost"].toBool();
        if (entry.contains("colour")) {
            state.colour = toColour(entry["colour"], 0xFFFFFF);
        }
        for (const auto& mesh : entry["objects"].toArray()) {
            if (!isMesh(mesh.toInt(-1))) {
                return false;
            }
            states->set(mesh.toInt(), state);
        }
    }
    return true;
}

// As the first form had them: the cells of each object under its number.
bool readFirstObjects(const QJsonObject& streams, StudioObjectLooks* objects) {
    QHash<QByteArray, StudioLook> known;
    for (auto i = streams.begin(); i != streams.end(); ++i) {
        bool good = false;
        const int mesh = i.key().toInt(&good);
        if (!good || !isMesh(mesh) || !i.value().isArray()) {
            return false;
        }
        const QByteArray bytes = bytesOf(i.value().toArray());
        auto look = known.find(bytes);
        if (look == known.end()) {
            look = known.insert(bytes, StudioLook());
            if (!readStream(i.value(), &*look)) {
                return false;
            }
        }
        objects->edit()[mesh] = *look;
    }
    return true;
}

// --- the options, one by one

QJsonObject optionsObject(const KivCommonSettings& o) {
    return {{"antialias", o.getAntialias()},
            {"customSize", o.getCustomSize()},
            {"size", QJsonArray{o.getResolution().cx, o.getResolution().cy}},
            {"ambient", colourText(o.getAmbientLight())},
            {"background", colourText(o.getBackgroundColor())},
            {"backgroundImage", kivToQt(o.getBackgroundImage())},
            {"paper", kivToQt(o.getPaperImage())},
            {"vector", o.doVectorial()},
            {"transparency", o.doTransparencies()},
            {"shadows", o.doShadows()},
            {"vectorSpeed", o.getVectorialSpeed()},
            {"lines", o.doRenderIsoparams() != 0},
            {"points", o.doRenderDim()},
            {"saveShadows", o.doSaveShadows()},
            {"saveDepth", o.doSaveDepth()},
            {"saveImage", o.doSaveRender()},
            {"imageFile", kivToQt(o.getSaveRenderFile())},
            {"vectorFile", kivToQt(o.getSaveVectorFile())},
            {"simplify", o.doVectorSimplify()},
            {"offset", o.getPolygonOffset()}};
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

// A path that the settings can hold whole.
std::wstring pathIn(const QJsonValue& value) {
    std::wstring path = kivFromQt(value.toString());
    return path.size() < kivMaxPath ? path : std::wstring();
}

KivCommonSettings readOptions(const QJsonObject& json) {
    KivCommonSettings o = StudioState::fresh().options;
    const auto flag = [&](const char* key, bool otherwise) { return json[QLatin1String(key)].toBool(otherwise); };
    o.setAntialias(std::clamp(json["antialias"].toInt(o.getAntialias()), 0, 2));
    o.setCustomSize(flag("customSize", o.getCustomSize()));
    if (const QJsonArray size = json["size"].toArray(); size.size() == 2) {
        o.setResolution({std::clamp(size[0].toInt(), 1, largestSize), std::clamp(size[1].toInt(), 1, largestSize)});
    }
    o.setAmbientLight(toColour(json["ambient"], o.getAmbientLight()));
    o.setBackgroundColor(toColour(json["background"], o.getBackgroundColor()));
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
    o.setPolygonOffset(std::clamp(finite(json["offset"], o.getPolygonOffset()), 0.0, 1e6));
    return o;
}

// --- camera and lights

QJsonObject cameraObject(const StudioCamera& c) {
    return {{"target", toArray(c.target.x, c.target.y, c.target.z)},
            {"distance", c.distance},
            {"yaw", c.yaw},
            {"pitch", c.pitch},
            {"up", c.up.z > c.up.y ? "z" : "y"},
            {"fov", c.fov},
            {"parallel", c.parallel}};
}

StudioCamera readCamera(const QJsonObject& json) {
    StudioCamera c;
    c.target = toTriple(json["target"], c.target);
    c.distance = finite(json["distance"], c.distance);
    c.yaw = finite(json["yaw"], c.yaw);
    c.pitch = finite(json["pitch"], c.pitch);
    c.up = json["up"].toString() == QLatin1String("z") ? Kiv3DVector(0.0, 0.0, 1.0) : Kiv3DVector(0.0, 1.0, 0.0);
    c.fov = finite(json["fov"], c.fov);
    c.parallel = json["parallel"].toBool();
    c.sanitize();
    return c;
}

constexpr const char* lightKinds[] = {"directional", "point", "spot"};

QJsonObject lightObject(const StudioLight& light) {
    return {{"kind", lightKinds[static_cast<int>(light.kind)]},
            {"location", toArray(light.location.x, light.location.y, light.location.z)},
            {"direction", toArray(light.direction.x, light.direction.y, light.direction.z)},
            {"colour", colourText(light.colour)},
            {"angle", light.angle}};
}

StudioLight readLight(const QJsonObject& json) {
    StudioLight light;
    for (int i = 0; i < 3; ++i) {
        if (json["kind"].toString() == QLatin1String(lightKinds[i])) {
            light.kind = static_cast<StudioLight::Kind>(i);
        }
    }
    light.location = toTriple(json["location"], light.location);
    light.direction = toTriple(json["direction"], light.direction);
    light.colour = toColour(json["colour"], light.colour);
    light.angle = std::clamp(finite(json["angle"], light.angle), 0.0, 90.0);
    return light;
}

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

} // namespace

KivLight StudioLight::toLight(const std::vector<Kiv3DPoint>& points) const {
    KivLight light;
    if (kind == Kind::directional) {
        light = directionalLight(direction, points);
    } else {
        light.setStyle(kind == Kind::spot ? KivLight::spotLight : KivLight::pointLight);
        light.setLocation(location);
        light.setDirection(direction);
        light.setAttenuation(Kiv3DVector(1.0, 0.0, 0.0));
        light.setSpotAngle(angle * pi / 180.0); // in radians, as the incidence of light is worked out in them
    }
    light.setDiffuse(colour);
    light.setSpecular(colour);
    return light;
}

bool StudioLight::operator==(const StudioLight& other) const {
    const auto numbers = [](const StudioLight& l) {
        return std::array{l.location.x,  l.location.y,  l.location.z, l.direction.x,
                          l.direction.y, l.direction.z, l.angle,      static_cast<double>(l.colour)};
    };
    return kind == other.kind && numbers(*this) == numbers(other);
}

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

QJsonObject StudioState::toJson(const QString& folder) const {
    QJsonObject json = unknown;
    json["selvarin"] = !shown.empty() || withoutBackground ? formatNumber : objects.empty() ? firstFormat : looksFormat;
    QJsonArray paths;
    for (const std::wstring& model : models) {
        QJsonObject entry{{"path", kivToQt(model)}};
        if (!folder.isEmpty()) {
            entry["relative"] = QDir(folder).relativeFilePath(kivToQt(model));
        }
        paths.append(entry);
    }
    json["models"] = paths;
    json["upAxis"] = upAxis == 'z' ? "z" : upAxis == 'y' ? "y" : "";
    json["camera"] = cameraObject(camera);
    if (hasLights) {
        QJsonArray array;
        for (const StudioLight& light : lights) {
            array.append(lightObject(light));
        }
        json["lights"] = array;
    }
    json["options"] = optionsObject(options);
    json["look"] = streamArray(look.stream());
    if (!(drawing == impliedDrawing(options))) {
        json["drawing"] = drawingObject(drawing);
    }
    if (!objects.empty()) {
        json["objectLooks"] = objectsArray(objects);
    }
    if (!shown.empty()) {
        json["objectStates"] = statesArray(shown);
    }
    if (withoutBackground) {
        json["withoutBackground"] = true;
    }
    return json;
}

bool StudioState::fromJson(const QJsonObject& json, const QString& folder, QString* why) {
    const int number = json["selvarin"].toInt();
    if (number < 1) {
        *why = studioText(StudioText::noDocument);
        return false;
    }
    if (number > formatNumber) {
        *why = studioText(StudioText::newerDocument);
        return false;
    }
    StudioState read = fresh();
    for (const auto& listed : json["models"].toArray()) {
        const QJsonObject entry = listed.toObject();
        const QString path = entry["path"].toString();
        const QString relative = entry["relative"].toString();
        // A document that was moved together with its models finds them beside it.
        const QString beside = QDir(folder).absoluteFilePath(relative);
        const bool moved = !folder.isEmpty() && !relative.isEmpty() && QFileInfo::exists(beside);
        const QString chosen = moved ? QDir::cleanPath(beside) : path;
        if (chosen.isEmpty() || chosen.contains(QChar(0))) {
            *why = studioText(StudioText::namelessModel);
            return false;
        }
        read.models.push_back(kivFromQt(chosen));
    }
    const QString axis = json["upAxis"].toString();
    read.upAxis = axis == QLatin1String("z") ? 'z' : axis == QLatin1String("y") ? 'y' : 0;
    read.camera = readCamera(json["camera"].toObject());
    read.hasLights = json["lights"].isArray();
    const QJsonArray lightArray = json["lights"].toArray();
    if (static_cast<std::size_t>(lightArray.size()) > mostLights) {
        *why = studioText(StudioText::tooManyLights).arg(mostLights);
        return false;
    }
    for (const auto& light : lightArray) {
        read.lights.push_back(readLight(light.toObject()));
    }
    read.options = readOptions(json["options"].toObject());
    read.drawing =
        json.contains("drawing") ? readDrawingOptions(json["drawing"].toObject()) : impliedDrawing(read.options);
    if (!readStream(json["look"], &read.look)) {
        *why = studioText(StudioText::damagedLook);
        return false;
    }
    if (!readFirstObjects(json["objects"].toObject(), &read.objects) ||
        !readObjects(json["objectLooks"].toArray(), &read.objects) ||
        !readStates(json["objectStates"].toArray(), &read.shown)) {
        *why = studioText(StudioText::damagedObject);
        return false;
    }
    read.withoutBackground = json["withoutBackground"].toBool();
    read.unknown = json;
    for (const char* const key : ourKeys) {
        read.unknown.remove(QLatin1String(key));
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

namespace {

// Whether loading takes what stands in the state; else the reason.
bool canBeLoaded(const StudioState& state, QString* why) {
    const auto fits = [](const StudioLook& look) { return look.getCells().size() <= mostCells; };
    if (state.lights.size() > mostLights) {
        *why = studioText(StudioText::tooManyLights).arg(mostLights);
        return false;
    }
    if (!fits(state.look) || std::any_of(state.objects.begin(), state.objects.end(), [&](const auto& object) {
            return !isMesh(object.first) || !fits(object.second);
        })) {
        *why = studioText(StudioText::tooLarge);
        return false;
    }
    return true;
}

} // namespace

bool saveStudioDocument(const QString& file, const StudioState& state, QString* why) {
    return saveStudioDocument(file, state, state.toJson(QFileInfo(file).absolutePath()), why);
}

bool saveStudioDocument(const QString& file, const StudioState& state, const QJsonObject& json, QString* why) {
    QString reason;
    QByteArray bytes;
    bool good = canBeLoaded(state, &reason);
    if (good) {
        bytes = QJsonDocument(json).toJson(QJsonDocument::Compact);
        good = bytes.size() <= largestFile;
        reason = studioText(StudioText::tooLarge);
    }
    if (!good) {
        *why = QStringLiteral("%1: %2").arg(file, reason);
        return false;
    }
    return replaceFile(file, bytes, why);
}

bool loadStudioDocument(const QString& file, StudioState* state, QString* why) {
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) {
        *why = QStringLiteral("%1: %2").arg(file, in.errorString());
        return false;
    }
    // A device or a pipe may have no end.
    const QByteArray bytes = in.read(largestFile + 1);
    if (bytes.size() > largestFile) {
        *why = QStringLiteral("%1: %2").arg(file, studioText(StudioText::tooLarge));
        return false;
    }
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &problem);
    if (!document.isObject()) {
        const QString what =
            problem.error != QJsonParseError::NoError ? problem.errorString() : studioText(StudioText::noDocument);
        *why = QStringLiteral("%1: %2").arg(file, what);
        return false;
    }
    QString reason;
    if (!state->fromJson(document.object(), QFileInfo(file).absolutePath(), &reason)) {
        *why = QStringLiteral("%1: %2").arg(file, reason);
        return false;
    }
    return true;
}

bool replaceFile(const QString& file, const QByteArray& bytes, QString* why) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.constData());
    if (!kivWriteWholeFile(kivFromQt(file), {first, static_cast<std::size_t>(bytes.size())}, true)) {
        *why = QStringLiteral("%1: %2").arg(file, kivToQt(kivSystemErrorText(kivGetLastError())));
        return false;
    }
    return true;
}
