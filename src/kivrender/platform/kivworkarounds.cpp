#include "kivrender/platform/kivworkarounds.h"

#include <cstdlib>
#include <string>

bool kivWorkaround(std::string_view name) {
    const auto enclosed = [](std::string_view list) {
        std::string text(1, ',');
        text.append(list).append(1, ',');
        return text;
    };
    static const std::string disabled = [&enclosed] {
        const char* list = std::getenv("SELVARIN_GL_DISABLE");
        return enclosed(list != nullptr ? list : "");
    }();
    return disabled.find(enclosed(name)) == std::string::npos;
}
