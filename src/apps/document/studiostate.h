// Everything that a document keeps, as one value: it is what undo steps through, what a file and a recovery file hold.
#ifndef APPS_DOCUMENT_STUDIOSTATE_H
#define APPS_DOCUMENT_STUDIOSTATE_H

#include "apps/document/drawingjson.h"
#include "apps/document/json.h"
#include "apps/document/studiocamera.h"
#include "apps/document/studiolight.h"
#include "apps/document/studiolook.h"
#include "apps/document/studioobjects.h"
#include "kivrender/settings/kivcommonsettings.h"

#include <string>
#include <vector>

// Far more than any document has.
inline constexpr std::size_t mostLights = 1000;

struct StudioState {
    std::vector<std::wstring> models; // absolute paths; none: the built-in scene
    int upAxis = 0;                   // 'y', 'z', or 0 for what the format says
    StudioCamera camera;
    // The user's own lights; without them the model's, else one that comes over the viewer's shoulder.
    bool hasLights = false;
    std::vector<StudioLight> lights;
    KivCommonSettings options;
    DrawingOptions drawing = plainDrawingOptions();
    StudioLook look;           // of the whole document
    StudioObjectLooks objects; // of the meshes that have one of their own
    StudioObjectStates shown;  // of the meshes that are hidden, seen through or in a colour of their own
    // Pictures have no background: what nothing covers is transparent.
    bool withoutBackground = false;
    Json unknown = Json::Object(); // what a newer program has written into the document

    // A new document without a look: on paper white, lines and points drawn, four times smoothed.
    static StudioState fresh();
    // The look that new documents have: cartoon with outlines, as far as their shaders are loaded.
    static KivMemoryDataManager freshLook();

    // folder: where the document is to stand; models are also named as seen from there. Empty for no such names.
    Json toJson(const std::wstring& folder = {}) const;
    // False, with the state as it was and one line in *why, for what is not a document. Values out of range are brought
    // into it.
    bool fromJson(const Json& json, const std::wstring& folder, std::wstring* why);

    bool operator==(const StudioState& other) const;
};

#endif
