#include "kivrender/dialogs/kivtooltipmanager.h"

#include "kivrender/dialogs/kivdialog.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwindow.h"

namespace {

constexpr const wchar_t* expandRows = L"TOOLTIPEXPAND";

std::wstring textOf(int control) {
    return kivText(static_cast<unsigned int>(control));
}

} // namespace

// That goes for a list box that expands its rows as well: the word that says so stands in for a tip until the mouse
// moves over the box for the first time.
void KivTooltipManager::tooltipOnInitDialog(KivDialog& dialog) {
    KivWindow* const window = dialog.getWindow();
    if (window == nullptr) {
        return;
    }
    for (const int control : window->getControls()) {
        if (const std::wstring text = textOf(control); !text.empty()) {
            window->setToolTip(control, text);
        }
    }
}

void KivTooltipManager::tooltipPreTranslateMessage(const KivControlEvent& event, const KivDialog& dialog) {
    KivWindow* const window = dialog.getWindow();
    if (event.change == KivControlChange::pointed && window != nullptr) {
        ListBoxTextExpand(event, *window);
    }
}

void KivTooltipManager::ListBoxTextExpand(const KivControlEvent& event, KivWindow& window) {
    if (!window.isListBox(event.control) || !kivEqualNoCase(textOf(event.control), expandRows)) {
        return;
    }
    const bool inRow = event.item >= 0 && event.item < window.getItemCount(event.control);
    window.setToolTip(event.control, inRow ? window.getItemText(event.control, event.item) : std::wstring());
}
