#include "apps/cli/stylecommands.h"

#include "apps/cli/exitstatus.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/renderfailure.h"
#include "apps/cli/startup.h"
#include "apps/common/namedstyle.h"
#include "apps/common/shaderstream.h"
#include "apps/common/suggestion.h"
#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivshadercommunication.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

namespace {

using Host = KivHostApplicationServices;

void warn(const std::string& text) {
    std::fprintf(stderr, "selvarin: warning: %s\n", text.c_str());
}

const char* folderName(Host::Folder folder) {
    switch (folder) {
    case Host::userFolder:
        return "user";
    case Host::dataFolder:
        return "data";
    case Host::sharedFolder:
        break;
    }
    return "shared";
}

// Draws looks on the host's preview scene, one after the other.
class Previewer {
public:
    explicit Previewer(CliHost& services) : host(services) {}
    Previewer(const Previewer&) = delete;
    Previewer& operator=(const Previewer&) = delete;
    // The scene outlives the shaders, whose settings it holds.
    ~Previewer() {
        host.getPreviewScene()->deleteSettingsToAllMeshes();
    }

    // Throws std::runtime_error if there is no picture at the end.
    void draw(const PreviewOptions& options, OutputFile& output) {
        const ChosenLook look = applyLook(options);
        for (const std::string& warning : look.warnings) {
            warn(warning);
        }
        const tagSIZE size{options.width, options.height};
        KivCommonSettings settings;
        settings.setAntialias(options.antialias);
        settings.setCustomSize(true);
        // A preview has the size that it is told and no reduction of its own.
        settings.setResolution({enlarged(size.cx, options.antialias), enlarged(size.cy, options.antialias)});
        settings.setBackgroundColor(options.background);
        settings.setAmbientLight(options.ambient);
        KivBitmapManager surface;
        host.takeMessages();
        host.forgetImage();
        kivSetLastError(0);
        const bool drawn =
            renderer.renderPreview(settings, host.getPreviewScene(), *host.getPreviewCamera(), &surface,
                                   look.shaders.nonCombinable.empty() ? nullptr : look.shaders.nonCombinable.c_str(),
                                   look.shaders.combinables, channel, nullptr);
        const unsigned long error = kivGetLastError();
        if (drawn && options.antialias > 0) {
            host.stretchImageBilinear(kivScreenDeviceContext(), &surface, size);
        }
        if (drawn) {
            host.saveImage(surface, kivFromUtf8(output.workName()).c_str());
        }
        const std::vector<std::string> messages = host.takeMessages();
        if (!drawn || !host.wasImageSaved()) {
            throw std::runtime_error(renderFailure(output, drawn, messages, error, host));
        }
        output.finish();
    }

private:
    // Sizes that can't be drawn are refused by the surface; here they must not run over.
    static std::int32_t enlarged(std::int32_t side, int antialias) {
        return static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t{side} << antialias, 1 << 20));
    }

    CliHost& host;
    KivRenderer renderer;
    KivShaderCommunication channel;
};

std::string userFolder() {
    wchar_t folder[kivMaxPath] = {};
    Host* const host = Host::getDefaultHost();
    if (host == nullptr || !host->getStyleFolder(Host::userFolder, folder) || folder[0] == L'\0') {
        throw std::runtime_error("there is no folder for your styles");
    }
    return kivToUtf8(folder);
}

// The name behind "save" or "remove", which has been looked at.
std::wstring styleName(const Words& words, const std::string& folder) {
    std::wstring name = kivFromUtf8(words.arguments[1]);
    const KivStyleNameFault fault = kivCheckStyleName(name, kivFromUtf8(folder));
    if (fault != KivStyleNameFault::none) {
        throw UsageError("\"" + words.arguments[1] +
                         "\" is no name for a style: " + kivToUtf8(kivStyleNameText(fault)));
    }
    return name;
}

