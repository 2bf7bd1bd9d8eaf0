#include "kivrender/vector/collinearlinemerger.h"

#include "kivrender/scene/kivprogress.h"
#include "kivrender/vector/lineindex.h"
#include "kivrender/vector/lineshape.h"
#include "kivrender/vector/prefetch.h"
#include "kivrender/vector/workpoll.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <queue>
#include <tuple>

namespace {

// Numbers the sets of attributes that lines have, so that only lines with one number can merge.
class LineGroups {
public:
    int groupOf(const FeedbackPrimitive& line) {
        // A width that is not a number is equal to none, not even to itself.
        if (line.lineWidth != line.lineWidth)
            return next++;
        const auto key = std::tuple(line.offset, line.boundary, line.blend, line.stipplePattern, line.stippleFactor,
                                    line.blendSource, line.blendDestination, line.lineWidth);
        const auto [entry, isNew] = groups.try_emplace(key, next);
        if (isNew)
            ++next;
        return entry->second;
    }

private:
    std::map<std::tuple<bool, bool, bool, std::uint16_t, std::int32_t, std::int32_t, std::int32_t, float>, int> groups;
    int next = 0;
};

// Finds the first pair again and again without starting over.
//
// A slot is settled when its line merges with none behind it. A merge leaves that true of all settled slots but those
// it fills anew: lines only move to the front, so nothing new comes to stand behind a settled slot except the result at
// the end. The settled slots that merge with the result are looked up and unsettled. So the first pair always begins at
// the smallest unsettled slot that has a partner behind it.
class LineMergeRun {
public:
    explicit LineMergeRun(FeedbackPrimitiveList& list)
        : lines(list), partners(LineIndex::Role::Second, list.size()), settled(LineIndex::Role::First, list.size()) {
        // The first merge finds out about a cancel too.
        WorkPoll poll;
        entries.reserve(lines.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            prefetchAhead(lines, i, 32);
            if (i + 16 < lines.size())
                prefetch(lines[i + 16]->vertices.data());
            entries.push_back({LineShape(*lines[i]), groups.groupOf(*lines[i]), false});
            if (poll.isCancelled(100))
                return;
        }
        LineIndex::Keys keys;
        for (int slot = 0; slot < size(); ++slot) {
            constexpr int ahead = 8;
            if (slot + ahead < size()) {
                partners.keysOf(entry(slot + ahead).shape, entry(slot + ahead).group, keys);
                partners.prefetchPlaces(keys);
            }
            partners.insert(slot, entry(slot).shape, entry(slot).group);
            if (poll.isCancelled(300))
                return;
        }
    }

    // Merges the first pair. False when there is none, or when the user has cancelled.
    bool mergeNext(CollinearLineMerger& merger) {
        for (int slot = firstUnsettled(); slot < size() && !kivIsCancelled(); slot = firstUnsettled()) {
            prepareFront();
            const LineShape& shape = entry(slot).shape;
            const int partner = partners.firstWhere(shape, entry(slot).group, slot + 1, size(), [&](int other) {
                return entry(other).group == entry(slot).group &&
                       LineShape::compare(shape, entry(other).shape) != LineFate::Separate;
            });
            if (partner < size()) {
                replace(slot, partner, merger);
                return true;
            }
            settle(slot);
        }
        return false;
    }

private:
    struct Entry {
        LineShape shape;
        int group;
        bool isSettled;
    };

    int size() const {
        return static_cast<int>(entries.size());
    }
    Entry& entry(int slot) {
        return entries[static_cast<std::size_t>(slot)];
    }

    // The keys of lines that are looked at soon, in a ring.
    class Soon {
    public:
        LineIndex::Keys& of(int slot) {
            return keys[static_cast<std::size_t>(slot) % keys.size()];
        }

    private:
        std::array<LineIndex::Keys, 16> keys;
    };
    // How many slots before its turn each step of preparing a line is made. A look-up goes through memory from place to
    // place (the table, a set, its members, lines), each of which is found in the one before.
    static constexpr int stepLength = 4;
    static constexpr int stepsAhead = 3 * stepLength;

    // Fetches ahead what the query of the slots in front needs.
    void prepareFront() {
        for (; prepared < std::min(fresh + stepsAhead, size()); ++prepared) {
            const Entry& soon = entry(prepared);
            partners.keysAround(soon.shape, soon.group, front.of(prepared));
            partners.prefetchPlaces(front.of(prepared));
            // Where it is entered itself, and looked for again when it has grown; nearly all keys are the same.
            settled.prefetchPlaces(front.of(prepared));
            prefetch(lines[static_cast<std::size_t>(prepared)]);
            if (const int slot = prepared - stepLength; slot >= 0) {
                partners.prefetchSets(front.of(slot));
                prefetch(lines[static_cast<std::size_t>(slot)]->vertices.data());
            }
            if (const int slot = prepared - 3 * stepLength / 2; slot >= 0)
                partners.prefetchMembers(front.of(slot));
            if (const int slot = prepared - 2 * stepLength; slot >= 0)
                partners.forEachSoon(front.of(slot), slot + 1, [&](int other) { prefetchEntry(other); });
            if (const int slot = prepared - 5 * stepLength / 2; slot >= 0)
                partners.forEachSoon(front.of(slot), slot + 1,
                                     [&](int other) { prefetch(lines[static_cast<std::size_t>(other)]); });
        }
    }
    // The same for what it takes to withdraw the last lines: each merge moves one of them.
    void prepareBack() {
        if (const int slot = size() - 1 - stepsAhead; slot >= 0) {
            partners.keysOf(entry(slot).shape, entry(slot).group, back.of(slot));
            partners.prefetchPlaces(back.of(slot));
        }
        partners.prefetchSets(back.of(std::max(size() - 1 - stepsAhead + stepLength, 0)));
        partners.prefetchMembers(back.of(std::max(size() - 1 - stepLength, 0)));
    }
    void prefetchEntry(int slot) {
        prefetch(&entry(slot).shape);
        prefetch(&entry(slot).isSettled);
        prefetch(&lines[static_cast<std::size_t>(slot)]);
    }

