#include "apps/cli/commandline.h"
#include "apps/cli/completion.h"

#include "apps/cli/manual.h"
#include "apps/cli/outputfile.h"
#include "apps/cli/progressbar.h"
#include "apps/common/language.h"
#include "apps/common/suggestion.h"
#include "programtest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using testing::HasSubstr;

Words parse(std::vector<const char*> words) {
    words.insert(words.begin(), "selvarin");
    return parseWords(static_cast<int>(words.size()), words.data());
}

RenderOptions render(std::vector<const char*> words) {
    words.insert(words.begin(), "render");
    return parseRenderOptions(parse(words));
}

std::string complaint(const std::vector<const char*>& words) {
    try {
        const Words parsed = parse(words);
        if (parsed.command != nullptr && parsed.command->name == "render") {
            parseRenderOptions(parsed);
        }
    } catch (const UsageError& error) {
        return error.what();
    }
    return "none";
}

} // namespace

TEST(CommandLine, DefaultsOfRender) {
    const RenderOptions options = render({"a.obj", "-o", "a.png"});
    EXPECT_EQ(options.models, std::vector<std::string>{"a.obj"});
    EXPECT_EQ(options.outputs.front(), "a.png");
    EXPECT_EQ(options.width, 1280);
    EXPECT_EQ(options.height, 960);
    EXPECT_EQ(options.antialias, 2);
    EXPECT_EQ(options.base, "Cartoon");
    EXPECT_FALSE(options.baseChosen);
    EXPECT_EQ(options.add, std::vector<std::string>{"Outline"});
    EXPECT_FALSE(options.addChosen);
    EXPECT_EQ(options.offset, 5.0);
    EXPECT_EQ(options.upAxis, 0);
    EXPECT_FALSE(options.eye || options.target || options.up || options.fov || options.ortho);
    EXPECT_TRUE(options.lights.empty());
    EXPECT_FALSE(options.quiet || options.depthImage || options.timings || options.demo);
}

TEST(CommandLine, ModelsMayStandBehindOptions) {
    for (const RenderOptions& options :
         {render({"-o", "a.png", "a.obj", "b.obj"}), render({"-q", "--output=a.png", "a.obj", "-s", "8x6", "b.obj"}),
          render({"a.obj", "--up", "0,-1,0", "b.obj", "-o", "a.png"})}) {
        EXPECT_EQ(options.models, (std::vector<std::string>{"a.obj", "b.obj"}));
        EXPECT_EQ(options.outputs, std::vector<std::string>{"a.png"});
    }
}

