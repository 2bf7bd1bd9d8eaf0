// Profile (INI) files, as style files and preferences use them: sections of key=value lines.
//
// Names of sections and keys compare without case, and blanks around names and values are dropped. A value in matching
// quotes, single or double, loses them on reading. Lines that begin with ";" are comments and survive every write, as
// does each line that is nothing the reader knows. The first of two equal sections or keys counts. Lines may end with
// CR LF, LF or CR; lines that we write end with CR LF. A file that begins with the byte order mark of UTF-16LE is read
// and written as such; any other is UTF-8, and bytes of it that are not come out of a write as they went in.
#ifndef KIVRENDER_PLATFORM_KIVPROFILE_H
#define KIVRENDER_PLATFORM_KIVPROFILE_H

#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The text of one profile file, in memory. Every text is a valid profile; there is no parse error.
class KIV_API KivProfile {
public:
    KivProfile() = default;
    // From a file's bytes.
    explicit KivProfile(std::string_view bytes);

    bool hasSection(std::wstring_view section) const;
    std::optional<std::wstring> read(std::wstring_view section, std::wstring_view key) const;
    // In the order of the file, each name once.
    std::vector<std::wstring> sections() const;
    std::vector<std::wstring> keys(std::wstring_view section) const;

    // Replaces the value in place, or adds the key at the end of its section, the section at the end of the file.
    // False, with nothing changed, for what could not be read back: an empty key, a line break in any of the three, a
    // "]" in the section, a "=" in the key, a key that begins like a comment or a section.
    bool write(std::wstring_view section, std::wstring_view key, std::wstring_view value);
    // Adds an empty section at the end of the file unless it is there. False as for write.
    bool addSection(std::wstring_view section);
    // Removes the key's line; false if there is none.
    bool remove(std::wstring_view section, std::wstring_view key);

    // What a file with this text holds: byte order mark and encoding as it was read.
    std::string bytes() const;

    // Reads a whole file. Nothing if it can't be read or is larger than maxFileSize; then, and only then.
    static std::optional<KivProfile> load(const std::wstring& path);
    // Reads the file (a missing one counts as empty), lets the function change it and replaces the file as a whole:
    // others see the old or the new one, never half of one, and two programs that change a file at the same time both
    // get their change in. The function must not change another file of the same folder. A link is followed, and the
    // file's permissions stay. False if the function says so, and on any failure; then the file is as it was.
    static bool change(const std::wstring& path, const std::function<bool(KivProfile&)>& edit);

    // No settings file is this large: beyond it something else was named by mistake.
    static constexpr std::size_t maxFileSize = std::size_t{16} << 20;

private:
    friend class KivProfilesReadOnce;
    static std::optional<KivProfile> loadAnew(const std::wstring& path);

    std::wstring text; // as it was read, every line with its own ending
    bool utf16 = false;
    bool utf8Mark = false;
};

// While one lives, KivProfile::load reads each file once on this thread and answers from that afterwards: what is read
// key by key is of one state of the file. KivProfile::change reads anew and is seen by the loads behind it. Of two that
// live at the same time, the outer one counts.
class KIV_API KivProfilesReadOnce {
public:
    KivProfilesReadOnce();
    KivProfilesReadOnce(const KivProfilesReadOnce&) = delete;
    KivProfilesReadOnce& operator=(const KivProfilesReadOnce&) = delete;
    ~KivProfilesReadOnce();

private:
    friend class KivProfile;
    struct Read {
        std::wstring path;
        std::optional<KivProfile> profile;
    };

    std::optional<KivProfile> load(const std::wstring& path);
    void forget(const std::wstring& path);

    std::vector<Read> files;
};

#endif
