#include "kivrender/dialogs/kivdialog.h"

#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/shader/kivshaderguard.h"

KivDialog::KivDialog(unsigned int templateId, HWND parent, HINSTANCE resources)
    : currentTemplate(templateId), owner(parent), module(resources) {}

KivDialog::~KivDialog() = default;

int KivDialog::Create(unsigned int templateId, HWND parent) {
    currentTemplate = templateId;
    owner = parent;
    window.reset(); // two windows of one dialog must not stand side by side, even for a moment
    window = KivToolkit::get().createWindow(module, currentTemplate, owner);
    if (window == nullptr) {
        return 0;
    }
    // The event comes from a toolkit, through which nothing can be thrown. A page is the code of its plug-in.
    window->setListener(
        [this](const KivControlEvent& event) { kivTryModule(module, [this, &event] { onControl(event); }); });
    return 1;
}

void KivDialog::onControl(const KivControlEvent&) {}

int KivDialog::DestroyWindow() {
    const bool existed = window != nullptr;
    window.reset();
    return existed ? 1 : 0;
}

HWND KivDialog::getWindow() const {
    return window.get();
}

unsigned int KivDialog::getTemplateId() const {
    return currentTemplate;
}

HWND KivDialog::getParent() const {
    return owner;
}

HINSTANCE KivDialog::getResources() const {
    return module;
}

void KivDialog::redraw() {
    if (window != nullptr) {
        window->redraw();
    }
}

std::wstring KivDialog::getControlText(int control) const {
    return window != nullptr ? window->getText(control) : std::wstring();
}

void KivDialog::setControlText(int control, const std::wstring& text) {
    if (window != nullptr) {
        window->setText(control, text);
    }
}
