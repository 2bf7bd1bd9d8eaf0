// The libraries that write films.
#include "apps/common/filmwriter.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

bool isLoaded(const std::string& library) {
    std::stringstream text;
    text << std::ifstream("/proc/self/maps").rdbuf();
    return text.str().find("/" + library) != std::string::npos;
}

// They take longer to load than a small picture to draw.
TEST(FilmWriterTest, LibrariesForFilmsAreLoadedForAFilm) {
    EXPECT_FALSE(isLoaded("libavcodec"));
    if (!std::filesystem::exists(kivToUtf8(kivLibraryFolder()) + "/selvarin-film.so")) {
        GTEST_SKIP() << "FFmpeg's libraries were not found";
    }
    std::string folder = (std::filesystem::temp_directory_path() / "filmXXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    EXPECT_NO_THROW(FilmWriter(folder + "/film.gif", {16, 16}, 25));
    EXPECT_TRUE(isLoaded("libavcodec"));
    EXPECT_THROW(FilmWriter(folder + "/missing/film.gif", {16, 16}, 25), std::runtime_error);
    std::filesystem::remove_all(folder);
}

} // namespace
