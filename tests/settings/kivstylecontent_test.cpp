// Styles as people and other programs write them: random files, read and written over.
#include "kivrender/platform/kivprofile.h"
#include "kivrender/settings/kivconfigfile.h"
#include "kivrender/settings/kivsettingstable.h"
#include "reference/literalprofile.h"
#include "support/rawrandom.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const KivSettingInfo table[] = {
    {"Flat", KivSettingType::Bool, 0, 1, 1, L"A switch", nullptr},
    {"Bands", KivSettingType::Int, 1, 8, 3, L"A number", nullptr},
    {"Softness", KivSettingType::Double, -1.5, 1.5, 0.1, L"A decimal", nullptr},
    {"Ink", KivSettingType::Colour, 0, 0xFFFFFF, 0x0000FF, L"A colour", nullptr},
    {"Joins", KivSettingType::Choice, 0, 2, 1, L"A choice", "round|mitre|bevel"},
};
constexpr int numSettings = 5;

KivTablePageSettings page() {
    return {L"Page", table, numSettings};
}

template <class Item> const Item& oneOf(RawRandom& random, const std::vector<Item>& items) {
    return items[random.below(static_cast<unsigned int>(items.size()))];
}

// Names as a careless hand spells them: few of them, so that they meet.
const std::vector<std::string> sections = {"General", "GENERAL", "cartoon", "Cartoon", "Ünï", "Mine", ""};
const std::vector<std::string> keys = {"Bands", "bands", "BANDS", "Softness", "Ink", "Joins", "Flat", "Other", "ä", ""};
const std::vector<std::string> values = {"2",       "99",       "-4",     "0.25", "\"5\"", "'mitre'", "\"",   "''",
                                         "#ff8000", "\"a b\" ", "bevel ", "no",   "1e400", "nan",     "x=y;", "; z"};

std::string randomFile(RawRandom& random) {
    std::string text;
    const std::vector<std::string> blanks = {"", "", " ", "\t", "  "};
    const std::string lineEnd = oneOf<std::string>(random, {"\r\n", "\n", "\r"});
    for (unsigned int i = random.below(14); i > 0; --i) {
        text += oneOf(random, blanks);
        switch (random.below(6)) {
        case 0:
            text += "; " + oneOf(random, keys) + "=" + oneOf(random, values);
            break;
        case 1:
            text += "[" + oneOf(random, blanks) + oneOf(random, sections) + oneOf(random, blanks) + "]" +
                    oneOf<std::string>(random, {"", "", " tail", "; note"});
            break;
        case 2:
            text += oneOf<std::string>(random, {"", "no key here", "[open", "=value", "]"});
            break;
        default:
            text += oneOf(random, keys) + oneOf(random, blanks) + "=" + oneOf(random, blanks) + oneOf(random, values);
            break;
        }
        text += oneOf(random, blanks) + lineEnd;
    }
    if (!text.empty() && random.chance(3)) {
        text.pop_back(); // the last line has no end, or half of one
    }
    return text;
}

std::string asUtf16(const std::string& utf8) {
    std::string bytes = "\xFF\xFE";
    for (const wchar_t c : kivFromUtf8(utf8)) {
        bytes += static_cast<char>(c & 0xFF);
        bytes += static_cast<char>(c >> 8 & 0xFF);
    }
    return bytes;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' || text[i] == '\n') {
            i += text.compare(i, 2, "\r\n") == 0 ? 1 : 0;
            lines.emplace_back();
        } else {
            lines.back() += text[i];
        }
    }
    if (lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}

} // namespace

TEST(KivStyleContent, ReadsAsAPlainReaderDoesInEveryEncoding) {
    RawRandom random(17);
    for (int round = 0; round < 3000; ++round) {
        const std::string text = randomFile(random);
        const LiteralProfile plain(kivFromUtf8(text));
        for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text, asUtf16(text)}) {
            const KivProfile profile(bytes);
            for (const std::string& section : sections) {
                for (const std::string& key : keys) {
                    ASSERT_EQ(profile.read(kivFromUtf8(section), kivFromUtf8(key)),
                              plain.read(kivFromUtf8(section), kivFromUtf8(key)))
                        << text << "\n[" << section << "] " << key;
                }
            }
        }
    }
}

