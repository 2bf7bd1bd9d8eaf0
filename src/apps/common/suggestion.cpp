#include "apps/common/suggestion.h"

#include <algorithm>

namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

// Letters to add, drop, change or swap with their neighbour.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> before(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::vector<std::size_t> next(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        next[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = lower(a[i - 1]) == lower(b[j - 1]);
            next[j] = std::min({row[j] + 1, next[j - 1] + 1, row[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1])) {
                next[j] = std::min(next[j], before[j - 2] + 1);
            }
        }
        before.swap(row);
        row.swap(next);
    }
    return row[b.size()];
}

} // namespace

std::string nearestName(const std::string& name, const std::vector<std::string>& known) {
    std::string best;
    std::size_t bestDistance = std::max<std::size_t>(name.size() / 3, 1) + 1;
    for (const std::string& candidate : known) {
        const std::size_t d = distance(name, candidate);
        if (d < bestDistance) {
            bestDistance = d;
            best = candidate;
        }
    }
    return best;
}

std::string didYouMean(const std::string& name, const std::vector<std::string>& known) {
    const std::string nearest = nearestName(name, known);
    return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}
