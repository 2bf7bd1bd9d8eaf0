#include "kivrender/platform/kivprofile.h"

#include "support/temphome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Text = std::optional<std::wstring>;

std::string afterWrite(const std::string& bytes, const wchar_t* section, const wchar_t* key, const wchar_t* value) {
    KivProfile profile(bytes);
    EXPECT_TRUE(profile.write(section, key, value));
    return profile.bytes();
}

// UTF-16LE with its mark.
std::string utf16(const std::u16string& text) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

} // namespace

TEST(KivProfile, Reading) {
    const KivProfile profile("stray=1\r\n"
                             "; [General]\r\n"
                             "  [ General ] behind\r\n"
                             "\tName \t=  a value  \r\n"
                             "Double=\"  kept  \"\n"
                             "Single='x'\n"
                             "Mixed=\"x'\n"
                             "Half=\"\n"
                             "Nested=\"'x'\"\n"
                             ";Hidden=1\n"
                             "  ;Hidden=2\n"
                             "Equals=a=b\n"
                             "Empty=\n"
                             "no equals sign\n"
                             "Name=second\n"
                             "[Other]\r"
                             "Mac=1\r"
                             "[general]\n"
                             "Late=1\n"
                             "[Open\n"
                             "Last=end");
    struct Case {
        const wchar_t* section;
        const wchar_t* key;
        Text value;
    };
    const Case cases[] = {
        {L"General", L"Name", L"a value"},
        {L"GENERAL", L"nAME", L"a value"},
        {L" General ", L" Name ", L"a value"},
        {L"General", L"Double", L"  kept  "},
        {L"General", L"Single", L"x"},
        {L"General", L"Mixed", L"\"x'"},
        {L"General", L"Half", L"\""},
        {L"General", L"Nested", L"'x'"},
        {L"General", L"Hidden", std::nullopt},
        {L"General", L"Equals", L"a=b"},
        {L"General", L"Empty", L""},
        {L"General", L"no equals sign", std::nullopt},
        {L"Other", L"Mac", L"1"},
        {L"General", L"Late", std::nullopt}, // the first of two equal sections counts
        {L"Open", L"Last", std::nullopt},
        {L"", L"stray", std::nullopt},
        {L"General", L"", std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(profile.read(c.section, c.key), c.value);
    }
    EXPECT_TRUE(profile.hasSection(L"other"));
    EXPECT_FALSE(profile.hasSection(L"Open"));
    EXPECT_EQ(profile.sections(), (std::vector<std::wstring>{L"General", L"Other"}));
    EXPECT_EQ(profile.keys(L"General"), (std::vector<std::wstring>{L"Name", L"Double", L"Single", L"Mixed", L"Half",
                                                                   L"Nested", L"Equals", L"Empty"}));
    EXPECT_TRUE(profile.keys(L"None").empty());
}

TEST(KivProfile, Writing) {
    struct Case {
        const char* what;
        const char* before;
        const char* after;
    };
    const Case cases[] = {
        {"empty file", "", "[S]\r\nK=v\r\n"},
        {"in place", "[S]\r\nA=1\r\nK=old\r\nB=2\r\n", "[S]\r\nA=1\r\nK=v\r\nB=2\r\n"},
        {"key and case as they were written", "[s]\n  k = old \nB=2\n", "[s]\n  k =v\r\nB=2\n"},
        {"quotes go with the old value", "[S]\nK=\"old\"\n", "[S]\nK=v\r\n"},
        {"first of two equal keys", "[S]\nK=1\nK=2\n", "[S]\nK=v\r\nK=2\n"},
        {"end of the section", "[S]\nA=1\n[T]\nK=other\n", "[S]\nA=1\nK=v\r\n[T]\nK=other\n"},
        {"before the blank lines that end a section", "[S]\nA=1\n\n \n[T]\n", "[S]\nA=1\nK=v\r\n\n \n[T]\n"},
        {"behind the comments of a section", "[S]\n;about A\nA=1\n;end\n", "[S]\n;about A\nA=1\n;end\nK=v\r\n"},
        {"empty section", "[S]\n\n[T]\n", "[S]\nK=v\r\n\n[T]\n"},
        {"missing section", "[T]\nA=1\n", "[T]\nA=1\n[S]\r\nK=v\r\n"},
        {"missing section, last line open", "[T]\nA=1", "[T]\nA=1\r\n[S]\r\nK=v\r\n"},
        {"last line open", "[S]\nA=1", "[S]\nA=1\r\nK=v\r\n"},
        {"value in the open last line", "[S]\nK=1", "[S]\nK=v\r\n"},
        {"section in the open last line", "[S]", "[S]\r\nK=v\r\n"},
        {"old Mac lines", "[S]\rA=1\r[T]\r", "[S]\rA=1\rK=v\r\n[T]\r"},
        {"comments and strange lines", "hello\n; c\n[S]\n???\nK=1\n[broken\n",
         "hello\n; c\n[S]\n???\nK=v\r\n[broken\n"},
        {"bytes that are no UTF-8", "[S]\nA=\xFF\xFE\n", "[S]\nA=\xFF\xFE\nK=v\r\n"},
        {"UTF-8 with a mark", "\xEF\xBB\xBF[S]\nK=1\n", "\xEF\xBB\xBF[S]\nK=v\r\n"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(afterWrite(c.before, L"S", L"K", L"v"), c.after) << c.what;
    }
    EXPECT_EQ(afterWrite("", L" S ", L" K ", L"  v  "), "[S]\r\nK=v\r\n");
    EXPECT_EQ(afterWrite("", L"S", L"K", L""), "[S]\r\nK=\r\n");
    EXPECT_EQ(afterWrite("", L"S", L"K", L"Grün"), "[S]\r\nK=Gr\xC3\xBCn\r\n");
}

TEST(KivProfile, WhatCouldNotBeReadBackIsRefused) {
    struct Case {
        std::wstring section;
        std::wstring key;
        std::wstring value;
    };
    const Case cases[] = {{L"S", L"", L"v"},
                          {L"S", L"  ", L"v"},
                          {L"S", L"a=b", L"v"},
                          {L"S", L";a", L"v"},
                          {L"S", L"[a", L"v"},
                          {L"S", L"a\nb", L"v"},
                          {L"S", L"a", L"v\nw"},
                          {L"S", L"a", L"v\rw"},
                          {L"S]T", L"a", L"v"},
                          {L"S\nT", L"a", L"v"},
                          {L"S", L"a", std::wstring(L"v\0w", 3)}};
    for (const Case& c : cases) {
        KivProfile profile("[X]\nY=1\n");
        EXPECT_FALSE(profile.write(c.section, c.key, c.value));
        EXPECT_EQ(profile.bytes(), "[X]\nY=1\n");
    }
    KivProfile profile;
    EXPECT_FALSE(profile.addSection(L"S]"));
    EXPECT_EQ(profile.bytes(), "");
}

TEST(KivProfile, Removing) {
    KivProfile profile("[S]\nA=1\nB=2\nA=3\n");
    EXPECT_TRUE(profile.remove(L"s", L"a"));
    EXPECT_EQ(profile.bytes(), "[S]\nB=2\nA=3\n");
    EXPECT_FALSE(profile.remove(L"S", L"C"));
    EXPECT_FALSE(profile.remove(L"T", L"A"));
}

TEST(KivProfile, Utf16IsReadAndWrittenAsSuch) {
    KivProfile profile(utf16(u"[S]\r\nK=Grün \U0001F642\r\n"));
    EXPECT_EQ(profile.read(L"S", L"K"), L"Grün \U0001F642");
    EXPECT_TRUE(profile.write(L"S", L"L", L"\U0001F58C"));
    EXPECT_EQ(profile.bytes(), utf16(u"[S]\r\nK=Grün \U0001F642\r\nL=\U0001F58C\r\n"));
    // Halves of pairs stay what they are; an odd byte at the end is no character.
    const std::string broken = utf16(u"[S]\nK=") + std::string("\x3D\xD8", 2) + utf16(u"\n").substr(2);
    EXPECT_EQ(KivProfile(broken).bytes(), broken);
    EXPECT_EQ(KivProfile(utf16(u"[S]\n") + "x").bytes(), utf16(u"[S]\n"));
    EXPECT_EQ(KivProfile(utf16(u"")).bytes(), "\xFF\xFE");
}

// Whatever a file holds, reading and writing it back changes nothing, and a write is read back.
TEST(KivProfile, HostileTexts) {
    std::mt19937 random(11);
    const std::string letters = "[]=;\"' \t\r\nabS\xC3\xBC\xFF\xFE" + std::string(1, '\0');
    for (int round = 0; round < 4000; ++round) {
        std::string bytes;
        for (auto length = random() % 60; length > 0; --length) {
            bytes += letters[random() % letters.size()];
        }
        if (bytes.starts_with("\xFF\xFE") && bytes.size() % 2 != 0) {
            bytes.pop_back();
        }
        KivProfile profile(bytes);
        ASSERT_EQ(profile.bytes(), bytes);
        ASSERT_TRUE(profile.write(L"S", L"ab", L"value"));
        const KivProfile again(profile.bytes());
        ASSERT_EQ(again.read(L"S", L"ab"), L"value");
        for (const std::wstring& section : again.sections()) {
            for (const std::wstring& key : again.keys(section)) {
                ASSERT_TRUE(again.read(section, key).has_value());
            }
        }
    }
}

TEST(KivProfile, HoldsWhatWasWrittenLast) {
    std::mt19937 random(3);
    KivProfile profile("; kept\r\n[A]\r\n; this too\r\nx=0\r\n");
    std::map<std::pair<std::wstring, std::wstring>, std::wstring> model;
    for (int round = 0; round < 2000; ++round) {
        const std::wstring section(1, static_cast<wchar_t>(L'A' + random() % 4));
        const std::wstring key(1, static_cast<wchar_t>(L'k' + random() % 6));
        if (random() % 5 == 0) {
            ASSERT_EQ(profile.remove(section, key), model.erase({section, key}) == 1);
        } else {
            const std::wstring value = std::to_wstring(random());
            ASSERT_TRUE(profile.write(section, key, value));
            model[{section, key}] = value;
        }
    }
    const KivProfile again(profile.bytes());
    for (const auto& [name, value] : model) {
        EXPECT_EQ(again.read(name.first, name.second), value);
    }
    EXPECT_EQ(again.read(L"A", L"x"), L"0");
    EXPECT_TRUE(profile.bytes().starts_with("; kept\r\n[A]\r\n; this too\r\nx=0\r\n"));
}

TEST(KivProfile, LargeFilesTakeTimeInProportion) {
    std::string bytes;
    for (int i = 0; i < 100000; ++i) {
        bytes.append("k").append(std::to_string(i)).append("=1\n");
    }
    const auto start = std::chrono::steady_clock::now();
    KivProfile profile("[S]\n" + bytes);
    EXPECT_EQ(profile.keys(L"S").size(), 100000U);
    EXPECT_TRUE(profile.write(L"S", L"last", L"1"));
    // A tenth of a second here; one that compares each name with all others would take minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(KivProfileFile, MissingFileIsMadeAndOthersAreNot) {
    const TempFolder folder;
    const auto write = [](KivProfile& profile) { return profile.write(L"S", L"K", L"v"); };
    EXPECT_FALSE(KivProfile::load(folder.wide("a.ini")).has_value());
    EXPECT_TRUE(KivProfile::change(folder.wide("a.ini"), write));
    EXPECT_EQ(folder.read("a.ini"), "[S]\r\nK=v\r\n");
    EXPECT_EQ(KivProfile::load(folder.wide("a.ini"))->read(L"S", L"K"), L"v");
    EXPECT_FALSE(KivProfile::change(folder.wide("no/a.ini"), write));
    EXPECT_FALSE(KivProfile::change(folder.wide(), write)); // a folder
    EXPECT_FALSE(KivProfile::load(folder.wide()).has_value());
    EXPECT_EQ(folder.count(), 1U); // nothing is left beside it
}

TEST(KivProfileFile, RefusedChangeLeavesTheFile) {
    const TempFolder folder;
    folder.write("a.ini", "[S]\n");
    EXPECT_FALSE(KivProfile::change(folder.wide("a.ini"), [](KivProfile& profile) {
        profile.write(L"S", L"K", L"v");
        return false;
    }));
    EXPECT_EQ(folder.read("a.ini"), "[S]\n");
    EXPECT_EQ(folder.count(), 1U);
}

TEST(KivProfileFile, PermissionsStay) {
    const TempFolder folder;
    folder.write("a.ini", "[S]\n");
    std::filesystem::permissions(folder.path() / "a.ini", std::filesystem::perms{0640});
    EXPECT_TRUE(KivProfile::change(folder.wide("a.ini"), [](KivProfile& p) { return p.write(L"S", L"K", L"v"); }));
    EXPECT_EQ(std::filesystem::status(folder.path() / "a.ini").permissions(), std::filesystem::perms{0640});
}

TEST(KivProfileFile, LinksAreFollowed) {
    const TempFolder folder;
    std::filesystem::create_directory(folder.path() / "real");
    folder.write("real/a.ini", "[S]\n");
    std::filesystem::create_symlink("real/a.ini", folder.path() / "link.ini");
    std::filesystem::create_symlink("nowhere", folder.path() / "dangling.ini");
    const auto write = [](KivProfile& profile) { return profile.write(L"S", L"K", L"v"); };
    EXPECT_TRUE(KivProfile::change(folder.wide("link.ini"), write));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link.ini"));
    EXPECT_EQ(folder.read("real/a.ini"), "[S]\nK=v\r\n");
    EXPECT_FALSE(KivProfile::change(folder.wide("dangling.ini"), write));
}

TEST(KivProfileFile, ReadOnlyFileIsNotReplaced) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may write everything";
    }
    const TempFolder folder;
    folder.write("a.ini", "[S]\n");
    std::filesystem::permissions(folder.path() / "a.ini", std::filesystem::perms{0444});
    EXPECT_FALSE(KivProfile::change(folder.wide("a.ini"), [](KivProfile& p) { return p.write(L"S", L"K", L"v"); }));
    EXPECT_EQ(folder.read("a.ini"), "[S]\n");
}

