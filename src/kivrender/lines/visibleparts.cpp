#include "kivrender/lines/visibleparts.h"

#include <algorithm>

namespace {

// Up to so many pieces each hidden part is taken out at once; beyond, a pass over all pieces serves as many at a time.
constexpr std::size_t fewPieces = 16;

} // namespace

bool VisibleParts::hide(const KivLinePart& hidden) {
    if (visible.size() <= fewPieces && waiting.empty()) {
        takeOut(hidden);
        return !visible.empty();
    }
    waiting.push_back(hidden);
    if (waiting.size() >= visible.size()) {
        finish();
    }
    return !visible.empty();
}

void VisibleParts::takeOut(const KivLinePart& hidden) {
    for (std::size_t i = 0; i < visible.size();) {
        KivLinePart& part = visible[i];
        if (hidden.to <= part.from || hidden.from >= part.to) {
            ++i;
        } else if (hidden.from > part.from && hidden.to < part.to) {
            const KivLinePart rest = {hidden.to, part.to};
            part.to = hidden.from;
            visible.insert(visible.begin() + static_cast<std::ptrdiff_t>(i) + 1, rest);
            return;
        } else if (hidden.from > part.from) {
            part.to = hidden.from;
            ++i;
        } else if (hidden.to < part.to) {
            part.from = hidden.to;
            return;
        } else {
            visible.erase(visible.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

// Sorts what waits and joins what overlaps or touches.
void VisibleParts::joinWaiting() {
    std::sort(waiting.begin(), waiting.end(),
              [](const KivLinePart& a, const KivLinePart& b) { return a.from < b.from; });
    std::size_t last = 0;
    for (std::size_t i = 1; i < waiting.size(); ++i) {
        if (waiting[i].from <= waiting[last].to) {
            waiting[last].to = std::max(waiting[last].to, waiting[i].to);
        } else {
            waiting[++last] = waiting[i];
        }
    }
    waiting.resize(last + 1);
}

void VisibleParts::finish() {
    if (waiting.empty()) {
        return;
    }
    joinWaiting();
    std::vector<KivLinePart> left;
    std::size_t first = 0; // of those that reach into the piece
    for (const KivLinePart& part : visible) {
        double from = part.from;
        while (first < waiting.size() && waiting[first].to <= from) {
            ++first;
        }
        for (std::size_t i = first; i < waiting.size() && waiting[i].from < part.to; ++i) {
            if (waiting[i].from > from) {
                left.push_back({from, waiting[i].from});
            }
            from = waiting[i].to;
        }
        if (from < part.to) {
            left.push_back({from, part.to});
        }
    }
    visible.swap(left);
    waiting.clear();
}
