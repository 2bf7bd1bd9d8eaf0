// A window made from a dialog template of a resource module. Its controls are addressed by number, as in the template;
// a number without a control is passed over, and asking for its state gives the empty one (no text, off, 0, -1). Made
// by KivToolkit::createWindow, destroyed by its owner. All calls come on the thread of the windows.
//
// Texts and selections that the logic changes by these calls may be reported to it like a user's change: dialogs guard
// themselves. The check state of a box or of a radio button is only reported when the user has changed it.
#ifndef KIVRENDER_PLATFORM_KIVWINDOW_H
#define KIVRENDER_PLATFORM_KIVWINDOW_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// What happened to a control.
enum class KivControlChange {
    clicked,     // a button, a check box or radio button (whose state is new already), a colour, a link
    selected,    // another item of a combo box, a tree or a row of tabs is current
    edited,      // the text of an edit field, or the number in a number field, is another, by whatever hand
    focused,     // the control got the keyboard
    left,        // the control lost the keyboard
    checkToggle, // the check mark of a tree's item is about to flip, by mouse or key: its state is still the old one
    pointed,     // the mouse moves over a control: over its own item, where it is a list box, or over none of them
    resized      // the window's client area has another size; control is 0
};

struct KivControlEvent {
    int control = 0;
    KivControlChange change = KivControlChange::clicked;
    int item = -1; // of a checkToggle and of a list box that is pointed at
};

// The numbers of the two buttons that end a dialog, in every template.
inline constexpr int kivControlOk = 1;
inline constexpr int kivControlCancel = 2;

struct KIV_API KivWindow {
    KivWindow() = default;
    KivWindow(const KivWindow&) = delete;
    KivWindow& operator=(const KivWindow&) = delete;
    virtual ~KivWindow();

    // --- the window itself ---

    virtual void show(bool visible) = 0;
    virtual void enable(bool enabled) = 0;
    // With or without a title bar: a page inside a dialog has none. Neither position nor size changes.
    virtual void setCaption(bool caption) = 0;
    virtual void redraw() = 0;
    virtual std::wstring getTitle() const = 0;
    // In pixels.
    virtual SIZE getClientSize() const = 0;
    // Calls back for each event until the window ends or another is set; an empty one for none. The window may be
    // destroyed only after the call has returned.
    virtual void setListener(std::function<void(const KivControlEvent&)> listener) = 0;
    // Shows the window and blocks its owner until endModal, whose result it returns.
    virtual int runModal() = 0;
    virtual void endModal(int result) = 0;
    // A message from a dialog to the window it belongs to. What it does there is the host's affair.
    virtual void receive(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) = 0;

    // --- all controls ---

    // The controls in the order of the template.
    virtual std::vector<int> getControls() const = 0;
    // A number field's text is its number in plain notation, with a point and without a unit.
    virtual std::wstring getText(int control) const = 0;
    virtual void setText(int control, const std::wstring& text) = 0;
    virtual void enableControl(int control, bool enabled) = 0;
    virtual void showControl(int control, bool visible) = 0;
    virtual bool isControlEnabled(int control) const = 0;
    virtual bool hasFocus(int control) const = 0;
    // In pixels of the window's client area. False, with out as it was, for an unknown control.
    virtual bool getControlRect(int control, RECT* out) const = 0;
    // Puts a control elsewhere in the client area, in pixels. One that stands in a layout of its template stays where
    // the layout puts it.
    virtual void placeControl(int control, const RECT& place) = 0;
    virtual bool isListBox(int control) const = 0;
    // Empty for no tip.
    virtual void setToolTip(int control, const std::wstring& text) = 0;

    // Whether the control stands for several values that differ: it then shows none of them. The user's first change
    // ends it, and so does a text, check state, selection or fill that is set.
    virtual void setVaried(int control, bool varied) = 0;
    virtual bool isVaried(int control) const = 0;

    // --- check boxes and radio buttons: 0 off, 1 on, 2 indeterminate ---

    virtual int getCheck(int control) const = 0;
    // A radio button that goes on puts the others of its group off.
    virtual void setCheck(int control, int state) = 0;

    // --- combo boxes, list boxes, trees (of one level) and rows of tabs: items from 0 ---

    // index: where the item goes, -1 for the end. image: of those set, from 0; -1 for none.
    virtual void insertItem(int control, int index, const std::wstring& text, int image) = 0;
    virtual void removeItem(int control, int index) = 0;
    virtual int getItemCount(int control) const = 0;
    virtual std::wstring getItemText(int control, int index) const = 0;
    virtual int getItemImage(int control, int index) const = 0;
    // -1 for none.
    virtual int getSelection(int control) const = 0;
    virtual void setSelection(int control, int index) = 0;
    // The items have check marks from now on, off at first.
    virtual void setCheckable(int control) = 0;
    virtual bool isItemChecked(int control, int index) const = 0;
    virtual void checkItem(int control, int index, bool checked) = 0;
    virtual void setItemBold(int control, int index, bool bold) = 0;
    // The icons of the items, by number in a resource module (null: the language module).
    virtual void setImages(int control, HINSTANCE resources, const std::vector<unsigned int>& icons) = 0;

    // --- pictures, colours, links, pages ---

    // The icon of a button.
    virtual void setIcon(int control, HINSTANCE resources, unsigned int icon) = 0;
    // The picture that a static control shows, null for none. The bitmap stays its owner's, who takes it from here
    // before it is deleted.
    virtual void setPicture(int control, HBITMAP bitmap) = 0;
    // Fills the control with a colour, red in the low byte, while it is enabled; a disabled one looks like its window.
    virtual void setFill(int control, std::uint32_t color) = 0;
    // The text of a static control looks like a link: underlined, in this colour, under a hand.
    virtual void setLink(int control, std::uint32_t textColor) = 0;
    virtual void beep() = 0;
    // Puts another window of the same toolkit as a child into the control's display area, behind a row of tabs say, and
    // lets it follow the area's size.
    virtual void placeInside(int control, KivWindow* page) = 0;
};

#endif
