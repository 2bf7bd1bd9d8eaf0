// A host over a store in memory, which says what the library asked of it, and a desktop that answers as it is told.
#ifndef TESTS_HOST_TESTHOST_H
#define TESTS_HOST_TESTHOST_H

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/platform/kivwindow.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

class TestHost : public KivHostApplicationServices {
public:
    using Name = std::pair<bool, std::wstring>; // machine, value

    std::map<Name, std::wstring> texts;
    std::map<Name, std::uint32_t> numbers;
    std::vector<std::wstring> runTexts; // scope, name and text of each
    std::wstring userData = L"/user/data";

    void saveRegistryString(bool machine, const wchar_t* value, const wchar_t* data) override {
        texts[{machine, value}] = data;
    }
    bool loadRegistryString(bool machine, const wchar_t* value, wchar_t* data) override {
        const auto found = texts.find({machine, value});
        if (found == texts.end()) {
            return false;
        }
        kivCopyText(data, kivMaxPath, found->second);
        return true;
    }
    void saveRegistryDword(bool machine, const wchar_t* value, std::uint32_t data) override {
        numbers[{machine, value}] = data;
    }
    bool loadRegistryDword(bool machine, const wchar_t* value, std::uint32_t* data) override {
        const auto found = numbers.find({machine, value});
        if (found == numbers.end()) {
            return false;
        }
        *data = found->second;
        return true;
    }
    void saveRunRegistryString(bool machine, const wchar_t* value, const wchar_t* data) override {
        runTexts.push_back(std::wstring(machine ? L"machine " : L"user ") + value + L"=" + data);
    }
    void hostRegistrySlot19() override {}
    void hostRegistrySlot20() override {}
    void hostRegistrySlot21() override {}
    void getUserDataFolder(wchar_t* out) override {
        kivCopyText(out, kivMaxPath, userData);
    }

    using KivHostApplicationServices::buildPreviewSceneAndCamera;
    using KivHostApplicationServices::loadDwordOnRegistryKey;
    using KivHostApplicationServices::loadStringOnRegistryKey;
    using KivHostApplicationServices::saveDwordOnRegistryKey;
    using KivHostApplicationServices::saveStringOnRegistryKey;
};

// Installs itself for as long as it lives.
class TestToolkit : public KivToolkit {
public:
    TestToolkit() : previous(install(this)) {}
    ~TestToolkit() override {
        install(previous);
    }

    int answer = kivAnswerOk;
    bool picks = false;
    std::wstring text;
    std::wstring caption;
    KivMessageKind kind = KivMessageKind::Error;
    HWND owner = nullptr;
    int messages = 0;
    std::uint32_t shownColor = 0;
    std::wstring title;

    int showMessage(HWND window, const std::wstring& message, const std::wstring& head, KivMessageKind how) override {
        owner = window;
        text = message;
        caption = head;
        kind = how;
        ++messages;
        return answer;
    }
    bool pickColor(HWND, std::uint32_t& color) override {
        shownColor = color;
        color = 0xABCDEF; // even a cancelled dialog may have played with it
        return picks;
    }
    bool pickFile(KivFileRequest&) override {
        return picks;
    }
    bool pickFolder(HWND, const std::wstring& head, std::wstring& folder) override {
        title = head;
        folder = std::wstring(300, L'f');
        return picks;
    }
    unsigned int startTimer(unsigned int, std::function<void()>) override {
        return 0;
    }
    void stopTimer(unsigned int) override {}
    std::unique_ptr<KivWindow> createWindow(HINSTANCE, unsigned int, HWND) override {
        return nullptr;
    }

private:
    KivToolkit* previous;
};

#endif
