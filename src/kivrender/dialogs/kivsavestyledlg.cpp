#include "kivrender/dialogs/kivsavestyledlg.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/platform/kivwindow.h"

namespace {

constexpr unsigned int textProgram = 52;

} // namespace

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
    if (event.change != KivControlChange::clicked ||
        (event.control != kivControlOk && event.control != kivControlCancel)) {
        return;
    }
    const std::wstring fault =
        event.control == kivControlOk && objection ? objection(getControlText(nameField)) : std::wstring();
    if (fault.empty()) {
        getWindow()->endModal(event.control);
    } else {
        KivToolkit::get().showMessage(getWindow(), fault, kivText(textProgram), KivMessageKind::Error);
    }
}