    // The smallest unsettled slot, or one behind all.
    int firstUnsettled() {
        while (!unsettledSlots.empty()) {
            const int slot = unsettledSlots.top();
            if (slot < size() && !entry(slot).isSettled)
                return slot;
            unsettledSlots.pop();
        }
        while (fresh < size() && entry(fresh).isSettled)
            ++fresh;
        return fresh;
    }
    void noteUnsettled(int slot) {
        if (slot < fresh)
            unsettledSlots.push(slot);
    }

    void settle(int slot) {
        entry(slot).isSettled = true;
        settled.insert(slot, entry(slot).shape, entry(slot).group);
    }
    void unsettle(int slot) {
        entry(slot).isSettled = false;
        settled.erase(slot, entry(slot).shape, entry(slot).group);
        noteUnsettled(slot);
    }

    void withdraw(int slot) {
        const Entry& gone = entry(slot);
        partners.erase(slot, gone.shape, gone.group);
        if (gone.isSettled)
            settled.erase(slot, gone.shape, gone.group);
    }

    // Takes the slot, whose line is withdrawn, out of the list by putting the last line there.
    void close(int slot) {
        const int last = size() - 1;
        if (slot != last) {
            withdraw(last);
            lines[static_cast<std::size_t>(slot)] = lines.back();
            entry(slot) = entries.back();
            entry(slot).isSettled = false;
            partners.insert(slot, entry(slot).shape, entry(slot).group);
            noteUnsettled(slot);
        }
        lines.pop_back();
        entries.pop_back();
    }

    void replace(int first, int second, CollinearLineMerger& merger) {
        prepareBack();
        withdraw(first);
        withdraw(second);
        const int group = entry(first).group;
        FeedbackPrimitive* merged =
            merger.mergePair(lines[static_cast<std::size_t>(first)], lines[static_cast<std::size_t>(second)]);
        // The first slot is closed before the second. If the second line is the last of all, that moves it, and it must
        // leave from where it then is: the same as closing its slot before.
        if (second == size() - 1) {
            close(second);
            close(first);
        } else {
            close(first);
            close(second);
        }
        lines.push_back(merged);
        const int slot = size();
        entries.push_back({LineShape(*merged), group, false});
        partners.insert(slot, entry(slot).shape, group);
        noteUnsettled(slot);

        reached.clear();
        settled.forEach(entry(slot).shape, group, [&](int other) {
            if (entry(other).group == group &&
                LineShape::compare(entry(other).shape, entry(slot).shape) != LineFate::Separate)
                reached.push_back(other);
        });
        for (const int other : reached) {
            if (entry(other).isSettled)
                unsettle(other);
        }
    }

    FeedbackPrimitiveList& lines;
    LineGroups groups;
    std::vector<Entry> entries; // parallel to lines
    LineIndex partners;
    LineIndex settled;
    Soon front;
    Soon back;
    int prepared = 0; // the first slot that is not
    // The slots before this one that are not settled are in the queue, which may also name slots that are settled or
    // gone.
    int fresh = 0;
    std::priority_queue<int, std::vector<int>, std::greater<>> unsettledSlots;
    std::vector<int> reached;
};

} // namespace

void CollinearLineMerger::mergeLines(FeedbackPrimitiveList* lines) {
    KivProgress* progress = kivCurrentProgress();
    LineMergeRun run(*lines);
    while (run.mergeNext(*this)) {
        if (progress && !progress->isCancelled())
            progress->advance(1, false);
    }
    if (progress && !progress->isCancelled())
        progress->advance(1, false);
}

FeedbackPrimitive* CollinearLineMerger::mergePair(FeedbackPrimitive* a, FeedbackPrimitive* b) {
    const LineShape shapeA(*a);
    const LineShape shapeB(*b);
    const LineFate fate = LineShape::compare(shapeA, shapeB);
    switch (fate) {
    case LineFate::Separate:
        return nullptr;
    case LineFate::KeepA:
        delete b;
        return a;
    case LineFate::KeepB:
        delete a;
        return b;
    default:
        break;
    }
    const auto [start, end] = LineShape::newEnds(fate, shapeA, shapeB);
    auto* merged = new FeedbackPrimitive;
    copyAttributes(*merged, *a);
    merged->vertices.reserve(2);
    merged->vertices.push_back(*start);
    merged->vertices.push_back(*end);
    delete a;
    delete b;
    return merged;
}
