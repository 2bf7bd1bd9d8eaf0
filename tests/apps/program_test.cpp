// The program as a user runs it: exit status, messages, and what its pictures show.
#include "programrun.h"

#include "support/temphome.h"

#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <regex>
#include <thread>

#include <fcntl.h>
#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgb;

    std::array<int, 3> at(std::uint32_t x, std::uint32_t y) const {
        const std::uint8_t* p = &rgb[(std::size_t{y} * width + x) * 3];
        return {p[0], p[1], p[2]};
    }
    // The part of the picture that is not the background, which its corner shows.
    double covered() const {
        std::size_t count = 0;
        for (std::size_t i = 0; i < rgb.size(); i += 3) {
            count += std::memcmp(&rgb[i], rgb.data(), 3) != 0 ? 1 : 0;
        }
        return static_cast<double>(count) / (rgb.size() / 3.0);
    }
};

Picture readPng(const std::string& path) {
    Picture picture;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        return picture;
    }
    image.format = PNG_FORMAT_RGB;
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr) != 0) {
        picture.width = image.width;
        picture.height = image.height;
    }
    return picture;
}

// A box of 2 by 2 by 2 around the origin with a pure blue material.
std::string writeBlueBox(const ProgramFolder& folder, const std::string& name = "box.obj") {
    folder.write("blue.mtl", "newmtl blue\nKd 0 0 1\n");
    std::string text = "mtllib blue.mtl\nusemtl blue\n";
    for (const char* corner : {"-1 -1 -1", "1 -1 -1", "1 1 -1", "-1 1 -1", "-1 -1 1", "1 -1 1", "1 1 1", "-1 1 1"}) {
        text += std::string("v ") + corner + "\n";
    }
    return folder.write(name, text + "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 3 4 8 7\nf 2 3 7 6\nf 4 1 5 8\n");
}

// A grid of 2 n by n triangles, large enough to be cancelled in the middle.
std::string writeGrid(const ProgramFolder& folder, int n) {
    std::string text;
    for (int y = 0; y <= n; ++y) {
        for (int x = 0; x <= n; ++x) {
            text += "v " + std::to_string(x) + " " + std::to_string(std::sin(x * 0.3) * std::cos(y * 0.2) * 3.0) + " " +
                    std::to_string(y) + "\n";
        }
    }
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            const int a = y * (n + 1) + x + 1;
            text += "f " + std::to_string(a) + " " + std::to_string(a + n + 1) + " " + std::to_string(a + n + 2) + " " +
                    std::to_string(a + 1) + "\n";
        }
    }
    return folder.write("grid.obj", text);
}

int countLines(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

} // namespace

