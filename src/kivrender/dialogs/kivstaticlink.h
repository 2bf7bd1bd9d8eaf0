// A static control of a dialog whose text looks like a link. It opens nothing itself: the dialog sees the click. The
// control belongs to the dialog's window.
//
// A page has one as a member for each such text, calls click when the window tells of a click on the control, and opens
// what the link leads to if that returns true.
#ifndef KIVRENDER_DIALOGS_KIVSTATICLINK_H
#define KIVRENDER_DIALOGS_KIVSTATICLINK_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <string>

class KIV_API KivStaticLink {
public:
    // Ties it to a control of a window, which shows its text as a link from now on. window: not owned, null to untie.
    void attach(HWND window, int control);

    // The user's click. Whether the dialog goes on with it: an empty link becomes the control's text or, if that is
    // empty, the text of the language module with the control's number; without that either it beeps and the click
    // ends here.
    bool click();

    std::wstring link;
    std::uint32_t textColor = 0xff0000; // red in the low byte: blue

private:
    HWND owner = nullptr;
    int number = 0;
};

#endif
