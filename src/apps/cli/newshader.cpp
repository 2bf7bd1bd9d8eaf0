#include "apps/cli/newshader.h"

#include "apps/cli/exitstatus.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace {

constexpr std::size_t longestName = 40;

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Words of the language, sections of style files, and what the files and the targets beside it are called.
bool isTaken(const std::string& name) {
    constexpr std::array words{
        "alignas",  "alignof",  "and",      "asm",     "auto",     "bool",     "break",       "case",      "catch",
        "char",     "class",    "compl",    "concept", "const",    "continue", "decltype",    "default",   "delete",
        "do",       "double",   "else",     "enum",    "explicit", "export",   "extern",      "false",     "float",
        "for",      "friend",   "goto",     "if",      "inline",   "int",      "long",        "mutable",   "namespace",
        "new",      "noexcept", "not",      "nullptr", "operator", "or",       "private",     "protected", "public",
        "register", "requires", "return",   "short",   "signed",   "sizeof",   "static",      "struct",    "switch",
        "template", "this",     "throw",    "true",    "try",      "typedef",  "typeid",      "typename",  "union",
        "unsigned", "using",    "virtual",  "void",    "volatile", "while",    "xor",         "general",   "common",
        "test",     "selvarin", "backdrop", "cartoon", "outline",  "sketch",   "main",        "all",       "clean",
        "install",  "bitand",   "bitor",    "std",     "settings", "table",    "numsettings", "strength",  "tint"};
    const std::string plain = lower(name);
    return std::find(words.begin(), words.end(), plain) != words.end();
}

std::string filled(std::string_view text, const std::string& name) {
    std::string out(text);
    for (const auto& [mark, value] : {std::pair{std::string("@Name@"), name}, {std::string("@name@"), lower(name)}}) {
        for (std::size_t at = out.find(mark); at != std::string::npos; at = out.find(mark, at + value.size())) {
            out.replace(at, mark.size(), value);
        }
    }
    return out;
}

// The folder goes away with the object unless it is finished.
class NewFolder {
public:
    explicit NewFolder(const std::string& folder) : path(folder) {
        std::error_code problem;
        if (std::filesystem::symlink_status(path, problem).type() != std::filesystem::file_type::not_found) {
            throw std::runtime_error("\"" + folder + "\" is there already: name a folder that is not");
        }
        if (!std::filesystem::create_directory(path, problem)) {
            throw std::runtime_error("can't make the folder \"" + folder + "\": " + problem.message());
        }
    }
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;
    ~NewFolder() {
        std::error_code problem;
        if (!finished) {
            std::filesystem::remove_all(path, problem);
        }
    }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream file(path / name, std::ios::binary);
        file << text;
        if (!file.flush()) {
            throw std::runtime_error("can't write \"" + (path / name).string() + "\"");
        }
    }
    void finish() {
        finished = true;
    }

private:
    std::filesystem::path path;
    bool finished = false;
};

} // namespace

std::string newShaderNameFault(const std::string& name) {
    const bool plain =
        std::all_of(name.begin(), name.end(), [](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
    if (name.empty() || !plain || !isLetter(name.front())) {
        return "a name is a letter, and letters and digits behind it";
    }
    if (name.size() > longestName) {
        return "a name has at most " + std::to_string(longestName) + " letters";
    }
    return isTaken(name) ? "that word has another meaning already" : "";
}

void writeNewShader(const std::string& name, const std::string& folder) {
    NewFolder made(folder);
    for (const NewShaderFile& file : newShaderFiles()) {
        made.write(filled(file.name, name), filled(file.text, name));
    }
    made.finish();
}

int runNewShader(const Words& words) {
    if (words.arguments.size() != 2) {
        throw UsageError("new-shader wants a NAME and a DIR");
    }
    const std::string& name = words.arguments[0];
    const std::string& folder = words.arguments[1];
    const std::string fault = newShaderNameFault(name);
    if (!fault.empty()) {
        throw UsageError("a shader can't be called \"" + name + "\": " + fault);
    }
    if (folder.empty()) {
        throw UsageError("new-shader wants a DIR to make");
    }
    writeNewShader(name, folder);
    std::printf("%s: the shader %s. To build and test it:\n"
                "  cmake -S \"%s\" -B \"%s/build\" && cmake --build \"%s/build\" && ctest --test-dir \"%s/build\"\n",
                folder.c_str(), name.c_str(), folder.c_str(), folder.c_str(), folder.c_str(), folder.c_str());
    return statusDone;
}