TEST(CommandLine, EveryOptionOfRender) {
    const RenderOptions o = render({"a.obj",
                                    "b.obj",
                                    "--output=x.jpg",
                                    "-s",
                                    "640x480",
                                    "-a",
                                    "0",
                                    "--background",
                                    "#102030",
                                    "--ambient",
                                    "fff",
                                    "--background-image",
                                    "b.png",
                                    "--paper",
                                    "p.png",
                                    "--depth-image",
                                    "--shadow-image",
                                    "--shadows",
                                    "--transparency",
                                    "--up-axis",
                                    "z",
                                    "--base",
                                    "none",
                                    "--add",
                                    "A,B",
                                    "--add",
                                    "C",
                                    "--set",
                                    "Cartoon.Bands=2",
                                    "--set=Outline.Color=#ff0000",
                                    "--eye",
                                    "-1,2,3e1",
                                    "--target",
                                    "0,-.5,0",
                                    "--up",
                                    "0,0,1",
                                    "--fov",
                                    "45.5",
                                    "--light",
                                    "point:1,2,3:#ff8000",
                                    "--light",
                                    "directional:0,-1,0",
                                    "--light",
                                    "spot:0,5,0@0,-1,0,30",
                                    "--offset",
                                    "-2.5",
                                    "--memory-folder",
                                    "/tmp",
                                    "--timings",
                                    "-q"});
    EXPECT_EQ(o.models.size(), 2U);
    EXPECT_EQ(o.outputs.front(), "x.jpg");
    EXPECT_EQ(o.width, 640);
    EXPECT_EQ(o.height, 480);
    EXPECT_EQ(o.antialias, 0);
    EXPECT_EQ(o.background, 0x302010U) << "red in the low byte";
    EXPECT_EQ(o.ambient, 0xFFFFFFU);
    EXPECT_EQ(o.backgroundImage, "b.png");
    EXPECT_EQ(o.paper, "p.png");
    EXPECT_TRUE(o.depthImage);
    EXPECT_TRUE(o.shadowImage);
    EXPECT_TRUE(o.shadows);
    EXPECT_TRUE(o.transparency);
    EXPECT_EQ(o.upAxis, 'z');
    EXPECT_EQ(o.base, "");
    EXPECT_TRUE(o.baseChosen);
    EXPECT_EQ(o.add, (std::vector<std::string>{"A", "B", "C"}));
    ASSERT_EQ(o.settings.size(), 2U);
    EXPECT_EQ(o.settings[1].shader, "Outline");
    EXPECT_EQ(o.settings[1].key, "Color");
    EXPECT_EQ(o.settings[1].value, "#ff0000");
    EXPECT_EQ(o.eye->x, -1.0);
    EXPECT_EQ(o.eye->z, 30.0);
    EXPECT_EQ(o.target->y, -0.5);
    EXPECT_EQ(o.up->z, 1.0);
    EXPECT_EQ(o.fov, 45.5);
    ASSERT_EQ(o.lights.size(), 3U);
    EXPECT_EQ(o.lights[0].kind, LightOption::Kind::point);
    EXPECT_EQ(o.lights[0].colour, 0x0080FFU);
    EXPECT_EQ(o.lights[1].kind, LightOption::Kind::directional);
    EXPECT_EQ(o.lights[1].place.y, -1.0);
    EXPECT_EQ(o.lights[2].kind, LightOption::Kind::spot);
    EXPECT_EQ(o.lights[2].direction.y, -1.0);
    EXPECT_EQ(o.lights[2].angle, 30.0);
    EXPECT_EQ(o.offset, -2.5);
    EXPECT_EQ(o.memoryFolder, "/tmp");
    EXPECT_TRUE(o.timings && o.quiet);
}

TEST(CommandLine, AddNoneMeansNone) {
    const RenderOptions options = render({"--demo", "-o", "-", "--add", "none"});
    EXPECT_TRUE(options.add.empty());
    EXPECT_TRUE(options.demo);
    EXPECT_EQ(options.outputs.front(), "-");
}

