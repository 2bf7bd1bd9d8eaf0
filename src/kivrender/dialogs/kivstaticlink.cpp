#include "kivrender/dialogs/kivstaticlink.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivwindow.h"

void KivStaticLink::attach(HWND window, int control) {
    owner = window;
    number = control;
    if (owner != nullptr) {
        owner->setLink(number, textColor);
    }
}

bool KivStaticLink::click() {
    if (link.empty() && owner != nullptr) {
        link = owner->getText(number);
    }
    if (link.empty() && owner != nullptr) {
        link = kivText(static_cast<unsigned int>(number));
    }
    if (link.empty() && owner != nullptr) {
        owner->beep();
    }
    return !link.empty();
}
