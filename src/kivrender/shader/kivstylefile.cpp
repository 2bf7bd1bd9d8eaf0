#include "kivrender/shader/kivstylefile.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivuserfolders.h"
#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivreplacefile.h"
#include "kivrender/platform/kivsystempages.h"
#include "kivrender/platform/kivtemporaryfile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtrash.h"
#include "kivrender/settings/kivconfigfile.h"
#include "kivrender/settings/kivstreamhead.h"
#include "kivrender/shader/kivshader.h"

#include <optional>

namespace {

using Host = KivHostApplicationServices;

constexpr const wchar_t* general = L"General";
constexpr const wchar_t* baseKey = L"NonCombinableShader";
constexpr const wchar_t* combinableKey = L"CombinableShader";
constexpr std::wstring_view ending = L".kiv";
constexpr std::wstring_view backupEnding = L".bak";
constexpr std::size_t longestFileName = 255; // in bytes, on the usual file systems

// Texts of the language module.
constexpr unsigned int textNameEmpty = 1050;
constexpr unsigned int textNameCharacter = 1051;
constexpr unsigned int textNameDot = 1052;
constexpr unsigned int textNameLength = 1053;

std::wstring folderOf(const std::wstring& path) {
    const std::size_t slash = path.find_last_of(L'/');
    return slash == std::wstring::npos ? L"." : path.substr(0, slash);
}

bool fits(const std::wstring& path) {
    return path.size() < kivMaxPath;
}

// The old style beside the new one. Goes away with the object.
class Backup {
public:
    Backup(const std::wstring& path, const std::optional<std::string>& old) : name(path + std::wstring(backupEnding)) {
        // Its result does not matter: without it the style is just as safe, as it is replaced as a whole.
        made = old && fits(name) && kivCreateFile(name, *old);
    }
    Backup(const Backup&) = delete;
    Backup& operator=(const Backup&) = delete;
    ~Backup() {
        if (made) {
            kivRemoveFile(name);
        }
    }
    // The style is saved: one that an earlier save has left is of no more use either.
    void finish() const {
        if (fits(name)) {
            kivRemoveFile(name);
        }
    }

private:
    std::wstring name;
    bool made = false;
};

// The file that is written in place of the style until all is in it. Goes away with the object.
class WorkFile {
public:
    explicit WorkFile(const std::wstring& folder)
        : name(folder + L"/." + std::to_wstring(kivProcessNumber()) + std::wstring(ending)) {}
    WorkFile(const WorkFile&) = delete;
    WorkFile& operator=(const WorkFile&) = delete;
    ~WorkFile() {
        kivRemoveFile(name);
    }
    const std::wstring& path() const {
        return name;
    }

private:
    std::wstring name;
};

bool setContent(const std::wstring& path, const std::string& bytes) {
    return kivReplaceFile(path, KivProfile::maxFileSize, [&](std::string& content) {
        content = bytes;
        return true;
    });
}

void saveShaders(const std::wstring& path, const KivPropertiesDlg* dlg) {
    for (KivShader* shader = KivShader::getFirstShader(); shader != nullptr; shader = KivShader::getNextShader()) {
        shader->addRef();
        shader->saveDataOnStyle(path.c_str(), dlg);
        shader->release();
    }
}

bool isRefused(wchar_t c) {
    return c < L' ' || c == 0x7F || std::wstring_view(L"/\\:*?\"<>|").find(c) != std::wstring_view::npos;
}

} // namespace

bool kivReadStyleHead(const std::wstring& path, KivStyleHead* head) {
    *head = {};
    const KivConfigFile file(path.c_str());
    wchar_t text[kivMaxPath] = {};
    if (!fits(path)) {
        return false;
    }
    if (file.read(general, baseKey, text, L"")) {
        head->nonCombinable = text;
    }
    file.read(general, combinableKey, text, L"");
    head->combinables = kivSplitTags(text);
    return !head->nonCombinable.empty() || !head->combinables.empty();
}

bool kivWriteStyleHead(const std::wstring& path, const KivStyleHead& head) {
    if (!fits(path)) {
        return false;
    }
    KivConfigFile file(path.c_str());
    if (!file.write(general, baseKey, head.nonCombinable.empty() ? nullptr : head.nonCombinable.c_str())) {
        return false;
    }
    std::wstring list;
    for (const std::wstring& tag : head.combinables) {
        if (list.size() + tag.size() + 1 >= kivMaxPath) {
            break; // half a tag would name no shader, or another one
        }
        list += tag + L";";
    }
    return file.write(general, combinableKey, list.c_str());
}

