#include "kivrender/platform/kivworkarounds.h"

#include <cstdlib>
#include <string>

bool kivWorkaround(std::string_view name) {
    static const std::string disabled = [] {
        const char* text = std::getenv("SELVARIN_GL_DISABLE");
        return "," + std::string(text != nullptr ? text : "") + ",";
    }();
    return disabled.find("," + std::string(name) + ",") == std::string::npos;
}
