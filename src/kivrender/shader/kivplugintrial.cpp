#include "kivrender/shader/kivplugintrial.h"

#include "kivrender/platform/kivchildchannel.h"
#include "kivrender/platform/kivfileidentity.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivsystempages.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/shader/kivtriedplugins.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int watchMilliseconds = 20;
constexpr int endMilliseconds = 2000;

double mostProcessorSeconds = 3.0;
double mostSeconds = 30.0; // a busy machine and a slow disk included

bool isSwitchedOff() {
    const char* const value = std::getenv("SELVARIN_PLUGIN_TRIAL");
    return value != nullptr && std::string_view(value) == "off";
}

// Those that were built with the library and stand beside it.
bool isShipped(const std::wstring& file) {
    static constexpr std::array<std::wstring_view, SELVARIN_NUM_SHIPPED> names{SELVARIN_SHIPPED};
    const std::size_t slash = file.find_last_of(L'/');
    if (slash == std::wstring::npos) {
        return false;
    }
    std::wstring name = file.substr(slash + 1);
    const std::wstring ending = kivModuleEnding();
    if (!name.ends_with(ending) ||
        std::find(names.begin(), names.end(), name.substr(0, name.size() - ending.size())) == names.end()) {
        return false;
    }
    return kivIsThatFile(kivToUtf8(file), kivToUtf8(kivLibraryFolder() + L"/shaders/" + name));
}

const wchar_t* nameOf(KivTrialStage stage) {
    switch (stage) {
    case KivTrialStage::loads:
        return L"while it was loaded";
    case KivTrialStage::creates:
        return L"in KivShaderCreate";
    case KivTrialStage::asks:
        return L"when it was asked for its tag, name and settings";
    case KivTrialStage::deletes:
        return L"in KivShaderDelete";
    case KivTrialStage::unloads:
        return L"while it was unloaded";
    case KivTrialStage::waits:
        break;
    }
    return L"before it was loaded";
}

} // namespace

void KivPluginTrial::setLimits(double processorSeconds, double seconds) {
    mostProcessorSeconds = processorSeconds;
    mostSeconds = seconds;
}

void KivPluginTrial::forget() {
    KivTriedPlugins::forget();
}

KivPluginTrial::~KivPluginTrial() {
    if (hasNews) {
        KivTriedPlugins::save();
    }
}

std::wstring KivPluginTrial::faultOf(const std::wstring& file) {
    if (isImpossible || isSwitchedOff() || isShipped(file)) {
        return {};
    }
    const std::string path = kivToUtf8(file);
    const std::string key = KivTriedPlugins::keyOf(path);
    if (const std::wstring* const known = KivTriedPlugins::find(key)) {
        return *known;
    }
    if (helper == nullptr && !start()) {
        isImpossible = true;
        return {};
    }
    const std::wstring fault = tried(path);
    if (!isImpossible) {
        KivTriedPlugins::add(key, fault);
        hasNews = hasNews || fault.empty();
    }
    return fault;
}

bool KivPluginTrial::start() {
    const std::string program = kivToUtf8(kivLibraryFolder()) + "/selvarin-plugin-check";
    if (!program.starts_with('/') || !kivIsProgram(program)) {
        return false;
    }
    helper = std::make_unique<KivChildProcess>();
    std::string why;
    return helper->start(program, {std::to_string(kivProcessNumber())}, why);
}

// Sends the plug-in's path and reads the stages until the process waits for another, or is gone.
std::wstring KivPluginTrial::tried(const std::string& path) {
    const Clock::time_point begin = Clock::now();
    const double used = helper->processorSeconds();
    KivTrialStage stage = KivTrialStage::waits;
    bool late = !kivSendToChild(helper->channel(), path + '\0', endMilliseconds);
    while (!late) {
        char byte = 0;
        const KivFromChild got = kivReceiveFromChild(helper->channel(), watchMilliseconds, &byte);
        if (got == KivFromChild::end) {
            break;
        }
        if (got == KivFromChild::byte) {
            stage = static_cast<KivTrialStage>(byte);
            if (stage == KivTrialStage::waits) {
                return {};
            }
        }
        late = helper->processorSeconds() - used > mostProcessorSeconds ||
               std::chrono::duration<double>(Clock::now() - begin).count() > mostSeconds;
    }
    if (late) {
        helper->kill();
    }
    return endingOf(stage, late);
}

std::wstring KivPluginTrial::endingOf(KivTrialStage stage, bool late) {
    const KivChildProcess::Ending ending = helper->waitOrKill(endMilliseconds);
    helper.reset();
    const std::wstring where = nameOf(stage);
    if (late) {
        return L"it did not come to an end " + where;
    }
    if (stage == KivTrialStage::waits) {
        isImpossible = true; // the program itself does not run here
        return {};
    }
    if (ending.kind == KivChildProcess::Ending::Kind::killed) {
        return L"it crashes (" + kivFromUtf8(strsignal(ending.number)) + L") " + where;
    }
    return L"it ends the program " + where;
}
