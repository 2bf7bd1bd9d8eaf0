// What each box of the options form does to all the other controls.
#include "dialogs/optionsfixture.h"
#include "reference/literaloptions.h"
#include "support/rawrandom.h"

#include <functional>

namespace {

class KivOptionsDlgRules : public KivOptionsDlgTest {
protected:
    struct Look {
        bool on = false;
        bool enabled = true;
        bool operator==(const Look&) const = default;
    };
    static std::map<int, Look> looks(const WindowRecord& user) {
        std::map<int, Look> all;
        for (int control = Dlg::ambientCaption; control <= Dlg::folderBrowse; ++control) {
            all[control] = {user.at(control).check == 1, user.at(control).enabled};
        }
        return all;
    }
};

struct RuleCase {
    using Dlg = KivOptionsDlg;

    const char* name;
    std::function<void(KivCommonSettings&)> before;
    std::optional<std::wstring> picked;
    std::vector<int> clicks; // the last is the one that is looked at
    std::vector<int> goOn;
    std::vector<int> goOff;
    std::vector<int> becomeEnabled;
    std::vector<int> becomeDisabled;
    std::size_t questions = 0;
};

std::vector<int> operator+(std::vector<int> a, const std::vector<int>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

const std::vector<RuleCase>& ruleCases() {
    using Dlg = KivOptionsDlg;
    using Settings = KivCommonSettings;
    static const std::vector<int> vector = {Dlg::vectorField, Dlg::vectorBrowse, Dlg::speedFirst, Dlg::speedSecond,
                                            Dlg::simplifyBox};
    static const std::vector<int> smooth = {Dlg::antialiasLabel, Dlg::antialiasNone, Dlg::antialiasTwo,
                                            Dlg::antialiasFour};
    static const std::vector<int> file = {Dlg::renderField, Dlg::renderBrowse};
    const auto nothing = [](Settings&) {};
    const auto vectorial = [](Settings& s) {
        s.setVectorial(true);
        s.setSaveRenderFile(L"/a.png");
    };
    const auto named = [](Settings& s) {
        s.setSaveRenderFile(L"/a.png");
        s.setSaveVectorFile(L"/a.svg");
    };
    const auto all = [named](Settings& s) {
        named(s);
        s.setTransparencies(true);
        s.setShadows(true);
        s.setSaveRender(true);
    };
    const std::optional<std::wstring> pick = L"/picked";
    static const std::vector<RuleCase> cases = {
        {"transparencies on", nothing, {}, {Dlg::transparenciesBox}, {Dlg::transparenciesBox}, {}, {}, {}},
        {"transparencies on against vector output",
         vectorial,
         {},
         {Dlg::transparenciesBox},
         {Dlg::transparenciesBox},
         {Dlg::vectorialBox},
         smooth,
         vector},
        {"transparencies off", all, {}, {Dlg::transparenciesBox}, {}, {Dlg::transparenciesBox}, {}, {}},
        {"transparencies off where vector output is stored on all the same",
         [vectorial](Settings& s) {
             vectorial(s);
             s.setTransparencies(true);
         },
         {},
         {Dlg::transparenciesBox},
         {},
         {Dlg::transparenciesBox},
         {},
         {}},
        {"shadows on", nothing, {}, {Dlg::shadowsBox}, {Dlg::shadowsBox}, {}, {}, {}},
        {"shadows on against vector output",
         vectorial,
         {},
         {Dlg::shadowsBox},
         {Dlg::shadowsBox},
         {Dlg::vectorialBox},
         smooth,
         vector},
        {"shadows on where the render goes to a file",
         [](Settings& s) { s.setSaveRender(true); },
         {},
         {Dlg::shadowsBox},
         {Dlg::shadowsBox},
         {},
         file + std::vector<int>{Dlg::saveShadowsBox}, // the file's controls start disabled
         {}},
        {"shadows off where the render goes to a file",
         all,
         {},
         {Dlg::shadowsBox},
         {},
         {Dlg::shadowsBox},
         {},
         {Dlg::saveShadowsBox}},
        {"vector output on against all else",
         all,
         {},
         {Dlg::saveRenderBox, Dlg::saveRenderBox, Dlg::vectorialBox},
         {Dlg::vectorialBox},
         {Dlg::transparenciesBox, Dlg::shadowsBox, Dlg::saveRenderBox},
         vector,
         smooth + file + std::vector<int>{Dlg::saveShadowsBox, Dlg::saveDepthBox}},
        {"vector output on, cancelled",
         [](Settings& s) {
             s.setTransparencies(true);
             s.setShadows(true);
         },
         {},
         {Dlg::vectorialBox},
         {},
         {},
         {},
         {},
         1},
        {"vector output on, with a name picked",
         [](Settings& s) { s.setTransparencies(true); },
         pick,
         {Dlg::vectorialBox},
         {Dlg::vectorialBox},
         {Dlg::transparenciesBox},
         vector,
         smooth,
         1},
        {"vector output off", vectorial, {}, {Dlg::vectorialBox}, {}, {Dlg::vectorialBox}, smooth, vector},
        {"render to a file on against vector output",
         vectorial,
         {},
         {Dlg::saveRenderBox},
         {Dlg::saveRenderBox},
         {Dlg::vectorialBox},
         smooth + file + std::vector<int>{Dlg::saveDepthBox},
         vector},
        {"render to a file on with shadows",
         [named](Settings& s) {
             named(s);
             s.setShadows(true);
         },
         {},
         {Dlg::saveRenderBox},
         {Dlg::saveRenderBox},
         {},
         file + std::vector<int>{Dlg::saveDepthBox, Dlg::saveShadowsBox},
         {}},
        {"render to a file on, cancelled, against vector output",
         [](Settings& s) { s.setVectorial(true); },
         {},
         {Dlg::saveRenderBox},
         {},
         {},
         {},
         {},
         1},
        {"render to a file on, with a name picked",
         nothing,
         pick,
         {Dlg::saveRenderBox},
         {Dlg::saveRenderBox},
         {},
         file + std::vector<int>{Dlg::saveDepthBox},
         {},
         1},
        {"render to a file off",
         all,
         {},
         {Dlg::shadowsBox, Dlg::shadowsBox, Dlg::saveRenderBox},
         {},
         {Dlg::saveRenderBox},
         {},
         file + std::vector<int>{Dlg::saveDepthBox, Dlg::saveShadowsBox}},
        {"a box without a rule", all, {}, {Dlg::saveDepthBox}, {Dlg::saveDepthBox}, {}, {}, {}}};
    return cases;
}

TEST_F(KivOptionsDlgRules, EachBoxChangesWhatItsRuleSaysAndNothingElse) {
    for (const RuleCase& rule : ruleCases()) {
        SCOPED_TRACE(rule.name);
        stored = KivCommonSettings();
        rule.before(stored);
        WindowRecord& user = open();
        toolkit.files.clear();
        toolkit.pickedFile = rule.picked;
        for (std::size_t i = 0; i + 1 < rule.clicks.size(); ++i) {
            EXPECT_TRUE(user.clickCheck(rule.clicks[i]));
        }
        std::map<int, Look> expected = looks(user);
        const auto change = [&](const std::vector<int>& controls, bool Look::*what, bool value) {
            for (const int control : controls) {
                EXPECT_NE(expected[control].*what, value) << "control " << control << " is so before";
                expected[control].*what = value;
            }
        };
        change(rule.goOn, &Look::on, true);
        change(rule.goOff, &Look::on, false);
        change(rule.becomeEnabled, &Look::enabled, true);
        change(rule.becomeDisabled, &Look::enabled, false);
        EXPECT_TRUE(user.clickCheck(rule.clicks.back()));
        for (const auto& [control, look] : looks(user)) {
            EXPECT_EQ(look.on, expected[control].on) << "control " << control;
            EXPECT_EQ(look.enabled, expected[control].enabled) << "control " << control;
        }
        EXPECT_EQ(toolkit.files.size(), rule.questions);
    }
}

TEST_F(KivOptionsDlgRules, ARenderFileThatIsCancelledLeavesAllAsItWas) {
    stored.setVectorial(true);
    WindowRecord& user = open();
    const std::map<int, Look> before = looks(user);
    EXPECT_TRUE(user.clickCheck(Dlg::saveRenderBox));
    EXPECT_EQ(looks(user), before);
    EXPECT_EQ(user.at(Dlg::renderField).text, L"");
    EXPECT_FALSE(apply().doSaveRender());
    EXPECT_TRUE(apply().doVectorial());
}

// --- all at once, against the table of rules

class KivOptionsDlgModel : public KivOptionsDlgRules {
protected:
    KivCommonSettings anySettings(RawRandom& random) {
        static const SIZE sizes[] = {{640, 480}, {800, 600}, {1024, 768}, {1280, 960}, {801, 600}, {0, 0}};
        KivCommonSettings settings;
        settings.setCustomSize(random.chance(2));
        settings.setResolution(sizes[random.below(6)]);
        settings.setAntialias(static_cast<int>(random.below(3)));
        settings.setVectorialSpeed(static_cast<int>(random.below(2)));
        settings.setVectorial(random.chance(2));
        settings.setTransparencies(!settings.doVectorial() && random.chance(2));
        settings.setShadows(!settings.doVectorial() && random.chance(2));
        settings.setSaveRender(!settings.doVectorial() && random.chance(2));
        settings.setSaveShadows(random.chance(2));
        settings.setSaveDepth(random.chance(2));
        settings.setRenderDim(random.chance(2));
        settings.setRenderIsoparams(random.chance(2) ? 1 : 0);
        settings.setVectorSimplify(random.chance(2));
        settings.setSaveVectorFile(random.chance(2) ? L"" : L"/a.svg");
        settings.setSaveRenderFile(random.chance(2) ? L"" : L"/a.png");
        return settings;
    }
    // One thing that a user may do, to the dialog and to the model.
    void act(RawRandom& random, WindowRecord& user, LiteralOptions& model) {
        static const int boxes[] = {Dlg::transparenciesBox, Dlg::shadowsBox,     Dlg::vectorialBox, Dlg::saveRenderBox,
                                    Dlg::saveDepthBox,      Dlg::saveShadowsBox, Dlg::simplifyBox,  Dlg::isoparamsBox,
                                    Dlg::dimensionsBox,     Dlg::aspectBox};
        static const int fields[] = {Dlg::widthField,  Dlg::heightField, Dlg::backgroundField, Dlg::paperField,
                                     Dlg::renderField, Dlg::vectorField, Dlg::folderField};
        static const wchar_t* const texts[] = {L"", L"17", L"4000", L"no number", L"/typed.svg"};
        static const int browsers[][2] = {{Dlg::backgroundBrowse, Dlg::backgroundField},
                                          {Dlg::paperBrowse, Dlg::paperField},
                                          {Dlg::renderBrowse, Dlg::renderField},
                                          {Dlg::vectorBrowse, Dlg::vectorField},
                                          {Dlg::folderBrowse, Dlg::folderField}};
        toolkit.pickedFile.reset();
        if (random.chance(2)) {
            toolkit.pickedFile = L"/picked" + std::to_wstring(random.below(3)) + L".svg";
        }
        toolkit.pickedFolder = toolkit.pickedFile;
        switch (random.below(6)) {
        case 0: {
            const int field = fields[random.below(std::size(fields))];
            const wchar_t* const text = texts[random.below(std::size(texts))];
            if (user.at(field).text != text) { // typing changes the text
                user.type(field, text);
                model.type(field, text);
            }
            break;
        }
        case 1: {
            const int* const browser = browsers[random.below(std::size(browsers))];
            user.click(browser[0]);
            model.browse(browser[0], browser[1], toolkit.pickedFile);
            break;
        }
        case 2: {
            const std::vector<int>& group = user.groups[random.below(2)];
            const int button = group[random.below(static_cast<unsigned int>(group.size()))];
            user.clickRadio(button);
            model.clickRadio(group, button);
            break;
        }
        case 3: {
            const int entry = static_cast<int>(random.below(6));
            user.choose(Dlg::sizeChoice, entry);
            model.chooseSize(entry);
            break;
        }
        default: {
            const int box = boxes[random.below(std::size(boxes))];
            user.clickCheck(box);
            model.clickBox(box, toolkit.pickedFile);
        }
        }
    }
    static void expectSame(const WindowRecord& user, const LiteralOptions& model) {
        for (const auto& [control, expected] : model.controls) {
            const bool sameText = control == Dlg::sizeChoice || user.at(control).text == expected.text;
            EXPECT_EQ(user.at(control).check == 1, expected.on) << "control " << control;
            EXPECT_EQ(user.at(control).enabled, expected.enabled) << "control " << control;
            EXPECT_TRUE(sameText) << "control " << control;
        }
        EXPECT_EQ(user.at(Dlg::sizeChoice).selection, model.size);
    }
    static void expectKept(const KivCommonSettings& kept, LiteralOptions& model) {
        auto& controls = model.controls;
        const SIZE size = kept.getResolution();
        EXPECT_EQ(kept.getCustomSize(), model.size != 0);
        EXPECT_EQ(size.cx, LiteralOptions::number(controls[Dlg::widthField].text));
        EXPECT_EQ(size.cy, LiteralOptions::number(controls[Dlg::heightField].text));
        EXPECT_TRUE(controls[Dlg::antialiasNone + kept.getAntialias()].on);
        EXPECT_TRUE(controls[Dlg::speedFirst + kept.getVectorialSpeed()].on);
        EXPECT_EQ(kept.getBackgroundImage(), controls[Dlg::backgroundField].text);
        EXPECT_EQ(kept.getPaperImage(), controls[Dlg::paperField].text);
        EXPECT_EQ(kept.getSaveRenderFile(), controls[Dlg::renderField].text);
        EXPECT_EQ(kept.getSaveVectorFile(), controls[Dlg::vectorField].text);
        EXPECT_EQ(kept.doVectorial(), controls[Dlg::vectorialBox].on);
        EXPECT_EQ(kept.doTransparencies(), controls[Dlg::transparenciesBox].on);
        EXPECT_EQ(kept.doShadows(), controls[Dlg::shadowsBox].on);
        EXPECT_EQ(kept.doRenderIsoparams() != 0, controls[Dlg::isoparamsBox].on);
        EXPECT_EQ(kept.doRenderDim(), controls[Dlg::dimensionsBox].on);
        EXPECT_EQ(kept.doSaveShadows(), controls[Dlg::saveShadowsBox].on);
        EXPECT_EQ(kept.doSaveDepth(), controls[Dlg::saveDepthBox].on);
        EXPECT_EQ(kept.doSaveRender(), controls[Dlg::saveRenderBox].on);
        EXPECT_EQ(kept.doVectorSimplify(), controls[Dlg::simplifyBox].on);
        EXPECT_FALSE(kept.doVectorial() && (kept.doTransparencies() || kept.doShadows() || kept.doSaveRender()));
    }
};

TEST_F(KivOptionsDlgModel, AnyActionsLeadWhereTheRulesSay) {
    RawRandom random(20260);
    for (int form = 0; form < 60; ++form) {
        stored = anySettings(random);
        const bool lock = random.chance(2);
        host.numbers[{false, L"BlockAspectRatio"}] = lock ? 1 : 0;
        WindowRecord& user = open({16, 9});
        LiteralOptions model(stored, lock, {16, 9}, user.at(Dlg::folderField).text);
        expectSame(user, model);
        for (int step = 0; step < 150 && !HasFailure(); ++step) {
            act(random, user, model);
            expectSame(user, model);
            EXPECT_FALSE(HasFailure()) << "form " << form << ", step " << step;
        }
        expectKept(apply(), model);
        if (HasFailure()) {
            return;
        }
        toolkit.windows.clear();
    }
}

} // namespace
