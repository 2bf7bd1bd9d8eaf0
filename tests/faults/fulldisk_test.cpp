// Every call that writes fails once, one after the other, until all goes well: whatever is saved is then the old file
// or the whole new one, nothing lies beside it, and the failure is told.
#include "failcalls.h"

#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivpreferences.h"
#include "kivrender/platform/kivreplacefile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwholefile.h"
#include "kivrender/settings/kivconfigfile.h"
#include "kivrender/shader/kivstylefile.h"
#include "support/temphome.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return in ? content.str() : "missing";
}

void setContent(const fs::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        names.insert(entry.path().string());
    }
    return names;
}

class FullDisk : public testing::Test {
protected:
    ~FullDisk() override {
        failCallsAt(0);
    }

    // save answers whether it went well. From what the file holds at first to what it holds after a save without a
    // failure, by every failure on the way.
    void expectAllOrNothing(const fs::path& file, const std::function<bool()>& save, bool isTold = true) {
        const std::string before = contentOf(file);
        failCallsAt(0);
        ASSERT_TRUE(save());
        const int calls = countedCalls();
        ASSERT_GT(calls, 1);
        const std::string after = contentOf(file);
        ASSERT_NE(after, before);
        const std::set<std::string> names = namesIn(home.path());
        for (int n = 1; n <= calls; ++n) {
            setContent(file, before);
            failCallsAt(n);
            const bool good = save();
            failCallsAt(0);
            const std::string now = contentOf(file);
            EXPECT_TRUE(now == before || now == after) << "call " << n << " leaves " << now.size() << " bytes";
            if (isTold) {
                EXPECT_EQ(good, now == after) << "call " << n;
            }
            EXPECT_EQ(namesIn(home.path()), names) << "call " << n;
        }
    }
    std::wstring wide(const fs::path& path) const {
        return kivFromUtf8(path.string());
    }

    const TempHome home;
};

} // namespace

TEST_F(FullDisk, PicturesOfEachKind) {
    const auto image = KivImage::create({40, 30});
    for (int i = 0; i < 90; ++i) {
        image->row(i % 30)[i] = static_cast<std::uint8_t>(i * 37);
    }
    for (const KivImageEncoder& encoder : kivImageEncoders()) {
        const fs::path file = home.path() / ("a." + kivToUtf8(encoder.endings[0]));
        setContent(file, "old");
        expectAllOrNothing(file, [&] { return image->save(wide(file), encoder.id) == KivImageStatus::ok; });
    }
}

TEST_F(FullDisk, WholeFilesAndCopies) {
    const fs::path file = home.path() / "a";
    setContent(file, "old");
    const std::string bytes(200000, 'x');
    const std::span<const std::uint8_t> content(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    expectAllOrNothing(file, [&] { return kivWriteWholeFile(wide(file), content); });
    setContent(file, "old");
    expectAllOrNothing(file, [&] { return kivWriteWholeFile(wide(file), content, true); });
    setContent(home.path() / "b", bytes);
    setContent(file, "old");
    expectAllOrNothing(file, [&] { return kivCopyWholeFile(wide(home.path() / "b"), wide(file)); });
}

TEST_F(FullDisk, NewFiles) {
    const fs::path file = home.path() / "a";
    failCallsAt(0);
    ASSERT_TRUE(kivCreateFile(wide(file), "new"));
    const int calls = countedCalls();
    for (int n = 1; n <= calls; ++n) {
        fs::remove(file);
        failCallsAt(n);
        const bool good = kivCreateFile(wide(file), "new");
        failCallsAt(0);
        EXPECT_EQ(contentOf(file), good ? "new" : "missing") << "call " << n;
        EXPECT_LE(namesIn(home.path()).size(), 2U) << "the home and the file";
    }
}

TEST_F(FullDisk, ProfilesAndStyles) {
    const fs::path file = home.path() / "a.kiv";
    setContent(file, "; mine\r\n[General]\r\nKey=old\r\n");
    expectAllOrNothing(file, [&] { return KivConfigFile(wide(file).c_str()).write(L"General", L"Key", L"new"); });
    setContent(file, "; mine\r\n[General]\r\nKey=old\r\n");
    expectAllOrNothing(file, [&] { return kivSaveStyle(wide(file), {L"Cartoon", {L"Outline"}}, nullptr); });
}

TEST_F(FullDisk, Preferences) {
    ASSERT_TRUE(KivPreferences().saveString(false, L"Morvane", L"Value", L"old"));
    fs::path file;
    for (const auto& entry : fs::recursive_directory_iterator(home.path())) {
        file = entry.is_regular_file() ? entry.path() : file;
    }
    ASSERT_FALSE(file.empty());
    expectAllOrNothing(file, [] { return KivPreferences().saveString(false, L"Morvane", L"Value", L"new"); });
}

// The program itself, in pictures and drawings.
TEST_F(FullDisk, OutputsOfTheCommandLine) {
    const fs::path model = home.path() / "t.obj";
    setContent(model, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    // All formats with SELVARIN_CAMPAIGN set.
    const bool isCampaign = std::getenv("SELVARIN_CAMPAIGN") != nullptr;
    const std::vector<std::string> endings =
        isCampaign ? std::vector<std::string>{"png", "jpg", "tif", "bmp", "gif", "svg", "pdf", "eps", "ps", "ai"}
                   : std::vector<std::string>{"png", "pdf"};
    int runs = 0;
    for (const std::string& ending : endings) {
        const fs::path file = home.path() / ("a." + ending);
        const fs::path words = home.path() / "words";
        const auto render = [&](int n) {
            ++runs;
            const std::string command = "MESA_SHADER_CACHE_DISABLE=true SELVARIN_FAIL_AT=" + std::to_string(n) +
                                        " LD_PRELOAD=" FAIL_CALLS_LIBRARY " " SELVARIN_BIN_DIR "/selvarin render " +
                                        model.string() + " -q -s 32x24 -a 0 -o " + file.string() + " 2> " +
                                        words.string();
            return WEXITSTATUS(std::system(command.c_str()));
        };
        setContent(file, "old");
        ASSERT_EQ(render(0), 0) << contentOf(words);
        const std::string whole = contentOf(file);
        const std::set<std::string> names = namesIn(home.path());
        // Without a count from outside: the calls end where many in a row change nothing.
        int unharmed = 0;
        for (int n = 1; unharmed < 3; ++n) {
            setContent(file, "old");
            const int status = render(n);
            const std::string now = contentOf(file);
            const std::string line = contentOf(words);
            EXPECT_EQ(namesIn(home.path()), names) << ending << ", call " << n;
            if (status == 0) {
                EXPECT_EQ(now, whole) << ending << ", call " << n;
                ++unharmed;
            } else {
                unharmed = 0;
                EXPECT_EQ(status, 1) << line;
                EXPECT_EQ(now, "old") << ending << ", call " << n;
                EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
                EXPECT_NE(line.find(file.string()), std::string::npos) << line;
                EXPECT_NE(line.find("full"), std::string::npos) << line;
            }
            ASSERT_LT(n, 100);
        }
    }
    RecordProperty("runs", runs);
}
