#include "kivrender/dialogs/kivsavestyledlg.h"

#include "kivrender/platform/kivwindow.h"

KivSaveStyleDlg::KivSaveStyleDlg(HWND parent) : KivDialog(saveStyleTemplate, parent) {}

int KivSaveStyleDlg::DoModal() {
    if (Create(saveStyleTemplate, getParent()) == 0) {
        return kivControlCancel;
    }
    setControlText(nameField, name);
    const int result = getWindow()->runModal();
    if (result == kivControlOk) {
        name = getControlText(nameField);
    }
    DestroyWindow();
    return result == kivControlOk ? kivControlOk : kivControlCancel;
}

void KivSaveStyleDlg::onControl(const KivControlEvent& event) {
    if (event.change == KivControlChange::clicked &&
        (event.control == kivControlOk || event.control == kivControlCancel)) {
        getWindow()->endModal(event.control);
    }
}