bool kivSaveStyle(const std::wstring& path, const KivStyleHead& head, const KivPropertiesDlg* dlg) {
    constexpr std::size_t roomForSettings = std::size_t{256} << 10;
    const std::wstring folder = folderOf(path);
    if (!kivMakesUserFoldersAtOnce()) {
        kivMakeFolders(folder); // in one that can't be made nothing can be saved, which shows at once
    }
    const WorkFile work(folder);
    if (!fits(path) || !fits(work.path())) {
        return false;
    }
    const std::optional<std::string> old = kivReadFile(path, KivProfile::maxFileSize);
    // A page that can't write its settings is not noticed, so a full disk must be before any of them tries.
    if ((!old && kivFileExists(path)) || !kivHasRoom(folder, roomForSettings + 2 * (old ? old->size() : 0))) {
        return false;
    }
    const Backup backup(path, old);
    if (!setContent(work.path(), old.value_or(std::string())) || !kivWriteStyleHead(work.path(), head)) {
        return false;
    }
    saveShaders(work.path(), dlg);
    const auto bytes = kivReadFile(work.path(), KivProfile::maxFileSize);
    if (!bytes || !setContent(path, *bytes)) {
        return false;
    }
    backup.finish();
    return true;
}

bool kivRemoveStyle(const std::wstring& path) {
    return kivMoveToTrash(path);
}

std::vector<KivStyleEntry> kivListStyles(Host::Folder folder) {
    std::vector<KivStyleEntry> styles;
    wchar_t place[kivMaxPath] = {};
    Host* const host = Host::getDefaultHost();
    if (host == nullptr || !host->getStyleFolder(folder, place)) {
        return styles;
    }
    if (folder != Host::sharedFolder && kivMakesUserFoldersAtOnce()) {
        kivMakeFolders(place); // one that can't be made has no styles
    }
    for (const std::wstring& file : kivListFiles(place, ending)) {
        const std::wstring name = file.substr(0, file.size() - ending.size());
        const std::wstring path = std::wstring(place) + L"/" + file;
        if (!name.empty() && name.front() != L'.' && fits(path)) {
            styles.push_back({folder, name, path});
        }
    }
    return styles;
}

std::vector<KivStyleEntry> kivListStyles() {
    std::vector<KivStyleEntry> styles;
    for (const Host::Folder folder : {Host::userFolder, Host::dataFolder, Host::sharedFolder}) {
        const std::vector<KivStyleEntry> part = kivListStyles(folder);
        styles.insert(styles.end(), part.begin(), part.end());
    }
    return styles;
}

KivStyleNameFault kivCheckStyleName(std::wstring_view name, std::wstring_view folder) {
    if (name.find_first_not_of(L' ') == std::wstring_view::npos) {
        return KivStyleNameFault::empty;
    }
    for (const wchar_t c : name) {
        if (isRefused(c)) {
            return KivStyleNameFault::character;
        }
    }
    if (name.front() == L'.') {
        return KivStyleNameFault::dot;
    }
    // The backup has the longest name.
    const std::wstring file = std::wstring(name) + std::wstring(ending) + std::wstring(backupEnding);
    if (kivToUtf8(file).size() > longestFileName || folder.size() + 1 + file.size() >= kivMaxPath) {
        return KivStyleNameFault::length;
    }
    return KivStyleNameFault::none;
}

std::wstring kivStyleNameText(KivStyleNameFault fault) {
    switch (fault) {
    case KivStyleNameFault::none:
        break;
    case KivStyleNameFault::empty:
        return kivText(textNameEmpty);
    case KivStyleNameFault::character:
        return kivText(textNameCharacter);
    case KivStyleNameFault::dot:
        return kivText(textNameDot);
    case KivStyleNameFault::length:
        return kivText(textNameLength);
    }
    return {};
}

std::wstring kivStylePath(std::wstring_view folder, std::wstring_view name) {
    return std::wstring(folder) + L"/" + std::wstring(name) + std::wstring(ending);
}