TEST(CommandLine, TellsWrongUse) {
    const struct {
        std::vector<const char*> words;
        const char* message;
    } cases[] = {
        {{"rendr"}, "unknown command rendr; did you mean render?"},
        {{"xyzzy"}, "unknown command xyzzy"},
        {{"--vresion"}, "unknown option --vresion; did you mean --version?"},
        {{"render", "a.obj", "-o", "a.png", "--antialas", "1"}, "unknown option --antialas; did you mean --antialias?"},
        {{"render", "a.obj", "-o", "a.png", "--simplify"},
         "--simplify is for vector drawings: give -o a name that ends in svg, pdf, eps, ps, ai, dxf, hpgl or plt"},
        {{"render", "a.obj", "-o", "a.png", "--page", "A4"},
         "--page is for vector drawings: give -o a name that ends in svg, pdf, eps, ps, ai, dxf, hpgl or plt"},
        {{"render", "a.obj", "-o", "a.svg", "--areas", "dots"},
         "--areas: \"dots\" is no kind of areas: regions, faces or triangles is expected"},
        {{"render", "a.obj", "-o", "a.svg", "--textures", "dots"},
         "--textures: \"dots\" is no way to draw textures: areas, picture or mean is expected"},
        {{"render", "a.obj", "-o", "a.png", "--textures", "mean"},
         "--textures is for vector drawings: give -o a name that ends in svg, pdf, eps, ps, ai, dxf, hpgl or plt"},
        {{"render", "a.obj", "-o", "a.svg", "--areas", "triangles", "--simplify"},
         "--simplify and --areas triangles exclude each other: simplified areas are faces"},
        {{"render", "a.obj", "-o", "a.svg", "--page", "A11"},
         "--page: \"A11\" is no page: A0 to A6, letter, legal, tabloid, WxH with a unit, fit or picture is expected"},
        {{"render", "a.obj", "-o", "a.svg", "--landscape"}, "--landscape needs a paper: --page A4, for example"},
        {{"render", "a.obj", "-o", "a.svg", "--margin", "5mm"}, "--margin needs a page: --page fit or a paper"},
        {{"render", "a.obj", "-o", "a.svg", "--page", "A4", "--margin", "5px"},
         "--margin: \"5px\" is no length: a number with mm, cm, in or pt is expected"},
        {{"render", "a.obj", "-o", "a.svg", "--page", "A4", "--margin", "11cm"},
         "--margin: nothing of the page is left between margins of 11cm"},
        {{"render", "a.obj", "-o", "a.svg", "--page", "19x19mm"},
         "--margin: nothing of the page is left between margins of 10mm"},
        {{"render", "a.obj", "-o", "a.svg", "--scale", "0:1"}, "--scale: \"0:1\" is no scale: 1:2 or 5:1 is expected"},
        {{"render", "a.obj", "-o", "a.svg", "--units", "parsec"},
         "--units: \"parsec\" is no unit: one of um mm cm dm m km inch in ft is expected"},
        {{"render", "a.obj", "-o", "a.svg", "--hidden", "dotted"},
         "--hidden: \"dotted\" is no look of hidden lines: none, thin or dashed is expected"},
        {{"render", "a.obj", "-o", "a.svg", "--line-group", "0.6"},
         "--line-group: \"0.6\" is no line group: one of 0.25 0.35 0.5 0.7 1 1.4 2 is expected"},
        {{"render", "a.obj", "-o", "a.svg", "--pen", "outline=1mm"},
         "--pen: \"outline=1mm\" is no pen: KIND=WIDTH is expected, such as contour=0.5mm,crease=0.25mm"},
        {{"render", "a.obj", "-o", "a.svg", "--view", "above"},
         "--view: \"above\" is no view: front, back, left, right, top, bottom, iso or dimetric is expected"},
        {{"render", "a.obj", "-o", "a.svg", "--view", "top", "--eye", "0,0,1"},
         "--eye and --view exclude each other: a standard view says where the camera stands"},
        {{"render", "a.obj", "-o", "a.svg", "--view", "top", "--up", "0,0,1"},
         "--up and --view exclude each other: a standard view says where the camera stands"},
        {{"render", "a.obj", "-o", "a.svg", "--view", "iso", "--fov", "30"},
         "--fov and --view iso exclude each other: that view is a parallel projection"},
        {{"render", "a.obj", "-o", "a.png", "-o", "a.svg", "-o", "a.png"}, "-o a.png is given twice"},
        {{"render", "a.obj", "-o", "a.svg", "--shadows", "--areas", "triangles"},
         "--shadows and --areas triangles exclude each other: shadows are cut out of regions"},
        {{"render", "a.obj", "-o", "a.svg", "--shadows", "--simplify"},
         "--shadows and --areas faces exclude each other: shadows are cut out of regions"},
        {{"render", "a.obj", "-o", "a.PDF", "--paper", "p.png"},
         "--paper is for pictures: a vector drawing takes none"},
        {{"render", "a.obj", "-o", "a.eps", "--depth-image"},
         "--depth-image is for pictures: a vector drawing takes none"},
        {{"render", "a.obj", "-o", "a.png", "--shadow-image"}, "--shadow-image needs --shadows"},
        {{"render", "a.obj", "-o"}, "option --output needs a value"},
        {{"render", "-o", "a.png"}, "a MODEL is needed, or --demo for the built-in scene"},
        {{"render", "a.obj", "--demo", "-o", "a.png"},
         "--demo renders the built-in scene; leave either it or the model out"},
        {{"render", "a.obj"}, "-o FILE is needed: where the picture goes"},
        {{"render", "a.obj", "-o", "a.png", "-s", "640"},
         "--size: \"640\" is no size: WIDTHxHEIGHT is expected, such as 1280x960"},
        {{"render", "a.obj", "-o", "a.png", "-s", "0x10"},
         "--size: \"0x10\" is no size: WIDTHxHEIGHT is expected, such as 1280x960"},
        {{"render", "a.obj", "-o", "a.png", "-s", "9999999999x10"},
         "--size: \"9999999999x10\" is no size: WIDTHxHEIGHT is expected, such as 1280x960"},
        {{"render", "a.obj", "-o", "a.png", "-a", "3"}, "--antialias: \"3\" is no level: 0, 1 or 2 is expected"},
        {{"render", "a.obj", "-o", "a.png", "--layers", "objects"},
         "--layers objects: give -o a name that ends in ora, or a folder by another --layers"},
        {{"render", "a.obj", "-o", "a.png", "--layers", "b", "--layers", "c"},
         "--layers: there can be one folder, not both \"b\" and \"c\""},
        {{"render", "a.obj", "-o", "a.png", "--layers", ""}, "--layers: a folder is missing, or the word objects"},
        {{"render", "a.obj", "-o", "a.jpg", "--background", "none"},
         "--background none: \"a.jpg\" can't be transparent; give -o a name that ends in png, tif, tiff or ora"},
        {{"render", "a.obj", "-o", "a.png", "--background", "none", "--background-image", "b.png"},
         "--background none and --background-image exclude each other"},
        {{"render", "a.obj", "-o", "a.png", "--background", "blue"},
         "--background: \"blue\" is no colour: #rrggbb is expected"},
        {{"render", "a.obj", "-o", "a.png", "--eye", "1,2"}, "--eye: \"1,2\" is no place: X,Y,Z is expected"},
        {{"render", "a.obj", "-o", "a.png", "--eye", "1,2,nan"}, "--eye: \"1,2,nan\" is no place: X,Y,Z is expected"},
        {{"render", "a.obj", "-o", "a.png", "--fov", "0"},
         "--fov: \"0\" is no field of view: 1 to 170 degrees are expected"},
        {{"render", "a.obj", "-o", "a.png", "--fov", "30", "--ortho", "1"},
         "--fov and --ortho exclude each other: a parallel projection has no field of view"},
        {{"render", "a.obj", "-o", "a.png", "--up", "0,0,0"}, "--up: 0,0,0 is no direction"},
        {{"render", "a.obj", "-o", "a.png", "--up-axis", "x"}, "--up-axis: \"x\" is no axis: y or z is expected"},
        {{"render", "a.obj", "-o", "a.png", "--set", "Cartoon"},
         "--set: \"Cartoon\" is no setting: TAG.KEY=VALUE is expected, such as Cartoon.Bands=3"},
        {{"render", "a.obj", "-o", "a.png", "--light", "spot:1,2,3@0,0,0,30"},
         "--light: \"spot:1,2,3@0,0,0,30\" is no light: a spot needs a direction and an ANGLE from 0 to 90"},
        {{"render", "a.obj", "-o", "a.png", "--light", "directional:0,0,0"},
         "--light: \"directional:0,0,0\" is no light: a directional light needs a direction"},
        {{"render", "a.obj", "-o", "a.png", "--config", "/nowhere/at.all"},
         "can't read the settings file \"/nowhere/at.all\": No such file or directory"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(complaint(c.words), c.message);
    }
    EXPECT_THAT(complaint({"render", "a.obj", "-o", "a.png", "--light", "lamp:1,2,3"}),
                HasSubstr("is no light: directional:"));
}

TEST(CommandLine, DrawingsByDefaultAndOnASheet) {
    const DrawingOptions plain = render({"a.obj", "-o", "a.svg"}).drawing;
    EXPECT_EQ(plain.areas, KivDrawingCollector::Areas::regions);
    EXPECT_EQ(plain.textures, KivDrawingCollector::Textures::areas);
    EXPECT_EQ(render({"a.obj", "-o", "a.svg", "--textures", "mean"}).drawing.textures,
              KivDrawingCollector::Textures::mean);
    EXPECT_EQ(render({"a.obj", "-o", "a.svg", "--textures", "picture"}).drawing.textures,
              KivDrawingCollector::Textures::pictures);
    EXPECT_EQ(plain.sheet.page, KivSheet::Page::picture);
    EXPECT_EQ(plain.sheet.hidden, KivSheet::Hidden::none);
    EXPECT_EQ(plain.sheet.scale, 0.0);
    EXPECT_FALSE(plain.unitsChosen);
    EXPECT_EQ(render({"a.obj", "-o", "a.svg", "--simplify"}).drawing.areas, KivDrawingCollector::Areas::faces);
    EXPECT_EQ(render({"a.obj", "-o", "a.svg", "--areas", "triangles"}).drawing.areas,
              KivDrawingCollector::Areas::triangles);

    const RenderOptions o =
        render({"a.obj",        "-o",   "a.dxf",   "--areas",    "triangles", "--page",       "A3",       "--landscape",
                "--margin",     "15mm", "--scale", "1:2",        "--units",   "inch",         "--hidden", "dashed",
                "--line-group", "0.7",  "--pen",   "crease=1pt", "--pen",     "hidden=0.2mm", "--view",   "iso"});
    EXPECT_EQ(o.drawing.areas, KivDrawingCollector::Areas::triangles);
    EXPECT_NEAR(static_cast<double>(o.width) / o.height, 420.0 / 297.0, 1e-3) << "the proportions of the sheet";
    EXPECT_NEAR(o.width * o.height, 1280 * 960, 1280);
    EXPECT_EQ(render({"a.obj", "-o", "a.svg", "--page", "A4", "-s", "100x100"}).width, 100);
    EXPECT_EQ(render({"a.obj", "-o", "a.svg", "-o", "a.png", "--page", "A4"}).width, 1280);
    EXPECT_EQ(render({"a.obj", "-o", "a.svg", "--page", "fit"}).width, 1280);
    const KivSheet& sheet = o.drawing.sheet;
    EXPECT_EQ(sheet.page, KivSheet::Page::paper);
    EXPECT_EQ(sheet.width, 420.0);
    EXPECT_EQ(sheet.height, 297.0);
    EXPECT_EQ(sheet.margin, 15.0);
    EXPECT_EQ(sheet.scale, 0.5);
    EXPECT_EQ(sheet.modelUnit, 25.4);
    EXPECT_TRUE(o.drawing.unitsChosen);
    EXPECT_EQ(sheet.hidden, KivSheet::Hidden::dashed);
    EXPECT_EQ(sheet.pen[static_cast<int>(KivStrokeKind::contour)], 0.7);
    EXPECT_NEAR(sheet.pen[static_cast<int>(KivStrokeKind::crease)], 25.4 / 72, 1e-9);
    EXPECT_EQ(sheet.hiddenPen, 0.2);
    EXPECT_EQ(o.view, StandardView::iso);
    // A scale makes a sheet of what would be a picture.
    EXPECT_EQ(render({"a.obj", "-o", "a.svg", "--scale", "2:1"}).drawing.sheet.page, KivSheet::Page::fit);
}

// The table of options names what the sheet knows.
TEST(CommandLine, PapersUnitsAndGroupsAreThoseOfTheSheet) {
    const CommandInfo& command = *findCommand("render");
    EXPECT_EQ(findOption(command.options, "page")->choices, kivPageNames());
    EXPECT_EQ(findOption(command.options, "units")->choices, kivUnitNames());
    EXPECT_EQ(findOption(command.options, "line-group")->choices, kivLineGroupNames());
}

TEST(CommandLine, SettingsFile) {
    const ProgramFolder folder;
    const std::string path = folder.write("my.conf", "# a look\n\nsize = 100x50\nadd=A,B\nset = Cartoon.Bands=2\n"
                                                     "  quiet\ndepth-image = no\nbackground=#000000\n");
    const RenderOptions options = render(
        {"a.obj", "-o", "a.png", "--config", path.c_str(), "--background", "ffffff", "--set", "Cartoon.Bands=4"});
    EXPECT_EQ(options.width, 100);
    EXPECT_EQ(options.height, 50);
    EXPECT_EQ(options.background, 0xFFFFFFU) << "the command line wins";
    EXPECT_EQ(options.add, (std::vector<std::string>{"A", "B"}));
    EXPECT_TRUE(options.quiet);
    EXPECT_FALSE(options.depthImage);
    ASSERT_EQ(options.settings.size(), 2U) << "what may be repeated adds up";
    EXPECT_EQ(options.settings[0].value, "2");
    EXPECT_EQ(options.settings[1].value, "4") << "the later one wins";

    const struct {
        const char* content;
        const char* message;
    } cases[] = {
        {"size = 1x1\nsizes = 2x2\n", "line 2: unknown option sizes; did you mean size?"},
        {"config = other\n", "line 1: unknown option config"},
        {"quiet = maybe\n", "line 1: quiet is yes or no"},
        {"size\n", "line 1: size needs a value"},
    };
    for (const auto& c : cases) {
        const std::string bad = folder.write("bad.conf", c.content);
        EXPECT_THAT(complaint({"render", "a.obj", "-o", "a.png", "--config", bad.c_str()}),
                    HasSubstr("settings file \"" + bad + "\", " + c.message));
    }
}

TEST(Suggestion, NearestName) {
    const std::vector<std::string> known{"Cartoon", "Outline", "Sketch"};
    EXPECT_EQ(nearestName("cartoon", known), "Cartoon");
    EXPECT_EQ(nearestName("Catroon", known), "Cartoon");
    EXPECT_EQ(nearestName("Outlines", known), "Outline");
    EXPECT_EQ(nearestName("Skech", known), "Sketch");
    EXPECT_EQ(nearestName("Watercolour", known), "");
    EXPECT_EQ(nearestName("", known), "");
    EXPECT_EQ(nearestName("x", {}), "");
    EXPECT_EQ(didYouMean("Catroon", known), "; did you mean Cartoon?");
    EXPECT_EQ(didYouMean("zzz", known), "");
}

TEST(Manual, NamesEveryCommandOptionAndDefault) {
    const std::string page = manualPage();
    const std::string rules = completionFor("bash");
    EXPECT_THAT(helpText(80), HasSubstr("--version"));
    for (const CommandInfo& command : commandTable()) {
        const std::string help = helpText(command, 80);
        EXPECT_THAT(helpText(80), HasSubstr("selvarin " + std::string(command.name)));
        for (const OptionInfo& option : command.options) {
            const std::string name = "--" + std::string(option.name);
            EXPECT_THAT(help, HasSubstr(name));
            EXPECT_THAT(rules, HasSubstr(name));
            if (!option.initial.empty()) {
                EXPECT_THAT(help, HasSubstr(std::string("[").append(option.initial).append("]"))) << name;
            }
            std::string escaped;
            for (const char c : name) {
                escaped += c == '-' ? "\\-" : std::string(1, c);
            }
            EXPECT_THAT(page, HasSubstr(escaped));
        }
    }
}

TEST(Manual, HelpKeepsToItsWidth) {
    for (const int width : {20, 80, 100, 500}) {
        const std::string text = helpText(*findCommand("render"), width);
        std::size_t begin = 0;
        bool inExamples = false;
        for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
            const std::string line = text.substr(begin, end - begin);
            inExamples = inExamples || line == "Examples";
            if (!inExamples) {
                EXPECT_LE(line.size(), static_cast<std::size_t>(std::clamp(width, 60, 120))) << line;
            }
            begin = end + 1;
        }
    }
}

