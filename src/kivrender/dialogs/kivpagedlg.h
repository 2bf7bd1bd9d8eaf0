// A property page of a shader inside the properties dialog: ties the controls of a window to a KivPageSettings. A
// plug-in derives from it, sets settings and supplies the two pure operations. Without a toolkit the page has no window
// and its settings load and save all the same.
//
// The order of the virtual operations is part of the binary interface.
//
// Most plug-ins take KivShaderPage of the kit, which makes its controls from the table of settings, and derive nothing.
// The page belongs to its shader, which deletes it; the dialog only shows it. All calls on the thread of the windows.
#ifndef KIVRENDER_DIALOGS_KIVPAGEDLG_H
#define KIVRENDER_DIALOGS_KIVPAGEDLG_H

#include "kivrender/dialogs/kivdialog.h"
#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

class KivDataManager;
class KivPageSettings;
class KivPropertiesDlg;

class KIV_API KivPageDlg : public KivDialog {
public:
    explicit KivPageDlg(unsigned int templateId, HWND parent = nullptr, HINSTANCE resources = nullptr);
    ~KivPageDlg() override;

    // Moves the values of the controls into the settings, and back. Without a window there is nothing to move.
    virtual void saveControls() = 0;
    virtual void loadControls() = 0;

    // As KivDialog's, within the window of a properties dialog.
    int Create(unsigned int templateId, HWND parent) override;
    int DestroyWindow() override;

    // The dialog that shows the page; not owned, null at first.
    void setPropertiesDlg(KivPropertiesDlg* dlg);
    KivPropertiesDlg* getPropertiesDlg() const;

    // The settings with what stands in the controls. Null if the page has none.
    KivPageSettings* getSettings();
    // Read and write the page's section of a stream, controls included.
    void loadData(KivDataManager* manager);
    void saveData(KivDataManager* manager);

    // Settings from a table that are varied among several objects no longer are, on the page as well.
    void forgetVaried();

    // What the page calls whenever the user edits a value: tells the dialog, if its window is open.
    void resetStyle();

    // The module that holds the page's texts and templates.
    HINSTANCE getModuleState() const;

protected:
    // The control's place in the page's client area, in pixels. out stays as it was without a window or such a control.
    void getDlgItemRect(int id, RECT* out) const;

    KivPageSettings* settings = nullptr; // set by the derived class and owned by it
    KivPropertiesDlg* propertiesDlg = nullptr;
    bool pageFlag = false; // for the derived class
};

#endif
