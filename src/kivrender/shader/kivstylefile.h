// Styles as users handle them: which there are, which shaders one names, saving and removing one. The properties dialog
// and programs without windows share this; there is no toolkit in it. How a style is read into a stream is
// KivRenderer::loadStyle.
//
// A style is a profile file (settings/kivconfigfile.h) with the ending ".kiv". Its section "General" names the shaders,
// and each shader has a section of its own, called by its tag. Paths are wide and hold less than kivMaxPath characters.
#ifndef KIVRENDER_SHADER_KIVSTYLEFILE_H
#define KIVRENDER_SHADER_KIVSTYLEFILE_H

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivexport.h"

#include <string>
#include <string_view>
#include <vector>

class KivPropertiesDlg;

// What the section "General" says. Files that we write hold tags; a reader takes display names too.
struct KivStyleHead {
    std::wstring nonCombinable;            // the base shader; empty for none
    std::vector<std::wstring> combinables; // in the order of the file
};

// False, with head empty, if the file is not a style or can't be read: it names no shader at all.
KIV_API bool kivReadStyleHead(const std::wstring& path, KivStyleHead* head);

// Writes the two keys; the base shader's is removed if there is none. Of combinable shaders whose tags do not fit into
// one text of the interface, the last are left out. False if either can't be written.
KIV_API bool kivWriteStyleHead(const std::wstring& path, const KivStyleHead& head);

// Saves the head and the settings of all loaded shaders' pages that belong to dlg (null: those made without a dialog)
// under that name. What the file held besides (comments, keys and sections that nobody here knows) stays in it.
//
// While it is written the old file also stands beside it as path + ".bak", unless something of that name is in the way;
// after success nothing of that name is left. The style itself is replaced in one step: whatever happens meanwhile, it
// is the old one or the new one. For that the shaders write into a file of another name in the same folder. False, with
// the old style as it was, if the folder is missing or can't be written, or is full. What a shader answers about its
// pages is not asked.
KIV_API bool kivSaveStyle(const std::wstring& path, const KivStyleHead& head, const KivPropertiesDlg* dlg);

// Moves the file to the user's wastebasket. False, with the file in its place, if that can't be done.
KIV_API bool kivRemoveStyle(const std::wstring& path);

// --- folders and names ---

struct KivStyleEntry {
    KivHostApplicationServices::Folder folder = KivHostApplicationServices::userFolder;
    std::wstring name; // of the file, without its ending
    std::wstring path;
};

// The styles of one folder in name order. The user's and the data folder are made if they are missing. Empty if there
// is no such folder or no host.
KIV_API std::vector<KivStyleEntry> kivListStyles(KivHostApplicationServices::Folder folder);
// Of the three folders, in the order in which they are searched; a name may come more than once, and then the first
// counts.
KIV_API std::vector<KivStyleEntry> kivListStyles();

// The fault of a name for a style.
enum class KivStyleNameFault {
    none,
    empty,     // or blanks alone
    character, // a separator of folders, a control character, or one that other systems refuse
    dot,       // it begins with a dot: such files are hidden
    length     // the file would have a name, or a path in the folder it is meant for, that is too long
};
// folder: where the style is to go; empty if that does not matter.
KIV_API KivStyleNameFault kivCheckStyleName(std::wstring_view name, std::wstring_view folder = {});
// One line for the user in the language that is loaded; empty for none.
KIV_API std::wstring kivStyleNameText(KivStyleNameFault fault);

// folder + "/" + name + ".kiv".
KIV_API std::wstring kivStylePath(std::wstring_view folder, std::wstring_view name);

#endif
