// The rest of a segment while parts of it are found to be hidden.
#ifndef KIVRENDER_LINES_VISIBLEPARTS_H
#define KIVRENDER_LINES_VISIBLEPARTS_H

#include "kivrender/lines/hiddenpart.h"

#include <vector>

// Works on the caller's list, so that its memory is used again for the next segment. n hidden parts cost n log n,
// however many pieces they leave.
class VisibleParts {
public:
    // All of whole is visible.
    VisibleParts(std::vector<KivLinePart>& parts, const KivLinePart& whole) : visible(parts) {
        visible.assign(1, whole);
    }
    VisibleParts(const VisibleParts&) = delete;
    VisibleParts& operator=(const VisibleParts&) = delete;

    // False if nothing is left for sure. While many parts wait to be taken out it answers true.
    bool hide(const KivLinePart& hidden);
    // The visible parts lie in it, as far as they are known.
    KivLinePart reach() const {
        return visible.empty() ? KivLinePart{} : KivLinePart{visible.front().from, visible.back().to};
    }
    // Takes out what still waits; the caller's list is complete then.
    void finish();

private:
    void takeOut(const KivLinePart& hidden);
    void joinWaiting();

    std::vector<KivLinePart>& visible;
    std::vector<KivLinePart> waiting;
};

#endif
