#include "apps/cli/commandline.h"

#include "apps/common/suggestion.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

// CLI11's own headers are not written for these warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
#include <CLI/CLI.hpp>
#pragma GCC diagnostic pop

namespace {

std::vector<std::string> namesOf(std::span<const OptionInfo> options) {
    std::vector<std::string> names;
    for (const OptionInfo& option : options) {
        names.push_back("--" + std::string(option.name));
    }
    return names;
}

std::string flagsOf(const OptionInfo& option) {
    std::string flags = "--" + std::string(option.name);
    if (option.letter != 0) {
        flags = std::string("-") + option.letter + "," + flags;
    }
    return flags;
}

void declare(CLI::App& app, std::span<const OptionInfo> options, Words& words) {
    app.set_help_flag();
    app.allow_extras();
    for (const OptionInfo& option : options) {
        const std::string name(option.name);
        if (option.argument.empty()) {
            app.add_flag_callback(flagsOf(option), [&words, name] { words.options[name] = {""}; });
            continue;
        }
        const auto store = [&words, name](const std::vector<std::string>& values) { words.options[name] = values; };
        // One value each time it is given, whatever the value looks like: coordinates may begin with a minus. CLI11
        // takes the words behind it for values too, models among them, unless there may be as many as it can count.
        app.add_option_function<std::vector<std::string>>(flagsOf(option), store)
            ->type_size(1)
            ->expected(1, CLI::detail::expected_max_vector_size)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
}

// What the parser could not place: unknown options are told with the nearest one.
void refuseUnknown(const CLI::App& app, std::span<const OptionInfo> options) {
    for (const std::string& word : app.remaining()) {
        if (word.size() > 1 && word[0] == '-') {
            const std::string name = word.substr(0, word.find('='));
            throw UsageError("unknown option " + name + didYouMean(name, namesOf(options)));
        }
    }
}

// CLI11 speaks of its own terms; the cases that users meet have words of ours.
std::string describe(const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        const std::string text = error.what();
        return "option " + text.substr(0, text.find_first_of(": ")) + " needs a value";
    }
    return error.what();
}

bool isYes(const std::string& value) {
    return value == "yes" || value == "true" || value == "on" || value == "1";
}
bool isNo(const std::string& value) {
    return value == "no" || value == "false" || value == "off" || value == "0";
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// Whatever is named may have no end, or not be readable though it opens.
std::string readSettingsFile(const std::string& path) {
    constexpr std::size_t largest = 1 << 20;
    const auto refuse = [&path](const std::string& why) {
        throw UsageError("can't read the settings file \"" + path + "\": " + why);
    };
    std::error_code problem;
    const std::filesystem::file_status kind = std::filesystem::status(path, problem);
    if (std::filesystem::is_directory(kind)) {
        refuse("it is a folder");
    }
    if (std::filesystem::is_character_file(kind) || std::filesystem::is_block_file(kind) ||
        std::filesystem::is_socket(kind)) {
        refuse("it is a device");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        refuse(std::strerror(errno));
    }
    std::string text(largest + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad()) {
        refuse("it breaks off");
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > largest) {
        refuse("it is too large, at most " + std::to_string(largest) + " bytes are read");
    }
    return text;
}

} // namespace

std::optional<std::string> Words::value(std::string_view option) const {
    const auto found = options.find(option);
    return found == options.end() || found->second.empty() ? std::nullopt : std::optional(found->second.back());
}

std::vector<std::string> Words::all(std::string_view option) const {
    const auto found = options.find(option);
    return found == options.end() ? std::vector<std::string>() : found->second;
}

Words parseWords(int argc, const char* const* argv) {
    Words words;
    CLI::App app;
    declare(app, programOptions(), words);
    std::vector<std::pair<const CommandInfo*, CLI::App*>> commands;
    for (const CommandInfo& command : commandTable()) {
        CLI::App* sub = app.add_subcommand(std::string(command.name));
        declare(*sub, command.options, words);
        commands.emplace_back(&command, sub);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        throw UsageError(describe(error));
    }
    for (const auto& [command, sub] : commands) {
        if (sub->parsed()) {
            words.command = command;
            refuseUnknown(*sub, command->options);
            for (const std::string& word : sub->remaining()) {
                words.arguments.push_back(word);
            }
        }
    }
    if (words.command == nullptr) {
        refuseUnknown(app, programOptions());
        if (!app.remaining().empty()) {
            std::vector<std::string> known;
            for (const CommandInfo& command : commandTable()) {
                known.emplace_back(command.name);
            }
            const std::string name = app.remaining().front();
            throw UsageError("unknown command " + name + didYouMean(name, known));
        }
    }
    if (const auto path = words.value("config"); path && !words.has("help")) {
        mergeSettingsFile(*path, words);
    }
    return words;
}

void mergeSettingsFile(const std::string& path, Words& words) {
    mergeSettings(readSettingsFile(path), path, words);
}

void mergeSettings(const std::string& text, const std::string& path, Words& words) {
    std::istringstream file(text);
    std::map<std::string, std::vector<std::string>> found;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        line = trimmed(line);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const std::size_t equals = line.find('=');
        const std::string name = trimmed(line.substr(0, equals));
        const std::string value = equals == std::string::npos ? "" : trimmed(line.substr(equals + 1));
        const std::string where = "settings file \"" + path + "\", line " + std::to_string(number) + ": ";
        const OptionInfo* option = findOption(words.command->options, name);
        if (option == nullptr || name == "config" || name == "help") {
            std::vector<std::string> known;
            for (const OptionInfo& info : words.command->options) {
                known.emplace_back(info.name);
            }
            std::string complaint = where;
            complaint.append("unknown option ").append(name).append(didYouMean(name, known));
            throw UsageError(complaint);
        }
        if (option->argument.empty()) {
            if (!value.empty() && !isYes(value) && !isNo(value)) {
                throw UsageError(where + name + " is yes or no");
            }
            if (!isNo(value)) {
                found[name] = {""};
            }
        } else if (value.empty()) {
            throw UsageError(where + name + " needs a value");
        } else if (option->repeats) {
            found[name].push_back(value);
        } else {
            found[name] = {value};
        }
    }
    for (auto& [name, values] : found) {
        const auto [at, isNew] = words.options.try_emplace(name, values);
        if (!isNew && findOption(words.command->options, name)->repeats) {
            at->second.insert(at->second.begin(), values.begin(), values.end());
        }
    }
}
