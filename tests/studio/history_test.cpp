#include "apps/studio/studiohistory.h"

#include "support/rawrandom.h"

#include <optional>

#include <gtest/gtest.h>

namespace {

// States that differ by one number.
StudioState state(int number) {
    StudioState s = StudioState::fresh();
    s.camera.distance = 10.0 + number;
    return s;
}

int numberOf(const StudioState& s) {
    return static_cast<int>(s.camera.distance - 10.0);
}

// The same rules written down plainly: what could be undone and redone, as two stacks.
struct Reference {
    struct Step {
        int before;
        int after;
        unsigned int text;
        int kind;
    };

    std::vector<Step> done;
    std::vector<Step> undone; // the last one is redone first
    int now = 0;
    std::optional<std::int64_t> lastPush; // none after anything but a push
    // How many steps are done in the saved state; none if no undo or redo leads there.
    std::optional<std::size_t> clean = 0;

    void push(int number, unsigned int text, int kind, std::int64_t time) {
        if (number == now) {
            return;
        }
        if (!undone.empty() && clean && *clean > done.size()) {
            clean.reset();
        }
        undone.clear();
        const bool merges = lastPush && kind > 0 && !done.empty() && done.back().kind == kind &&
                            time - *lastPush < StudioHistory::mergeTime && clean != done.size();
        if (merges) {
            done.back().after = number;
        } else {
            done.push_back({now, number, text, kind});
        }
        if (done.size() > StudioHistory::mostSteps) {
            done.erase(done.begin());
            if (clean) {
                clean = *clean > 0 ? std::optional<std::size_t>(*clean - 1) : std::nullopt;
            }
        }
        now = number;
        lastPush = time;
    }

    void undo() {
        lastPush.reset();
        if (!done.empty()) {
            now = done.back().before;
            undone.push_back(done.back());
            done.pop_back();
        }
    }

    void redo() {
        lastPush.reset();
        if (!undone.empty()) {
            now = undone.back().after;
            done.push_back(undone.back());
            undone.pop_back();
        }
    }

    void markClean() {
        lastPush.reset();
        clean = done.size();
    }
};

} // namespace

TEST(StudioHistory, StepsGoBackAndForth) {
    StudioHistory history;
    history.start(state(0));
    EXPECT_FALSE(history.canUndo());
    EXPECT_FALSE(history.canRedo());
    EXPECT_EQ(history.undoText(), 0U);
    history.push(state(1), 3001, 0, 0);
    history.push(state(2), 3002, 0, 10);
    EXPECT_EQ(history.undoText(), 3002U);
    EXPECT_EQ(numberOf(history.undo()), 1);
    EXPECT_EQ(history.undoText(), 3001U);
    EXPECT_EQ(history.redoText(), 3002U);
    EXPECT_EQ(numberOf(history.undo()), 0);
    EXPECT_EQ(numberOf(history.undo()), 0) << "there is nothing before the first state";
    EXPECT_EQ(numberOf(history.redo()), 1);
    history.push(state(3), 3003, 0, 20);
    EXPECT_FALSE(history.canRedo()) << "a new change gives up what was undone";
    EXPECT_EQ(numberOf(history.redo()), 3);
    EXPECT_EQ(numberOf(history.undo()), 1);
}

TEST(StudioHistory, ChangesOfOneKindInQuickSuccessionAreOneStep) {
    StudioHistory history;
    history.start(state(0));
    history.push(state(1), 5, 7, 1000);
    history.push(state(2), 5, 7, 1999);
    history.push(state(3), 5, 7, 2998);
    EXPECT_EQ(numberOf(history.undo()), 0);
    EXPECT_EQ(numberOf(history.redo()), 3);

    history.start(state(0));
    history.push(state(1), 5, 7, 0);
    history.push(state(2), 5, 7, 1000); // a second later
    EXPECT_EQ(numberOf(history.undo()), 1);

    history.start(state(0));
    history.push(state(1), 5, 7, 0);
    history.push(state(2), 5, 8, 1); // of another kind
    EXPECT_EQ(numberOf(history.undo()), 1);

    history.start(state(0));
    history.push(state(1), 5, 0, 0);
    history.push(state(2), 5, 0, 1); // of none
    EXPECT_EQ(numberOf(history.undo()), 1);
}

