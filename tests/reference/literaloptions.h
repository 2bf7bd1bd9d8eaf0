// The options form as a table of rules: what each control is after each thing that a user can do, without a window.
#ifndef TESTS_REFERENCE_LITERALOPTIONS_H
#define TESTS_REFERENCE_LITERALOPTIONS_H

#include "kivrender/dialogs/kivoptionsdlg.h"

#include <cwchar>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct LiteralOptions {
    using Dlg = KivOptionsDlg;
    using Controls = std::vector<int>;

    struct Control {
        bool on = false;
        bool enabled = true;
        std::wstring text;
    };
    // What a click that leaves a box on or off does, if a second box (0: whatever else) is on.
    struct Rule {
        int box;
        bool on;
        int onlyWith;
        Controls clears;
        Controls enables;
        Controls disables;
    };

    LiteralOptions(const KivCommonSettings& settings, bool lock, SIZE proportions, std::wstring defaultFolder)
        : aspect(proportions), noFolder(std::move(defaultFolder)) {
        for (int control = Dlg::ambientCaption; control <= Dlg::folderBrowse; ++control) {
            controls[control] = {};
        }
        controls[Dlg::aspectBox].on = lock;
        controls[Dlg::folderField].text = noFolder;
        controls[Dlg::backgroundField].text = settings.getBackgroundImage();
        controls[Dlg::paperField].text = settings.getPaperImage();
        controls[Dlg::renderField].text = settings.getSaveRenderFile();
        controls[Dlg::vectorField].text = settings.getSaveVectorFile();
        controls[Dlg::antialiasNone].on = settings.getAntialias() == 0;
        controls[Dlg::antialiasTwo].on = settings.getAntialias() == 1;
        controls[Dlg::antialiasFour].on = settings.getAntialias() == 2;
        controls[Dlg::speedFirst].on = settings.getVectorialSpeed() == 0;
        controls[Dlg::speedSecond].on = settings.getVectorialSpeed() == 1;
        controls[Dlg::isoparamsBox].on = settings.doRenderIsoparams() != 0;
        controls[Dlg::dimensionsBox].on = settings.doRenderDim();
        controls[Dlg::vectorialBox].on = settings.doVectorial();
        controls[Dlg::transparenciesBox].on = settings.doTransparencies();
        controls[Dlg::shadowsBox].on = settings.doShadows();
        controls[Dlg::saveShadowsBox].on = settings.doSaveShadows();
        controls[Dlg::saveDepthBox].on = settings.doSaveDepth();
        controls[Dlg::saveRenderBox].on = settings.doSaveRender();
        controls[Dlg::simplifyBox].on = settings.doVectorSimplify();
        enable(vectorControls, settings.doVectorial());
        enable(antialiasControls, !settings.doVectorial());
        enable({Dlg::renderField, Dlg::renderBrowse}, false);
        enable({Dlg::saveShadowsBox}, settings.doShadows() && settings.doSaveRender());
        enable({Dlg::saveDepthBox}, settings.doSaveRender());
        showSize(settings.getCustomSize(), settings.getResolution());
    }

    // picked: what a picker gives, nothing for a cancel. None of these touches what is disabled.
    void clickBox(int box, const std::optional<std::wstring>& picked) {
        if (!controls[box].enabled) {
            return;
        }
        const bool on = !controls[box].on;
        const int field = box == Dlg::vectorialBox    ? Dlg::vectorField
                          : box == Dlg::saveRenderBox ? Dlg::renderField
                                                      : 0;
        if (on && field != 0 && controls[field].text.empty()) {
            if (!picked) {
                return;
            }
            controls[field].text = *picked;
        }
        controls[box].on = on;
        for (const Rule& rule : rules()) {
            if (rule.box == box && rule.on == on && (rule.onlyWith == 0 || controls[rule.onlyWith].on)) {
                for (const int cleared : rule.clears) {
                    controls[cleared].on = false;
                }
                enable(rule.disables, false);
                enable(rule.enables, true);
            }
        }
    }
    void clickRadio(const Controls& group, int button) {
        if (!controls[button].enabled) {
            return;
        }
        for (const int other : group) {
            controls[other].on = other == button;
        }
    }
    void browse(int button, int field, const std::optional<std::wstring>& picked) {
        if (controls[button].enabled && picked) {
            controls[field].text = *picked;
        }
    }
    void type(int field, const std::wstring& text) {
        if (!controls[field].enabled) {
            return;
        }
        if (field != Dlg::folderField && focus == Dlg::folderField && controls[focus].text.empty()) {
            controls[focus].text = noFolder;
        }
        focus = field;
        if (controls[field].text == text) {
            return;
        }
        controls[field].text = text;
        if (controls[Dlg::aspectBox].on && field == Dlg::widthField) {
            controls[Dlg::heightField].text = std::to_wstring(number(text) * aspect.cy / aspect.cx);
        } else if (controls[Dlg::aspectBox].on && field == Dlg::heightField) {
            controls[Dlg::widthField].text = std::to_wstring(number(text) * aspect.cx / aspect.cy);
        }
    }
    void chooseSize(int entry) {
        static const std::map<int, SIZE> known = {{1, {640, 480}}, {2, {800, 600}}, {3, {1024, 768}}, {4, {1280, 960}}};
        size = entry;
        enable({Dlg::widthField, Dlg::heightField, Dlg::aspectBox}, entry == 5);
        if (known.count(entry) != 0) {
            controls[Dlg::widthField].text = std::to_wstring(known.at(entry).cx);
            controls[Dlg::heightField].text = std::to_wstring(known.at(entry).cy);
        }
    }

    static long number(const std::wstring& text) {
        return std::wcstol(text.c_str(), nullptr, 10);
    }

    std::map<int, Control> controls;
    int size = 0; // the entry of the list

