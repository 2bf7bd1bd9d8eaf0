#include "apps/common/shaderstream.h"

#include "apps/common/namedstyle.h"
#include "apps/common/suggestion.h"
#include "apps/common/usageerror.h"
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/settings/kivstreamhead.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderguard.h"

#include <algorithm>
#include <optional>

namespace {

std::string list(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text.empty() ? "none" : text;
}

KivShader* findShader(const std::string& name) {
    const std::wstring wide = kivFromUtf8(name);
    KivShader* shader = KivShader::getByTag(wide.c_str());
    return shader != nullptr ? shader : KivShader::getByName(wide.c_str());
}

// Null only for a default that is not there.
KivShader* chosenShader(const std::string& name, bool combinable, bool chosen, const LookWords& words) {
    KivShader* shader = findShader(name);
    const std::vector<std::string> known = shaderTags(!combinable, combinable);
    if (shader == nullptr) {
        if (!chosen) {
            return nullptr;
        }
        const std::string near = didYouMean(name, known);
        throw UsageError("unknown shader " + name + (near.empty() ? "; there are: " + list(known) : near));
    }
    if (isCombinable(*shader) != combinable) {
        throw UsageError(combinable ? name + " paints the surfaces itself: " + words.giveBase
                                    : name + " adds to a picture: " + words.giveAdded);
    }
    return shader;
}

// The settings of a shader's pages; the pages are made without windows.
std::vector<KivTablePageSettings*> tableSettings(KivShader& shader) {
    std::vector<KivTablePageSettings*> found;
    kivTryShader(shader, [&] {
        shader.createPages(nullptr, nullptr);
        for (unsigned int i = 0; KivPageDlg* page = shader.getPage(nullptr, i); ++i) {
            if (auto* settings = dynamic_cast<KivTablePageSettings*>(page->getSettings())) {
                found.push_back(settings);
            }
        }
    });
    return found;
}

void applySetting(const SettingOption& option, const LookWords& words) {
    KivShader* shader = findShader(option.shader);
    const std::string whole = words.beforeSetting + option.shader + "." + option.key;
    if (shader == nullptr) {
        const std::vector<std::string> known = shaderTags(true, true);
        const std::string near = didYouMean(option.shader, known);
        throw UsageError(whole + ": unknown shader " + option.shader +
                         (near.empty() ? "; there are: " + list(known) : near));
    }
    std::vector<std::string> keys;
    for (KivTablePageSettings* settings : tableSettings(*shader)) {
        std::string why;
        if (settings->find(option.key) >= 0) {
            if (!settings->setText(option.key, option.value, &why)) {
                std::string complaint = whole;
                complaint.append(": \"").append(option.value).append("\" is no value for it: ").append(why);
                throw UsageError(complaint);
            }
            return;
        }
        for (int i = 0; i < settings->getNumSettings(); ++i) {
            keys.emplace_back(settings->getInfo(i).key);
        }
    }
    const std::string near = didYouMean(option.key, keys);
    throw UsageError(whole + ": " + option.shader + " has no setting " + option.key +
                     (near.empty() ? "; there are: " + list(keys) : near));
}

// What a vector page fills with the background's colour, to hide lines behind it, has to look like the sheet that the
// backdrop shader lays over that colour everywhere else.
std::optional<std::uint32_t> backdropColour(const KivStyleHead& shaders) {
    for (const std::wstring& tag : shaders.combinables) {
        KivShader* const shader = KivShader::getByTag(tag.c_str());
        if (shader == nullptr || !coversBackground(*shader)) {
            continue;
        }
        for (KivTablePageSettings* settings : tableSettings(*shader)) {
            if (const int index = settings->find("Colour"); index >= 0) {
                return settings->getColour(index);
            }
        }
    }
    return std::nullopt;
}

// Whether the shader shows highlights; takes them away unless they are wanted.
bool showHighlights(const std::wstring& tag, bool wanted) {
    constexpr const char* key = "Highlight";
    KivShader* const shader = KivShader::getByTag(tag.c_str());
    bool shows = false;
    for (KivTablePageSettings* settings :
         shader != nullptr ? tableSettings(*shader) : std::vector<KivTablePageSettings*>()) {
        const int index = settings->find(key);
        if (index >= 0 && !wanted) {
            settings->setText(key, "no");
        }
        shows = shows || (index >= 0 && settings->getBool(index));
    }
    return shows;
}

// Whether hatching runs round the form; makes it straight where that is wanted.
bool hatchesRoundForm(const KivStyleHead& shaders, bool isStraightWanted) {
    constexpr const char* key = "HatchDirection"; // 0 is straight
    bool any = false;
    for (const std::wstring& tag : shaders.combinables) {
        KivShader* const shader = KivShader::getByTag(tag.c_str());
        for (KivTablePageSettings* settings :
             shader != nullptr ? tableSettings(*shader) : std::vector<KivTablePageSettings*>()) {
            const int index = settings->find(key);
            if (index >= 0 && settings->getInt(index) != 0) {
                any = true;
                if (isStraightWanted) {
                    settings->setValue(index, 0);
                }
            }
        }
    }
    return any;
}

// Every render starts from the defaults, whatever an earlier one of this run has set.
void resetSettings() {
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        if (KivShader* shader = KivShader::getByIndex(i)) {
            for (KivTablePageSettings* settings : tableSettings(*shader)) {
                settings->setDefaults();
            }
        }
    }
}

} // namespace

