// Looks and states of objects as documents write them.
#ifndef APPS_DOCUMENT_LOOKJSON_H
#define APPS_DOCUMENT_LOOKJSON_H

#include "apps/document/json.h"
#include "apps/document/studiolook.h"
#include "apps/document/studioobjects.h"

// Bounds of what is written and read, far more than any document has. Objects are numbers of meshes below the second.
inline constexpr std::size_t mostLookCells = 200'000;
inline constexpr int mostObjects = 1'000'000;

bool isObjectNumber(int number);

// A settings stream: each cell is its kind and its value.
Json lookJson(const StudioLook& look);
// The readers return false for what is damaged; what they fill in is then to be thrown away.
bool readLook(const Json& json, StudioLook* look);

// Each look with the meshes that have it.
Json objectLooksJson(const StudioObjectLooks& objects);
bool readObjectLooks(const Json& json, StudioObjectLooks* objects);
// As the first form had them: the cells of each object under its number.
bool readFirstObjectLooks(const Json& json, StudioObjectLooks* objects);

// Each state with the meshes that are in it.
Json objectStatesJson(const StudioObjectStates& states);
bool readObjectStates(const Json& json, StudioObjectStates* states);

#endif
