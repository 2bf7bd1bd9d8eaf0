#include "kivrender/dialogs/kivcolorcontrol.h"

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivwindow.h"

void KivColorControl::attach(HWND window, int control) {
    owner = window;
    number = control;
    setColor(color);
}

std::uint32_t KivColorControl::getColor() const {
    return color;
}

void KivColorControl::setColor(std::uint32_t value) {
    color = value;
    if (owner != nullptr) {
        owner->setFill(number, color);
    }
}

void KivColorControl::click() {
    KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost();
    std::uint32_t picked = color;
    if (host != nullptr && host->getColorDialog(owner, picked) != 0) {
        setColor(picked);
    }
}