bool isCombinable(const KivShader& shader) {
    bool combinable = false;
    kivTryShader(shader, [&] { combinable = shader.isCombinable(); });
    return combinable;
}

bool coversBackground(const KivShader& shader) {
    return kivShaderTag(shader) == L"Backdrop";
}

std::vector<std::string> shaderTags(bool base, bool combinable) {
    std::vector<std::string> tags;
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        const KivShader* shader = KivShader::getByIndex(i);
        if (shader != nullptr && (isCombinable(*shader) ? combinable : base)) {
            tags.push_back(kivToUtf8(kivShaderTag(*shader)));
        }
    }
    return tags;
}

std::vector<SettingText> settingsOfLook(const ChosenLook& look) {
    std::vector<std::wstring> tags{look.shaders.nonCombinable};
    tags.insert(tags.end(), look.shaders.combinables.begin(), look.shaders.combinables.end());
    std::vector<SettingText> texts;
    for (const std::wstring& tag : tags) {
        KivShader* const shader = tag.empty() ? nullptr : KivShader::getByTag(tag.c_str());
        if (shader == nullptr) {
            continue;
        }
        for (const KivTablePageSettings* settings : tableSettings(*shader)) {
            for (int i = 0; i < settings->getNumSettings(); ++i) {
                const KivSettingInfo& info = settings->getInfo(i);
                texts.push_back({kivToUtf8(tag), info.key, kivFormatSetting(info, settings->getValue(i))});
            }
        }
    }
    return texts;
}

ChosenLook applyLook(const LookOptions& options) {
    const KivProfilesReadOnce once;
    ChosenLook look;
    resetSettings();
    std::optional<ChosenStyle> style;
    if (!options.style.empty()) {
        style = findStyle(options.style, options.words);
        look.style = style->name;
        look.warnings = loadStyleSettings(*style);
    }
    if (style && !options.baseChosen) {
        look.shaders.nonCombinable = styleShader(*style, style->head.nonCombinable, false);
    } else if (!options.base.empty()) {
        if (const KivShader* shader = chosenShader(options.base, false, options.baseChosen, options.words)) {
            look.shaders.nonCombinable = kivShaderTag(*shader);
        }
    }
    if (style && !options.addChosen) {
        for (const std::wstring& name : style->head.combinables) {
            look.shaders.combinables.push_back(styleShader(*style, name, true));
        }
    } else {
        for (const std::string& name : options.add) {
            if (const KivShader* shader = chosenShader(name, true, options.addChosen, options.words)) {
                look.shaders.combinables.push_back(kivShaderTag(*shader));
            }
        }
    }
    std::erase_if(look.shaders.combinables, [&options](const std::wstring& tag) {
        const KivShader* const shader = KivShader::getByTag(tag.c_str());
        const bool isBackdrop = shader != nullptr && coversBackground(*shader);
        return isBackdrop ? options.withoutBackdrop : options.withoutLines;
    });
    const bool isStraightened = options.forFilm && hatchesRoundForm(look.shaders, true);
    for (const SettingOption& setting : options.settings) {
        applySetting(setting, options.words);
    }
    if (isStraightened && !hatchesRoundForm(look.shaders, false)) {
        look.warnings.emplace_back("hatching round the form would change from frame to frame, and is straight in a "
                                   "film; --set Sketch.HatchDirection=form keeps it");
    }
    look.background = backdropColour(look.shaders);
    look.hasLines = std::any_of(look.shaders.combinables.begin(), look.shaders.combinables.end(), [](const auto& tag) {
        const KivShader* const shader = KivShader::getByTag(tag.c_str());
        return shader != nullptr && !coversBackground(*shader);
    });
    look.hasHighlights = showHighlights(look.shaders.nonCombinable, !options.withoutHighlights);
    return look;
}

ChosenLook buildShaderStream(const LookOptions& options, KivMemoryDataManager& stream) {
    ChosenLook look = applyLook(options);
    stream.clearData();
    stream.setSaving();
    kivWriteStreamHead(stream, {look.style, look.shaders.nonCombinable, look.shaders.combinables});
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        if (KivShader* shader = KivShader::getByIndex(i)) {
            shader->addRef();
            shader->saveData(&stream, nullptr);
            shader->release();
        }
    }
    kivWriteStreamEnd(stream);
    return look;
}
