// Paths of models, as seen from the folder of a document.
#ifndef APPS_DOCUMENT_DOCUMENTPATHS_H
#define APPS_DOCUMENT_DOCUMENTPATHS_H

#include <string>

// How to come from folder to the file, both absolute.
std::wstring relativePath(const std::wstring& file, const std::wstring& folder);

// The file that is meant, seen from folder, if it is there; else empty.
std::wstring existingPath(const std::wstring& file, const std::wstring& folder);

// The folder that a file stands in, absolute.
std::wstring folderOf(const std::wstring& file);

#endif
