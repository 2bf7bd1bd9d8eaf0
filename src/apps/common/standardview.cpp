#include "apps/common/standardview.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

constexpr std::array<std::pair<std::string_view, StandardView>, 8> names{{{"front", StandardView::front},
                                                                          {"back", StandardView::back},
                                                                          {"left", StandardView::left},
                                                                          {"right", StandardView::right},
                                                                          {"top", StandardView::top},
                                                                          {"bottom", StandardView::bottom},
                                                                          {"iso", StandardView::iso},
                                                                          {"dimetric", StandardView::dimetric}}};

// As one stands before the model: to the right, up, and towards the viewer.
struct Local {
    double right;
    double up;
    double towards;
};

struct Row {
    Local from; // where the camera stands
    Local up;
};

// ISO 5456-3: the isometric view shortens all three axes alike; the dimetric one the depth to half of the other two,
// which then lie 7 and 42 degrees from the horizontal. Both from the right and above.
Row rowOf(StandardView view) {
    constexpr Local upright{0, 1, 0};
    switch (view) {
    case StandardView::front:
        return {{0, 0, 1}, upright};
    case StandardView::back:
        return {{0, 0, -1}, upright};
    case StandardView::left:
        return {{-1, 0, 0}, upright};
    case StandardView::right:
        return {{1, 0, 0}, upright};
    case StandardView::top:
        return {{0, 1, 0}, {0, 0, -1}};
    case StandardView::bottom:
        return {{0, -1, 0}, {0, 0, 1}};
    case StandardView::iso:
        return {{1, 1, 1}, upright};
    case StandardView::dimetric:
        return {{1, 1, std::sqrt(7.0)}, upright};
    }
    return {{0, 0, 1}, upright};
}

} // namespace

std::optional<StandardView> standardViewOf(std::string_view name) {
    for (const auto& [known, view] : names) {
        if (known == name) {
            return view;
        }
    }
    return std::nullopt;
}

bool isAlwaysParallel(StandardView view) {
    return view == StandardView::iso || view == StandardView::dimetric;
}

StandardDirections standardDirections(StandardView view, const Kiv3DVector& modelUp) {
    // A model whose up is y looks along +z, one whose up is z along -y.
    const bool isZUp = modelUp.z > modelUp.y;
    const auto inSpace = [isZUp](const Local& v) {
        return isZUp ? Kiv3DVector(v.right, -v.towards, v.up) : Kiv3DVector(v.right, v.up, v.towards);
    };
    const Row row = rowOf(view);
    Kiv3DVector forward = inSpace({-row.from.right, -row.from.up, -row.from.towards});
    forward.normalice();
    return {forward, inSpace(row.up)};
}
