// A desktop that writes down what it is shown. It is installed as long as it lives.
#ifndef TESTS_SUPPORT_RECORDINGTOOLKIT_H
#define TESTS_SUPPORT_RECORDINGTOOLKIT_H

#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/platform/kivwindow.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// What happened to a window, also after its end, and what its user does. Controls come to be when they are first
// touched; a call for a tree, a combo box or a row of tabs finds a list of items.
struct WindowRecord {
    struct Item {
        std::wstring text;
        int image = -1;
        bool checked = false;
        bool bold = false;
    };
    struct Control {
        std::wstring text;
        bool enabled = true;
        bool visible = true;
        bool checkable = false;
        int check = 0;
        int selection = -1;
        std::vector<Item> items;
        std::vector<unsigned int> images;
        unsigned int icon = 0;
        HBITMAP picture = nullptr;
        std::uint32_t fill = 0;
        bool link = false;
        std::uint32_t linkColor = 0;
        std::wstring toolTip;
        bool varied = false;
        bool listBox = false;
        KivWindow* page = nullptr;
    };
    struct Received {
        unsigned int message = 0;
        std::uintptr_t wParam = 0;
        std::intptr_t lParam = 0;
    };

    bool exists = false;
    bool visible = false;
    bool enabled = true;
    bool caption = true;
    int redraws = 0;
    int beeps = 0;
    SIZE clientSize = {};
    int focus = 0; // the control that has the keyboard
    std::wstring title;
    std::map<int, Control> controls;
    std::map<int, RECT> rectangles;
    std::vector<std::vector<int>> groups; // of radio buttons
    bool tellsChecks = false;             // a check that the dialog sets is told like a click
    std::vector<Received> received;
    std::function<void(const KivControlEvent&)> listener;
    std::function<int()> modal; // what the user does in a modal window, and its result
    int modalResult = 0;

    const Control& at(int control) const {
        static const Control none;
        const auto found = controls.find(control);
        return found != controls.end() ? found->second : none;
    }

    void setCheck(int control, int state) {
        for (const std::vector<int>& group : groups) {
            if (state == 1 && std::find(group.begin(), group.end(), control) != group.end()) {
                for (const int other : group) {
                    controls[other].check = 0;
                }
            }
        }
        controls[control].check = state;
        controls[control].varied = false;
    }

    // The colour that a control is filled with on the screen.
    std::optional<std::uint32_t> painted(int control) const {
        return at(control).enabled ? std::optional<std::uint32_t>(at(control).fill) : std::nullopt;
    }

    // --- the user ---

    void tell(int control, KivControlChange change, int item = -1) {
        if (listener) {
            listener({control, change, item});
        }
    }
    // Nothing that is disabled can be worked. Each of these returns whether the control took it.
    bool click(int control) {
        if (!at(control).enabled) {
            return false;
        }
        tell(control, KivControlChange::clicked);
        return true;
    }
    // A check box of two states, or one that leaves the third by hand.
    bool clickCheck(int control) {
        if (!at(control).enabled) {
            return false;
        }
        controls[control].check = at(control).check == 1 ? 0 : 1;
        controls[control].varied = false;
        tell(control, KivControlChange::clicked);
        return true;
    }
    // The others of its group go off.
    bool clickRadio(int control) {
        if (!at(control).enabled) {
            return false;
        }
        setCheck(control, 1);
        tell(control, KivControlChange::clicked);
        return true;
    }
    bool choose(int control, int item) {
        if (!at(control).enabled || item >= static_cast<int>(at(control).items.size())) {
            return false;
        }
        controls[control].selection = item;
        controls[control].varied = false;
        tell(control, KivControlChange::selected);
        return true;
    }
    bool toggle(int control, int item) {
        if (!at(control).enabled || item >= static_cast<int>(at(control).items.size())) {
            return false;
        }
        tell(control, KivControlChange::checkToggle, item);
        Item& flipped = controls[control].items[static_cast<std::size_t>(item)];
        flipped.checked = !flipped.checked;
        return true;
    }
    bool focusOn(int control) {
        const int former = focus;
        if (former == control || !at(control).enabled) {
            return false;
        }
        focus = control;
        if (former != 0) {
            tell(former, KivControlChange::left);
        }
        tell(control, KivControlChange::focused);
        return true;
    }
    bool type(int control, const std::wstring& text) {
        if (!at(control).enabled) {
            return false;
        }
        focusOn(control);
        controls[control].text = text;
        controls[control].varied = false;
        tell(control, KivControlChange::edited);
        return true;
    }
    // Moves the mouse over a control, which need not be enabled: over a row of a list box, or -1.
    void point(int control, int item) {
        tell(control, KivControlChange::pointed, item);
    }
    void resize(const SIZE& size) {
        clientSize = size;
        tell(0, KivControlChange::resized);
    }
};

