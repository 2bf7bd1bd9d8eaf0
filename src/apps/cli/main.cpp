// selvarin, the command line.
#include "apps/cli/animatecommand.h"
#include "apps/cli/cataloguecommand.h"
#include "apps/cli/commandline.h"
#include "apps/cli/completion.h"
#include "apps/cli/documentoptions.h"
#include "apps/cli/errorline.h"
#include "apps/cli/exitstatus.h"
#include "apps/cli/infocommand.h"
#include "apps/cli/listcommands.h"
#include "apps/cli/manual.h"
#include "apps/cli/newshader.h"
#include "apps/cli/rendercommand.h"
#include "apps/cli/startup.h"
#include "apps/cli/stylecommands.h"
#include "apps/common/language.h"
#include "apps/common/leftovers.h"
#include "apps/common/quietdriver.h"
#include "apps/common/translation/translation.h"
#include "kivrender/host/kivuserfolders.h"
#include "kivrender/platform/kivfreedmemory.h"
#include "kivrender/shader/kivshader.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

int terminalWidth() {
    winsize size = {};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 100;
}

void print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

// A terminal would show the source of the page: the program "man" sets it, where there is one.
void showManual() {
    const std::string page = manualPage();
    std::FILE* const viewer = isatty(STDOUT_FILENO) == 1 ? popen("man --local-file - 2>/dev/null", "w") : nullptr;
    if (viewer == nullptr) {
        print(page);
        return;
    }
    std::fwrite(page.data(), 1, page.size(), viewer);
    constexpr int exitOfMissingProgram = 127 << 8;
    if (pclose(viewer) == exitOfMissingProgram) {
        print(page);
    }
}

// Wrong words are told in the user's language, too, though it is not known then whether they are options at all.
std::string languageAmong(int argc, const char* const* argv) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::string_view(argv[i]) == "--lang") {
            return argv[i + 1];
        }
    }
    return languageOfEnvironment();
}

// The language of everything that is said from here on.
void chooseLanguageOf(const Words& words) {
    if (const auto language = words.value("lang")) {
        chooseLanguage(*language);
    }
    chooseTextLanguage(currentLanguage());
}

int runProgramOptions(const Words& words) {
    if (words.has("help")) {
        print(helpText(terminalWidth()));
    } else if (words.has("version")) {
        return runVersion();
    } else if (words.has("man")) {
        showManual();
    } else if (const auto shell = words.value("completion")) {
        const std::string rules = completionFor(*shell);
        if (rules.empty()) {
            throw UsageError("--completion: there are rules for bash, zsh and fish, none for " + *shell);
        }
        print(rules);
    } else {
        throw UsageError("a command is needed: render, animate, catalogue, shaders, styles, preview, style, formats, "
                         "info, new-shader or man");
    }
    return statusDone;
}

int run(const Words& words) {
    chooseLanguageOf(words);
    if (words.command == nullptr) {
        return runProgramOptions(words);
    }
    if (words.has("help")) {
        print(helpText(*words.command, terminalWidth()));
        return statusDone;
    }
    if (words.command->name == "render") {
        loadLanguage(); // which says what is wrong with a document
        return runRender(parseRenderOrDocument(words));
    }
    if (words.command->name == "animate") {
        return runAnimate(words);
    }
    if (words.command->name == "catalogue") {
        return runCatalogue(words);
    }
    if (words.command->name == "info") {
        return runInfo(words);
    }
    if (words.command->name == "style") {
        return runStyle(words);
    }
    if (words.command->name == "new-shader") {
        return runNewShader(words);
    }
    if (words.command->name == "man" && words.arguments.empty()) {
        showManual();
        return statusDone;
    }
    if (!words.arguments.empty()) {
        throw UsageError(std::string(words.command->name) + " takes no \"" + words.arguments.front() + "\"");
    }
    if (words.command->name == "styles") {
        return runStyles(parseStylesOptions(words));
    }
    if (words.command->name == "preview") {
        return runPreview(parsePreviewOptions(words));
    }
    return words.command->name == "shaders" ? runShaders(words) : runFormats();
}

int fail(int status, const std::string& text) {
    printError(status == statusWrongUse ? text + " (see \"selvarin --help\")" : text);
    return status;
}

} // namespace

int main(int argc, char** argv) {
    kivKeepFreedMemory();
    cleanUpOnSignals();
    quietDriver();
    chooseTextLanguage(languageAmong(argc, argv));
    kivMakeUserFoldersAtOnce(false);
    try {
        const int status = run(parseWords(argc, argv));
        if (std::fflush(stdout) != 0) {
            return fail(statusFailed, "can't write to standard output");
        }
        return status;
    } catch (const UsageError& error) {
        return fail(statusWrongUse, error.what());
    } catch (const std::bad_alloc&) {
        return fail(statusFailed, "there is not enough memory for this");
    } catch (const std::exception& error) {
        return fail(statusFailed, error.what());
    } catch (KivShader::stopReason) {
        return fail(statusFailed, "a shader has stopped the render, or there is no place for temporary files");
    } catch (...) {
        return fail(statusFailed, "a shader plug-in has failed");
    }
}
