#include "apps/cli/infocommand.h"

#include "apps/cli/errorline.h"
#include "apps/cli/exitstatus.h"
#include "import/kivmodelimport.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivpolyline.h"

#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

std::string colourText(std::uint32_t colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF);
    return text;
}

void printMaterials(const KivModel& model) {
    std::printf("materials:  %zu\n", model.materials.size());
    for (const KivModelMaterial& listed : model.materials) {
        std::printf("  %s  %s", listed.name.empty() ? "(no name)" : kivToUtf8(listed.name).c_str(),
                    colourText(listed.material.getDiffuse()).c_str());
        if (listed.material.getTransparency() < 1.0) {
            std::printf("  %.0f %% opaque", listed.material.getTransparency() * 100.0);
        }
        if (!listed.texture.empty()) {
            std::printf("  texture %s", kivToUtf8(listed.texture).c_str());
        }
        std::printf("\n");
    }
}

const char* kindOf(const KivLight& light) {
    switch (light.getStyle()) {
    case KivLight::directionalLight:
        return "directional";
    case KivLight::spotLight:
        return "spot";
    default:
        return "point";
    }
}

std::string unitText(double metres) {
    struct Unit {
        double metres;
        const char* name;
    };
    static constexpr Unit units[] = {
        {1e-3, "millimetres"}, {1e-2, "centimetres"}, {1.0, "metres"}, {0.0254, "inches"}, {0.3048, "feet"}};
    for (const Unit& unit : units) {
        if (std::fabs(metres - unit.metres) < unit.metres * 1e-9) {
            return unit.name;
        }
    }
    char text[32];
    std::snprintf(text, sizeof text, "%g m", metres);
    return metres > 0.0 ? text : "unknown";
}

// The objects of the file as a tree: its nodes, and below them meshes with names of their own.
class ObjectTree {
public:
    struct Item {
        std::string name;
        unsigned long long triangles = 0; // of the item itself
        std::vector<std::size_t> children;
        std::vector<std::wstring> layers; // of the item itself
    };

    explicit ObjectTree(const KivModel& model) : items(model.nodes.size() + 1) {
        for (std::size_t i = 0; i < model.nodes.size(); ++i) {
            items[i + 1].name = kivToUtf8(model.nodes[i].name);
            items[i + 1].layers = model.nodes[i].layers;
            items[static_cast<std::size_t>(model.nodes[i].parent + 1)].children.push_back(i + 1);
        }
        for (unsigned int i = 0; i < model.scene->numMeshes(); ++i) {
            const auto node = static_cast<std::size_t>(model.meshNodes[i] + 1);
            const std::string name = kivToUtf8(model.meshNames[i]);
            std::size_t place = node;
            if (node == 0 || (!name.empty() && name != items[node].name)) {
                place = items.size();
                items[node].children.push_back(place);
                items.push_back({name, 0, {}, {}});
            }
            items[place].triangles += model.scene->getMesh(i)->getNumTriangles();
        }
    }

    // Parents first; enter and leave get each item below the top with its depth, from 0. Without recursion, as the
    // depth is the file's to choose.
    void walk(const std::function<void(const Item&, std::size_t depth, bool isFirst)>& enter,
              const std::function<void(const Item&, std::size_t depth)>& leave) const {
        struct Visit {
            std::size_t item;
            std::size_t next;
        };
        std::vector<Visit> open{{0, 0}};
        while (!open.empty()) {
            Visit& at = open.back();
            const Item& item = items[at.item];
            if (at.next < item.children.size()) {
                const std::size_t child = item.children[at.next++];
                enter(items[child], open.size() - 1, at.next == 1);
                open.push_back({child, 0});
            } else {
                open.pop_back();
                if (!open.empty()) {
                    leave(item, open.size() - 1);
                }
            }
        }
    }

private:
    std::vector<Item> items; // the first is what holds all
};

void printTree(const KivModel& model) {
    const ObjectTree tree(model);
    std::printf("objects:\n");
    tree.walk(
        [](const ObjectTree::Item& item, std::size_t depth, bool /*isFirst*/) {
            std::printf("%*s%s", static_cast<int>(2 * depth + 2), "",
                        item.name.empty() ? "(no name)" : item.name.c_str());
            if (item.triangles > 0) {
                std::printf("  %llu triangles", item.triangles);
            }
            for (const std::wstring& layer : item.layers) {
                std::printf("  layer:%s", kivToUtf8(layer).c_str());
            }
            std::printf("\n");
        },
        [](const ObjectTree::Item& /*item*/, std::size_t /*depth*/) {});
}

void printText(const KivModel& model) {
    const KivModelFileInfo& file = model.files.front();
    std::printf("file:       %s\n", kivToUtf8(file.path).c_str());
    std::printf("format:     %s\n", kivToUtf8(file.format).c_str());
    std::printf("meshes:     %u\n", model.scene->numMeshes());
    std::printf("triangles:  %llu", static_cast<unsigned long long>(file.triangles));
    if (file.degenerate > 0) {
        std::printf("  (%llu without an area left out)", static_cast<unsigned long long>(file.degenerate));
    }
    std::printf("\nvertices:   %llu\n", static_cast<unsigned long long>(file.vertices));
    std::printf("lines:      %u\n", model.scene->numLines() + model.scene->numPolyline());
    std::printf("points:     %u\n", model.scene->numPoints());
    KivBox bounds = model.bounds;
    std::printf("x:          %g to %g\n", bounds.getXMin(), bounds.getXMax());
    std::printf("y:          %g to %g\n", bounds.getYMin(), bounds.getYMax());
    std::printf("z:          %g to %g\n", bounds.getZMin(), bounds.getZMax());
    std::printf("units:      %s\n", unitText(file.metresPerUnit).c_str());
    std::printf("up:         %s\n", file.zUp ? "z" : "y");
    printMaterials(model);
    std::printf("cameras:    %zu\n", model.cameras.size());
    for (const KivModelCamera& camera : model.cameras) {
        std::printf("  %s\n", camera.name.empty() ? "(no name)" : kivToUtf8(camera.name).c_str());
    }
    std::printf("lights:     %zu\n", model.lights.size());
    for (const KivLight& light : model.lights) {
        std::printf("  %s %s\n", kindOf(light), colourText(light.getDiffuse()).c_str());
    }
    std::printf("animations: %zu\n", model.animations.size());
    for (std::size_t i = 0; i < model.animations.size(); ++i) {
        const std::string name = model.animations[i].empty() ? "(no name)" : kivToUtf8(model.animations[i]);
        std::printf("  %s  %g s\n", name.c_str(), model.animationSeconds[i]);
    }
    printTree(model);
}

