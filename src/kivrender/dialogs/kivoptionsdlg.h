// The page on which a user edits the options of a render that belong to no shader (KivCommonSettings), kept in the
// host's KivCommonDataManager; the aspect lock and the folder of the off-screen file are preferences of the user. The
// host owns the window around it, and calls OnApply when that is confirmed and OnActivate when the page is shown.
//
// A host shows it as a page of its own dialog or as a dialog by itself:
//
//     KivOptionsDlg page;
//     if (page.Create(&shaders, &common, {view.width, view.height}, window) != 0) {
//         page.OnActivate(1);
//         ...
//         if (isConfirmed && !page.OnApply()) { ... } // the host's store refused
//     }
//
// The template lies in the language module and the window comes from the toolkit (kivrender/platform/kivtoolkit.h);
// without either Create fails, and settings are kept and loaded without a page as well. All calls on the thread of the
// windows.
#ifndef KIVRENDER_DIALOGS_KIVOPTIONSDLG_H
#define KIVRENDER_DIALOGS_KIVOPTIONSDLG_H

#include "kivrender/dialogs/kivcolorcontrol.h"
#include "kivrender/dialogs/kivdialog.h"
#include "kivrender/dialogs/kivstaticlink.h"
#include "kivrender/settings/kivcommonsettings.h"

#include <initializer_list>

class KivCommonDataManager;
class KivDataManager;

class KIV_API KivOptionsDlg : public KivDialog {
public:
    // The number of the template, which is in the language module, and of its controls.
    static constexpr unsigned int optionsTemplate = 12100;
    // The controls of the template, for hosts and tests that fill them in. The numbers count on from 101 in this order
    // and are part of the interface.
    enum Control {
        ambientCaption = 101,
        ambientColor,
        backgroundCaption,
        backgroundColor,
        // The list of usual sizes; the last entry is the user's own size, which the two fields hold in pixels.
        sizeChoice,
        widthField,
        heightField,
        aspectBox,
        antialiasLabel,
        antialiasNone, // radio buttons, in the order of the levels
        antialiasTwo,
        antialiasFour,
        // Paths of images with the buttons that browse for them; empty for none.
        backgroundField,
        backgroundBrowse,
        paperField,
        paperBrowse,
        // Which parts of a scene and which passes are drawn.
        isoparamsBox,
        dimensionsBox,
        transparenciesBox,
        shadowsBox,
        // Which files a render writes, and under which name.
        saveShadowsBox,
        saveDepthBox,
        saveRenderBox,
        renderField,
        renderBrowse,
        // Whether a drawing of lines and areas is made, its file, and how well its parts are ordered.
        vectorialBox,
        vectorField,
        vectorBrowse,
        speedFirst, // radio buttons
        speedSecond,
        simplifyBox,
        // The folder of the off-screen file; empty for the system's.
        folderField,
        folderBrowse
    };

    // parent: the window that dialogs of this page belong to, or null.
    explicit KivOptionsDlg(HWND parent = nullptr);

    using KivDialog::Create;
    // Makes the window and shows in it what the host keeps. The managers are not owned and must outlive the dialog;
    // proportions are those that the aspect lock keeps, both above 0. Non-zero on success, 0 without a toolkit, a
    // template or commonManager.
    int Create(KivDataManager* manager, KivCommonDataManager* commonManager, SIZE proportions, HWND parent);

    // Stores what stands in the controls, unchecked: text without a number counts as 0. False without a window or if
    // the host can't keep it.
    bool OnApply();
    // Shows the window if flag is not 0, hides it otherwise. Returns 1 in every case.
    int OnActivate(int flag);
    // Does nothing on purpose: what a cancel means is decided by the frame around the page.
    void OnCancel();

    // The working copy; the controls are only read into it by OnApply, except for the two colours.
    KivCommonSettings getCommonSettings() const;
    // The manager given to Create, for the host.
    KivDataManager* getDataManager() const;

protected:
    void onControl(const KivControlEvent& event) override;

private:
    // --- From the stores to the controls.
    void fillResolutionCombo();
    void loadBlockAspectRatio();
    void loadVirtualMemoryFolder();
    void loadCommonSettings();
    void showSize();
    void showPasses();

    // --- And back.
    void saveBlockAspectRatio() const;
    void saveVirtualMemoryFolder() const;
    void fillCommonSettingsFromControls();

    // --- What the user does. Each handler brings the controls in line that depend on the changed one.
    void onClicked(int control);
    void pickAmbientLight();
    void pickBackgroundColor();
    void onTransparencies();
    void onShadows();
    void onVectorial();
    void onRenderFile();
    void onSize();
    void onWidth();
    void onHeight();

    // --- Pickers; false if the user has cancelled.
    bool askForRenderFile();
    bool askForVectorFile();
    bool askForFile(int field, bool vectorial);
    void browseImage(int field);
    void browseFolder();

    // --- Check boxes, and controls in groups.
    bool isOn(int control) const;
    void setOn(int control, bool on);
    void enableControls(std::initializer_list<int> controls, bool enabled);
    void enableVector(bool enabled);
    void enableAntialias(bool enabled);
    void enableSize(bool enabled);

    KivStaticLink ambientLink; // the captions of the two colours
    KivStaticLink backgroundLink;
    KivColorControl ambientColorControl;
    KivColorControl backgroundColorControl;
    // Values as OnApply would store them.
    int vectorSpeed = 0;
    int blockAspectRatio = 0;
    KivCommonSettings settings;
    // Not owned.
    KivCommonDataManager* commonDataManager = nullptr;
    // Width to height as Create was given them; the aspect lock keeps their ratio.
    SIZE aspectSize = {};
    bool customSize = false;
    KivDataManager* dataManager = nullptr;
};

#endif
