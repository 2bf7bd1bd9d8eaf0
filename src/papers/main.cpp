// make_papers FOLDER: writes every paper as a PNG of its name. It stands apart from the library, so that papers are
// made again only when their rules change.
#include "papermaker.h"

#include <cstdio>
#include <png.h>
#include <string>
#include <vector>

namespace {

constexpr int side = 2048;

} // namespace

int main(int count, char** words) {
    if (count != 2) {
        std::fputs("make_papers: a folder is needed\n", stderr);
        return 2;
    }
    for (const std::string_view name : paperNames()) {
        const std::vector<std::uint8_t> paper = makePaper(name, side);
        const std::string file = std::string(words[1]) + "/" + std::string(name) + ".png";
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = side;
        image.height = side;
        image.format = PNG_FORMAT_RGB;
        if (png_image_write_to_file(&image, file.c_str(), 0, paper.data(), 0, nullptr) == 0) {
            std::fprintf(stderr, "make_papers: can't write \"%s\": %s\n", file.c_str(), image.message);
            return 1;
        }
    }
    return 0;
}
