// The base of all dialogs: logic over a window of the toolkit. The window is made from a dialog template of a resource
// module and its controls are addressed by number; without a toolkit there is no window, and all else works.
//
// A dialog of a plug-in derives from it, reacts in onControl, and reads and writes controls through getWindow
// (kivrender/platform/kivwindow.h):
//
//     void MyDialog::onControl(const KivControlEvent& event) {
//         if (event.control == okButton) { ... }
//     }
//
// All calls on the thread of the windows. Numbers of templates are those of the module's resources, numbers of controls
// those that the template gives.
#ifndef KIVRENDER_DIALOGS_KIVDIALOG_H
#define KIVRENDER_DIALOGS_KIVDIALOG_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <memory>
#include <string>

struct KivControlEvent;

class KIV_API KivDialog {
public:
    // The number of the template, the window that the dialog belongs to, which may be null, and the module that holds
    // the template. Makes no window yet.
    explicit KivDialog(unsigned int templateId, HWND parent = nullptr, HINSTANCE resources = nullptr);
    KivDialog(const KivDialog&) = delete;
    KivDialog& operator=(const KivDialog&) = delete;
    // Destroys the window.
    virtual ~KivDialog();

    // Makes the window, hidden; a former one is destroyed. Non-zero on success, 0 without a toolkit or a template.
    virtual int Create(unsigned int templateId, HWND parent);
    // Non-zero if there was a window.
    virtual int DestroyWindow();

    // Null while there is none. It stays the dialog's.
    HWND getWindow() const;
    // As the constructor or the last Create was given them.
    unsigned int getTemplateId() const;
    HWND getParent() const;
    HINSTANCE getResources() const;

    // Each does nothing without a window; the text is then empty.
    void redraw();
    std::wstring getControlText(int control) const;
    void setControlText(int control, const std::wstring& text);

protected:
    // What the user, or the dialog itself, did to a control of the window. Does nothing here.
    virtual void onControl(const KivControlEvent& event);

private:
    // What the window was, or is to be, made of.
    unsigned int currentTemplate;
    HWND owner;
    HINSTANCE module;
    std::unique_ptr<KivWindow> window;
};

#endif
