#include "apps/studio/studiohistory.h"

#include <limits>

namespace {

constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();

} // namespace

void StudioHistory::start(const StudioState& state) {
    steps.assign(1, Step{state, 0, 0, {}});
    current = 0;
    clean = 0;
    mergeable = false;
}

void StudioHistory::push(const StudioState& state, unsigned int text, int kind, std::int64_t now, const QString& name) {
    if (state == present()) {
        return;
    }
    if (clean != nowhere && clean > current) {
        clean = nowhere; // it was on the way that is given up now
    }
    steps.resize(current + 1);
    const bool merges = mergeable && kind > 0 && steps.back().kind == kind && now - lastTime < mergeTime &&
                        current > 0 && clean != current;
    if (merges) {
        steps.back().state = state;
        steps.back().name = name;
    } else {
        steps.push_back({state, text, kind, name});
        ++current;
    }
    if (steps.size() > mostSteps + 1) {
        steps.erase(steps.begin());
        --current;
        clean = clean == nowhere || clean == 0 ? nowhere : clean - 1;
    }
    mergeable = true;
    lastTime = now;
}

bool StudioHistory::canUndo() const {
    return current > 0;
}

bool StudioHistory::canRedo() const {
    return current + 1 < steps.size();
}

unsigned int StudioHistory::undoText() const {
    return canUndo() ? steps[current].text : 0;
}

unsigned int StudioHistory::redoText() const {
    return canRedo() ? steps[current + 1].text : 0;
}

QString StudioHistory::undoName() const {
    return canUndo() ? steps[current].name : QString();
}

QString StudioHistory::redoName() const {
    return canRedo() ? steps[current + 1].name : QString();
}

void StudioHistory::endMerging() {
    mergeable = false;
}

const StudioState& StudioHistory::undo() {
    current -= canUndo() ? 1 : 0;
    mergeable = false;
    return present();
}

const StudioState& StudioHistory::redo() {
    current += canRedo() ? 1 : 0;
    mergeable = false;
    return present();
}

const StudioState& StudioHistory::present() const {
    return steps[current].state;
}

void StudioHistory::markClean() {
    clean = current;
    mergeable = false;
}

void StudioHistory::markDirty() {
    clean = nowhere;
    mergeable = false;
}

bool StudioHistory::isClean() const {
    return clean == current;
}
