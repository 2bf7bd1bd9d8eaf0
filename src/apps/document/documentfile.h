// The files of documents.
#ifndef APPS_DOCUMENT_DOCUMENTFILE_H
#define APPS_DOCUMENT_DOCUMENTFILE_H

#include "apps/document/studiostate.h"

#include <string>

// Whether a file is a document, by its ending.
bool isDocumentName(const std::wstring& file);

// Write and read a document's file. False with one line in *why; the old file then stays, and the state too. What
// could not be read again is not written.
bool saveStudioDocument(const std::wstring& file, const StudioState& state, std::wstring* why);
bool loadStudioDocument(const std::wstring& file, StudioState* state, std::wstring* why);

// The same for a state whose form has more in it than the state says.
bool saveStudioDocument(const std::wstring& file, const StudioState& state, const Json& json, std::wstring* why);

#endif
