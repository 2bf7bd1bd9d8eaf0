// A trial of plug-ins in a process of their own before they are loaded into the host's: one that crashes, ends the
// program or never returns while it is loaded takes nothing with it then but the trial.
//
// The process is selvarin-plugin-check, a program beside the library. It loads a plug-in, makes its shader, asks it
// what the loader asks, and unloads it; what it finds wrong meanwhile does not matter, as the loader finds the same.
// Plug-ins that come with the library are not tried, nor those that went through before: these are remembered by path,
// size, times and inode, in the process and in the user's cache folder ("tolvar/plugins"). Where the program is missing
// or can't be started plug-ins are loaded without a trial; SELVARIN_PLUGIN_TRIAL=off asks for that.
#ifndef KIVRENDER_SHADER_KIVPLUGINTRIAL_H
#define KIVRENDER_SHADER_KIVPLUGINTRIAL_H

#include "kivrender/platform/kivchildprocess.h"
#include "kivrender/platform/kivexport.h"

#include <memory>
#include <string>

// What the trial is at. The program tells each by its byte when it begins.
enum class KivTrialStage : char { waits = 'w', loads = 'l', creates = 'c', asks = 'a', deletes = 'd', unloads = 'u' };

class KIV_API KivPluginTrial {
public:
    // For one scan of a folder: one process serves until a plug-in ends it.
    KivPluginTrial() = default;
    KivPluginTrial(const KivPluginTrial&) = delete;
    KivPluginTrial& operator=(const KivPluginTrial&) = delete;
    // Writes down what went through.
    ~KivPluginTrial();

    // Why a plug-in can't be loaded without danger, in a few words; empty if it went through, and without a trial.
    std::wstring faultOf(const std::wstring& file);

    // For tests: limits for one plug-in, in seconds of processor time and of waiting; and the memory of a new process.
    static void setLimits(double processorSeconds, double seconds);
    static void forget();

private:
    bool start();
    std::wstring tried(const std::string& path);
    std::wstring endingOf(KivTrialStage stage, bool late);

    std::unique_ptr<KivChildProcess> helper;
    bool isImpossible = false;
    bool hasNews = false; // for the cache file
};

// The other side: loads the plug-in and unloads it, and tells before each stage. Called by the program alone.
KIV_API void kivTryPlugin(const std::wstring& file, void (*tell)(KivTrialStage));

#endif
