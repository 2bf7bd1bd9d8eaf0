// The pause of flushAndShow, without a picture: a surface that cannot be shown advances nothing, but the time runs from
// the try on as after a picture.
#include "kivrender/render/kivbitmapmanager.h"
#include "support/plainshader.h"
#include "support/recordingprogress.h"
#include "support/testhost.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

struct Try {
    Clock::time_point begin;
    Clock::time_point end;
    bool shows = false;
};

class KivShaderFlushPause : public testing::Test {
protected:
    KivShaderFlushPause() {
        host.setCurProgress(&progress);
    }
    ~KivShaderFlushPause() override {
        host.setCurProgress(nullptr);
    }
    Try flush() {
        Try made;
        progress.calls.clear();
        made.begin = Clock::now();
        shader.flushAndShow(&surface, false);
        made.end = Clock::now();
        made.shows = progress.calls.empty();
        return made;
    }
    // The last call that only advanced the bar, and the one that would have shown the picture.
    std::pair<Try, Try> untilShown() {
        const Clock::time_point patience = Clock::now() + std::chrono::seconds(20);
        Try last = flush();
        Try next = flush();
        while (!next.shows && next.end < patience) {
            std::this_thread::sleep_for(milliseconds(2));
            last = next;
            next = flush();
        }
        EXPECT_TRUE(next.shows);
        return {last, next};
    }

    TestHost host;
    RecordingProgress progress;
    PlainCombinable shader{nullptr, L"tag", L"name"};
    KivBitmapManager surface;
};

// However slow the machine is: each time was taken between the begin and the end of a call.
TEST_F(KivShaderFlushPause, LastsEightHundredMilliseconds) {
    const Try first = untilShown().second;
    const auto [before, second] = untilShown();
    EXPECT_GT(second.end - first.begin, milliseconds(800)) << "shown too early";
    EXPECT_LT(before.begin - first.end, milliseconds(802)) << "shown too late";
}

} // namespace
