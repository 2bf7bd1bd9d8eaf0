#include "apps/document/lookjson.h"

#include "apps/document/documentvalues.h"
#include "kivrender/platform/kivtext.h"

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

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

Json cellJson(const KivProperty& cell) {
    switch (cell.getType()) {
    case KivProperty::Int:
        return valueOf<int>(cell);
    case KivProperty::Float:
        return numberJson(static_cast<double>(valueOf<float>(cell)));
    case KivProperty::Double:
        return numberJson(valueOf<double>(cell));
    case KivProperty::Bool:
        return valueOf<bool>(cell);
    case KivProperty::Char:
        return static_cast<int>(valueOf<char>(cell));
    case KivProperty::String:
        return kivToUtf8(valueOf<std::wstring>(cell));
    case KivProperty::UnsignedShort:
        return static_cast<int>(valueOf<unsigned short>(cell));
    case KivProperty::UnsignedLong:
        return static_cast<double>(valueOf<std::uint32_t>(cell));
    case KivProperty::Void:
        break;
    }
    return {};
}

bool appendCell(KivMemoryDataManager& stream, std::string_view kind, const Json& value) {
    if (kind == "int") {
        return stream.saveInt(integerIn<int>(value));
    }
    if (kind == "float") {
        return stream.saveFloat(static_cast<float>(numberIn(value)));
    }
    if (kind == "double") {
        return stream.saveDouble(numberIn(value));
    }
    if (kind == "bool") {
        return stream.saveBool(value.toBool());
    }
    if (kind == "char") {
        return stream.saveChar(integerIn<char>(value));
    }
    if (kind == "text") {
        return stream.saveString(kivFromUtf8(value.toString()).c_str());
    }
    if (kind == "short") {
        return stream.saveUnsignedShort(integerIn<unsigned short>(value));
    }
    return kind == "long" && stream.saveUnsignedLong(integerIn<std::uint32_t>(value));
}

} // namespace

bool isObjectNumber(int number) {
    return number >= 0 && number < mostObjects;
}

Json lookJson(const StudioLook& look) {
    Json array = Json::Array();
    for (const KivProperty& cell : look.getCells()) {
        for (const CellKind& kind : cellKinds) {
            if (kind.type == cell.getType()) {
                array.append(JsonArray{kind.name, cellJson(cell)});
            }
        }
    }
    return array;
}

bool readLook(const Json& json, StudioLook* look) {
    if (!json.isArray() || json.toArray().size() > mostLookCells) {
        return false;
    }
    KivMemoryDataManager read;
    read.setSaving();
    for (const Json& cell : json.toArray()) {
        if (cell.toArray().size() != 2 || !appendCell(read, cell.at(0).toString(), cell.at(1))) {
            return false;
        }
    }
    *look = read;
    return true;
}

// What looks the same is written once, wherever it stands in memory.
Json objectLooksJson(const StudioObjectLooks& objects) {
    struct Group {
        Json meshes = Json::Array();
        Json cells;
    };
    std::vector<Group> groups;
    std::unordered_map<const void*, std::size_t> byPlace;
    std::unordered_map<std::string, std::size_t> byText;
    for (const auto& [mesh, look] : objects) {
        const auto [place, isNewPlace] = byPlace.try_emplace(look.place(), groups.size());
        if (isNewPlace) {
            Json cells = lookJson(look);
            const auto [text, isNewText] = byText.try_emplace(cells.compact(), groups.size());
            place->second = text->second;
            if (isNewText) {
                groups.push_back({Json::Array(), std::move(cells)});
            }
        }
        groups[place->second].meshes.append(mesh);
    }
    Json array = Json::Array();
    for (Group& group : groups) {
        array.append(JsonObject{{"objects", std::move(group.meshes)}, {"look", std::move(group.cells)}});
    }
    return array;
}

bool readObjectLooks(const Json& json, StudioObjectLooks* objects) {
    for (const Json& group : json.toArray()) {
        StudioLook look;
        if (!readLook(group["look"], &look) || !group["objects"].isArray()) {
            return false;
        }
        for (const Json& mesh : group["objects"].toArray()) {
            const int number = mesh.toInt(-1);
            if (!isObjectNumber(number)) {
                return false;
            }
            objects->edit()[number] = look;
        }
    }
    return true;
}

bool readFirstObjectLooks(const Json& json, StudioObjectLooks* objects) {
    std::unordered_map<std::string, StudioLook> known;
    for (const auto& [key, cells] : json.toObject()) {
        const std::optional<Json> number = Json::parse(key);
        const int mesh = number ? number->toInt(-1) : -1;
        if (!isObjectNumber(mesh) || !cells.isArray()) {
            return false;
        }
        const auto [look, isNew] = known.try_emplace(cells.compact());
        if (isNew && !readLook(cells, &look->second)) {
            return false;
        }
        objects->edit()[mesh] = look->second;
    }
    return true;
}

Json objectStatesJson(const StudioObjectStates& states) {
    std::map<StudioObjectState, Json> groups;
    for (const auto& [mesh, state] : states.map()) {
        groups[state].append(mesh);
    }
    Json array = Json::Array();
    for (auto& [state, meshes] : groups) {
        Json entry = JsonObject{{"objects", std::move(meshes)}};
        if (state.hidden) {
            entry["hidden"] = true;
        }
        if (state.ghost) {
            entry["ghost"] = true;
        }
        if (state.colour) {
            entry["colour"] = colourJson(*state.colour);
        }
        array.append(std::move(entry));
    }
    return array;
}

bool readObjectStates(const Json& json, StudioObjectStates* states) {
    constexpr std::uint32_t white = 0xFFFFFF;
    for (const Json& entry : json.toArray()) {
        StudioObjectState state;
        state.hidden = entry["hidden"].toBool();
        state.ghost = entry["ghost"].toBool();
        if (entry.contains("colour")) {
            state.colour = colourIn(entry["colour"], white);
        }
        for (const Json& mesh : entry["objects"].toArray()) {
            if (!isObjectNumber(mesh.toInt(-1))) {
                return false;
            }
            states->set(mesh.toInt(), state);
        }
    }
    return true;
}
