// Settings files of the command line with any content, and the options that come of them: taken, or one line that
// refuses them.
#include "apps/cli/commandline.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Parsing a command line costs far more than the file.
    static const Words empty = [] {
        const char* const words[] = {"selvarin", "render", "--demo", "-o", "a.png"};
        return parseWords(5, words);
    }();
    Words words = empty;
    try {
        mergeSettings(std::string(reinterpret_cast<const char*>(data), size), "file", words);
        const RenderOptions options = parseRenderOptions(words);
        require(options.width > 0 && options.height > 0 && options.antialias >= 0 && options.antialias <= 2);
        require(std::isfinite(options.offset));
    } catch (const UsageError& refusal) {
        require(refusal.what()[0] != '\0');
    }
    return 0;
}
