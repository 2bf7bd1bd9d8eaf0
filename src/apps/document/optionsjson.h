// The options of a render, the camera and the lights as documents write them. A missing or invalid value is as in a new
// document; numbers are brought into their range.
#ifndef APPS_DOCUMENT_OPTIONSJSON_H
#define APPS_DOCUMENT_OPTIONSJSON_H

#include "apps/document/json.h"
#include "apps/document/studiocamera.h"
#include "apps/document/studiolight.h"
#include "kivrender/settings/kivcommonsettings.h"

Json optionsJson(const KivCommonSettings& options);
// fresh: those of a new document.
KivCommonSettings readOptions(const Json& json, const KivCommonSettings& fresh);
bool equalOptions(const KivCommonSettings& a, const KivCommonSettings& b);

Json cameraJson(const StudioCamera& camera);
StudioCamera readCamera(const Json& json);

Json lightJson(const StudioLight& light);
StudioLight readLight(const Json& json);

#endif
