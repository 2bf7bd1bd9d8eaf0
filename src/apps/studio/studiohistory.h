// The steps that a user can take back.
#ifndef APPS_STUDIO_STUDIOHISTORY_H
#define APPS_STUDIO_STUDIOHISTORY_H

#include "apps/document/studiostate.h"

#include <QString>

#include <cstdint>
#include <string>
#include <vector>

class StudioHistory {
public:
    static constexpr std::size_t mostSteps = 200;
    static constexpr std::int64_t mergeTime = 1000; // milliseconds

    // Forgets all steps; this state is the clean one.
    void start(const StudioState& state);
    // The state after a change. text: the number of the text that names the change. A change of the same kind (above 0)
    // that comes within mergeTime of the last one becomes one step with it. now: milliseconds on any clock that goes
    // on. A state that equals the present one is not a step.
    // name: of a step whose name is not a text of the language, as that of a style; empty for none.
    void push(const StudioState& state, unsigned int text, int kind, std::int64_t now, const QString& name = {});
    // Nothing merges across this point.
    void endMerging();

    bool canUndo() const;
    bool canRedo() const;
    // The numbers of the texts of the steps, 0 for none.
    unsigned int undoText() const;
    unsigned int redoText() const;
    // Their names, empty for those that are named by their text.
    QString undoName() const;
    QString redoName() const;
    // Each goes one step; without one it stays. Returns the present state.
    const StudioState& undo();
    const StudioState& redo();
    const StudioState& present() const;

    // The present state was saved.
    void markClean();
    // No step was saved: whatever is undone or redone, the document has changed.
    void markDirty();
    bool isClean() const;

private:
    struct Step {
        StudioState state;
        unsigned int text = 0; // of the change that led here
        int kind = 0;
        QString name;
    };

    std::vector<Step> steps{1};
    std::size_t current = 0;
    std::int64_t lastTime = 0;
    bool mergeable = false; // the last thing that happened was a push
    // The step that was saved; beyond the end once that step is gone.
    std::size_t clean = 0;
};

#endif