TEST(KivProfileFile, PipesAndHugeFilesAreRefusedAtOnce) {
    const TempFolder folder;
    ASSERT_EQ(mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(KivProfile::load(folder.wide("pipe")).has_value());
    folder.write("huge", "[S]\nK=v\n");
    std::filesystem::resize_file(folder.path() / "huge", KivProfile::maxFileSize + 1);
    EXPECT_FALSE(KivProfile::load(folder.wide("huge")).has_value());
    EXPECT_FALSE(KivProfile::change(folder.wide("huge"), [](KivProfile&) { return true; }));
    std::filesystem::resize_file(folder.path() / "huge", 4096);
    EXPECT_EQ(KivProfile::load(folder.wide("huge"))->read(L"S", L"K"), L"v");
}

// A reader meets whole files only, and no change of two writers gets lost.
TEST(KivProfileFile, WritersTakeTurnsAndReadersSeeWholeFiles) {
    const TempFolder folder;
    const std::wstring path = folder.wide("a.ini");
    const std::wstring filler(2000, L'x');
    folder.write("a.ini", "[S]\r\nfirst=0\r\nlast=0\r\n");
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::thread reader([&] {
        while (!done) {
            const auto profile = KivProfile::load(path);
            if (!profile || profile->read(L"S", L"first") != profile->read(L"S", L"last")) {
                ++torn;
            }
        }
    });
    const auto writer = [&](wchar_t name) {
        for (int i = 0; i < 25; ++i) {
            const bool written = KivProfile::change(path, [&](KivProfile& profile) {
                const std::wstring next = std::to_wstring(std::stoi(*profile.read(L"S", L"first")) + 1);
                return profile.write(L"S", L"first", next) && profile.write(L"S", std::wstring(1, name), filler) &&
                       profile.write(L"S", L"last", next);
            });
            EXPECT_TRUE(written);
        }
    };
    std::thread one(writer, L'p');
    std::thread two(writer, L'q');
    one.join();
    two.join();
    done = true;
    reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(KivProfile::load(path)->read(L"S", L"first"), L"50");
    EXPECT_EQ(folder.count(), 1U);
}

namespace {

bool put(const std::wstring& path, const wchar_t* value) {
    return KivProfile::change(path, [&](KivProfile& profile) { return profile.write(L"S", L"K", value); });
}

} // namespace

TEST(KivProfilesReadOnce, AnswersFromTheFirstReading) {
    const TempFolder folder;
    folder.write("a.ini", "[S]\r\nK=old\r\n");
    folder.write("b.ini", "[S]\r\nK=b\r\n");
    {
        const KivProfilesReadOnce once;
        EXPECT_EQ(KivProfile::load(folder.wide("a.ini"))->read(L"S", L"K"), L"old");
        EXPECT_FALSE(KivProfile::load(folder.wide("c.ini")).has_value());
        folder.write("a.ini", "[S]\r\nK=new\r\n");
        folder.write("c.ini", "[S]\r\nK=c\r\n");
        {
            const KivProfilesReadOnce inner;
            EXPECT_EQ(KivProfile::load(folder.wide("a.ini"))->read(L"S", L"K"), L"old");
        }
        EXPECT_EQ(KivProfile::load(folder.wide("a.ini"))->read(L"S", L"K"), L"old");
        EXPECT_EQ(KivProfile::load(folder.wide("b.ini"))->read(L"S", L"K"), L"b");
        EXPECT_FALSE(KivProfile::load(folder.wide("c.ini")).has_value());
        Text elsewhere;
        std::thread([&] { elsewhere = KivProfile::load(folder.wide("a.ini"))->read(L"S", L"K"); }).join();
        EXPECT_EQ(elsewhere, L"new") << "another thread reads for itself";
    }
    EXPECT_EQ(KivProfile::load(folder.wide("a.ini"))->read(L"S", L"K"), L"new");
    EXPECT_EQ(KivProfile::load(folder.wide("c.ini"))->read(L"S", L"K"), L"c");
}

TEST(KivProfilesReadOnce, SeesChanges) {
    const TempFolder folder;
    folder.write("a.ini", "[S]\r\nK=old\r\n");
    const KivProfilesReadOnce once;
    EXPECT_EQ(KivProfile::load(folder.wide("a.ini"))->read(L"S", L"K"), L"old");
    EXPECT_TRUE(put(folder.wide("a.ini"), L"new"));
    EXPECT_EQ(KivProfile::load(folder.wide("a.ini"))->read(L"S", L"K"), L"new");
}