class RecordingWindow : public KivWindow {
public:
    explicit RecordingWindow(std::shared_ptr<WindowRecord> target) : record(std::move(target)) {
        record->exists = true;
    }
    ~RecordingWindow() override {
        record->exists = false;
        record->listener = nullptr;
    }
    void show(bool visible) override {
        record->visible = visible;
    }
    void enable(bool enabled) override {
        record->enabled = enabled;
    }
    void setCaption(bool caption) override {
        record->caption = caption;
    }
    void redraw() override {
        ++record->redraws;
    }
    std::wstring getTitle() const override {
        return record->title;
    }
    SIZE getClientSize() const override {
        return record->clientSize;
    }
    void setListener(std::function<void(const KivControlEvent&)> listener) override {
        record->listener = std::move(listener);
    }
    int runModal() override {
        record->modalResult = 0;
        const int result = record->modal ? record->modal() : 0;
        return record->modalResult != 0 ? record->modalResult : result;
    }
    void endModal(int result) override {
        record->modalResult = result;
    }
    void receive(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) override {
        record->received.push_back({message, wParam, lParam});
    }

    std::vector<int> getControls() const override {
        std::vector<int> all;
        for (const auto& control : record->controls) {
            all.push_back(control.first);
        }
        return all;
    }
    std::wstring getText(int control) const override {
        return record->at(control).text;
    }
    // An edit field tells of every change of its text.
    void setText(int control, const std::wstring& text) override {
        record->controls[control].varied = false;
        if (record->at(control).text != text) {
            record->controls[control].text = text;
            record->tell(control, KivControlChange::edited);
        }
    }
    // A disabled control can't keep the keyboard.
    void enableControl(int control, bool enabled) override {
        record->controls[control].enabled = enabled;
        if (!enabled && record->focus == control) {
            record->focus = 0;
            record->tell(control, KivControlChange::left);
        }
    }
    void showControl(int control, bool visible) override {
        record->controls[control].visible = visible;
    }
    bool isControlEnabled(int control) const override {
        return record->at(control).enabled;
    }
    bool hasFocus(int control) const override {
        return record->focus == control;
    }
    bool getControlRect(int control, RECT* out) const override {
        const auto found = record->rectangles.find(control);
        if (found == record->rectangles.end()) {
            return false;
        }
        *out = found->second;
        return true;
    }
    void placeControl(int control, const RECT& place) override {
        record->rectangles[control] = place;
    }
    bool isListBox(int control) const override {
        return record->at(control).listBox;
    }
    void setVaried(int control, bool varied) override {
        record->controls[control].varied = varied;
    }
    bool isVaried(int control) const override {
        return record->at(control).varied;
    }
    void setToolTip(int control, const std::wstring& text) override {
        record->controls[control].toolTip = text;
    }

    int getCheck(int control) const override {
        return record->at(control).check;
    }
    void setCheck(int control, int state) override {
        const int former = record->at(control).check;
        record->setCheck(control, state);
        if (record->tellsChecks && former != state) {
            record->tell(control, KivControlChange::clicked);
        }
    }

    void insertItem(int control, int index, const std::wstring& text, int image) override {
        auto& list = record->controls[control];
        const int at = index < 0 ? static_cast<int>(list.items.size()) : index;
        list.items.insert(list.items.begin() + at, {text, image});
        list.selection += list.selection >= at ? 1 : 0;
    }
    // In place of a selected one its neighbour is selected, as in many a desktop.
    void removeItem(int control, int index) override {
        auto& list = record->controls[control];
        list.items.erase(list.items.begin() + index);
        if (list.selection == index) {
            list.selection = std::min(index, static_cast<int>(list.items.size()) - 1);
            record->tell(control, KivControlChange::selected);
        } else if (list.selection > index) {
            --list.selection;
        }
    }
    int getItemCount(int control) const override {
        return static_cast<int>(record->at(control).items.size());
    }
    std::wstring getItemText(int control, int index) const override {
        return item(control, index).text;
    }
    int getItemImage(int control, int index) const override {
        return item(control, index).image;
    }
    int getSelection(int control) const override {
        return record->at(control).selection;
    }
    void setSelection(int control, int index) override {
        record->controls[control].varied = false;
        if (record->at(control).selection != index) {
            record->controls[control].selection = index;
            record->tell(control, KivControlChange::selected); // not every toolkit keeps silent
        }
    }
    void setCheckable(int control) override {
        record->controls[control].checkable = true;
    }
    bool isItemChecked(int control, int index) const override {
        return item(control, index).checked;
    }
    void checkItem(int control, int index, bool checked) override {
        record->controls[control].items.at(static_cast<std::size_t>(index)).checked = checked;
    }
    void setItemBold(int control, int index, bool bold) override {
        record->controls[control].items.at(static_cast<std::size_t>(index)).bold = bold;
    }
    void setImages(int control, HINSTANCE, const std::vector<unsigned int>& icons) override {
        record->controls[control].images = icons;
    }

