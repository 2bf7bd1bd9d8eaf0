// What the view and the drawings want to know of a look, and the look that stands in for it while the camera moves.
#ifndef APPS_DOCUMENT_DRAWNLOOK_H
#define APPS_DOCUMENT_DRAWNLOOK_H

#include "apps/document/studiolook.h"

#include <cstdint>
#include <optional>

// The colour of the sheet that the look lays behind the model, red in the low byte; nothing for a look without one.
std::optional<std::uint32_t> sheetColour(const StudioLook& look);

// The look with plain ink lines in place of strokes of the hand, in their colour: much faster to draw, and about the
// same picture from afar. A look without strokes stays as it is.
StudioLook quickLook(const StudioLook& look);

// The look for the frames of a film: hatching round the form, whose lines are found anew for each view, runs straight.
StudioLook steadyLook(const StudioLook& look);

// The look without what it paints behind the model.
StudioLook bareLook(const StudioLook& look);

// What of a look a layer of the picture shows.
struct LookParts {
    bool base = true;
    bool backdrop = true;
    bool lines = true; // whatever is laid over surfaces
    bool highlights = true;
};

LookParts partsOf(const StudioLook& look);
// The look without the parts that are not wanted.
StudioLook withParts(const StudioLook& look, const LookParts& wanted);

#endif
