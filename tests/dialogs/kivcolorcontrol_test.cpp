#include "kivrender/dialogs/kivcolorcontrol.h"

#include "kivrender/dialogs/kivdialog.h"
#include "support/recordingtoolkit.h"
#include "support/testhost.h"

#include <gtest/gtest.h>

namespace {

constexpr int control = 7;
constexpr std::uint32_t orange = 0x0080ff;
constexpr std::uint32_t blue = 0xff0000;

// The parent of a colour control, which goes on with its clicks.
class ColourDialog : public KivDialog {
public:
    ColourDialog() : KivDialog(1) {
        EXPECT_NE(Create(1, nullptr), 0);
        colour.attach(getWindow(), control);
    }
    KivColorControl colour;
    std::vector<std::uint32_t> clicks; // the colour after each

protected:
    void onControl(const KivControlEvent& event) override {
        if (event.change == KivControlChange::clicked && event.control == control) {
            colour.click();
            clicks.push_back(colour.getColor());
        }
    }
};

class KivColorControlTest : public testing::Test {
protected:
    WindowRecord& user() {
        return *toolkit.windows[0];
    }

    TestHost host;
    RecordingToolkit toolkit;
    ColourDialog dialog;
};

TEST_F(KivColorControlTest, ShowsItsColourOnceItIsTiedToAControl) {
    KivColorControl loose;
    EXPECT_EQ(loose.getColor(), 0U);
    loose.setColor(orange);
    EXPECT_EQ(loose.getColor(), orange) << "even without a window";
    constexpr int other = 8;
    loose.attach(dialog.getWindow(), other);
    EXPECT_EQ(user().painted(other), orange);
    EXPECT_EQ(user().painted(control), 0U);
    loose.attach(nullptr, other);
    loose.setColor(blue);
    EXPECT_EQ(user().painted(other), orange) << "it is untied";
}

TEST_F(KivColorControlTest, ADisabledOneDoesNotPaintItsColour) {
    dialog.colour.setColor(orange);
    EXPECT_EQ(user().painted(control), orange);
    dialog.getWindow()->enableControl(control, false);
    EXPECT_EQ(user().painted(control), std::nullopt);
    dialog.colour.setColor(blue);
    EXPECT_EQ(user().painted(control), std::nullopt) << "a colour that is set does not enable it";
    EXPECT_FALSE(user().click(control));
    EXPECT_TRUE(dialog.clicks.empty());
    dialog.getWindow()->enableControl(control, true);
    EXPECT_EQ(user().painted(control), blue) << "the colour was kept";
}

TEST_F(KivColorControlTest, AClickThatIsCancelledChangesNothingAndStillReachesTheParent) {
    dialog.colour.setColor(orange);
    EXPECT_TRUE(user().click(control));
    EXPECT_EQ(dialog.clicks, std::vector<std::uint32_t>{orange});
    EXPECT_EQ(user().painted(control), orange);
}

TEST_F(KivColorControlTest, AColourThatIsPickedIsShownBeforeTheParentGoesOn) {
    dialog.colour.setColor(orange);
    toolkit.pickedColor = blue;
    EXPECT_TRUE(user().click(control));
    EXPECT_EQ(dialog.clicks, std::vector<std::uint32_t>{blue});
    EXPECT_EQ(user().painted(control), blue);
}

} // namespace
