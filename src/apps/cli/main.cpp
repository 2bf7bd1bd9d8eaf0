// selvarin, the command line.
#include "apps/cli/animatecommand.h"
#include "apps/cli/cataloguecommand.h"
#include "apps/cli/commandline.h"
#include "apps/cli/completion.h"
#include "apps/cli/errorline.h"
#include "apps/cli/exitstatus.h"
#include "apps/cli/infocommand.h"
#include "apps/cli/leftovers.h"
#include "apps/cli/listcommands.h"
#include "apps/cli/manual.h"
#include "apps/cli/newshader.h"
#include "apps/cli/rendercommand.h"
#include "apps/cli/startup.h"
#include "apps/cli/stylecommands.h"
#include "apps/common/quietdriver.h"
#include "kivrender/host/kivuserfolders.h"
#include "kivrender/shader/kivshader.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>

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

int runProgramOptions(const Words& words) {
    if (words.has("help")) {
        print(helpText(terminalWidth()));
    } else if (words.has("version")) {
        return runVersion();
    } else if (words.has("man")) {
        print(manualPage());
    } else if (const auto shell = words.value("completion")) {
        const std::string rules = completionFor(*shell);
        if (rules.empty()) {
            throw UsageError("--completion: there are rules for bash, zsh and fish, none for " + *shell);
        }
        print(rules);
    } else {
        throw UsageError("a command is needed: render, animate, catalogue, shaders, styles, preview, style, formats, "
                         "info or new-shader");
    }
    return statusDone;
}

int run(const Words& words) {
    if (words.command == nullptr) {
        return runProgramOptions(words);
    }
    if (words.has("help")) {
        print(helpText(*words.command, terminalWidth()));
        return statusDone;
    }
    if (const auto language = words.value("lang")) {
        chooseLanguage(*language);
    }
    if (words.command->name == "render") {
        return runRender(parseRenderOptions(words));
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
    cleanUpOnSignals();
    quietDriver();
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
