#include "apps/cli/errorline.h"

#include "apps/common/translation/translation.h"

#include <algorithm>
#include <cstdio>

namespace {

std::vector<std::string>* collected = nullptr;

std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return text;
}

} // namespace

void printError(const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "selvarin: %s\n", oneLine(translatedMessage(text)).c_str());
}

void collectWarnings(std::vector<std::string>* list) {
    collected = list;
}

void printWarning(const std::string& text) {
    if (collected != nullptr) {
        collected->push_back(oneLine(text));
        return;
    }
    printError("warning: " + text);
}
