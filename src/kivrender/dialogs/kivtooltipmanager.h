// Tool tips for the dialogs of plug-ins, from the texts of the language module: the text with a control's own number is
// the control's tip. A plug-in's dialog calls the one operation when its window is made and the other with every event
// that it hears; the library's own dialogs have their tips in their templates and use neither.
//
// The window shows and hides the tips by itself (KivWindow::setToolTip), so that no tip control is made, and no mouse
// message is handed on to one: of all mouse messages only the pointer over a control matters here
// (KivControlChange::pointed), and it names the dialog's own control, and the row of a list box, already.
#ifndef KIVRENDER_DIALOGS_KIVTOOLTIPMANAGER_H
#define KIVRENDER_DIALOGS_KIVTOOLTIPMANAGER_H

#include "kivrender/platform/kivexport.h"

class KivDialog;
struct KivControlEvent;
struct KivWindow;

class KIV_API KivTooltipManager {
public:
    KivTooltipManager() = delete; // it has no state

    // Gives each control whose number is that of a text this text as its tip. The others keep what they have. Does
    // nothing without a window.
    static void tooltipOnInitDialog(KivDialog& dialog);
    // Brings the tip of a control that the mouse moves over up to date. All other events, and controls that are none of
    // the dialog's, are passed over.
    static void tooltipPreTranslateMessage(const KivControlEvent& event, const KivDialog& dialog);

private:
    // A list box whose text is "TOOLTIPEXPAND", in letters of either case, has the row under the cursor as its tip, for
    // rows too long to read, and none beside the rows.
    static void ListBoxTextExpand(const KivControlEvent& event, KivWindow& window);
};

#endif
