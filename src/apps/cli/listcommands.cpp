#include "apps/cli/listcommands.h"

#include "apps/cli/errorline.h"
#include "apps/cli/exitstatus.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/startup.h"
#include "apps/common/shaderstream.h"
#include "import/kivmodelimport.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderguard.h"
#include "kivrender/shader/kivshadersettings.h"

#include <cstdio>

namespace {

std::string rangeOf(const KivSettingInfo& info) {
    switch (info.type) {
    case KivSettingType::Bool:
        return "yes or no";
    case KivSettingType::Colour:
        return "#rrggbb";
    case KivSettingType::Choice: {
        std::string text;
        for (int i = 0; i < kivNumChoices(info); ++i) {
            text += (i == 0 ? "" : ", ") + kivChoiceName(info, i);
        }
        return text;
    }
    default:
        return kivFormatSetting(info, info.minimum) + " to " + kivFormatSetting(info, info.maximum);
    }
}

std::string initialOf(const KivSettingInfo& info) {
    if (info.type == KivSettingType::Bool) {
        return info.defaultValue != 0.0 ? "yes" : "no";
    }
    return kivFormatSetting(info, info.defaultValue);
}

void printShader(const KivShader& shader) {
    std::printf("%s  (%s) - %s\n", kivToUtf8(shader.getTag()).c_str(), kivToUtf8(shader.getName()).c_str(),
                shader.isCombinable() ? "adds to a picture, --add" : "paints the surfaces, --base");
    int count = 0;
    const KivSettingInfo* table = kivShaderSettings(&shader, &count);
    for (int i = 0; i < count; ++i) {
        std::printf("  --set %s.%s=%s\n      %s (%s)\n", kivToUtf8(shader.getTag()).c_str(), table[i].key,
                    initialOf(table[i]).c_str(), kivToUtf8(table[i].text).c_str(), rangeOf(table[i]).c_str());
    }
}

} // namespace

int runShaders(const Words& words) {
    const Program program;
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        const KivShader* shader = KivShader::getByIndex(i);
        if (shader == nullptr) {
            continue;
        }
        if (words.has("quiet")) {
            std::printf("%s\n", kivToUtf8(kivShaderTag(*shader)).c_str());
        } else {
            std::printf("%s", i == 0 ? "" : "\n");
            kivTryShader(*shader, [shader] { printShader(*shader); });
        }
    }
    return statusDone;
}

int runFormats() {
    std::printf("Models that can be read\n");
    for (const KivModelFormat& format : kivModelFormats()) {
        std::printf("  %-5s %s\n", kivToUtf8(format.ending).c_str(), kivToUtf8(format.name).c_str());
    }
    std::printf("\nPictures that can be written\n");
    for (const PictureFormat& format : pictureFormats()) {
        std::printf("  %-5s %s\n", format.ending, format.name);
    }
    for (const PictureFormat& format : layeredFormats()) {
        std::printf("  %-5s %s\n", format.ending, format.name);
    }
    std::printf("\nVector drawings that can be written\n");
    for (const PictureFormat& format : drawingFormats()) {
        std::printf("  %-5s %s\n", format.ending, format.name);
    }
    return statusDone;
}

int runVersion() {
    wchar_t date[kivMaxPath] = {};
    KivHostApplicationServices::compilationDate(date, nullptr, nullptr, nullptr);
    std::printf("selvarin " SELVARIN_VERSION "\n");
    std::printf("built:    %s by " SELVARIN_COMPILER "\n", kivToUtf8(date).c_str());
    std::printf("library:  %s\n", kivToUtf8(kivLibraryFolder()).c_str());
    std::printf("models:   %s\n", kivToUtf8(kivModelReaders()).c_str());
    std::printf("OpenGL:   %s\n", kivToUtf8(kivGlDescription()).c_str());
    return statusDone;
}
