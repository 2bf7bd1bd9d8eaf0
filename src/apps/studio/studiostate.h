// Everything that a document keeps, as one value: it is what undo steps through, what a file and a recovery file hold.
#ifndef APPS_STUDIO_STUDIOSTATE_H
#define APPS_STUDIO_STUDIOSTATE_H

#include "apps/studio/drawingjson.h"
#include "apps/studio/studiocamera.h"
#include "apps/studio/studiolook.h"
#include "apps/studio/studioobjects.h"
#include "kivrender/settings/kivcommonsettings.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <string>
#include <vector>

struct StudioLight {
    enum class Kind { directional, point, spot };

    Kind kind = Kind::directional;
    Kiv3DPoint location{0.0, 100.0, 100.0}; // scene coordinates; of a directional light it has no meaning
    Kiv3DVector direction{0.0, -1.0, -1.0}; // the way that it shines; of a point light it has no meaning
    std::uint32_t colour = 0xFFFFFF;        // red in the low byte
    double angle = 30.0;                    // degrees from the axis to the edge of a spot, 0 to 90

    KivLight toLight(const std::vector<Kiv3DPoint>& points) const;
    bool operator==(const StudioLight& other) const;
};

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
    QJsonObject unknown; // what a newer program has written into the document

    // A new document without a look: on paper white, lines and points drawn, four times smoothed.
    static StudioState fresh();
    // The look that new documents have: cartoon with outlines, as far as their shaders are loaded.
    static KivMemoryDataManager freshLook();

    // folder: where the document is to stand; models are also named as seen from there. Empty for no such names.
    QJsonObject toJson(const QString& folder = {}) const;
    // False, with the state as it was and one line in *why, for what is no document. Values out of range are brought
    // into it.
    bool fromJson(const QJsonObject& json, const QString& folder, QString* why);

    bool operator==(const StudioState& other) const;
};

// Write and read a document's file. False with one line in *why; the old file then stays, and the state too. What
// could not be read again is not written.
bool saveStudioDocument(const QString& file, const StudioState& state, QString* why);
bool loadStudioDocument(const QString& file, StudioState* state, QString* why);

// The same for a state whose form has more in it than the state says.
bool saveStudioDocument(const QString& file, const StudioState& state, const QJsonObject& json, QString* why);

// Replaces a file as a whole, or leaves it as it was: false with one line in *why.
bool replaceFile(const QString& file, const QByteArray& bytes, QString* why);

#endif
