// Every command and option of the program, declared once: the parser, the help, the manual page, the shell completion
// and the settings file are all made from these tables.
#ifndef APPS_CLI_OPTIONTABLE_H
#define APPS_CLI_OPTIONTABLE_H

#include <span>
#include <string_view>

enum class Completes { nothing, file, folder, shader, style, choices };

struct OptionInfo {
    std::string_view name;     // without the dashes
    char letter;               // 0 for none
    std::string_view argument; // what the help calls it; empty for a switch
    std::string_view initial;  // the default as text; empty if there is none to show
    std::string_view group;
    bool repeats; // may be given more than once, each adding to the others
    Completes completes;
    std::string_view choices; // blank-separated, for Completes::choices
    std::string_view text;    // one or more sentences
};

struct CommandInfo {
    std::string_view name;
    std::string_view arguments; // as in the synopsis
    std::string_view text;
    std::span<const OptionInfo> options;
    bool takesModels; // any number of file names; info wants exactly one
};

struct ExampleInfo {
    std::string_view command;
    std::string_view text;
};

std::span<const CommandInfo> commandTable();
std::span<const OptionInfo> programOptions(); // those without a command
std::span<const ExampleInfo> exampleTable();

// Null if there is none.
const CommandInfo* findCommand(std::string_view name);
const OptionInfo* findOption(std::span<const OptionInfo> options, std::string_view name);

#endif
