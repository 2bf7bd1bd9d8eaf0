// The beginning of a shader plug-in of one's own: what "selvarin new-shader" writes.
#ifndef APPS_CLI_NEWSHADER_H
#define APPS_CLI_NEWSHADER_H

#include "apps/cli/commandline.h"

#include <string>
#include <string_view>
#include <vector>

// A file of the new folder; "@Name@" and "@name@" in it stand for the shader's name as given and in lower case.
struct NewShaderFile {
    std::string_view name; // with the same marks
    std::string_view text;
};
const std::vector<NewShaderFile>& newShaderFiles();

// Why a shader can't have that name, in a few words; empty if it can. A name is the plug-in's tag, its class and its
// file: a letter, then letters and digits, and no word that one of these has taken.
std::string newShaderNameFault(const std::string& name);

// Makes the folder, which must not be there, with all files. Throws std::runtime_error, with nothing left behind, if
// that can't be done.
void writeNewShader(const std::string& name, const std::string& folder);

// The command with its words NAME and DIR.
int runNewShader(const Words& words);

#endif