TEST(KivStyleContent, WhatIsWrittenOverAHandWrittenFileComesBackAndTheRestStays) {
    RawRandom random(23);
    const TempFolder folder;
    const std::wstring path = folder.wide("a.kiv");
    for (int round = 0; round < 600; ++round) {
        const std::string before = randomFile(random);
        const bool wide = random.chance(2);
        folder.write("a.kiv", wide ? asUtf16(before) : before);
        KivTablePageSettings settings = page();
        for (int i = 0; i < numSettings; ++i) {
            settings.setValue(i, random.between(-10, 10) * (i == 3 ? 1e6 : 1));
        }
        ASSERT_TRUE(settings.save(L"Cartoon", path.c_str())) << before;
        KivTablePageSettings read = page();
        ASSERT_TRUE(read.load(L"cartoon", path.c_str()));
        for (int i = 0; i < numSettings; ++i) {
            ASSERT_EQ(read.getValue(i), settings.getValue(i)) << before;
        }
        // Every line of the file is still there in its order, but for the values of the settings; what is new are lines
        // of the settings and their section.
        const std::string bytes = folder.read("a.kiv");
        ASSERT_EQ(bytes.starts_with("\xFF\xFE"), wide);
        const std::string after = wide ? kivToUtf8([&] {
            std::wstring text;
            for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
                text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                             static_cast<unsigned char>(bytes[i + 1]) << 8);
            }
            return text;
        }())
                                       : bytes;
        const std::vector<std::string> old = linesOf(before);
        std::size_t next = 0;
        int added = 0;
        for (const std::string& line : linesOf(after)) {
            if (next < old.size() &&
                (line == old[next] || (line.find('=') != std::string::npos &&
                                       line.substr(0, line.find('=')) == old[next].substr(0, old[next].find('='))))) {
                ++next;
            } else {
                ++added;
            }
        }
        ASSERT_EQ(next, old.size()) << before << "\n---\n" << after;
        ASSERT_LE(added, numSettings + 1) << before << "\n---\n" << after;
    }
}

// As the calls of another system write them: CR LF, quotes, its own case, comments, UTF-16LE with a mark.
TEST(KivStyleContent, AFileOfAnotherSystemReadsTheSame) {
    const TempFolder folder;
    const std::string text = "; made elsewhere\r\n[GENERAL]\r\nnoncombinableshader=\"Cartoon\"\r\n"
                             "COMBINABLESHADER='Outline;'\r\n\r\n[cartoon]\r\nBANDS = \"5\"\r\nsoftness=  -0.5  \r\n"
                             "ink='#010203'\r\njoins=BEVEL\r\nflat=No\r\n";
    folder.write("plain.kiv", text);
    folder.write("wide.kiv", asUtf16(text));
    for (const char* name : {"plain.kiv", "wide.kiv"}) {
        const std::wstring path = folder.wide(name);
        wchar_t out[kivMaxPath] = {};
        const KivConfigFile file(path.c_str());
        EXPECT_TRUE(file.read(L"General", L"NonCombinableShader", out, L""));
        EXPECT_STREQ(out, L"Cartoon");
        EXPECT_TRUE(file.read(L"General", L"CombinableShader", out, L""));
        EXPECT_STREQ(out, L"Outline;");
        KivTablePageSettings settings = page();
        EXPECT_TRUE(settings.load(L"Cartoon", path.c_str()));
        EXPECT_FALSE(settings.getBool(0));
        EXPECT_EQ(settings.getInt(1), 5);
        EXPECT_EQ(settings.getValue(2), -0.5);
        EXPECT_EQ(settings.getColour(3), 0x030201U);
        EXPECT_EQ(settings.getInt(4), 2);
    }
}

// A value out of range is brought into it for use; the file keeps what its writer meant until it is saved over.
TEST(KivStyleContent, ReadingChangesNoFile) {
    const TempFolder folder;
    const std::string text = "[Cartoon]\nBands=99\nSoftness=wide\nMine=7\n";
    folder.write("a.kiv", text);
    KivTablePageSettings settings = page();
    EXPECT_TRUE(settings.load(L"Cartoon", folder.wide("a.kiv").c_str()));
    EXPECT_EQ(settings.getInt(1), 8);
    EXPECT_EQ(settings.getValue(2), 0.1);
    EXPECT_EQ(folder.read("a.kiv"), text);
    EXPECT_TRUE(settings.save(L"Cartoon", folder.wide("a.kiv").c_str()));
    EXPECT_EQ(folder.read("a.kiv"), "[Cartoon]\nBands=8\r\nSoftness=0.1\r\nMine=7\nFlat=1\r\nInk=#ff0000\r\n"
                                    "Joins=mitre\r\n");
}
