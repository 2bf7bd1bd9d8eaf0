// The panel in which the user picks a style, the base look and any number of combinable shaders, and edits the pages of
// each as tabs. It reads and writes a KivDataManager (with a KivAverageDataManager, that of several objects), keeps a
// live preview, and saves and removes styles. Closing it with OK saves; the window is then hidden, not destroyed.
//
// Texts that name a shader are tags or display names. Pages are numbered across shaders: those of the base look first,
// then those of each active combinable shader in the order of activation.
//
// Everything runs on the thread of the windows; a preview blocks it. Without a toolkit there is no window: Create
// returns 0, and all that would look at controls does nothing.
//
//     KivPropertiesDlg panel(window);
//     panel.Create(&stream, &commonSettings, KivPropertiesDlg::propertiesTemplate, window);
//     ...
//     panel.saveData(); // `stream` has what the user chose
//
// The pages come from the shaders, which must be loaded before and stay loaded as long as the dialog has them. Styles
// are read from and saved to the user's folder of styles (host/kivhostapplicationservices.h).
#ifndef KIVRENDER_DIALOGS_KIVPROPERTIESDLG_H
#define KIVRENDER_DIALOGS_KIVPROPERTIESDLG_H

#include "kivrender/dialogs/kivdialog.h"
#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/shader/kivshadercommunication.h"

#include <array>
#include <string>
#include <vector>

class KivCommonSettings;
class KivDataManager;
class KivPageDlg;
class KivShader;
struct KivStyleHead;

class KIV_API KivPropertiesDlg : public KivDialog {
public:
    // The templates, in the language module: the usual one, and the one whose changes leave the document's mark alone.
    static constexpr unsigned int propertiesTemplate = 12047;
    static constexpr unsigned int fixedDataTemplate = 19014;
    // Their controls.
    // The list of styles with its two buttons, the preview, the trees of shaders, the row of tabs.
    static constexpr int stylesCombo = 101;
    static constexpr int saveStyleButton = 102;
    static constexpr int removeStyleButton = 103;
    static constexpr int previewPicture = 104;
    static constexpr int previewBox = 105;
    static constexpr int nonCombinableBox = 106;
    static constexpr int nonCombinableTree = 107;
    static constexpr int combinableTree = 108;
    static constexpr int pagesTab = 109;
    static constexpr int groupFrame = 110; // around the base look
    // Icons of the language module: of the two buttons, and of the styles, where the first is of no folder.
    static constexpr unsigned int saveIcon = 194;
    static constexpr unsigned int removeIcon = 131;
    static constexpr std::array<unsigned int, 4> styleIcons = {12150, 12151, 12152, 12153};
    // From the last change to the preview, in milliseconds.
    static constexpr unsigned int previewDelay = 400;
    // What the parent window receives when the delay is over, with 0 and 0.
    static constexpr unsigned int previewMessage = 32768;

    // parent: the window that receives previewMessage and that boxes belong to; may be null.
    explicit KivPropertiesDlg(HWND parent = nullptr);
    ~KivPropertiesDlg() override;

    using KivDialog::Create;
    // Makes the window, hidden, and shows the manager's settings in it. Manager and settings are not owned and may be
    // null; the settings are those of which the preview takes what it does not set itself. Non-zero on success.
    int Create(KivDataManager* manager, KivCommonSettings* settings, unsigned int templateId, HWND parent);
    // Destroys the pages made for this dialog as well.
    int DestroyWindow() override;

    // Shows another manager's settings; null for none. Not owned.
    void setData(KivDataManager* manager);
    // Writes what stands in the dialog into the manager as a complete stream, in place of what it held, and whether the
    // preview is on to the host.
    void saveData();

    // A dialog that is not active has no current shaders.
    void setActive(bool flag);
    bool isActive() const;
    // Whether a host keeps it as made; nothing here reads it.
    bool getIsCreated() const;
    void setIsCreated(bool value);
    // Whether the user has changed anything since the last load or changesWritten.
    bool isChanged() const;
    void setChanged(bool value);
    void changesWritten();
    // The box of the base look: 0 off, 1 on, 2 indeterminate.
    int checkNonCombinableState() const;
    void setCheckNonCombinableState(int state);