    void setIcon(int control, HINSTANCE, unsigned int icon) override {
        record->controls[control].icon = icon;
    }
    void setPicture(int control, HBITMAP bitmap) override {
        record->controls[control].picture = bitmap;
    }
    void setFill(int control, std::uint32_t color) override {
        record->controls[control].fill = color;
        record->controls[control].varied = false;
    }
    void setLink(int control, std::uint32_t textColor) override {
        record->controls[control].link = true;
        record->controls[control].linkColor = textColor;
    }
    void beep() override {
        ++record->beeps;
    }
    void placeInside(int control, KivWindow* page) override {
        record->controls[control].page = page;
    }

    // What its user sees and does.
    WindowRecord& getRecord() const {
        return *record;
    }

private:
    const WindowRecord::Item& item(int control, int index) const {
        static const WindowRecord::Item none;
        const auto& items = record->at(control).items;
        const auto at = static_cast<std::size_t>(index);
        return index >= 0 && at < items.size() ? items[at] : none;
    }

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
    // The picker answers with the values below; without one it cancels.
    bool pickColor(HWND, std::uint32_t& color) override {
        color = pickedColor.value_or(color);
        return pickedColor.has_value();
    }
    bool pickFile(KivFileRequest& request) override {
        files.push_back({request.open, request.file});
        request.file = pickedFile.value_or(request.file);
        return pickedFile.has_value();
    }
    bool pickFolder(HWND, const std::wstring& title, std::wstring& folder) override {
        folderTitles.push_back(title);
        folder = pickedFolder.value_or(folder);
        return pickedFolder.has_value();
    }
    unsigned int startTimer(unsigned int milliseconds, std::function<void()> callback) override {
        timers[++lastTimer] = {milliseconds, now + milliseconds, std::move(callback)};
        return lastTimer;
    }
    void stopTimer(unsigned int timer) override {
        timers.erase(timer);
    }
    // Lets time pass: nothing fires but here. Timers fire in the order of their times.
    void passTime(unsigned int milliseconds) {
        const unsigned long end = now + milliseconds;
        for (;;) {
            const auto next = std::min_element(
                timers.begin(), timers.end(), [](const auto& a, const auto& b) { return a.second.due < b.second.due; });
            if (next == timers.end() || next->second.due > end) {
                break;
            }
            now = next->second.due;
            next->second.due += std::max(next->second.interval, 1U);
            const std::function<void()> callback = next->second.callback; // it may stop its own timer
            callback();
        }
        now = end;
    }
    std::unique_ptr<KivWindow> createWindow(HINSTANCE, unsigned int id, HWND) override {
        windows.push_back(std::make_shared<WindowRecord>());
        templates.push_back(id);
        if (onWindow) {
            onWindow(*windows.back());
        }
        return std::make_unique<RecordingWindow>(windows.back());
    }

    bool moveToTrash(HWND owner, const std::wstring& path) override {
        trashed.push_back(path);
        return !refusesTrash && KivToolkit::moveToTrash(owner, path);
    }

    struct Timer {
        unsigned int interval = 0; // milliseconds
        unsigned long due = 0;     // on the clock of now
        std::function<void()> callback;
    };
    struct FileQuestion {
        bool open;
        std::wstring file; // the wish
    };

    std::optional<std::uint32_t> pickedColor;
    std::optional<std::wstring> pickedFile;
    std::optional<std::wstring> pickedFolder;
    std::vector<FileQuestion> files;
    std::vector<std::wstring> trashed; // what was to go to the trash
    bool refusesTrash = false;
    std::map<unsigned int, Timer> timers; // those that run
    unsigned long now = 0;                // milliseconds
    unsigned int lastTimer = 0;
    std::function<void(WindowRecord&)> onWindow; // runs for each window that is made
    std::vector<std::wstring> folderTitles;
    std::vector<Message> messages;
    std::vector<std::shared_ptr<WindowRecord>> windows; // in the order of their making
    std::vector<unsigned int> templates;

private:
    KivToolkit* former;
};

#endif
