// What the view and the drawings want to know of a look, and the look that stands in for it while the camera moves.
#ifndef APPS_STUDIO_DRAWNLOOK_H
#define APPS_STUDIO_DRAWNLOOK_H

#include "apps/studio/studiolook.h"

#include <cstdint>
#include <optional>

// The colour of the sheet that the look lays behind the model, red in the low byte; nothing for a look without one.
std::optional<std::uint32_t> sheetColour(const StudioLook& look);

// The look with plain ink lines in place of strokes of the hand, in their colour: much faster to draw, and about the
// same picture from afar. A look without strokes stays as it is.
StudioLook quickLook(const StudioLook& look);

// The look without what it paints behind the model.
StudioLook bareLook(const StudioLook& look);

#endif
