// Asks the user for the name of a style. What names will do is the caller's affair (shader/kivstylefile.h).
//
//     KivSaveStyleDlg dialog(window);
//     dialog.name = L"My comic";
//     dialog.objection = [](const std::wstring& name) { return isTaken(name) ? L"is there already" : L""; };
//     if (dialog.DoModal() == kivControlOk) { save(dialog.name); }
#ifndef KIVRENDER_DIALOGS_KIVSAVESTYLEDLG_H
#define KIVRENDER_DIALOGS_KIVSAVESTYLEDLG_H

#include "kivrender/dialogs/kivdialog.h"

#include <functional>
#include <string>

class KIV_API KivSaveStyleDlg : public KivDialog {
public:
    // The number of the template, which is in the language module, and of its edit field.
    static constexpr unsigned int saveStyleTemplate = 12101;
    static constexpr int nameField = 101;

    explicit KivSaveStyleDlg(HWND parent = nullptr);

    // Shows the dialog with name in its field until it is closed. kivControlOk, with what the user wrote in name, or
    // kivControlCancel, with name as it was; the latter too without a toolkit or a template.
    int DoModal();

    std::wstring name;
    // The fault of a name as one line, empty if it will do. With it the dialog tells the user and stays open
    // until the name is a good one.
    std::function<std::wstring(const std::wstring&)> objection;

protected:
    void onControl(const KivControlEvent& event) override;
};

#endif
