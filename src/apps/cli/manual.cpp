#include "apps/cli/manual.h"

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
    std::string text(option.text);
    if (!option.initial.empty()) {
        text += " [" + std::string(option.initial) + "]";
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
        out.append("\n").append(group).append("\n");
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
    out += "\nExamples\n";
    for (const ExampleInfo& example : exampleTable()) {
        out += "  " + std::string(example.command) + "\n      " + std::string(example.text) + "\n";
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

void appendTroffOptions(std::string& out, std::span<const OptionInfo> options) {
    for (const std::string_view group : groupsOf(options)) {
        out += ".SS " + troff(group) + "\n";
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
            out.append("\n").append(troff(option.text));
            if (!option.initial.empty()) {
                out += " Default: " + troff(option.initial) + ".";
            }
            out += "\n";
        }
    }
}

} // namespace

std::string helpText(int width) {
    std::string out = "Cartoon pictures of 3-D models.\n\nUsage\n";
    for (const CommandInfo& command : commandTable()) {
        std::string line = "  selvarin " + std::string(command.name);
        if (!command.arguments.empty()) {
            line.append(" ").append(command.arguments);
        }
        out += line + "\n";
        wrap(out, std::string(command.text), 0, 6, usable(width));
    }
    out += "  selvarin COMMAND --help\n      All options of a command.\n";
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
    wrap(out, std::string(command.text), 0, 0, usable(width));
    appendOptions(out, command.options, usable(width));
    if (command.name == "render") {
        appendExamples(out);
    }
    return out;
}

std::string manualPage() {
    std::string out = ".TH SELVARIN 1 \"\" \"Selvarin " SELVARIN_VERSION "\" \"User Commands\"\n"
                      ".SH NAME\nselvarin \\- cartoon pictures of 3\\-D models\n.SH SYNOPSIS\n";
    for (const CommandInfo& command : commandTable()) {
        out += ".B selvarin " + troff(command.name) + "\n";
        if (!command.arguments.empty()) {
            out += troff(command.arguments) + "\n";
        }
        out += ".br\n";
    }
    out += ".SH DESCRIPTION\n"
           "Selvarin draws a 3\\-D model the way a person would: as a cartoon with flat tones and ink lines.\n";
    for (const CommandInfo& command : commandTable()) {
        out += ".TP\n.B " + troff(command.name) + "\n" + troff(command.text) + "\n";
    }
    out += ".SH OPTIONS OF THE PROGRAM\n";
    appendTroffOptions(out, programOptions());
    for (const CommandInfo& command : commandTable()) {
        std::string heading(command.name);
        std::transform(heading.begin(), heading.end(), heading.begin(),
                       [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
        out += ".SH OPTIONS OF " + heading + "\n";
        appendTroffOptions(out, command.options);
    }
    out +=
        ".SH SETTINGS FILE\n"
        "The file that \\-\\-config names has one option a line, its name without the dashes, an equals sign and the\n"
        "value; a switch may stand alone. Lines that begin with # are comments. The command line wins over the file.\n"
        ".SH EXIT STATUS\n"
        "0 done, 1 failed, 2 wrong use, 130 cancelled. An error is one line on standard error.\n"
        ".SH ENVIRONMENT\n"
        ".TP\n.B SELVARIN_GL\nWhat draws: software, gpu or auto.\n"
        ".SH EXAMPLES\n";
    for (const ExampleInfo& example : exampleTable()) {
        out += ".TP\n.B " + troff(example.command) + "\n" + troff(example.text) + "\n";
    }
    return out;
}
