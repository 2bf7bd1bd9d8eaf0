#include "apps/cli/manual.h"

#include "apps/common/translation/translation.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace {

std::string flags(const OptionInfo& option) {
    std::string text = option.letter != 0 ? std::string("-") + option.letter + ", " : std::string("    ");
    text += "--" + std::string(option.name);
    if (!option.argument.empty()) {
        text.append(" ").append(option.argument);
    }
    return text;
}

std::string fullText(const OptionInfo& option) {
    std::string text = translated(option.text);
    if (!option.initial.empty()) {
        text += " [" + translated(option.initial) + "]";
    }
    return text;
}

// Appends words from the column indent on, broken before width. The cursor stands at column at.
void wrap(std::string& out, const std::string& text, std::size_t at, std::size_t indent, std::size_t width) {
    std::istringstream words(text);
    std::string word;
    bool fresh = true;
    while (words >> word) {
        if (at < indent) {
            out.append(indent - at, ' ');
            at = indent;
        }
        if (!fresh && at + 1 + word.size() > width) {
            out += '\n';
            out.append(indent, ' ');
            at = indent;
        } else if (!fresh) {
            out += ' ';
            ++at;
        }
        out += word;
        at += word.size();
        fresh = false;
    }
    out += '\n';
}

std::vector<std::string_view> groupsOf(std::span<const OptionInfo> options) {
    std::vector<std::string_view> groups;
    for (const OptionInfo& option : options) {
        if (std::find(groups.begin(), groups.end(), option.group) == groups.end()) {
            groups.push_back(option.group);
        }
    }
    return groups;
}

void appendOptions(std::string& out, std::span<const OptionInfo> options, std::size_t width) {
    constexpr std::size_t column = 30;
    for (const std::string_view group : groupsOf(options)) {
        out.append("\n").append(translated(group)).append("\n");
        for (const OptionInfo& option : options) {
            if (option.group != group) {
                continue;
            }
            std::string line(2, ' ');
            line += flags(option);
            std::size_t at = line.size();
            if (at + 2 > column) {
                line += '\n';
                at = 0;
            }
            out += line;
            wrap(out, fullText(option), at, column, width);
        }
    }
}

void appendExamples(std::string& out) {
    out += "\n" + translated("Examples") + "\n";
    for (const ExampleInfo& example : exampleTable()) {
        out += "  " + std::string(example.command) + "\n      " + translated(example.text) + "\n";
    }
}

std::size_t usable(int width) {
    return static_cast<std::size_t>(std::clamp(width, 60, 120));
}

// A minus that a shell must see as one, and no line that troff takes for a request.
std::string troff(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == '-') {
            out += "\\-";
        } else if (c == '\\') {
            out += "\\e";
        } else if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n')) {
            out += std::string("\\&") + c;
        } else {
            out += c;
        }
    }
    return out;
}

std::string upperCase(std::string_view word) {
    std::string text(word);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    return text;
}

void appendTroffOptions(std::string& out, std::span<const OptionInfo> options) {
    for (const std::string_view group : groupsOf(options)) {
        out += ".SS " + troff(translated(group)) + "\n";
        for (const OptionInfo& option : options) {
            if (option.group != group) {
                continue;
            }
            out += ".TP\n.B ";
            if (option.letter != 0) {
                out += troff(std::string("-") + option.letter) + ", ";
            }
            out += troff("--" + std::string(option.name));
            if (!option.argument.empty()) {
                out += " \\fI" + troff(option.argument) + "\\fR";
            }
            out.append("\n").append(troff(translated(option.text)));
            if (!option.initial.empty()) {
                out += " " + troff(translated("Default: %1.", translated(option.initial)));
            }
            out += "\n";
        }
    }
}

} // namespace

std::string helpText(int width) {
    std::string out = translated("Cartoon pictures of 3-D models.") + "\n\n" + translated("Usage") + "\n";
    for (const CommandInfo& command : commandTable()) {
        std::string line = "  selvarin " + std::string(command.name);
        if (!command.arguments.empty()) {
            line.append(" ").append(command.arguments);
        }
        out += line + "\n";
        wrap(out, translated(command.text), 0, 6, usable(width));
    }
    out += "  selvarin COMMAND --help\n      " + translated("All options of a command.") + "\n";
    appendOptions(out, programOptions(), usable(width));
    appendExamples(out);
    return out;
}

std::string helpText(const CommandInfo& command, int width) {
    std::string out = "selvarin " + std::string(command.name);
    if (!command.arguments.empty()) {
        out.append(" ").append(command.arguments);
    }
    out += "\n";
    wrap(out, translated(command.text), 0, 0, usable(width));
    appendOptions(out, command.options, usable(width));
    if (command.name == "render") {
        appendExamples(out);
    }
    return out;
}

std::string manualPage() {
    const auto section = [](std::string_view heading) { return ".SH " + troff(translated(heading)) + "\n"; };
    const auto paragraph = [](std::string_view text) { return troff(translated(text)) + "\n"; };
    std::string out = ".TH SELVARIN 1 \"\" \"Selvarin " SELVARIN_VERSION "\" \"" + translated("User Commands") + "\"\n";
    out += section("NAME") + "selvarin \\- " + paragraph("cartoon pictures of 3-D models") + section("SYNOPSIS");
    for (const CommandInfo& command : commandTable()) {
        out += ".B selvarin " + troff(command.name) + "\n";
        if (!command.arguments.empty()) {
            out += troff(command.arguments) + "\n";
        }
        out += ".br\n";
    }
    out += section("DESCRIPTION") + paragraph("Selvarin draws a 3-D model the way a person would: as a cartoon with "
                                              "flat tones and ink lines.");
    for (const CommandInfo& command : commandTable()) {
        out += ".TP\n.B " + troff(command.name) + "\n" + paragraph(command.text);
    }
    out += section("OPTIONS OF THE PROGRAM");
    appendTroffOptions(out, programOptions());
    for (const CommandInfo& command : commandTable()) {
        out += ".SH " + troff(translated("OPTIONS OF %1", upperCase(command.name))) + "\n";
        appendTroffOptions(out, command.options);
    }
    out += section("SETTINGS FILE") +
           paragraph("The file that --config names has one option a line, its name without the dashes, an equals sign "
                     "and the value; a switch may stand alone. Lines that begin with # are comments. The command line "
                     "wins over the file.") +
           section("EXIT STATUS") +
           paragraph("0 done, 1 failed, 2 wrong use, 130 cancelled. An error is one line on standard error.") +
           section("ENVIRONMENT") + ".TP\n.B SELVARIN_GL\n" + paragraph("What draws: software, gpu or auto.") +
           section("EXAMPLES");
    for (const ExampleInfo& example : exampleTable()) {
        out += ".TP\n.B " + troff(example.command) + "\n" + paragraph(example.text);
    }
    return out;
}
