// How the seen parts of lines come to the class that makes strokes of them.
#include "kivlinedrawing.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivsketchsettings.h"
#include "support/glsurface.h"
#include "support/pollcost.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr int pictureSize = 128;

// Takes some microseconds for each path.
class SlowDrawing : public KivLineDrawing {
public:
    using KivLineDrawing::KivLineDrawing;

    int taken = 0;
    double sum = 0.0;

private:
    KivLineLook lookOf(const KivTablePageSettings& /*page*/) const override {
        return {};
    }
    bool takePath(const Job& /*job*/, const KivLinePath& /*path*/) override {
        ++taken;
        for (int i = 0; i < 100; ++i) {
            sum += std::sin(sum + i);
        }
        return true;
    }
    void takePoint(const Job& /*job*/, const KivLinePoint& /*point*/) override {}
    void drawPaths() const override {}
};

class LineDrawing : public testing::Test {
protected:
    static KivTablePageSettings pageOfLines() {
        const KivSettingInfo* table = nullptr;
        const int count = kivSketchTable(&table);
        return {kivSketchSection, table, count};
    }
    // Rings of three points, each a stroke of its own.
    std::vector<KivLineDrawing::Traced> rings(bool areHidden) const {
        std::vector<KivLineDrawing::Traced> seen(numPaths);
        for (std::size_t i = 0; i < numPaths; ++i) {
            KivLinePath& path = seen[i].path;
            path.closed = true;
            path.hidden = areHidden;
            const float x = static_cast<float>(i % 300) * 20.0F;
            const float y = static_cast<float>(i / 300) * 20.0F;
            path.points = {{x, y, 1.0F}, {x + 8.0F, y, 1.0F}, {x, y + 8.0F, 1.0F}};
            path.stations.resize(3);
        }
        return seen;
    }
    bool takes(bool areHidden, int* taken = nullptr) {
        SlowDrawing drawing(settings, camera, {pictureSize, pictureSize}, channel, false);
        drawing.jobs.resize(1);
        drawing.jobs[0].page = &page;
        std::vector<KivLineDrawing::Traced> seen = rings(areHidden);
        const bool done = drawing.takeStrokes(seen);
        if (taken != nullptr) {
            *taken = drawing.taken;
        }
        return done;
    }

    static constexpr std::size_t numPaths = 60000;

    GlSurface surface{pictureSize, pictureSize};
    KivCommonSettings settings;
    KivCamera camera;
    KivShaderCommunication channel;
    KivTablePageSettings page = pageOfLines();
};

TEST_F(LineDrawing, PollsByCostWhilePathsGoOutAsTheyAre) {
    PollCost::expectAllowed([&] { takes(true); });
}

TEST_F(LineDrawing, PollsByCostWhileStrokesAreTaken) {
    PollCost::expectAllowed([&] { takes(false); });
}

TEST_F(LineDrawing, ACancelEndsIt) {
    for (const bool areHidden : {false, true}) {
        int taken = 0;
        PollCounter counter;
        {
            const ScopedProgress scope(counter);
            EXPECT_TRUE(takes(areHidden, &taken));
        }
        EXPECT_EQ(taken, static_cast<int>(numPaths));
        PollCounter cancel(counter.polls);
        const ScopedProgress scope(cancel);
        EXPECT_FALSE(takes(areHidden, &taken));
        EXPECT_EQ(cancel.polls, counter.polls);
        EXPECT_LT(taken, static_cast<int>(numPaths));
    }
}

} // namespace