private:
    static const std::vector<Rule>& rules() {
        static const Controls outputs = {Dlg::renderField, Dlg::renderBrowse, Dlg::saveShadowsBox, Dlg::saveDepthBox};
        static const std::vector<Rule> all = {
            {Dlg::transparenciesBox, true, 0, {Dlg::vectorialBox}, antialiasControls, vectorControls},
            {Dlg::shadowsBox, true, 0, {Dlg::vectorialBox}, antialiasControls, vectorControls},
            {Dlg::shadowsBox, true, Dlg::saveRenderBox, {}, outputs, {}},
            {Dlg::shadowsBox, false, 0, {}, {}, {Dlg::saveShadowsBox}},
            {Dlg::vectorialBox,
             true,
             0,
             {Dlg::transparenciesBox, Dlg::shadowsBox, Dlg::saveRenderBox},
             vectorControls,
             antialiasControls},
            {Dlg::vectorialBox, true, 0, {}, {}, outputs},
            {Dlg::vectorialBox, false, 0, {}, antialiasControls, vectorControls},
            {Dlg::saveRenderBox, true, 0, {Dlg::vectorialBox}, antialiasControls, vectorControls},
            {Dlg::saveRenderBox, true, 0, {}, {Dlg::renderField, Dlg::renderBrowse, Dlg::saveDepthBox}, {}},
            {Dlg::saveRenderBox, true, Dlg::shadowsBox, {}, {Dlg::saveShadowsBox}, {}},
            {Dlg::saveRenderBox, false, 0, {}, {}, outputs}};
        return all;
    }
    void enable(const Controls& which, bool enabled) {
        for (const int control : which) {
            controls[control].enabled = enabled;
            focus = !enabled && focus == control ? 0 : focus;
        }
    }
    void showSize(bool custom, SIZE wanted) {
        controls[Dlg::widthField].text = std::to_wstring(wanted.cx);
        controls[Dlg::heightField].text = std::to_wstring(wanted.cy);
        chooseSize(0);
        for (int entry = 1; custom && size == 0; ++entry) {
            static const SIZE known[] = {{640, 480}, {800, 600}, {1024, 768}, {1280, 960}};
            if (entry == 5 || known[entry - 1] == wanted) {
                chooseSize(entry);
            }
        }
    }

    static inline const Controls vectorControls = {Dlg::vectorField, Dlg::vectorBrowse, Dlg::speedFirst,
                                                   Dlg::speedSecond, Dlg::simplifyBox};
    static inline const Controls antialiasControls = {Dlg::antialiasLabel, Dlg::antialiasNone, Dlg::antialiasTwo,
                                                      Dlg::antialiasFour};
    SIZE aspect;
    std::wstring noFolder;
    int focus = 0;
};

#endif
