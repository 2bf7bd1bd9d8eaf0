// A static control of a dialog that shows a colour and lets the user pick another with a click. The control belongs to
// the dialog's window; without a window the colour is kept all the same.
//
// A page has one for each colour, as a member, and calls click when its window tells of a click on the control
// (KivDialog::onControl). Copies would fight over one control: it is not meant to be copied once attached.
#ifndef KIVRENDER_DIALOGS_KIVCOLORCONTROL_H
#define KIVRENDER_DIALOGS_KIVCOLORCONTROL_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>

class KIV_API KivColorControl {
public:
    // Ties it to a control of a window, which shows the colour from now on. window: not owned, null to untie.
    void attach(HWND window, int control);

    // Red in the low byte; 0 at first.
    std::uint32_t getColor() const;
    void setColor(std::uint32_t value);

    // The user's click: asks the host for a colour. After a cancel it is the old one. Whether or not a colour was
    // picked, the dialog goes on with the click itself.
    void click();

private:
    std::uint32_t color = 0;
    HWND owner = nullptr;
    int number = 0;
};

#endif