int saveStyle(const Words& words) {
    const LookOptions options = parseLookOptions(words);
    const Program program;
    const std::string folder = userFolder();
    const std::wstring name = styleName(words, folder);
    const std::wstring path = kivStylePath(kivFromUtf8(folder), name);
    const std::string shown = kivToUtf8(path);
    const ChosenLook look = applyLook(options);
    for (const std::string& warning : look.warnings) {
        warn(warning);
    }
    if (look.shaders.nonCombinable.empty() && look.shaders.combinables.empty()) {
        throw UsageError("a style needs a shader: give --base or --add");
    }
    if (!words.has("force") && std::filesystem::exists(shown)) {
        throw std::runtime_error("there is a style \"" + words.arguments[1] + "\" already; --force saves over it");
    }
    if (!kivMakeFolders(kivFromUtf8(folder)) || !kivSaveStyle(path, look.shaders, nullptr)) {
        throw std::runtime_error("can't write \"" + shown + "\": the folder is read-only, or the disk is full");
    }
    if (!words.has("quiet")) {
        std::printf("%s\n", shown.c_str());
    }
    return statusDone;
}

int removeStyle(const Words& words) {
    const Program program;
    const std::wstring name = styleName(words, userFolder());
    std::vector<std::string> own;
    for (const KivStyleEntry& style : kivListStyles(Host::userFolder)) {
        if (style.name == name) {
            if (!kivRemoveStyle(style.path)) {
                throw std::runtime_error("can't move \"" + kivToUtf8(style.path) + "\" to the wastebasket");
            }
            if (!words.has("quiet")) {
                std::printf("%s is in the wastebasket\n", kivToUtf8(style.path).c_str());
            }
            return statusDone;
        }
        own.push_back(kivToUtf8(style.name));
    }
    throw UsageError("you have no style " + words.arguments[1] + " of your own" + didYouMean(words.arguments[1], own));
}

} // namespace

int runStyles(const PreviewOptions& options) {
    const Program program;
    const std::vector<KivStyleEntry> styles = kivListStyles();
    if (!options.output.empty() && !kivMakeFolders(kivFromUtf8(options.output))) {
        throw std::runtime_error("can't make the folder \"" + options.output + "\"");
    }
    std::size_t width = 0;
    for (const KivStyleEntry& style : styles) {
        width = std::max(width, kivToUtf8(style.name).size());
    }
    Previewer previewer(program.host());
    std::set<std::wstring> seen;
    int status = statusDone;
    for (const KivStyleEntry& style : styles) {
        const std::string name = kivToUtf8(style.name);
        const bool first = seen.insert(style.name).second;
        std::string picture;
        if (first && !options.output.empty()) {
            picture = options.output + "/" + name + ".png";
            try {
                PreviewOptions swatch = options;
                swatch.style = kivToUtf8(style.path);
                OutputFile output(picture);
                previewer.draw(swatch, output);
            } catch (const std::runtime_error& problem) {
                std::fprintf(stderr, "selvarin: %s\n", problem.what());
                status = statusFailed;
                picture.clear();
            }
        }
        if (options.quiet) {
            std::printf("%s", first ? (name + "\n").c_str() : "");
            continue;
        }
        std::printf("%-*s  %-6s  %s%s%s%s\n", static_cast<int>(width), name.c_str(), folderName(style.folder),
                    kivToUtf8(style.path).c_str(), first ? "" : "  (the one above counts)", picture.empty() ? "" : "  ",
                    picture.c_str());
    }
    if (styles.empty() && !options.quiet) {
        std::printf("There are no styles yet; \"selvarin style save NAME\" makes one.\n");
    }
    return status;
}

int runPreview(const PreviewOptions& options) {
    OutputFile output(options.output);
    const Program program;
    Previewer previewer(program.host());
    previewer.draw(options, output);
    if (!options.quiet && !output.isStream()) {
        std::printf("%s: %dx%d\n", options.output.c_str(), options.width, options.height);
    }
    return statusDone;
}

int runStyle(const Words& words) {
    const std::string verb = words.arguments.empty() ? "" : words.arguments.front();
    if (verb != "save" && verb != "remove") {
        throw UsageError(verb.empty() ? "style wants save NAME or remove NAME"
                                      : "style has no \"" + verb + "\"" + didYouMean(verb, {"save", "remove"}));
    }
    if (words.arguments.size() != 2) {
        throw UsageError("style " + verb + " wants one NAME; one with blanks stands in quotes");
    }
    return verb == "save" ? saveStyle(words) : removeStyle(words);
}
