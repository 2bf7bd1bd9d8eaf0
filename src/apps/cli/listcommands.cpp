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
#include "kivrender/scene/kivpolyline.h"
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

std::string colourText(std::uint32_t colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF);
    return text;
}

void printMaterials(const KivModel& model) {
    std::printf("materials:  %zu\n", model.materials.size());
    for (const KivModelMaterial& listed : model.materials) {
        std::printf("  %s  %s", listed.name.empty() ? "(no name)" : kivToUtf8(listed.name).c_str(),
                    colourText(listed.material.getDiffuse()).c_str());
        if (listed.material.getTransparency() < 1.0) {
            std::printf("  %.0f %% opaque", listed.material.getTransparency() * 100.0);
        }
        if (!listed.texture.empty()) {
            std::printf("  texture %s", kivToUtf8(listed.texture).c_str());
        }
        std::printf("\n");
    }
}

const char* kindOf(const KivLight& light) {
    switch (light.getStyle()) {
    case KivLight::directionalLight:
        return "directional";
    case KivLight::spotLight:
        return "spot";
    default:
        return "point";
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
    std::printf("\nVector drawings that can be written\n");
    for (const PictureFormat& format : drawingFormats()) {
        std::printf("  %-5s %s\n", format.ending, format.name);
    }
    return statusDone;
}

int runInfo(const Words& words) {
    if (words.arguments.size() != 1) {
        throw UsageError("info wants one MODEL");
    }
    KivModelOptions options;
    if (const char axis = parseUpAxis(words); axis != 0) {
        options.upAxis = axis == 'z' ? KivModelOptions::Axis::z : KivModelOptions::Axis::y;
    }
    KivModel model;
    std::wstring message;
    if (!kivImportModels({kivFromUtf8(words.arguments.front())}, options, model, message)) {
        throw std::runtime_error(kivToUtf8(message));
    }
    for (const std::wstring& warning : model.warnings) {
        printWarning(kivToUtf8(warning));
    }
    const KivModelFileInfo& file = model.files.front();
    std::printf("file:       %s\n", kivToUtf8(file.path).c_str());
    std::printf("format:     %s\n", kivToUtf8(file.format).c_str());
    std::printf("meshes:     %u\n", model.scene->numMeshes());
    std::printf("triangles:  %llu", static_cast<unsigned long long>(file.triangles));
    if (file.degenerate > 0) {
        std::printf("  (%llu without an area left out)", static_cast<unsigned long long>(file.degenerate));
    }
    std::printf("\nvertices:   %llu\n", static_cast<unsigned long long>(file.vertices));
    std::printf("lines:      %u\n", model.scene->numLines() + model.scene->numPolyline());
    std::printf("points:     %u\n", model.scene->numPoints());
    KivBox bounds = model.bounds;
    std::printf("x:          %g to %g\n", bounds.getXMin(), bounds.getXMax());
    std::printf("y:          %g to %g\n", bounds.getYMin(), bounds.getYMax());
    std::printf("z:          %g to %g\n", bounds.getZMin(), bounds.getZMax());
    std::printf("up:         %s\n", file.zUp ? "z" : "y");
    printMaterials(model);
    std::printf("cameras:    %zu\n", model.cameras.size());
    for (const KivModelCamera& camera : model.cameras) {
        std::printf("  %s\n", camera.name.empty() ? "(no name)" : kivToUtf8(camera.name).c_str());
    }
    std::printf("lights:     %zu\n", model.lights.size());
    for (const KivLight& light : model.lights) {
        std::printf("  %s %s\n", kindOf(light), colourText(light.getDiffuse()).c_str());
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
