// A desktop whose windows have the controls that the forms of plug-ins describe. Their number fields round and limit
// what they are given, as a real one does; what a user types there stands as it is.
#ifndef TESTS_SHADERS_PAGES_FORMTOOLKIT_H
#define TESTS_SHADERS_PAGES_FORMTOOLKIT_H

#include "kivrender/host/kivresources.h"
#include "kivrender/platform/kivtext.h"
#include "support/recordingtoolkit.h"
#include "support/xmltree.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>
#include <string>

struct FormControl {
    std::string widget; // its class
    std::string name;
    std::map<std::string, std::string> properties;
    std::vector<std::string> items;

    double number(const std::string& property) const {
        const std::string& text = properties.at(property);
        double value = 0;
        std::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    }
};

struct Form {
    std::string title;
    std::vector<std::string> groups;
    std::vector<std::string> names; // of all widgets
    std::vector<std::string> buddies;
    std::map<int, FormControl> controls;
    bool controlTwice = false;

    explicit Form(std::string_view xml) {
        XmlReader::read(xml).walk([this](const XmlElement& element) {
            if (element.name == "widget") {
                add(element);
            }
        });
    }

private:
    static std::string value(const XmlElement& property) {
        return property.children.empty() ? std::string() : property.children.front().text;
    }
    void add(const XmlElement& widget) {
        FormControl control;
        control.widget = widget.attribute("class");
        control.name = widget.attribute("name");
        names.push_back(control.name);
        for (const XmlElement& child : widget.children) {
            if (child.name == "property") {
                control.properties[child.attribute("name")] = value(child);
            } else if (child.name == "item" && !child.children.empty()) {
                control.items.push_back(value(child.children.front()));
            }
        }
        if (names.size() == 1) {
            title = control.properties["windowTitle"];
        }
        if (control.widget == "QGroupBox") {
            groups.push_back(control.properties["title"]);
        }
        if (control.properties.count("buddy") > 0) {
            buddies.push_back(control.properties["buddy"]);
        }
        if (control.properties.count("control") > 0) {
            const int number = std::stoi(control.properties["control"]);
            controlTwice = !controls.emplace(number, std::move(control)).second || controlTwice;
        }
    }
};

class FormWindow : public RecordingWindow {
public:
    FormWindow(const std::shared_ptr<WindowRecord>& target, Form description)
        : RecordingWindow(target), form(std::move(description)) {
        target->title = kivFromUtf8(form.title);
        for (const auto& [number, control] : form.controls) {
            WindowRecord::Control& made = target->controls[number];
            for (const std::string& item : control.items) {
                made.items.push_back({kivFromUtf8(item)});
            }
            made.selection = control.items.empty() ? -1 : 0;
        }
    }
    void setText(int control, const std::wstring& text) override {
        const auto found = form.controls.find(control);
        if (found == form.controls.end() || found->second.widget != "KivNumberField") {
            return RecordingWindow::setText(control, text);
        }
        const std::string narrow = kivToUtf8(text);
        double value = 0;
        std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
        value = std::clamp(value, found->second.number("minimum"), found->second.number("maximum"));
        char digits[64];
        const int decimals = static_cast<int>(found->second.number("decimals"));
        const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals);
        RecordingWindow::setText(control, kivFromUtf8({digits, end.ptr}));
    }

private:
    Form form;
};

class FormToolkit : public RecordingToolkit {
public:
    std::unique_ptr<KivWindow> createWindow(HINSTANCE resources, unsigned int id, HWND parent) override {
        if (resources == nullptr) {
            return RecordingToolkit::createWindow(resources, id, parent);
        }
        const std::string_view xml = kivFindResource(resources, KivResourceKind::dialog, id);
        if (xml.empty()) {
            return nullptr;
        }
        windows.push_back(std::make_shared<WindowRecord>());
        templates.push_back(id);
        parents.push_back(parent);
        return std::make_unique<FormWindow>(windows.back(), Form(xml));
    }

    std::vector<HWND> parents; // of the plug-ins' windows
};

#endif
