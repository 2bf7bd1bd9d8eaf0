#include "apps/cli/completion.h"

#include "apps/cli/optiontable.h"

namespace {

// --- bash ---

void appendBashOption(std::string& out, const OptionInfo& option) {
    std::string names = "--" + std::string(option.name);
    if (option.letter != 0) {
        names = std::string("-") + option.letter + "|" + names;
    }
    switch (option.completes) {
    case Completes::file:
        out += "        " + names + ") COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n";
        break;
    case Completes::folder:
        out += "        " + names + ") COMPREPLY=($(compgen -d -- \"$word\")); return ;;\n";
        break;
    case Completes::shader:
        out += "        " + names +
               ") COMPREPLY=($(compgen -W \"none $(\"$1\" shaders -q 2>/dev/null)\" -- \"$word\")); return ;;\n";
        break;
    case Completes::style:
        // Names may have blanks, so that only line ends part them.
        out += "        " + names +
               ") local IFS=$'\\n'; COMPREPLY=($(compgen -f -X '!*.kiv' -- \"$word\"; compgen -W \"$(\"$1\" styles -q "
               "2>/dev/null)\" -- \"$word\")); return ;;\n";
        break;
    case Completes::choices:
        out += "        " + names + ") COMPREPLY=($(compgen -W \"" + std::string(option.choices) +
               "\" -- \"$word\")); return ;;\n";
        break;
    case Completes::nothing:
        if (!option.argument.empty()) {
            out += "        " + names + ") return ;;\n";
        }
        break;
    }
}

std::string optionWords(std::span<const OptionInfo> options) {
    std::string words;
    for (const OptionInfo& option : options) {
        words += (words.empty() ? "--" : " --") + std::string(option.name);
    }
    return words;
}

std::string bashCompletion() {
    std::string out = "# bash completion for selvarin; written by \"selvarin --completion bash\"\n"
                      "_selvarin() {\n"
                      "    local word=$2 previous=$3\n"
                      "    local command=${COMP_WORDS[1]}\n"
                      "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
                      "        COMPREPLY=($(compgen -W \"";
    for (const CommandInfo& command : commandTable()) {
        out += std::string(command.name) + " ";
    }
    out += optionWords(programOptions()) +
           "\" -- \"$word\"))\n        return\n    fi\n    case \"$command:$previous\" in\n";
    out += "    --completion:*) COMPREPLY=($(compgen -W \"bash zsh fish\" -- \"$word\")); return ;;\n    esac\n";
    for (const CommandInfo& command : commandTable()) {
        out += "    if [ \"$command\" = " + std::string(command.name) + " ]; then\n        case \"$previous\" in\n";
        for (const OptionInfo& option : command.options) {
            appendBashOption(out, option);
        }
        out += "        esac\n        if [[ $word == -* ]]; then\n            COMPREPLY=($(compgen -W \"" +
               optionWords(command.options) + "\" -- \"$word\"))\n";
        out += command.takesModels ? "        else\n            COMPREPLY=($(compgen -f -- \"$word\"))\n        fi\n"
                                   : "        fi\n";
        out += "    fi\n";
    }
    return out + "}\ncomplete -o filenames -F _selvarin selvarin\n";
}

// --- what zsh and fish show beside a word ---

std::string firstSentence(std::string_view text) {
    const std::size_t end = text.find(". ");
    std::string sentence(text.substr(0, end));
    return sentence.ends_with('.') ? sentence.substr(0, sentence.size() - 1) : sentence;
}

std::string escaped(const std::string& text, std::string_view special) {
    std::string out;
    for (const char c : text) {
        if (special.find(c) != std::string_view::npos) {
            out += '\\';
        }
        out += c;
    }
    return out;
}

// --- zsh ---

// Within single quotes there is no escape of these.
std::string zshQuoted(const std::string& text) {
    std::string out = "'";
    for (const char c : text) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

std::string zshAction(const OptionInfo& option) {
    switch (option.completes) {
    case Completes::file:
        return "_files";
    case Completes::folder:
        return "_files -/";
    case Completes::shader:
        return "_selvarin_shaders";
    case Completes::style:
        return "_selvarin_styles";
    case Completes::choices:
        return "(" + std::string(option.choices) + ")";
    case Completes::nothing:
        break;
    }
    return " ";
}

void appendZshOption(std::string& out, const OptionInfo& option) {
    const std::string name = "--" + std::string(option.name);
    const std::string letter = option.letter != 0 ? std::string("-") + option.letter : std::string();
    std::string rest = "[" + escaped(firstSentence(option.text), "[]\\") + "]";
    if (!option.argument.empty()) {
        rest += ":" + escaped(std::string(option.argument), ":\\") + ":" + zshAction(option);
    }
    // One that was given is not offered again, nor is its other form.
    const std::string others = letter.empty() ? name : letter + " " + name;
    for (const std::string& form : {letter, name}) {
        if (!form.empty()) {
            out += "            " + zshQuoted((option.repeats ? "*" : "(" + others + ")") + form + rest) + " \\\n";
        }
    }
}

std::string zshCompletion() {
    std::string out = "#compdef selvarin\n# zsh completion for selvarin; written by \"selvarin --completion zsh\"\n"
                      "_selvarin_shaders() {\n"
                      "    local -a names=(none ${(f)\"$($selvarin_program shaders -q 2>/dev/null)\"})\n"
                      "    compadd -a names\n}\n"
                      "_selvarin_styles() {\n"
                      "    local -a names=(${(f)\"$($selvarin_program styles -q 2>/dev/null)\"})\n"
                      "    compadd -a names\n    _files -g '*.kiv'\n}\n"
                      "_selvarin() {\n    local selvarin_program=$words[1]\n    if (( CURRENT == 2 )); then\n"
                      "        local -a commands=(\n";
    for (const CommandInfo& command : commandTable()) {
        out += "            " +
               zshQuoted(std::string(command.name) + ":" + escaped(firstSentence(command.text), ":\\")) + "\n";
    }
    out += "        )\n        _describe command commands\n        _arguments \\\n";
    for (const OptionInfo& option : programOptions()) {
        appendZshOption(out, option);
    }
    out += "            && return\n        return\n    fi\n    local command=$words[2]\n    shift words\n"
           "    (( CURRENT-- ))\n    case $command in\n";
    for (const CommandInfo& command : commandTable()) {
        out += "    " + std::string(command.name) + ")\n        _arguments -s \\\n";
        for (const OptionInfo& option : command.options) {
            appendZshOption(out, option);
        }
        out += command.takesModels ? "            '*:model:_files'\n        ;;\n" : "            ':: :'\n        ;;\n";
    }
    return out + "    esac\n}\n_selvarin \"$@\"\n";
}

// --- fish ---

std::string fishQuoted(const std::string& text) {
    return "'" + escaped(text, "'\\") + "'";
}

void appendFishOption(std::string& out, const std::string& when, const OptionInfo& option) {
    out += "complete -c selvarin -n " + fishQuoted(when) + " -l " + std::string(option.name);
    if (option.letter != 0) {
        out += std::string(" -s ") + option.letter;
    }
    switch (option.completes) {
    case Completes::file:
        out += " -r -F";
        break;
    case Completes::folder:
        out += " -x -a '(__fish_complete_directories)'";
        break;
    case Completes::shader:
        out += " -x -a 'none (selvarin shaders -q 2>/dev/null)'";
        break;
    case Completes::style:
        out += " -r -F -a '(selvarin styles -q 2>/dev/null)'";
        break;
    case Completes::choices:
        out += " -x -a " + fishQuoted(std::string(option.choices));
        break;
    case Completes::nothing:
        out += option.argument.empty() ? " -f" : " -x";
        break;
    }
    out += " -d " + fishQuoted(firstSentence(option.text)) + "\n";
}

std::string fishCompletion() {
    std::string out = "# fish completion for selvarin; written by \"selvarin --completion fish\"\n";
    for (const CommandInfo& command : commandTable()) {
        out += "complete -c selvarin -n __fish_use_subcommand -f -a " + std::string(command.name) + " -d " +
               fishQuoted(firstSentence(command.text)) + "\n";
    }
    for (const OptionInfo& option : programOptions()) {
        appendFishOption(out, "__fish_use_subcommand", option);
    }
    for (const CommandInfo& command : commandTable()) {
        const std::string when = "__fish_seen_subcommand_from " + std::string(command.name);
        if (!command.takesModels) {
            out += "complete -c selvarin -n " + fishQuoted(when) + " -f\n";
        }
        for (const OptionInfo& option : command.options) {
            appendFishOption(out, when, option);
        }
    }
    return out;
}

} // namespace

std::string completionFor(std::string_view shell) {
    return shell == "bash"   ? bashCompletion()
           : shell == "zsh"  ? zshCompletion()
           : shell == "fish" ? fishCompletion()
                             : "";
}
