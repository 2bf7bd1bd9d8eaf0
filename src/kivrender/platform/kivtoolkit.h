// The desktop as the library sees it: message boxes, pickers, timers, windows. A program with a desktop derives from
// the class and installs its object; without one a toolkit of our own answers, in which messages go to standard error,
// questions are answered no, pickers are cancelled, and no timer fires and no window opens.
//
// All of it is called on one thread, that of the windows, and may run a loop of events until it answers. KivQtToolkit
// (qt/kivqttoolkit.h) is a toolkit for hosts with Qt. Texts are in the language that is loaded.
#ifndef KIVRENDER_PLATFORM_KIVTOOLKIT_H
#define KIVRENDER_PLATFORM_KIVTOOLKIT_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct KivWindow;

enum class KivMessageKind {
    Error,   // an error icon and one button, OK
    Question // a question icon, Yes and No
};

// What a message box returns: the button that closed it.
inline constexpr int kivAnswerOk = 1;
inline constexpr int kivAnswerYes = 6;
inline constexpr int kivAnswerNo = 7;

// What a file picker is asked, and what it answers.
struct KivFileRequest {
    // The window that the picker belongs to, or null.
    HWND owner = nullptr;
    bool open = true; // to open a file, else to save one
    // What the picker refuses, leaves out or asks about.
    bool pathMustExist = false;
    bool fileMustExist = false;
    bool hideReadOnly = false;
    bool overwritePrompt = false;
    const wchar_t* filters = nullptr;  // title, zero, pattern ("*.a;*.b"), zero, title, ..., two zeros at the end
    std::vector<std::wstring> endings; // of each row, with the dot: what a saved name without one gets
    int filter = 1;                    // the row of filters chosen, from 1; in and out
    std::wstring folder;               // where the picker starts; empty for the toolkit's choice
    std::wstring file;                 // in: the preset name; out: the full path chosen
};

class KIV_API KivToolkit {
public:
    KivToolkit() = default;
    KivToolkit(const KivToolkit&) = delete;
    KivToolkit& operator=(const KivToolkit&) = delete;
    virtual ~KivToolkit();

    // The installed toolkit, or our own that has no desktop.
    static KivToolkit& get();
    // Installs a toolkit, null for none, and returns the previous one or null. The caller keeps it and removes it
    // before it ends.
    // For the whole process.
    static KivToolkit* install(KivToolkit* toolkit);

    // Returns one of the answers above.
    virtual int showMessage(HWND owner, const std::wstring& text, const std::wstring& caption, KivMessageKind kind) = 0;

    // Each returns false for a cancel and then leaves its argument as it was. A colour has red in the low byte.
    virtual bool pickColor(HWND owner, std::uint32_t& color) = 0;
    virtual bool pickFile(KivFileRequest& request) = 0;
    virtual bool pickFolder(HWND owner, const std::wstring& title, std::wstring& folder) = 0;

    // Calls back every so many milliseconds, on the thread of the windows, until stopped. Returns the timer's number, 0
    // if there are no timers.
    virtual unsigned int startTimer(unsigned int milliseconds, std::function<void()> callback) = 0;
    // Its callback is not called again. An unknown number is passed over.
    virtual void stopTimer(unsigned int timer) = 0;

    // A window from template number id of a resource module (host/kivresources.h), hidden at first. Without a module it
    // is the language module's. Null if it can't be made.
    virtual std::unique_ptr<KivWindow> createWindow(HINSTANCE resources, unsigned int id, HWND parent) = 0;

    // Moves a file to the user's wastebasket, and may ask the user first. False, with the file where it was, if the
    // user refuses or it can't be done. Here it is done without a word (platform/kivtrash.h).
    virtual bool moveToTrash(HWND owner, const std::wstring& path);
};

#endif
