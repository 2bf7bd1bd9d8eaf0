// A desktop that writes down what it is shown. It is installed as long as it lives.
#ifndef TESTS_SUPPORT_RECORDINGTOOLKIT_H
#define TESTS_SUPPORT_RECORDINGTOOLKIT_H

#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/platform/kivwindow.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

// What happened to a window, also after its end.
struct WindowRecord {
    bool exists = false;
    bool caption = true;
    int redraws = 0;
    std::map<int, std::wstring> texts;
};

class RecordingWindow : public KivWindow {
public:
    explicit RecordingWindow(std::shared_ptr<WindowRecord> target) : record(std::move(target)) {
        record->exists = true;
    }
    ~RecordingWindow() override {
        record->exists = false;
    }
    void show(bool) override {}
    void enable(bool) override {}
    void setCaption(bool caption) override {
        record->caption = caption;
    }
    void redraw() override {
        ++record->redraws;
    }
    std::wstring getText(int control) const override {
        const auto found = record->texts.find(control);
        return found != record->texts.end() ? found->second : std::wstring();
    }
    void setText(int control, const std::wstring& text) override {
        record->texts[control] = text;
    }
    void enableControl(int, bool) override {}
    void showControl(int, bool) override {}

private:
    std::shared_ptr<WindowRecord> record;
};

class RecordingToolkit : public KivToolkit {
public:
    struct Message {
        HWND owner;
        std::wstring text;
        std::wstring caption;
        KivMessageKind kind;
    };

    RecordingToolkit() : former(install(this)) {}
    ~RecordingToolkit() override {
        install(former);
    }

    int showMessage(HWND owner, const std::wstring& text, const std::wstring& caption, KivMessageKind kind) override {
        messages.push_back({owner, text, caption, kind});
        return kivAnswerOk;
    }
    bool pickColor(HWND, std::uint32_t&) override {
        return false;
    }
    bool pickFile(KivFileRequest&) override {
        return false;
    }
    bool pickFolder(HWND, const std::wstring&, std::wstring&) override {
        return false;
    }
    unsigned int startTimer(unsigned int, std::function<void()>) override {
        return 0;
    }
    void stopTimer(unsigned int) override {}
    std::unique_ptr<KivWindow> createWindow(HINSTANCE, unsigned int id, HWND) override {
        windows.push_back(std::make_shared<WindowRecord>());
        templates.push_back(id);
        return std::make_unique<RecordingWindow>(windows.back());
    }

    std::vector<Message> messages;
    std::vector<std::shared_ptr<WindowRecord>> windows; // in the order of their making
    std::vector<unsigned int> templates;

private:
    KivToolkit* former;
};

#endif