// --- JSON (RFC 8259) ---

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
        }
        if (static_cast<unsigned char>(c) < ' ') {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned int>(c));
            result += code;
        } else {
            result += c;
        }
    }
    return result + '"';
}
std::string quoted(const std::wstring& text) {
    return quoted(kivToUtf8(text));
}

std::string joined(const std::vector<std::wstring>& texts) {
    std::string list;
    for (const std::wstring& text : texts) {
        list += (list.empty() ? "" : ", ") + quoted(text);
    }
    return list;
}

template <class List, class Write> void printList(const char* name, const List& list, Write write) {
    std::printf("  \"%s\": [", name);
    const char* separator = "";
    for (const auto& item : list) {
        std::printf("%s%s", separator, write(item).c_str());
        separator = ", ";
    }
    std::printf("],\n");
}

void printJsonTree(const KivModel& model) {
    const ObjectTree tree(model);
    std::printf("  \"objects\": [");
    tree.walk(
        [](const ObjectTree::Item& item, std::size_t /*depth*/, bool isFirst) {
            std::printf("%s{\"name\": %s, \"triangles\": %llu, ", isFirst ? "" : ", ", quoted(item.name).c_str(),
                        item.triangles);
            if (!item.layers.empty()) {
                std::printf("\"layers\": [%s], ", joined(item.layers).c_str());
            }
            std::printf("\"objects\": [");
        },
        [](const ObjectTree::Item& /*item*/, std::size_t /*depth*/) { std::printf("]}"); });
    std::printf("]\n");
}

void printJson(const KivModel& model) {
    const KivModelFileInfo& file = model.files.front();
    KivBox bounds = model.bounds;
    std::printf("{\n  \"file\": %s,\n  \"format\": %s,\n", quoted(file.path).c_str(), quoted(file.format).c_str());
    std::printf("  \"meshes\": %u,\n  \"triangles\": %llu,\n  \"vertices\": %llu,\n  \"lines\": %u,\n  "
                "\"points\": %u,\n",
                model.scene->numMeshes(), static_cast<unsigned long long>(file.triangles),
                static_cast<unsigned long long>(file.vertices), model.scene->numLines() + model.scene->numPolyline(),
                model.scene->numPoints());
    std::printf("  \"min\": [%.17g, %.17g, %.17g],\n  \"max\": [%.17g, %.17g, %.17g],\n", bounds.getXMin(),
                bounds.getYMin(), bounds.getZMin(), bounds.getXMax(), bounds.getYMax(), bounds.getZMax());
    if (file.metresPerUnit > 0.0) {
        std::printf("  \"metresPerUnit\": %.17g,\n", file.metresPerUnit);
    } else {
        std::printf("  \"metresPerUnit\": null,\n");
    }
    std::printf("  \"up\": \"%s\",\n", file.zUp ? "z" : "y");
    printList("materials", model.materials, [](const KivModelMaterial& material) {
        char opacity[32];
        std::snprintf(opacity, sizeof opacity, "%.17g", material.material.getTransparency());
        return "{\"name\": " + quoted(material.name) + ", \"colour\": \"" + colourText(material.material.getDiffuse()) +
               "\", \"opacity\": " + opacity + ", \"texture\": " + quoted(material.texture) + "}";
    });
    printList("cameras", model.cameras, [](const KivModelCamera& camera) { return quoted(camera.name); });
    printList("lights", model.lights, [](const KivLight& light) {
        return std::string("{\"kind\": \"") + kindOf(light) + "\", \"colour\": \"" + colourText(light.getDiffuse()) +
               "\"}";
    });
    printList("animations", model.animations, [](const std::wstring& name) { return quoted(name); });
    printList("warnings", model.warnings, [](const std::wstring& line) { return quoted(line); });
    printJsonTree(model);
    std::printf("}\n");
}

} // namespace

int runInfo(const Words& words) {
    if (words.arguments.size() != 1) {
        throw UsageError("info wants one MODEL");
    }
    KivModelOptions options;
    if (const char axis = parseUpAxis(words); axis != 0) {
        options.upAxis = axis == 'z' ? KivModelOptions::Axis::z : KivModelOptions::Axis::y;
    }
    KivModel model;
    std::wstring message;
    if (!kivImportModels({kivFromUtf8(words.arguments.front())}, options, model, message)) {
        throw std::runtime_error(kivToUtf8(message));
    }
    for (const std::wstring& warning : model.warnings) {
        printWarning(kivToUtf8(warning));
    }
    if (words.has("json")) {
        printJson(model);
    } else {
        printText(model);
    }
    return statusDone;
}
