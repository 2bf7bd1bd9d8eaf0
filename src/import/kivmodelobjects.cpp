#include "import/kivmodelobjects.h"

#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshpaint.h"

#include <algorithm>
#include <cwctype>
#include <memory>
#include <set>
#include <string_view>

namespace {

std::wstring lowerCase(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c))); });
    return text;
}

// Goes back to the latest star alone, so that the time is at most the product of the lengths.
bool matches(const std::wstring& text, const std::wstring& pattern) {
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t star = std::wstring::npos;
    std::size_t starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == L'*') {
            star = p++;
            starText = t;
        } else if (p < pattern.size() && (pattern[p] == L'?' || pattern[p] == text[t])) {
            ++p;
            ++t;
        } else if (star != std::wstring::npos) {
            p = star + 1;
            t = ++starText;
        } else {
            return false;
        }
    }
    return std::all_of(pattern.begin() + static_cast<std::ptrdiff_t>(p), pattern.end(),
                       [](wchar_t c) { return c == L'*'; });
}

// Remembers which patterns meant something.
class Chooser {
public:
    Chooser(KivModel& chosenModel, const KivObjectChoice& objectChoice) : model(chosenModel), choice(objectChoice) {}

    std::vector<std::wstring> choose() {
        for (std::size_t i = model.scene->numMeshes(); i-- > 0;) {
            const Subject subject{kivObjectPath(model, i), kivObjectLayers(model, i)};
            const bool isWanted = choice.only.empty() || isAny(subject, choice.only);
            const bool isHidden = isAny(subject, choice.hide);
            if (isWanted && !isHidden) {
                paint(*model.scene->getMesh(static_cast<unsigned int>(i)), subject);
            } else {
                remove(i);
            }
        }
        if (!choice.only.empty()) {
            model.scene->removeLines();
            model.scene->removePoints();
        }
        return unused();
    }

private:
    // A mesh as patterns see it.
    struct Subject {
        std::wstring path;
        std::vector<std::wstring> layers;
    };

    bool isOne(const Subject& subject, const std::wstring& pattern) {
        const bool found = kivIsObject(subject.path, pattern) || kivIsOnLayer(subject.layers, pattern);
        if (found) {
            used.insert(pattern);
        }
        return found;
    }

    // Looks at all of them, as each is to be known to be of use.
    bool isAny(const Subject& subject, const std::vector<std::wstring>& patterns) {
        bool found = false;
        for (const std::wstring& pattern : patterns) {
            found = isOne(subject, pattern) || found;
        }
        return found;
    }

    void paint(KivMesh& mesh, const Subject& subject) {
        KivMaterial material;
        material = *mesh.getMaterial();
        bool isChanged = false;
        for (const auto& [pattern, colour] : choice.colours) {
            if (isOne(subject, pattern)) {
                material.setDiffuse(colour);
                material.setAmbient(colour);
                kivSetMeshPaint(mesh, nullptr);
                isChanged = true;
            }
        }
        if (isAny(subject, choice.ghost)) {
            material.setTransparency(kivGhostOpacity);
            isChanged = true;
        }
        if (isChanged) {
            mesh.setMaterial(material);
        }
    }

    void remove(std::size_t mesh) {
        const std::unique_ptr<KivMesh> removed(model.scene->getMesh(static_cast<unsigned int>(mesh)));
        model.scene->removeMesh(static_cast<unsigned int>(mesh));
        model.meshNames.erase(model.meshNames.begin() + static_cast<std::ptrdiff_t>(mesh));
        model.meshNodes.erase(model.meshNodes.begin() + static_cast<std::ptrdiff_t>(mesh));
    }

    std::vector<std::wstring> unused() const {
        std::vector<std::wstring> list;
        const auto add = [this, &list](const std::wstring& pattern) {
            if (!used.contains(pattern)) {
                list.push_back(pattern);
            }
        };
        std::for_each(choice.only.begin(), choice.only.end(), add);
        std::for_each(choice.hide.begin(), choice.hide.end(), add);
        std::for_each(choice.ghost.begin(), choice.ghost.end(), add);
        for (const auto& [pattern, colour] : choice.colours) {
            add(pattern);
        }
        return list;
    }

    KivModel& model;
    const KivObjectChoice& choice;
    std::set<std::wstring> used;
};

} // namespace

std::wstring kivObjectPath(const KivModel& model, std::size_t mesh) {
    std::wstring path;
    const int node = model.meshNodes[mesh];
    for (int at = node; at >= 0; at = model.nodes[static_cast<std::size_t>(at)].parent) {
        const std::wstring& name = model.nodes[static_cast<std::size_t>(at)].name;
        path = at == node ? name : name + L"/" + path;
    }
    const std::wstring& own = model.meshNames[mesh];
    if (node < 0) {
        return own;
    }
    return own.empty() || own == model.nodes[static_cast<std::size_t>(node)].name ? path : path + L"/" + own;
}

bool kivIsObject(const std::wstring& path, const std::wstring& pattern) {
    const std::wstring wanted = lowerCase(pattern);
    const std::wstring text = lowerCase(path);
    const bool isPath = wanted.find(L'/') != std::wstring::npos;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        const std::size_t end = std::min(text.find(L'/', begin), text.size());
        if (matches(isPath ? text.substr(0, end) : text.substr(begin, end - begin), wanted)) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

std::vector<std::wstring> kivObjectLayers(const KivModel& model, std::size_t mesh) {
    std::vector<std::wstring> layers;
    for (int at = model.meshNodes[mesh]; at >= 0; at = model.nodes[static_cast<std::size_t>(at)].parent) {
        const KivModelNode& node = model.nodes[static_cast<std::size_t>(at)];
        layers.insert(layers.end(), node.layers.begin(), node.layers.end());
    }
    return layers;
}

bool kivIsOnLayer(const std::vector<std::wstring>& layers, const std::wstring& pattern) {
    static constexpr std::wstring_view word = L"layer:";
    const std::wstring wanted = lowerCase(pattern);
    return wanted.starts_with(word) && std::any_of(layers.begin(), layers.end(), [&wanted](const std::wstring& layer) {
               return matches(lowerCase(layer), wanted.substr(word.size()));
           });
}

std::vector<std::wstring> kivChooseObjects(KivModel& model, const KivObjectChoice& choice) {
    return Chooser(model, choice).choose();
}