    // What a page calls when the user edits a value: an edited style is no longer that style.
    void resetStyle();
    // Draws the preview now, without the delay.
    void showPreview();
    // Makes the shader's pages for this dialog, unless they exist.
    void initShaderPages(KivShader* shader);
    // Puts a page's window behind the tabs.
    void PositionTabDialog(KivDialog* page);
    HINSTANCE getModuleState() const;

protected:
    void onControl(const KivControlEvent& event) override;
    // Turns a copy of the settings given to Create into those of the preview: 110 by 110 pixels, not smoothed, plain. A
    // host that has the time for a finer picture calls this first and then changes what it wants.
    virtual void fillPreviewCommonSettings(KivCommonSettings* settings) const;

private:
    // What a tab shows.
    struct TabPlace {
        KivShader* shader = nullptr;
        int index = 0; // of the page in its shader
    };

    // --- What happens to the window and its controls.
    void OnInitDialog();
    void OnDestroy();
    void OnOK();
    void OnCancel();
    void OnTimer();
    void OnBnClickedCheckPreview();
    void OnBnClickedCheckNonCombinable();
    void OnSelchangeStylesCombo();
    void OnSelchangedNonCombinableTree();
    void OnSetfocusNonCombinableTree();
    void OnClickCombinableTree(int item);
    void OnSelchangeTab();
    void OnSaveStyle();
    void OnRemoveStyle();
    void OnSize();

    // --- From the library to the controls.
    void fillStylesCombo();
    void fillStylesComboFrom(int kind);
    void fillShadersTrees();
    void refreshDlg();
    void unsetDlgSettings();
    void clearActive();

    // --- From a stream to the dialog.
    void loadData();
    void loadNothing();
    void forgetVaried();
    void loadStyleLine();
    std::wstring loadNonCombinableLine();
    std::wstring loadCombinableLine();
    void loadShaderData(const wchar_t* text);

    // --- Which shaders are chosen.
    void loadShader(const wchar_t* text);
    void selectShader(const wchar_t* text);
    void selectNonCombinableShader(const std::wstring& name);
    void selectCombinableShader(const std::wstring& name);
    void checkCombinableShader(const std::wstring& text);
    void uncheckCombinableShaders();
    void addCombinableShader(const std::wstring& text);
    void removeCombinableShader(const std::wstring& text);
    void enableNonCombinable(int state, bool enabled);
    void clearBold();
    KivShader* getSelectedNonCombinable() const;
    std::vector<std::wstring> getCheckedCombinables() const;

    int getPageCount(KivShader* shader) const;
    TabPlace findTab(int tab) const;
    KivPageDlg* getCurrentTabPage() const;
    void hideCurrentTab();
    void showTabs(bool visible);
    void addTabs(KivShader* shader);
    void refreshTabs();

    void resetTimer();
    void stopTimer();
    void deletePreviewBitmap();
    void renderPreview();
    std::wstring getNonCombinableShaderFromDialog() const;

    bool loadStyle(const std::wstring& path);
    bool loadGeneralData(const std::wstring& path);
    bool saveStyle(const std::wstring& path);
    int findStyle(const std::wstring& name) const;

    KivDataManager* dataManager = nullptr;
    int previewEnabled = 0;
    KivShader* currentNonCombinable = nullptr;
    // Each shader is in it but once, so that as many as can be loaded have room.
    std::array<KivShader*, kivMaxShaders> activeCombinable{};
    int activeCombinableCount = 0;
    int currentTab = 0;
    KivBitmapManager previewBitmap;
    std::vector<std::wstring> stylePaths; // beside the items of stylesCombo
    KivCommonSettings* commonSettings = nullptr;
    unsigned int previewTimer = 0;
    bool updating = false; // the dialog changes its controls itself: what they tell is not the user's doing
    bool changed = false;
    // What the stream was marked with, until the user has decided.
    bool nonCombinableVaried = false;
    bool combinableVaried = false;
    bool styleVaried = false;
    bool active = false;
    KivShaderCommunication shaderCommunication;
    bool fixedData = false;
    bool created = false;
    int selectedNonCombinable = -1; // the item of nonCombinableTree that was seen selected last
};

#endif