TEST(StudioHistory, NothingMergesAcrossAnUndoOrASave) {
    StudioHistory history;
    history.start(state(0));
    history.push(state(1), 5, 7, 0);
    history.push(state(2), 6, 9, 1);
    history.undo();
    history.push(state(3), 5, 7, 2);
    EXPECT_EQ(numberOf(history.undo()), 1);

    history.start(state(0));
    history.push(state(1), 5, 7, 0);
    history.markClean();
    history.push(state(2), 5, 7, 1);
    EXPECT_FALSE(history.isClean());
    EXPECT_EQ(numberOf(history.undo()), 1);
    EXPECT_TRUE(history.isClean());
}

TEST(StudioHistory, AStateThatIsThePresentOneIsNoStep) {
    StudioHistory history;
    history.start(state(4));
    history.push(state(4), 5, 0, 0);
    EXPECT_FALSE(history.canUndo());
    EXPECT_TRUE(history.isClean());
}

TEST(StudioHistory, TheSavedStateIsCleanWhereverItIsReachedFrom) {
    StudioHistory history;
    history.start(state(0));
    EXPECT_TRUE(history.isClean());
    history.push(state(1), 5, 0, 0);
    EXPECT_FALSE(history.isClean());
    history.markClean();
    history.push(state(2), 5, 0, 0);
    history.undo();
    EXPECT_TRUE(history.isClean());
    history.undo();
    EXPECT_FALSE(history.isClean());
    history.push(state(3), 5, 0, 0); // the saved state can't be reached any more
    for (int i = 0; i < 4; ++i) {
        EXPECT_FALSE(history.isClean());
        history.undo();
    }
}

TEST(StudioHistory, TwoHundredStepsAreKept) {
    StudioHistory history;
    history.start(state(0));
    for (int i = 1; i <= 250; ++i) {
        history.push(state(i), 5, 0, i);
    }
    std::size_t steps = 0;
    while (history.canUndo()) {
        history.undo();
        ++steps;
    }
    EXPECT_EQ(steps, 200U);
    EXPECT_EQ(numberOf(history.present()), 50);
    EXPECT_FALSE(history.isClean()) << "the saved state was among those that were dropped";
}

TEST(StudioHistory, AnyRowOfActionsDoesWhatTheRulesSay) {
    RawRandom random(21);
    for (int round = 0; round < 12; ++round) {
        StudioHistory history;
        Reference reference;
        history.start(state(0));
        std::int64_t time = 0;
        // Some rounds push so often that the limit is reached.
        const unsigned int pushes = round % 3 == 0 ? 9 : 3;
        for (int step = 0; step < 400; ++step) {
            time += random.below(1500);
            const unsigned int action = random.below(pushes + 4);
            if (action < pushes) {
                const int number = static_cast<int>(random.below(6));
                const int kind = static_cast<int>(random.below(3));
                const unsigned int text = 3000 + random.below(9);
                history.push(state(number), text, kind, time);
                reference.push(number, text, kind, time);
            } else if (action < pushes + 2) {
                ASSERT_EQ(numberOf(history.undo()), (reference.undo(), reference.now));
            } else if (action == pushes + 2) {
                ASSERT_EQ(numberOf(history.redo()), (reference.redo(), reference.now));
            } else if (random.chance(4)) {
                history.markClean();
                reference.markClean();
            }
            ASSERT_EQ(numberOf(history.present()), reference.now);
            ASSERT_EQ(history.canUndo(), !reference.done.empty());
            ASSERT_EQ(history.canRedo(), !reference.undone.empty());
            ASSERT_EQ(history.undoText(), reference.done.empty() ? 0U : reference.done.back().text);
            ASSERT_EQ(history.redoText(), reference.undone.empty() ? 0U : reference.undone.back().text);
            ASSERT_EQ(history.isClean(), reference.clean == reference.done.size());
        }
    }
}

TEST(StudioHistory, ADirtyStartIsNeverCleanUntilItIsSaved) {
    StudioHistory history;
    history.start(state(1));
    history.markDirty();
    EXPECT_FALSE(history.isClean());
    EXPECT_FALSE(history.canUndo());
    history.push(state(2), 10, 0, 0);
    EXPECT_FALSE(history.isClean());
    history.undo();
    EXPECT_FALSE(history.isClean());
    history.markClean();
    EXPECT_TRUE(history.isClean());
}
