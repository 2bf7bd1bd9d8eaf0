// The page template of a plug-in with one page: what it exports as KivModuleResource (host/kivresources.h).
#ifndef SHADERS_KIT_KIVPAGERESOURCE_H
#define SHADERS_KIT_KIVPAGERESOURCE_H

#include "shaders/kit/kivshaderpage.h"

#include <string>
#include <string_view>

// The texts of the plug-in's page in a language, by its code; empty if there are none in it. The build makes it of the
// files page.<code>.txt beside the plug-in's sources.
std::string_view kivPageTextsIn(std::string_view language);

// The language of whose texts there is a file: this one, else it without its country, else English.
std::string kivPageLanguage(std::string language);

// The title of the page in the language in force: the name under which users know a shader without a text in the
// language modules. Empty without texts.
std::wstring kivPageTitle();

// The page's form in the language in force, made when it is first asked for and kept until the plug-in goes; null for
// any other resource. The arguments are those of KivModuleResource.
const char* kivPageResource(unsigned int kind, unsigned int id, unsigned long* size, KivTableFunction table);

#endif