TEST(Program, HelpVersionManualAndCompletion) {
    const ProgramFolder folder;
    const Outcome help = run(folder, {"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, HasSubstr("selvarin render MODEL...|DOCUMENT -o FILE"));
    EXPECT_THAT(help.out, HasSubstr("Examples"));
    EXPECT_EQ(help.err, "");
    EXPECT_THAT(run(folder, {"render", "-h"}).out, HasSubstr("--background-image FILE"));
    const Outcome version = run(folder, {"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out, StartsWith("selvarin 2."));
    EXPECT_THAT(version.out, HasSubstr("Assimp"));
    EXPECT_THAT(run(folder, {"--man"}).out, StartsWith(".TH SELVARIN 1"));
    const Outcome rules = run(folder, {"--completion", "bash"});
    ASSERT_EQ(rules.status, 0);
    folder.write("rules", rules.out);
    EXPECT_EQ(std::system(("bash -n " + folder.path("rules")).c_str()), 0);
    const Outcome unknown = run(folder, {"--completion", "ksh"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_THAT(unknown.err, HasSubstr("bash"));
}

TEST(Program, SpeaksTheLanguageOfItsUser) {
    const ProgramFolder folder;
    const auto inSpanish = [] { setenv("LC_ALL", "es_ES.UTF-8", 1); };
    const auto said = [&](std::vector<std::string> words) {
        return run(folder, std::move(words), -1, false, inSpanish);
    };
    EXPECT_THAT(said({"--help"}).out, HasSubstr("Ejemplos"));
    EXPECT_THAT(said({"man"}).out, HasSubstr(".SH NOMBRE"));
    EXPECT_THAT(said({"man", "--lang", "en"}).out, HasSubstr(".SH NAME"));
    EXPECT_THAT(run(folder, {"man", "--lang", "es"}).out, HasSubstr(".SH NOMBRE"));
    EXPECT_EQ(said({"render", "no.obj", "-o", folder.path("x.png")}).err,
              "selvarin: no se puede usar \"no.obj\": no existe ese archivo\n");
    EXPECT_EQ(said({"render", "--siez", "9"}).err,
              "selvarin: opción desconocida --siez; ¿quería decir --size? (véase \"selvarin --help\")\n");
    EXPECT_EQ(run(folder, {"render", "--lang", "es", "--siez", "9"}).err,
              "selvarin: opción desconocida --siez; ¿quería decir --size? (véase \"selvarin --help\")\n");
}

TEST(Program, CompletesCommandsOptionsAndValues) {
    const ProgramFolder folder;
    folder.write("rules", run(folder, {"--completion", "bash"}).out);
    const auto complete = [&](const std::string& words, int index, const std::string& word,
                              const std::string& previous) {
        const std::string script = "source " + folder.path("rules") + "; COMP_WORDS=(" + words +
                                   "); COMP_CWORD=" + std::to_string(index) + "; _selvarin " + SELVARIN_BIN_DIR +
                                   "/selvarin '" + word + "' '" + previous + "'; echo \"${COMPREPLY[*]}\" > " +
                                   folder.path("reply");
        EXPECT_EQ(std::system(("bash -c '" +
                               [](std::string text) {
                                   for (std::size_t at = text.find('\''); at != std::string::npos;
                                        at = text.find('\'', at + 4)) {
                                       text.replace(at, 1, "'\\''");
                                   }
                                   return text;
                               }(script) +
                               "'")
                                  .c_str()),
                  0);
        return folder.read("reply");
    };
    EXPECT_EQ(complete("selvarin re", 1, "re", "selvarin"), "render\n");
    EXPECT_EQ(complete("selvarin render --anti", 2, "--anti", "render"), "--antialias\n");
    EXPECT_EQ(complete("selvarin render -a x", 3, "", "-a"), "0 1 2\n");
    EXPECT_EQ(complete("selvarin render --base Ca", 3, "Ca", "--base"), "Cartoon\n");
}

TEST(Program, ListsShadersAndFormats) {
    const ProgramFolder folder;
    const Outcome tags = run(folder, {"shaders", "-q"});
    EXPECT_EQ(tags.status, 0);
    EXPECT_EQ(tags.out, "Backdrop\nCartoon\nHalftone\nOutline\nSketch\n");
    const Outcome shaders = run(folder, {"shaders"});
    EXPECT_EQ(shaders.status, 0);
    EXPECT_THAT(shaders.out, HasSubstr("--set Cartoon.Bands="));
    EXPECT_THAT(shaders.out, HasSubstr("--set Outline."));
    EXPECT_THAT(shaders.out, HasSubstr("--set Sketch.Medium="));
    EXPECT_EQ(shaders.err, "");
    const Outcome formats = run(folder, {"formats"});
    for (const char* ending :
         {"obj", "gltf", "glb", "stl", "ply", "fbx", "3ds", "dae", "off", "dxf", "png", "jpg", "tif", "bmp", "gif"}) {
        EXPECT_THAT(formats.out, HasSubstr(std::string("  ") + ending + " ")) << ending;
    }
    EXPECT_EQ(run(folder, {"formats", "extra"}).status, 2);
}

TEST(Program, InfoTellsWhatAModelHolds) {
    const ProgramFolder folder;
    const Outcome info = run(folder, {"info", writeBlueBox(folder)});
    EXPECT_EQ(info.status, 0);
    EXPECT_THAT(info.out, HasSubstr("format:     Wavefront OBJ\nmeshes:     1\ntriangles:  12\nvertices:   24\n"));
    EXPECT_THAT(info.out, HasSubstr("x:          -1 to 1\n"));
    EXPECT_THAT(info.out, HasSubstr("units:      unknown\nup:         y\nmaterials:  1\n  blue  #0000ff\n"));
    EXPECT_THAT(run(folder, {"info", folder.path("box.obj"), "--up-axis", "z"}).out, HasSubstr("up:         z\n"));
    EXPECT_THAT(info.out, HasSubstr("animations: 0\nobjects:\n  blue  12 triangles\n"));
    EXPECT_EQ(run(folder, {"info"}).status, 2);
    const Outcome gone = run(folder, {"info", "gone.obj"});
    EXPECT_EQ(gone.status, 1);
    EXPECT_EQ(gone.err, "selvarin: can't use \"gone.obj\": there is no such file\n");
}

TEST(Program, InfoIsAlsoForPrograms) {
    const ProgramFolder folder;
    const std::string path =
        folder.write("t\"wo.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\no a\\b\nf 1 2 3\no c\nf 1 3 4\n");
    const Outcome info = run(folder, {"info", path, "--json"});
    EXPECT_EQ(info.status, 0);
    EXPECT_THAT(info.out, testing::StartsWith("{\n  \"file\": \""));
    EXPECT_THAT(info.out, HasSubstr("t\\\"wo.obj\",\n  \"format\": \"Wavefront OBJ\",\n  \"meshes\": 2,\n  "
                                    "\"triangles\": 2,\n"));
    EXPECT_THAT(info.out, HasSubstr("\"min\": [0, 0, 0],\n  \"max\": [1, 1, 1],\n  \"metresPerUnit\": null,\n"));
    EXPECT_THAT(info.out, HasSubstr("\"objects\": [{\"name\": \"a\\\\b\", \"triangles\": 1, \"objects\": []}, "
                                    "{\"name\": \"c\", \"triangles\": 1, \"objects\": []}]\n}\n"));
}

// The remaining objects are framed: the picture changes with them.
TEST(Program, ObjectsAreChosenByName) {
    const ProgramFolder folder;
    const std::string path =
        folder.write("two.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\no left\nf 1 2 3\no right\nf 1 3 4\n");
    const auto picture = [&](const std::string& name, std::vector<std::string> words) {
        words.insert(words.begin(), {"render", path, "-o", folder.path(name), "-s", "64x48", "-a", "0", "-q"});
        const Outcome outcome = run(folder, words);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return folder.read(name);
    };
    const std::string all = picture("all.png", {});
    const std::string only = picture("only.png", {"--only", "lef*"});
    EXPECT_NE(only, all);
    EXPECT_EQ(picture("hide.png", {"--hide", "right"}), only);
    EXPECT_NE(picture("ghost.png", {"--ghost", "left"}), all);
    EXPECT_NE(picture("colour.png", {"--colour", "left=#00ff00"}), all);
    const Outcome none = run(folder, {"render", path, "-o", folder.path("no.png"), "--only", "middle", "-q"});
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.err, HasSubstr("no object is called \"middle\"; \"selvarin info MODEL\" lists the objects\n"));
    EXPECT_THAT(none.err, HasSubstr("--only and --hide leave nothing to draw\n"));
}

TEST(Program, ErrorsAreOneLineAndTheStatusTellsTheirKind) {
    const ProgramFolder folder;
    const std::string box = writeBlueBox(folder);
    const std::string png = folder.path("x.png");
    folder.write("text.stl", "no solid at all");
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string message;
    } cases[] = {
        {{},
         2,
         "a command is needed: render, animate, catalogue, shaders, styles, preview, style, formats, info, "
         "new-shader or man (see "
         "\"selvarin --help\")"},
        {{"rendr"}, 2, "unknown command rendr; did you mean render? (see \"selvarin --help\")"},
        {{"render", box, "-o", png, "--simplify"},
         2,
         "--simplify is for vector drawings: give -o a name that ends in svg, pdf, eps, ps, ai, dxf, hpgl or plt (see "
         "\"selvarin "
         "--help\")"},
        {{"render", box, "-o", png, "--base", "Cartoons"},
         2,
         "unknown shader Cartoons; did you mean Cartoon? (see \"selvarin --help\")"},
        {{"render", box, "-o", png, "--base", "Outline"},
         2,
         "Outline adds to a picture: give it with --add (see \"selvarin --help\")"},
        {{"render", box, "-o", png, "--add", "Cartoon"},
         2,
         "Cartoon paints the surfaces itself: give it with --base (see \"selvarin --help\")"},
        {{"render", box, "-o", png, "--set", "Cartoon.Band=2"},
         2,
         "--set Cartoon.Band: Cartoon has no setting Band; did you mean Bands? (see \"selvarin --help\")"},
        {{"render", box, "-o", png, "--set", "Cartun.Bands=2"},
         2,
         "--set Cartun.Bands: unknown shader Cartun; did you mean Cartoon? (see \"selvarin --help\")"},
        {{"render", box, "-o", folder.path("x.svgz")},
         2,
         "\"" + folder.path("x.svgz") +
             "\": pictures can't be written as .svgz; use one of png, jpg, jpeg, tif, tiff, bmp, gif, ora, svg, "
             "pdf, eps, ps, ai, dxf, hpgl, plt (see \"selvarin --help\")"},
        {{"render", folder.path("gone.obj"), "-o", png},
         1,
         "can't use \"" + folder.path("gone.obj") + "\": there is no such file"},
        {{"render", box, "-o", "/nowhere/x.png"}, 1, "can't write \"/nowhere/x.png\": there is no folder \"/nowhere\""},
        {{"render", box, "-o", png, "--paper", "gone.png"}, 1, "can't use \"gone.png\": there is no such file"},
        {{"render", box, "-o", png, "--paper", "papyrus"},
         1,
         "\"papyrus\" is neither a file nor a paper; there are cartridge, kraft, laid and watercolour"},
        {{"render", box, "-o", png, "--eye", "1,1,1", "--target", "1,1,1"},
         2,
         "--eye and --target are the same place (see \"selvarin --help\")"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = run(folder, c.arguments);
        EXPECT_EQ(outcome.status, c.status) << c.message;
        EXPECT_EQ(outcome.err, "selvarin: " + c.message + "\n");
        EXPECT_EQ(outcome.out, "");
    }
    const Outcome value = run(folder, {"render", box, "-o", png, "--set", "Cartoon.Bands=many"});
    EXPECT_EQ(value.status, 2);
    EXPECT_THAT(value.err, StartsWith("selvarin: --set Cartoon.Bands: \"many\" is no value for it: "));
    const Outcome broken = run(folder, {"render", folder.path("text.stl"), "-o", png});
    EXPECT_EQ(broken.status, 1);
    EXPECT_EQ(countLines(broken.err), 1) << broken.err;
    const Outcome large = run(folder, {"render", box, "-o", folder.path("a.jpg"), "-s", "20000x20000", "-a", "0"});
    EXPECT_EQ(large.status, 1);
    EXPECT_EQ(large.err, "selvarin: can't write \"" + folder.path("a.jpg") +
                             "\": a picture of that size is written row by row, as png or tif\n");
    EXPECT_FALSE(std::filesystem::exists(folder.path("a.jpg")));
}

TEST(Program, APictureLargerThanASurfaceIsDrawnInTiles) {
    const ProgramFolder folder;
    const std::string png = folder.path("wide.png");
    const Outcome outcome = run(folder, {"render", writeBlueBox(folder), "-o", png, "-s", "17000x64", "-a", "0",
                                         "--background", "#ff8000", "--depth-image"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Picture picture = readPng(png);
    ASSERT_EQ(picture.width, 17000U);
    ASSERT_EQ(picture.height, 64U);
    EXPECT_EQ(picture.at(0, 0), (std::array<int, 3>{255, 128, 0}));
    EXPECT_EQ(picture.at(16999, 63), (std::array<int, 3>{255, 128, 0}));
    EXPECT_NE(picture.at(8500, 32), (std::array<int, 3>{255, 128, 0})) << "the box stands in the middle";
    EXPECT_EQ(readPng(folder.path("wide_depth.png")).width, 17000U);
}

TEST(Program, TilesGiveTheVeryPixelsOfTheWholeInEveryStyle) {
    const ProgramFolder folder;
    std::size_t styles = 0;
    for (const auto& file : std::filesystem::directory_iterator(std::string(SELVARIN_BIN_DIR) + "/styles")) {
        const std::vector<std::string> words{
            "render", "--demo", "--style", file.path().stem().string(), "-s", "120x90", "-a", "1", "--shadows", "-o"};
        const auto picture = [&](const std::string& name, const std::vector<std::string>& more) {
            std::vector<std::string> all = words;
            all.push_back(folder.path(name));
            all.insert(all.end(), more.begin(), more.end());
            EXPECT_EQ(run(folder, all).status, 0) << file.path();
            return readPng(folder.path(name));
        };
        const Picture whole = picture("whole.png", {});
        EXPECT_GT(whole.covered(), 0.1) << file.path();
        EXPECT_EQ(picture("tiles.png", {"--tile", "64"}).rgb, whole.rgb) << file.path();
        ++styles;
    }
    EXPECT_GE(styles, 12U);
}

TEST(Program, APosterThatIsCancelledLeavesTheOldFile) {
    const ProgramFolder folder;
    const std::string png = folder.write("old.png", "old");
    const Outcome outcome =
        run(folder, {"render", writeBlueBox(folder), "-o", png, "-s", "3000x3000", "--tile", "200"}, 1200);
    EXPECT_EQ(outcome.status, 130) << outcome.err;
    EXPECT_EQ(folder.read("old.png"), "old");
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"blue.mtl", "box.obj", "old.png"}));
}

TEST(Program, RendersABlueBoxOnItsBackground) {
    const ProgramFolder folder;
    const std::string png = folder.path("box.png");
    const Outcome outcome =
        run(folder, {"render", writeBlueBox(folder), "-o", png, "-s", "320x240", "--background", "#ff8000"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, StartsWith(png + ": 320x240, 12 triangles, "));
    const Picture picture = readPng(png);
    ASSERT_EQ(picture.width, 320U);
    ASSERT_EQ(picture.height, 240U);
    EXPECT_EQ(picture.at(0, 0), (std::array<int, 3>{255, 128, 0}));
    EXPECT_EQ(picture.at(319, 239), (std::array<int, 3>{255, 128, 0}));
    const std::array<int, 3> middle = picture.at(150, 110);
    EXPECT_GT(middle[2], middle[0] + 40);
    EXPECT_GT(picture.covered(), 0.25);
    EXPECT_LT(picture.covered(), 0.75);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"blue.mtl", "box.obj", "box.png"}))
        << "nothing else is left behind";
}

TEST(Program, TheSameCommandGivesTheSameBytes) {
    const ProgramFolder folder;
    const std::string box = writeBlueBox(folder);
    for (const char* name : {"a.png", "b.png"}) {
        ASSERT_EQ(run(folder, {"render", box, "-o", folder.path(name), "-s", "200x150"}).status, 0);
    }
    EXPECT_TRUE(folder.read("a.png") == folder.read("b.png"));
    EXPECT_GT(folder.read("a.png").size(), 500U);
}

TEST(Program, WritesAllPictureFormatsAndTheStream) {
    const ProgramFolder folder;
    const std::string box = writeBlueBox(folder);
    const struct {
        const char* name;
        std::string magic;
    } cases[] = {{"a.png", "\x89PNG"}, {"a.jpg", "\xFF\xD8"}, {"a.JPEG", "\xFF\xD8"},
                 {"a.bmp", "BM"},      {"a.gif", "GIF8"},     {"a.tif", "II"}};
    for (const auto& c : cases) {
        const Outcome outcome = run(folder, {"render", box, "-o", folder.path(c.name), "-s", "64x48", "-q"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out + outcome.err, "") << "quiet";
        EXPECT_EQ(folder.read(c.name).substr(0, c.magic.size()), c.magic) << c.name;
    }
    const Outcome stream = run(folder, {"render", box, "-o", "-", "-s", "64x48"});
    EXPECT_EQ(stream.status, 0);
    EXPECT_TRUE(stream.out == folder.read("a.png")) << "the picture alone";
    EXPECT_EQ(stream.err, "");
}

TEST(Program, DepthImageBesideThePicture) {
    const ProgramFolder folder;
    ASSERT_EQ(run(folder, {"render", writeBlueBox(folder), "-o", folder.path("b.png"), "-s", "160x120", "-a", "1",
                           "--depth-image"})
                  .status,
              0);
    const Picture depth = readPng(folder.path("b_depth.png"));
    ASSERT_EQ(depth.width, 160U);
    ASSERT_EQ(depth.height, 120U);
    EXPECT_EQ(depth.at(0, 0), (std::array<int, 3>{255, 255, 255}));
    EXPECT_LT(depth.at(80, 60)[0], 200) << "nearer is darker";
    EXPECT_EQ(run(folder, {"render", folder.path("box.obj"), "-o", "-", "--depth-image"}).status, 2);
}

// A board with a box above it, under a light from straight above: seen from the side, the board is dark under the box.
TEST(Program, ShadowsAndTheirPicture) {
    const ProgramFolder folder;
    const std::string model = folder.write(
        "s.obj", "v -4 0 -4\nv 4 0 -4\nv 4 0 4\nv -4 0 4\nv -4 -1 -4\nv 4 -1 -4\nv 4 -1 4\nv -4 -1 4\n"
                 "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n"
                 "v -1 3 -1\nv 1 3 -1\nv 1 3 1\nv -1 3 1\nv -1 2 -1\nv 1 2 -1\nv 1 2 1\nv -1 2 1\n"
                 "f 9 12 11 10\nf 13 14 15 16\nf 9 10 14 13\nf 10 11 15 14\nf 11 12 16 15\nf 12 9 13 16\n");
    const auto draw = [&](const std::string& name, const std::vector<std::string>& more) {
        std::vector<std::string> words = {
            "render", model,   "-o",      folder.path(name), "-s",    "201x201", "-a", "0",       "--add",
            "none",   "--eye", "0,12,16", "--target",        "0,0,0", "--fov",   "40", "--light", "directional:0,-1,0"};
        words.insert(words.end(), more.begin(), more.end());
        return run(folder, words);
    };
    ASSERT_EQ(draw("plain.png", {}).status, 0);
    ASSERT_EQ(draw("shade.png", {"--shadows", "--shadow-image"}).status, 0);
    const Picture plain = readPng(folder.path("plain.png"));
    const Picture shade = readPng(folder.path("shade.png"));
    const Picture lights = readPng(folder.path("shade_shadow.png"));
    // The middle of the board lies at the centre of the picture, its right part far from the shadow.
    EXPECT_EQ(plain.at(100, 100), plain.at(150, 110)) << "without shadows the board is even";
    EXPECT_LT(shade.at(100, 100)[0], shade.at(150, 110)[0]);
    EXPECT_EQ(lights.at(100, 100), (std::array<int, 3>{0, 0, 0}));
    EXPECT_EQ(lights.at(150, 110), (std::array<int, 3>{255, 255, 255}));
    EXPECT_EQ(lights.at(1, 1), (std::array<int, 3>{255, 255, 255})) << "nothing is there to be dark";
}

// Beside the shadows of a parallel view, which is drawn as from far away, the depth image shows the model.
TEST(Program, TheDepthImageOfAParallelViewWithShadowsShowsTheModel) {
    const ProgramFolder folder;
    const Outcome done = run(folder, {"render", "--demo", "-o", folder.path("o.png"), "-s", "101x80", "--shadows",
                                      "--ortho", "0", "--depth-image", "--shadow-image"});
    ASSERT_EQ(done.status, 0) << done.err;
    const Picture depth = readPng(folder.path("o_depth.png"));
    std::set<int> greys;
    for (int y = 0; y < 80; ++y) {
        for (int x = 0; x < 101; ++x) {
            greys.insert(depth.at(x, y)[0]);
        }
    }
    EXPECT_GT(greys.size(), 50U);
}

// A background image of another size than the picture's moves neither shadows nor what stands behind glass.
TEST(Program, ABackgroundImageOfAnySizeLeavesTheModelAsItIs) {
    const ProgramFolder folder;
    folder.write("t.mtl", "newmtl glass\nKd 0.2 0.5 0.9\nd 0.4\nnewmtl board\nKd 0.9 0.3 0.2\n");
    const std::string model =
        folder.write("t.obj", "mtllib t.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nv -2 -2 -1\nv 2 -2 -1\nv 2 2 -1\n"
                              "v -2 2 -1\nv -1 -1 -2\nv 1 -1 -2\nv 1 1 -2\nv -1 1 -2\nusemtl board\nf 5 6 7 8\n"
                              "usemtl glass\nf 1 2 3 4\nf 9 10 11 12\n");
    const std::string small = folder.path("small.png");
    ASSERT_EQ(run(folder, {"render", "--demo", "-o", small, "-s", "24x24", "--base", "none", "--add", "none",
                           "--background", "#ffffff"})
                  .status,
              0);
    const auto draw = [&](const std::string& name, std::vector<std::string> more) {
        std::vector<std::string> words{"render",         model,          "-o",      folder.path(name), "--base",
                                       "Cartoon",        "-s",           "200x160", "--add",           "none",
                                       "--eye",          "1,1,6",        "--light", "point:1,2,7",     "--shadows",
                                       "--transparency", "--background", "#ffffff"};
        words.insert(words.end(), more.begin(), more.end());
        return run(folder, words).status;
    };
    ASSERT_EQ(draw("plain.png", {}), 0);
    ASSERT_EQ(draw("over.png", {"--background-image", small}), 0);
    EXPECT_EQ(folder.read("over.png"), folder.read("plain.png"));
}

// Glass before a board: the drawing says so, and only of the glass.
TEST(Program, DrawingsAreSeenThroughWhereMaterialsAre) {
    const ProgramFolder folder;
    folder.write("scene.mtl", "newmtl glass\nKd 0.2 0.5 0.9\nd 0.4\nnewmtl board\nKd 0.9 0.3 0.2\n");
    const std::string model = folder.write(
        "scene.obj", "mtllib scene.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nv -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\n"
                     "v -1 1 -1\nusemtl glass\nf 1 2 3 4\nusemtl board\nf 5 6 7 8\n");
    const std::string drawing = folder.path("view.svg");
    for (const bool mixed : {true, false}) {
        std::vector<std::string> words{"render", model, "-o", drawing, "--add", "none", "--eye", "0,0,6", "-q"};
        if (mixed) {
            words.emplace_back("--transparency");
        }
        ASSERT_EQ(run(folder, words).status, 0);
        const std::string text = readAll(drawing);
        std::map<std::string, int> areas; // that are seen through, by the class of their colour
        const std::regex area("<path class=\"(tone-[0-9]+)\" style=\"[^\"]*fill-opacity:0.4\"");
        for (std::sregex_iterator found(text.begin(), text.end(), area), end; found != end; ++found) {
            ++areas[(*found)[1]];
        }
        EXPECT_EQ(areas.size(), mixed ? 1U : 0U) << "the glass";
        std::smatch board;
        // Behind what covers it the board is left out.
        EXPECT_EQ(std::regex_search(text, board, std::regex("\\.(tone-[0-9]+)\\{fill:#e64d33")), mixed);
        EXPECT_FALSE(mixed && areas.contains(board[1]));
    }
}

// Only pictures are drawn larger than they become.
TEST(Program, DrawingsTakeNoMemoryForAntialiasing) {
    const ProgramFolder folder;
    const std::string box = writeBlueBox(folder);
    const auto peak = [&](std::vector<std::string> words, const std::string& name, const std::string& level) {
        words.insert(words.end(), {box, "-o", folder.path(name), "-s", "1600x1200", "-a", level, "-q"});
        const Outcome outcome = run(folder, words);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.peakKilobytes;
    };
    constexpr long room = 50000;
    EXPECT_LT(peak({"render"}, "a.svg", "2"), peak({"render"}, "b.svg", "0") + room);
    const std::vector<std::string> film = {"animate", "--seconds", "0.04"};
    EXPECT_LT(peak(film, "a%04d.svg", "2"), peak(film, "b%04d.svg", "0") + room);
    EXPECT_GT(peak({"render"}, "c.png", "2"), peak({"render"}, "d.png", "0") + room); // so it would show
}

// Not even where the system's allocator is told to give back all that it can.
TEST(Program, UsesFreedMemoryAgain) {
    const ProgramFolder folder;
    const std::vector<std::string> words = {"render", writeGrid(folder, 120), "--base", "none", "-q", "-s", "320x240",
                                            "-o",     folder.path("x.svg")};
    const Outcome plain = run(folder, words);
    const Outcome told = run(folder, words, -1, false, [] {
        setenv("GLIBC_TUNABLES", "glibc.malloc.mmap_threshold=65536:glibc.malloc.trim_threshold=65536", 1);
    });
    EXPECT_EQ(plain.status, 0) << plain.err;
    EXPECT_LT(told.pageFaults, plain.pageFaults + plain.pageFaults / 10);
}

TEST(Program, SpeaksTheLanguageThatIsAskedFor) {
    const ProgramFolder folder;
    const auto shaders = [&folder](const std::map<std::string, std::string>& variables,
                                   std::vector<std::string> words) {
        ScopedEnvironment environment;
        for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
            const auto given = variables.find(name);
            environment.set(name, given != variables.end() ? given->second : "");
        }
        words.insert(words.begin(), "shaders");
        return run(folder, words);
    };
    const std::string english = "Outline  (Outline)";
    const std::string spanish = "Outline  (Contorno)";
    EXPECT_THAT(shaders({}, {}).out, HasSubstr(english));
    EXPECT_THAT(shaders({}, {"--lang", "es"}).out, HasSubstr(spanish));
    EXPECT_THAT(shaders({{"LANG", "es_AR.UTF-8"}}, {}).out, HasSubstr(spanish));
    EXPECT_THAT(shaders({{"LANG", "es_AR.UTF-8"}}, {"--lang", "en"}).out, HasSubstr(english));
    EXPECT_THAT(shaders({{"LC_MESSAGES", "es"}, {"LANG", "en"}}, {}).out, HasSubstr(spanish));
    EXPECT_THAT(shaders({{"LC_ALL", "C"}, {"LC_MESSAGES", "es"}, {"LANG", "es"}}, {}).out, HasSubstr(english));
    const Outcome other = shaders({{"LC_ALL", "fr_FR.UTF-8"}}, {});
    EXPECT_THAT(other.out, HasSubstr(english));
    EXPECT_EQ(other.err, "") << "a language that there is no module of is no fault of the user";
    const Outcome unknown = shaders({}, {"--lang", "../es"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.err,
              "selvarin: --lang: there is no language \"../es\"; there are: en, es (see \"selvarin --help\")\n");
}

TEST(Program, PapersByNameMultiplyThePicture) {
    const ProgramFolder folder;
    const std::string box = writeBlueBox(folder);
    const auto draw = [&](const std::string& name, const std::vector<std::string>& more) {
        std::vector<std::string> words = {"render",       box,       "-o", folder.path(name), "-s", "120x90",
                                          "--background", "#ffffff", "-q"};
        words.insert(words.end(), more.begin(), more.end());
        EXPECT_EQ(run(folder, words).status, 0);
        return readPng(folder.path(name));
    };
    const Picture plain = draw("plain.png", {});
    const Picture kraft = draw("kraft.png", {"--paper", "kraft"});
    ASSERT_EQ(kraft.rgb.size(), plain.rgb.size());
    EXPECT_EQ(plain.at(2, 2), (std::array<int, 3>{255, 255, 255}));
    EXPECT_LT(kraft.at(2, 2)[2], kraft.at(2, 2)[0] - 40) << "the paper is brown";
    double before = 0.0;
    double after = 0.0;
    for (std::size_t i = 0; i < plain.rgb.size(); ++i) {
        EXPECT_LE(kraft.rgb[i], plain.rgb[i] + 1) << "paper takes light away";
        before += plain.rgb[i];
        after += kraft.rgb[i];
    }
    EXPECT_NEAR(after / before, 0.65, 0.15);
    // A file of the same name is meant before the paper.
    folder.write("laid", "no picture");
    const auto broken = run(folder, {"render", box, "-o", folder.path("f.png"), "--paper", folder.path("laid")});
    EXPECT_EQ(broken.status, 1);
    EXPECT_NE(broken.err.find(folder.path("laid")), std::string::npos) << broken.err;
    EXPECT_FALSE(std::filesystem::exists(folder.path("f.png")));
}

TEST(Program, MaterialsThatAreNotOpaqueShineThrough) {
    const ProgramFolder folder;
    folder.write("t.mtl", "newmtl back\nKd 0 0 1\nnewmtl glass\nKd 1 0 0\nd 0.5\n");
    const std::string model = folder.write("t.obj", "mtllib t.mtl\nv -2 -2 0\nv 2 -2 0\nv 2 2 0\nv -2 2 0\n"
                                                    "v -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\n"
                                                    "usemtl back\nf 1 2 3 4\nusemtl glass\nf 5 6 7 8\n");
    const std::string png = folder.path("t.png");
    std::vector<std::string> words = {"render", model, "-o",    png,    "-s",    "101x101",
                                      "-a",     "0",   "--add", "none", "--eye", "0,0,12"};
    ASSERT_EQ(run(folder, words).status, 0);
    const Picture solid = readPng(png);
    words.emplace_back("--transparency");
    ASSERT_EQ(run(folder, words).status, 0);
    const Picture glass = readPng(png);
    EXPECT_LT(solid.at(50, 50)[2], 100) << "opaque without the option";
    EXPECT_GT(glass.at(50, 50)[0], 60);
    EXPECT_GT(glass.at(50, 50)[2], solid.at(50, 50)[2] + 30) << "what lies behind shows";
    EXPECT_EQ(glass.at(20, 50), solid.at(20, 50)) << "beside the pane nothing changes";
}

TEST(Program, CamerasAndProjections) {
    const ProgramFolder folder;
    const std::string box = writeBlueBox(folder);
    const std::string png = folder.path("v.png");
    // Straight from the front, 4 units high, no lines: the box is half of the picture's height, to the pixel.
    ASSERT_EQ(run(folder, {"render", box, "-o", png, "-s", "200x100", "-a", "0", "--eye", "0,0,10", "--ortho", "4",
                           "--add", "none"})
                  .status,
              0);
    Picture picture = readPng(png);
    EXPECT_NEAR(picture.covered(), 0.5 * 0.25, 0.002);
    EXPECT_NE(picture.at(76, 50), picture.at(0, 0));
    EXPECT_EQ(picture.at(73, 50), picture.at(0, 0));
    // In perspective the front face, 9 units away, is 2 / (2 * 9 * tan 15) of the height.
    ASSERT_EQ(run(folder, {"render", box, "-o", png, "-s", "200x200", "-a", "0", "--eye", "0,0,10", "--fov", "30",
                           "--add", "none"})
                  .status,
              0);
    EXPECT_NEAR(readPng(png).covered(), std::pow(1.0 / (9.0 * std::tan(3.14159265358979 / 12.0)), 2.0), 0.01);
    // Looking away from it.
    const Outcome away =
        run(folder, {"render", box, "-o", png, "-s", "64x64", "--eye", "0,0,10", "--target", "0,0,20"});
    EXPECT_EQ(away.status, 0);
    EXPECT_THAT(away.err, HasSubstr("warning: the camera sees nothing"));
    EXPECT_EQ(readPng(png).covered(), 0.0);
    // A target alone is in the middle of the picture.
    ASSERT_EQ(run(folder, {"render", box, "-o", png, "-s", "100x100", "--target", "1,1,1"}).status, 0);
    EXPECT_NE(readPng(png).at(48, 52), readPng(png).at(0, 0));
    // From above, with the y axis along the view.
    ASSERT_EQ(run(folder, {"render", box, "-o", png, "-s", "100x100", "-a", "0", "--ortho", "0", "--eye", "0,9,0",
                           "--add", "none"})
                  .status,
              0);
    EXPECT_NEAR(readPng(png).covered(), 0.88 * 0.88, 0.03);
}

TEST(Program, TheUnitOfAModelDoesNotMatter) {
    const ProgramFolder folder;
    for (const char* unit : {"e-6", "", "e9"}) {
        std::string text;
        for (const char* corner : {"0 0 0", "3 0 0", "0 2 0", "0 0 1"}) {
            std::istringstream numbers(corner);
            std::string n;
            text += "v";
            while (numbers >> n) {
                text += " " + n + unit;
            }
            text += "\n";
        }
        const std::string model = folder.write("t.obj", text + "f 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
        ASSERT_EQ(run(folder, {"render", model, "-o", folder.path("t.png"), "-s", "160x120"}).status, 0);
        EXPECT_GT(readPng(folder.path("t.png")).covered(), 0.15) << unit;
    }
}

TEST(Program, LooksAndSettings) {
    const ProgramFolder folder;
    const std::string box = writeBlueBox(folder);
    // Compared as numbers: a whole picture is not a message.
    const auto picture = [&](std::vector<std::string> more) {
        std::vector<std::string> arguments{"render", box, "-o", folder.path("l.png"), "-s", "160x120", "-q"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = run(folder, arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return std::hash<std::string>()(folder.read("l.png"));
    };
    const std::size_t plain = picture({});
    EXPECT_NE(picture({"--add", "none"}), plain) << "without lines";
    EXPECT_NE(picture({"--base", "none"}), plain) << "without paint";
    EXPECT_NE(picture({"--set", "Cartoon.Bands=1"}), plain);
    EXPECT_EQ(picture({"--base", "cartoon", "--add", "outline"}), plain) << "the default look by name";
    EXPECT_NE(picture({"--light", "directional:0,-1,0"}), plain);
    EXPECT_EQ(picture({"--config", folder.write("look.conf", "set = Cartoon.Bands=1\n")}),
              picture({"--set", "Cartoon.Bands=1"}));
}

TEST(Program, SeveralModels) {
    const ProgramFolder folder;
    const std::string a = writeBlueBox(folder, "a.obj");
    const std::string b = writeBlueBox(folder, "b.obj");
    const Outcome each = run(folder, {"render", a, b, "-o", folder.path("{model}-x.png"), "-s", "64x48"});
    EXPECT_EQ(each.status, 0) << each.err;
    EXPECT_EQ(countLines(each.out), 2);
    EXPECT_TRUE(folder.read("a-x.png") == folder.read("b-x.png")) << "one render does not change the next";
    EXPECT_GT(folder.read("a-x.png").size(), 100U);
    const Outcome one = run(folder, {"render", a, b, "-o", folder.path("both.png"), "-s", "64x48"});
    EXPECT_THAT(one.out, HasSubstr("64x48, 24 triangles"));
    const Outcome same = run(folder, {"render", a, a, "-o", folder.path("{model}.png")});
    EXPECT_EQ(same.status, 2);
    EXPECT_THAT(same.err, HasSubstr("two models would both be written to"));
}

TEST(Program, ABadModelAmongManyDoesNotStopTheOthers) {
    const ProgramFolder folder;
    const std::string a = writeBlueBox(folder);
    const std::string bad = folder.write("bad.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n");
    const std::string c = folder.write("c.obj", folder.read("box.obj"));
    const Outcome outcome =
        run(folder, {"render", a, bad, folder.path("gone.obj"), c, "-o", folder.path("{model}.png"), "-s", "64x48"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "selvarin: can't use \"" + bad +
                               "\": it is cut off within its header, which has no end_header\nselvarin: can't use \"" +
                               folder.path("gone.obj") + "\": there is no such file\nselvarin: 2 of 4 models failed\n");
    EXPECT_EQ(folder.names(),
              (std::vector<std::string>{"bad.ply", "blue.mtl", "box.obj", "box.png", "c.obj", "c.png"}));
    // One picture of many models is none without one of them.
    const Outcome one = run(folder, {"render", a, bad, "-o", folder.path("one.png"), "-s", "64x48"});
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(std::count(one.err.begin(), one.err.end(), '\n'), 1);
    EXPECT_FALSE(std::filesystem::exists(folder.path("one.png")));
}

TEST(Program, AModelThatIsCutOffIsToldAndDrawn) {
    const ProgramFolder folder;
    const std::string path = folder.write(
        "cut.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
                   "element face 2\nproperty list uchar int vertex_indices\nend_header\n"
                   "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
    const Outcome outcome = run(folder, {"render", path, "-o", folder.path("cut.png"), "-s", "64x48", "-q"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err,
              "selvarin: warning: \"" + path + "\": the file is cut off: of 2 elements \"face\" it has 1\n");
    EXPECT_THAT(run(folder, {"info", path}).err, HasSubstr("cut off"));
}

TEST(Program, InterruptEndsTheReadingOfAModel) {
    const ProgramFolder folder;
    std::string text = "ply\nformat ascii 1.0\nelement vertex 600000\nproperty float x\nproperty float y\n"
                       "property float z\nelement face 600000\nproperty list uchar int vertex_indices\nend_header\n";
    for (int i = 0; i < 600'000; ++i) {
        text += std::to_string(i % 775) + " " + std::to_string(i / 775) + " " + std::to_string(i % 7) + "\n";
    }
    for (int i = 0; i < 600'000; ++i) {
        text += "3 " + std::to_string(i) + " " + std::to_string((i + 1) % 600'000) + " " +
                std::to_string((i + 775) % 600'000) + "\n";
    }
    const std::string model = folder.write("large.ply", text);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int whileItIsRead = 600; // milliseconds; a sanitizer starts slowly
#else
    constexpr int whileItIsRead = 150;
#endif
    const Outcome outcome = run(folder, {"render", model, "-o", folder.path("large.png")}, whileItIsRead);
    EXPECT_EQ(outcome.status, 130);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"large.ply"});
}

TEST(Program, TheDemoFillsThePicture) {
    const ProgramFolder folder;
    const Outcome outcome =
        run(folder, {"render", "--demo", "-o", folder.path("{model}.png"), "-s", "320x240", "--timings"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("in all"));
    EXPECT_THAT(outcome.err, HasSubstr("encoding"));
    const Picture picture = readPng(folder.path("demo.png"));
    EXPECT_EQ(picture.width, 320U);
    EXPECT_GT(picture.covered(), 0.3);
    EXPECT_LT(picture.covered(), 0.9);
}

TEST(Program, InterruptLeavesTheOldPicture) {
    const ProgramFolder folder;
    const std::string grid = writeGrid(folder, 700);
    const std::string png = folder.write("g.png", "old");
    bool cancelled = false;
    for (const int delay : {100, 250, 500, 900}) {
        const Outcome outcome = run(folder, {"render", grid, "-o", png, "-s", "2400x1800"}, delay);
        if (outcome.status == 130) {
            cancelled = true;
            EXPECT_EQ(outcome.out, "");
            EXPECT_EQ(folder.read("g.png"), "old");
        } else {
            // The signal came before it was caught or after the work was done.
            EXPECT_TRUE(outcome.status == 0 || outcome.status == 1000 + SIGINT) << outcome.status << outcome.err;
            folder.write("g.png", "old");
        }
        for (const std::string& name : folder.names()) {
            EXPECT_NE(name[0], '.') << name << " is left behind";
        }
    }
    EXPECT_TRUE(cancelled) << "no signal met the render";
}

// --- styles

namespace {

// Programs that share a home.
class StyleUser {
public:
    Outcome operator()(std::vector<std::string> arguments) const {
        return run(folder, std::move(arguments), -1, true);
    }
    std::string own(const std::string& name) const {
        return folder.path("home/My Morvane 2.0 Styles/" + name);
    }
    std::string error(std::vector<std::string> arguments, int status) const {
        const Outcome outcome = (*this)(std::move(arguments));
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(countLines(outcome.err), 1) << outcome.err;
        return outcome.err;
    }

    ProgramFolder folder;
};

constexpr const char* seeHelp = " (see \"selvarin --help\")\n";

} // namespace

TEST(ProgramStyles, SavedAndUsedByNameAndByFile) {
    const StyleUser user;
    const std::string box = writeBlueBox(user.folder);
    const auto render = [&](const std::string& name, std::vector<std::string> look) {
        const std::string png = user.folder.path(name);
        std::vector<std::string> words = {"render", box, "-o", png, "-s", "160x120", "-q"};
        words.insert(words.end(), look.begin(), look.end());
        const Outcome outcome = user(words);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return user.folder.read(name);
    };
    const Outcome saved = user({"style", "save", "My own", "--set", "Cartoon.Bands=1", "--add", "none"});
    ASSERT_EQ(saved.status, 0) << saved.err;
    EXPECT_EQ(saved.out, user.own("My own.kiv") + "\n");
    const std::string plain = render("a.png", {});
    const std::string direct = render("b.png", {"--set", "Cartoon.Bands=1", "--add", "none"});
    EXPECT_NE(direct, plain);
    EXPECT_EQ(render("c.png", {"--style", "My own"}), direct);
    EXPECT_EQ(render("d.png", {"--style", "my OWN"}), direct);
    EXPECT_EQ(render("e.png", {"--style", user.own("My own.kiv")}), direct);
    // Options win over a style, whatever the order.
    EXPECT_EQ(render("f.png", {"--set", "Cartoon.Bands=3", "--add", "Outline", "--style", "My own"}), plain);
    EXPECT_EQ(render("g.png", {"--style", "My own", "--base", "none", "--add", "Outline"}),
              render("h.png", {"--base", "none"}));
    EXPECT_EQ(user({"style", "remove", "My own"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(user.own("My own.kiv")));
    EXPECT_TRUE(std::filesystem::exists(user.folder.path("home/Trash/files/My own.kiv")));
}

TEST(ProgramStyles, NoFoldersAreMadeBeforeAStyleIsSaved) {
    const StyleUser user;
    ASSERT_EQ(user({"render", "--demo", "-o", user.folder.path("x.png"), "-s", "32x24", "-a", "0", "-q"}).status, 0);
    ASSERT_EQ(user({"styles", "-q"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(user.folder.path("home/Tolvar")));
    EXPECT_FALSE(std::filesystem::exists(user.folder.path("home/My Morvane 2.0 Styles")));
    EXPECT_FALSE(std::filesystem::exists(user.folder.path("home/tolvar")));
    ASSERT_EQ(user({"style", "save", "Mine", "-q"}).status, 0);
    EXPECT_TRUE(std::filesystem::exists(user.own("Mine.kiv")));
}

TEST(ProgramStyles, SavingDoesNotWriteOverAStyleUnasked) {
    const StyleUser user;
    ASSERT_EQ(user({"style", "save", "Mine", "-q"}).status, 0);
    const std::string first = readAll(user.own("Mine.kiv"));
    EXPECT_EQ(user.error({"style", "save", "Mine", "--set", "Cartoon.Bands=5"}, 1),
              "selvarin: there is a style \"Mine\" already; --force saves over it\n");
    EXPECT_EQ(readAll(user.own("Mine.kiv")), first);
    const Outcome forced = user({"style", "save", "Mine", "--style", "Mine", "--set", "Cartoon.Bands=5", "--force"});
    EXPECT_EQ(forced.status, 0) << forced.err;
    EXPECT_THAT(readAll(user.own("Mine.kiv")), HasSubstr("\r\nBands=5\r\n"));
    EXPECT_FALSE(std::filesystem::exists(user.own("Mine.kiv.bak")));
}

TEST(ProgramStyles, ListedInTheOrderInWhichTheyCount) {
    const StyleUser user;
    ASSERT_EQ(user({"style", "save", "Zebra"}).status, 0);
    ASSERT_EQ(user({"style", "save", "ant"}).status, 0);
    const std::string data = user.folder.path("home/Tolvar/Morvane 2.0/Styles");
    std::filesystem::create_directories(data);
    std::filesystem::copy_file(user.own("Zebra.kiv"), data + "/Zebra.kiv");
    std::ofstream(data + "/broken.kiv") << "nothing";
    const Outcome names = user({"styles", "-q"});
    EXPECT_THAT(names.out, StartsWith("ant\nZebra\nbroken\n"));
    const Outcome list = user({"styles", "--preview", user.folder.path("swatches"), "-s", "40x30"});
    EXPECT_EQ(list.status, 1) << "one of them is no style";
    EXPECT_EQ(list.err, "selvarin: \"" + data + "/broken.kiv\" is no style: its section [General] names no shader\n");
    EXPECT_THAT(list.out, HasSubstr("  user    " + user.own("ant.kiv") + "  " + user.folder.path("swatches/ant.png")));
    EXPECT_THAT(list.out, HasSubstr("  data    " + data + "/Zebra.kiv  (the one above counts)\n"));
    const Picture swatch = readPng(user.folder.path("swatches/Zebra.png"));
    EXPECT_EQ(swatch.width, 40U);
    EXPECT_EQ(swatch.height, 30U);
    EXPECT_GT(swatch.covered(), 0.2);
    EXPECT_FALSE(std::filesystem::exists(user.folder.path("swatches/broken.png")));
}

TEST(ProgramStyles, PreviewShowsTheStyle) {
    const StyleUser user;
    const std::string png = user.folder.path("p.png");
    const auto preview = [&](std::vector<std::string> look) {
        std::vector<std::string> words = {"preview", "-o", png};
        words.insert(words.end(), look.begin(), look.end());
        const Outcome outcome = user(words);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, png + ": 110x110\n");
        return readAll(png);
    };
    ASSERT_EQ(user({"style", "save", "Red ink", "--base", "none", "--set", "Outline.Colour=#ff0000"}).status, 0);
    const std::string red = preview({"--style", "Red ink"});
    EXPECT_EQ(preview({"--base", "none", "--set", "Outline.Colour=#ff0000"}), red);
    EXPECT_NE(preview({"--style", "Red ink", "--set", "Outline.Colour=#00ff00"}), red);
    EXPECT_EQ(readPng(png).width, 110U);
    EXPECT_EQ(user.error({"preview"}, 2), std::string("selvarin: -o FILE is needed: where the picture goes") + seeHelp);
}

TEST(ProgramStyles, EachErrorIsOneLineThatTellsWhatToDo) {
    const StyleUser user;
    const ProgramFolder& folder = user.folder;
    const std::string out = folder.path("p.png");
    ASSERT_EQ(user({"style", "save", "Mine", "-q"}).status, 0);
    const auto use = [&](const std::string& style, int status) {
        return user.error({"preview", "-o", out, "--style", style}, status);
    };
    EXPECT_EQ(use("Mime", 2), std::string("selvarin: unknown style Mime; did you mean Mine?") + seeHelp);
    EXPECT_EQ(use("Something else", 2),
              std::string("selvarin: unknown style Something else; \"selvarin styles\" lists those there are") +
                  seeHelp);
    EXPECT_EQ(use("/nowhere/Mine.kiv", 1),
              "selvarin: can't use \"/nowhere/Mine.kiv\": there is no such file; did you mean Mine?\n");
    for (const char* name : {"../Mine", ".", "a\nb", "   "}) {
        EXPECT_EQ(user.error({"style", "save", name}, 2).find("selvarin: \"" + std::string(name).substr(0, 1)), 0U);
    }
    EXPECT_EQ(use("../Mine", 2),
              std::string("selvarin: --style: \"../Mine\" is neither a style's name nor a file that ends in .kiv") +
                  seeHelp);
    EXPECT_EQ(use("", 2), std::string("selvarin: --style: a name is missing") + seeHelp);
    EXPECT_THAT(use(std::string(5000, 'n'), 2), HasSubstr("is neither a style's name"));
    EXPECT_THAT(user.error({"style", "save", std::string(250, 'n')}, 2), HasSubstr("The name is too long"));
    const std::string text = folder.write("text.kiv", "what is this?");
    EXPECT_EQ(use(text, 1), "selvarin: \"" + text + "\" is no style: its section [General] names no shader\n");
    std::filesystem::create_directory(folder.path("dir.kiv"));
    EXPECT_EQ(use(folder.path("dir.kiv"), 1),
              "selvarin: can't use \"" + folder.path("dir.kiv") + "\": there is no such file\n");
    const std::string other = folder.write("other.kiv", "[General]\nNonCombinableShader=Cartun\n");
    EXPECT_EQ(use(other, 1),
              "selvarin: style \"other\" wants the shader Cartun, which is not loaded; did you mean Cartoon?\n");
    const std::string wrong = folder.write("wrong.kiv", "[General]\nNonCombinableShader=Outline\n");
    EXPECT_EQ(use(wrong, 1), "selvarin: style \"wrong\" paints with Outline, which only adds to a picture\n");
    const std::string twice = folder.write("twice.kiv", "[General]\nCombinableShader=Outline;Cartoon;\n");
    EXPECT_EQ(use(twice, 1), "selvarin: style \"twice\" adds Cartoon, which paints the surfaces itself\n");
    EXPECT_EQ(user.error({"style"}, 2), std::string("selvarin: style wants save NAME or remove NAME") + seeHelp);
    EXPECT_EQ(user.error({"style", "sav", "x"}, 2),
              std::string("selvarin: style has no \"sav\"; did you mean save?") + seeHelp);
    EXPECT_EQ(user.error({"style", "save"}, 2),
              std::string("selvarin: style save wants one NAME; one with blanks stands in quotes") + seeHelp);
    EXPECT_EQ(user.error({"style", "save", "Empty", "--base", "none", "--add", "none"}, 2),
              std::string("selvarin: a style needs a shader: give --base or --add") + seeHelp);
    EXPECT_EQ(user.error({"style", "remove", "Mime"}, 2),
              std::string("selvarin: you have no style Mime of your own; did you mean Mine?") + seeHelp);
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(ProgramStyles, WhatAStyleHoldsAndNobodyUnderstandsIsTold) {
    const StyleUser user;
    const std::string out = user.folder.path("p.png");
    const std::string style = user.folder.write(
        "hand.kiv",
        "[General]\nNonCombinableShader=Cartoon\n[Cartoon]\nBnads=2\nBands=99\n; Softness=x\n[Mine]\na=1\n");
    const Outcome outcome = user({"preview", "-o", out, "--style", style});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err,
              "selvarin: warning: style \"hand\", Cartoon.Bnads: there is no such setting; did you mean Bands?\n"
              "selvarin: warning: style \"hand\", Cartoon.Bands: expected a whole number from 1 to 8, got \"99\"\n");
    const std::string brought = readAll(out);
    ASSERT_EQ(user({"preview", "-o", out, "--add", "none", "--set", "Cartoon.Bands=8"}).status, 0);
    EXPECT_EQ(readAll(out), brought) << "a value out of range is brought to its nearer end";
}

// Lines alone are hidden by areas of the background's colour on a vector page; there the sheet must not end.
TEST(ProgramStyles, ABackdropIsTheBackground) {
    const StyleUser user;
    const std::string box = writeBlueBox(user.folder);
    const std::string svg = user.folder.path("a.svg");
    const std::vector<std::string> look = {"--base",           "none",  "--add",
                                           "Backdrop,Outline", "--set", "Backdrop.Colour=#204060"};
    std::vector<std::string> words = {"render", box, "-o", svg, "-s", "200x150", "-q"};
    words.insert(words.end(), look.begin(), look.end());
    const Outcome drawn = user(words);
    ASSERT_EQ(drawn.status, 0) << drawn.err;
    EXPECT_EQ(drawn.err, "");
    const std::string page = readAll(svg);
    EXPECT_THAT(page, HasSubstr("#204060"));
    EXPECT_EQ(page.find("#f7f2e8"), std::string::npos);
    words[3] = user.folder.path("a.png");
    words.insert(words.end(), {"--background", "#ff0000"});
    const Outcome covered = user(words);
    EXPECT_EQ(covered.status, 0);
    EXPECT_EQ(covered.err, "selvarin: warning: --background does not show, as the backdrop covers it; use --set "
                           "Backdrop.Colour\n");
    EXPECT_EQ(readPng(words[3]).at(2, 2), (std::array<int, 3>{0x20, 0x40, 0x60}));
}

TEST(ProgramStyles, EveryStyleThatIsShippedIsUnderstoodAndLooksLikeNoOther) {
    const StyleUser user;
    const Outcome list = user({"styles", "--preview", user.folder.path("swatches")});
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(list.err, "") << "nothing in them is unknown or out of range";
    std::map<std::string, std::string> pictures;
    std::size_t files = 0;
    for (const auto& file : std::filesystem::directory_iterator(std::string(SELVARIN_BIN_DIR) + "/styles")) {
        const std::string name = file.path().stem().string();
        EXPECT_THAT(list.out, HasSubstr(name + " "));
        EXPECT_THAT(list.out, HasSubstr("  shared  " + file.path().string()));
        const std::string picture = user.folder.path("swatches/" + name + ".png");
        EXPECT_GT(readPng(picture).covered(), 0.05) << name;
        pictures.emplace(readAll(picture), name);
        ++files;
    }
    EXPECT_GE(files, 12U);
    EXPECT_EQ(pictures.size(), files);
    EXPECT_THAT(user.error({"preview", "-o", "p.png", "--style", "Comik"}, 2), HasSubstr("did you mean Comic?"));
}
