// A window made from a dialog template of a resource module. Its controls are addressed by number, as in the template;
// a number without a control is passed over, and asking for its text gives the empty one. Made by
// KivToolkit::createWindow, destroyed by its owner.
#ifndef KIVRENDER_PLATFORM_KIVWINDOW_H
#define KIVRENDER_PLATFORM_KIVWINDOW_H

#include "kivrender/platform/kivexport.h"

#include <string>

struct KIV_API KivWindow {
    KivWindow() = default;
    KivWindow(const KivWindow&) = delete;
    KivWindow& operator=(const KivWindow&) = delete;
    virtual ~KivWindow();

    virtual void show(bool visible) = 0;
    virtual void enable(bool enabled) = 0;
    // With or without a title bar: a page inside a dialog has none. Neither position nor size changes.
    virtual void setCaption(bool caption) = 0;
    virtual void redraw() = 0;

    virtual std::wstring getText(int control) const = 0;
    virtual void setText(int control, const std::wstring& text) = 0;
    virtual void enableControl(int control, bool enabled) = 0;
    virtual void showControl(int control, bool visible) = 0;
};

#endif