TEST(OutputFile, NamesFromAPattern) {
    EXPECT_EQ(outputName("{model}.png", "bunny"), "bunny.png");
    EXPECT_EQ(outputName("a/{model}-{model}.png", "{model}"), "a/{model}-{model}.png");
    EXPECT_EQ(outputName("plain.png", "bunny"), "plain.png");
}

TEST(OutputFile, RefusesWhatCanNotBeWritten) {
    const ProgramFolder folder;
    const auto complaintOf = [](const std::string& name) -> std::string {
        try {
            const OutputFile file(name);
        } catch (const std::exception& error) {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(complaintOf(folder.path("a.svg")),
              "\"" + folder.path("a.svg") +
                  "\": pictures can't be written as .svg; use one of png, jpg, jpeg, tif, tiff, bmp, gif");
    EXPECT_THAT(complaintOf(folder.path("a.xyz")), HasSubstr("pictures can't be written as .xyz"));
    EXPECT_THAT(complaintOf(folder.path("a")), HasSubstr("a\": its ending would tell how the picture is written"));
    EXPECT_EQ(complaintOf(folder.path("no/a.png")),
              "can't write \"" + folder.path("no/a.png") + "\": there is no folder \"" + folder.path("no") + "\"");
    std::filesystem::create_directory(folder.path("d.png"));
    EXPECT_EQ(complaintOf(folder.path("d.png")), "can't write \"" + folder.path("d.png") + "\": it is a folder");
    EXPECT_EQ(complaintOf(folder.path("UPPER.PNG")), "none");
}

TEST(OutputFile, LeavesTheOldPictureUntilTheNewOneIsThere) {
    const ProgramFolder folder;
    const std::string name = folder.write("a.png", "old");
    {
        const OutputFile file(name);
        std::ofstream(file.workName()) << "half";
    }
    EXPECT_EQ(folder.read("a.png"), "old");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.png"}) << "nothing half-made stays";
    {
        OutputFile file(name, {"_depth"});
        std::ofstream(file.workName()) << "new";
        std::string depth = file.workName();
        depth.insert(depth.rfind('.'), "_depth");
        std::ofstream(depth) << "deep";
        file.finish();
    }
    EXPECT_EQ(folder.read("a.png"), "new");
    EXPECT_EQ(folder.read("a_depth.png"), "deep");
    OutputFile missing(name);
    EXPECT_THROW(missing.finish(), std::runtime_error);
}

TEST(ProgressBar, NamesItsStageAndIsNeverFullWhileThereIsWork) {
    kivSetProgressForecast({});
    testing::internal::CaptureStderr();
    {
        ProgressBar bar(ProgressBar::Style::bar);
        bar.restart(L"Starting");
        bar.addSteps(1);
        bar.addSteps(1);
        std::this_thread::sleep_for(std::chrono::milliseconds(620)); // before, it doesn't show
        bar.beginStep();
        bar.endStep();
        std::this_thread::sleep_for(std::chrono::milliseconds(120));
        bar.setText(L"Smoothing");
        bar.beginStep();
        bar.advance(1, false);
        std::this_thread::sleep_for(std::chrono::milliseconds(120));
        bar.endStep();
    }
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_THAT(shown, HasSubstr(" 0 %  Drawing")) << "what has no text of its own";
    EXPECT_THAT(shown, testing::Not(HasSubstr("Starting")));
    EXPECT_THAT(shown, HasSubstr("50 %  Smoothing"));
    EXPECT_THAT(shown, HasSubstr("99 %  Smoothing"));
    EXPECT_THAT(shown, testing::Not(HasSubstr("100 %")));
}

TEST(ProgressBar, StandsForAllThatItWasNotShownFor) {
    KivProgressForecast forecast;
    forecast.steps.resize(1);
    forecast.steps[0].units = 100.0;
    kivSetProgressForecast(forecast);
    ProgressBar bar(ProgressBar::Style::none);
    const auto fractionAfter = [&](auto startOfRender) {
        bar.restart(L"Reading");
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        startOfRender();
        bar.addSteps(1);
        bar.beginStep();
        return bar.fraction();
    };
    EXPECT_GT(fractionAfter([&] { bar.goOn(L"Starting"); }), 0.5) << "300 ms of 400";
    EXPECT_LT(fractionAfter([&] { bar.restart(L"Starting"); }), 0.2);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    bar.goOn(L"Another picture of the same model");
    bar.addSteps(1);
    bar.beginStep();
    EXPECT_LT(bar.fraction(), 0.2);
    kivSetProgressForecast({});
}

TEST(ProgressBar, FractionOfAllSteps) {
    ProgressBar bar(ProgressBar::Style::none);
    EXPECT_EQ(bar.fraction(), 0.0);
    bar.addSteps(10);
    bar.addSteps(30);
    const int deferred = bar.addDeferredStep();
    EXPECT_EQ(deferred, 2);
    EXPECT_EQ(bar.fraction(), 0.0);
    bar.beginStep();
    bar.advance(5, false);
    EXPECT_DOUBLE_EQ(bar.fraction(), 5.0 / 40.0);
    bar.advance(100, true);
    EXPECT_DOUBLE_EQ(bar.fraction(), 10.0 / 40.0) << "a step is never more than full";
    bar.endStep();
    bar.setStepSize(deferred, 60);
    bar.setStepSize(99, 5);
    bar.beginStep();
    bar.endStep();
    EXPECT_DOUBLE_EQ(bar.fraction(), 40.0 / 100.0) << "a step that ended early is full";
    bar.beginStep();
    bar.endStep();
    EXPECT_DOUBLE_EQ(bar.fraction(), 1.0);
    bar.beginStep(); // one more than was announced
    EXPECT_DOUBLE_EQ(bar.fraction(), 1.0);
    EXPECT_FALSE(bar.isCancelled());
    bar.restart(L"again");
    EXPECT_EQ(bar.fraction(), 0.0);
}

TEST(Language, IsTheFirstPartOfALocalesName) {
    EXPECT_EQ(languageOfLocale("es_ES.UTF-8"), "es");
    EXPECT_EQ(languageOfLocale("es"), "es");
    EXPECT_EQ(languageOfLocale("ca@valencia"), "ca");
    EXPECT_EQ(languageOfLocale("de.UTF-8"), "de");
    for (const char* const none : {"", "C", "C.UTF-8", "POSIX"}) {
        EXPECT_EQ(languageOfLocale(none), "en") << none;
    }
}

TEST(CommandLine, ObjectsByName) {
    const KivObjectChoice objects = render({"a.obj", "-o", "a.png", "--only", "a", "--only", "b", "--hide", "c*",
                                            "--ghost=d/e", "--colour", "x=y=#ff8000"})
                                        .objects;
    EXPECT_EQ(objects.only, (std::vector<std::wstring>{L"a", L"b"}));
    EXPECT_EQ(objects.hide, std::vector<std::wstring>{L"c*"});
    EXPECT_EQ(objects.ghost, std::vector<std::wstring>{L"d/e"});
    ASSERT_EQ(objects.colours.size(), 1U);
    EXPECT_EQ(objects.colours[0].first, L"x=y");
    EXPECT_EQ(objects.colours[0].second, 0x0080FFU);
    EXPECT_EQ(complaint({"render", "a.obj", "-o", "a.png", "--colour", "bolt"}),
              "--colour: \"bolt\" is no colour of an object: PATTERN=#RRGGBB is expected, such as bolt*=#c0c0c0");
    EXPECT_EQ(complaint({"render", "a.obj", "-o", "a.png", "--only", ""}), "--only: \"\" is no name of an object");
    EXPECT_EQ(render({"a.step", "-o", "a.png", "--deflection", "0.1"}).deflection, 0.1);
    EXPECT_EQ(complaint({"render", "a.step", "-o", "a.png", "--deflection", "0"}),
              "--deflection: \"0\" is no length: a number above 0 is expected");
}
