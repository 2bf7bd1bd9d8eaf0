#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivuserfolders.h"

#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <cstdio>
#include <string>

namespace {

void append(wchar_t* path, const wchar_t* text) {
    kivCopyText(path, kivMaxPath, std::wstring(path) + text);
}

bool opens(const std::wstring& path) {
    std::FILE* file = kivOpenFile(path, "r");
    if (file == nullptr) {
        return false;
    }
    std::fclose(file);
    return true;
}

} // namespace

void KivHostApplicationServices::getMorvaneFolder(wchar_t* out) {
    kivCopyText(out, kivMaxPath, kivLibraryFolder());
}

void KivHostApplicationServices::getMorvaneFolder(char* out) {
    wchar_t folder[kivMaxPath] = {};
    getMorvaneFolder(folder);
    if (out != nullptr) {
        // Through the shared conversion, whose text always ends within 1024 bytes; cut here to what out holds.
        const int size = std::snprintf(out, kivMaxPath, "%s", toChar(folder));
        if (size < 0) {
            *out = '\0';
        }
    }
}

bool KivHostApplicationServices::getStyleFolder(Folder folder, wchar_t* out) {
    switch (folder) {
    case userFolder: {
        if (loadRegistryString(false, L"StylesPath", out)) {
            return true;
        }
        const std::wstring documents = kivDocumentsFolder();
        if (documents.empty() && out[0] != L'\0') {
            return false; // whatever a failed load has left there is no folder to go on with
        }
        kivCopyText(out, kivMaxPath, documents);
        append(out, L"/My Morvane 2.0 Styles");
        if (kivMakesUserFoldersAtOnce()) {
            saveRegistryString(false, L"StylesPath", out);
        }
        return true;
    }
    case dataFolder:
        getUserDataFolder(out);
        append(out, L"/Styles");
        return true;
    case sharedFolder:
        return loadRegistryString(true, L"Styles", out);
    }
    return false;
}

bool KivHostApplicationServices::getStyle(wchar_t* path, const wchar_t* name) {
    for (const Folder folder : {userFolder, dataFolder, sharedFolder}) {
        wchar_t found[kivMaxPath] = {};
        if (!getStyleFolder(folder, found)) {
            continue;
        }
        // As long as it is: a path that does not fit would name another file once it is cut.
        const std::wstring file = std::wstring(found) + L"/" + (name != nullptr ? name : L"") + L".kiv";
        if (file.size() < kivMaxPath && opens(file)) {
            kivCopyText(path, kivMaxPath, file);
            return true;
        }
    }
    return false;
}
