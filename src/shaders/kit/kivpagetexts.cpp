#include "shaders/kit/kivpagetexts.h"

#include <algorithm>
#include <utility>

namespace {

std::vector<std::string> split(std::string_view line, char at) {
    std::vector<std::string> parts;
    for (;;) {
        const std::size_t end = line.find(at);
        parts.emplace_back(line.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        line.remove_prefix(end + 1);
    }
}

void readLine(KivPageTexts& texts, std::string_view line) {
    if (line.starts_with('[') && line.ends_with(']')) {
        texts.groups.push_back({std::string(line.substr(1, line.size() - 2)), {}});
        return;
    }
    std::vector<std::string> parts = split(line, '\t');
    if (parts.size() < 2 || parts[0].empty() || parts[1].empty()) {
        return;
    }
    parts.resize(std::max<std::size_t>(parts.size(), 5));
    if (parts[0] == "title") {
        texts.title = std::move(parts[1]);
        return;
    }
    if (parts[0] == "defaults") {
        texts.defaults = std::move(parts[1]);
        texts.defaultsToolTip = std::move(parts[3]);
        return;
    }
    if (texts.groups.empty()) {
        texts.groups.emplace_back();
    }
    KivPageEntry entry{std::move(parts[0]), std::move(parts[1]), std::move(parts[2]), std::move(parts[3]), {}, false};
    if (!parts[4].empty()) {
        entry.choices = split(parts[4], '|');
    }
    texts.groups.back().entries.push_back(std::move(entry));
}

void fitChoices(KivPageEntry& entry, const KivSettingInfo& info) {
    const auto count = static_cast<std::size_t>(kivNumChoices(info));
    if (info.type != KivSettingType::Choice) {
        const bool isNumber = info.type == KivSettingType::Int || info.type == KivSettingType::Double;
        entry.spinBox = isNumber && entry.choices == std::vector<std::string>{"spin"};
        entry.choices.clear();
    } else if (entry.choices.size() != count) {
        entry.choices = count > 0 ? split(info.choices, '|') : std::vector<std::string>();
    }
}

} // namespace

KivPageTexts kivReadPageTexts(std::string_view file) {
    KivPageTexts texts;
    while (!file.empty()) {
        const std::size_t end = std::min(file.find('\n'), file.size());
        std::string_view line = file.substr(0, end);
        file.remove_prefix(std::min(end + 1, file.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        if (!line.starts_with('#')) {
            readLine(texts, line);
        }
    }
    return texts;
}

KivPageTexts kivFitPageTexts(KivPageTexts texts, const KivSettingInfo* table, int count) {
    std::vector<bool> found(static_cast<std::size_t>(std::max(count, 0)));
    for (KivPageGroup& group : texts.groups) {
        std::erase_if(group.entries, [&](KivPageEntry& entry) {
            const int index = kivFindSetting(table, count, entry.key);
            if (index < 0 || found[static_cast<std::size_t>(index)]) {
                return true;
            }
            found[static_cast<std::size_t>(index)] = true;
            fitChoices(entry, table[index]);
            return false;
        });
    }
    std::erase_if(texts.groups, [](const KivPageGroup& group) { return group.entries.empty(); });
    KivPageGroup rest;
    for (int i = 0; i < count; ++i) {
        if (!found[static_cast<std::size_t>(i)]) {
            rest.entries.push_back({table[i].key, table[i].key, {}, {}, {}, false});
            fitChoices(rest.entries.back(), table[i]);
        }
    }
    if (!rest.entries.empty()) {
        texts.groups.push_back(std::move(rest));
    }
    if (texts.defaults.empty()) {
        texts.defaults = "Defaults";
    }
    return texts;
}
