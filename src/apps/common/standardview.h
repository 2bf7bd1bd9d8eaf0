// The views of technical drawings by their names.
#ifndef APPS_COMMON_STANDARDVIEW_H
#define APPS_COMMON_STANDARDVIEW_H

#include "kivrender/scene/kiv3dvector.h"

#include <cstdint>
#include <optional>
#include <string_view>

enum class StandardView : std::uint8_t { front, back, left, right, top, bottom, iso, dimetric };

// "front", "iso"; nothing for other names.
std::optional<StandardView> standardViewOf(std::string_view name);

// Whether it makes sense as a parallel projection alone.
bool isAlwaysParallel(StandardView view);

// The way in which a camera looks and what is up in its picture, for a model whose up is y or z.
struct StandardDirections {
    Kiv3DVector forward;
    Kiv3DVector up;
};
StandardDirections standardDirections(StandardView view, const Kiv3DVector& modelUp);

#endif
