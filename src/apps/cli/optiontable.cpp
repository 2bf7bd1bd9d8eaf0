#include "apps/cli/optiontable.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

using enum Completes;

constexpr OptionInfo help{"help", 'h', "", "", "General", false, nothing, "", "Show this text."};

constexpr OptionInfo langOption{"lang",
                                0,
                                "CODE",
                                "by the environment",
                                "General",
                                false,
                                nothing,
                                "",
                                "The language of help, names, stages and messages: en or es. Without it LC_ALL, "
                                "LC_MESSAGES or LANG decide."};

// What a look is made of, for every command that takes one.
constexpr OptionInfo styleOption{
    "style",
    0,
    "NAME|FILE",
    "",
    "Look",
    false,
    style,
    "",
    "A style: one of those that \"selvarin styles\" lists, or a file that ends in .kiv. The "
    "options below change it."};
constexpr OptionInfo baseOption{"base",    0,      "TAG",
                                "Cartoon", "Look", false,
                                shader,    "",     "The shader that paints the surfaces, by its tag; none for none."};
constexpr OptionInfo addOption{
    "add", 0, "TAG[,TAG...]", "Outline", "Look", true, shader, "", "Shaders that add to the picture; none for none."};
constexpr OptionInfo setOption{
    "set",   0,      "TAG.KEY=VALUE",
    "",      "Look", true,
    nothing, "",     "One setting of a shader; \"selvarin shaders\" lists them. May be repeated."};
constexpr OptionInfo backgroundOption{"background", 0,       "#RRGGBB", "#f7f2e8",           "Picture",
                                      false,        nothing, "",        "Background colour."};
constexpr OptionInfo ambientOption{
    "ambient", 0, "#RRGGBB", "#404040", "Look", false, nothing, "", "Colour of the light that is everywhere."};
constexpr OptionInfo antialiasOption{
    "antialias", 'a',       "LEVEL",
    "2",         "Picture", false,
    choices,     "0 1 2",   "Draw the picture 1, 2 or 4 times as large and reduce it: 0 is fast, 2 is smooth."};

constexpr std::array renderOptions{
    OptionInfo{
        "output", 'o', "FILE", "", "Picture", true, file, "",
        "Where the picture goes; the ending chooses the format, a picture of pixels or a vector drawing (see "
        "\"selvarin formats\"). {model} stands for the model's name without its ending. A single - writes a PNG to "
        "standard output. May be repeated, for several files of the same view."},
    OptionInfo{"size", 's', "WxH", "1280x960", "Picture", false, nothing, "", "Size in pixels."},
    antialiasOption,
    OptionInfo{"background", 0, "#RRGGBB|none", "#f7f2e8", "Picture", false, nothing, "",
               "Background colour. With none all that is not drawn stays transparent, in PNG and TIFF: shadows lie on "
               "what they fall on, paper on what is drawn, and a style's backdrop is left out."},
    OptionInfo{"background-image", 0, "FILE", "", "Picture", false, file, "",
               "An image behind the scene, centred and at its own size."},
    OptionInfo{"paper", 0, "NAME|FILE", "", "Picture", false, file, "",
               "Paper that the picture is multiplied with: cartridge, kraft, laid, watercolour, or an image."},
    OptionInfo{"depth-image", 0, "", "", "Picture", false, nothing, "",
               "Also write the depth as a grey image, \"_depth\" added to the name."},
    OptionInfo{"shadow-image", 0, "", "", "Picture", false, nothing, "",
               "Also write how many lights reach each point as a grey image, \"_shadow\" added to the name; needs "
               "--shadows."},

    OptionInfo{"layers", 0, "DIR", "", "Picture", true, folder, "",
               "Also write the layers of the picture as PNG files to this folder: paper, colours, shadow, highlights "
               "and lines, as far as the picture has them. {model} stands for the model's name. Laid over one another "
               "they give the picture, as do those of a picture that ends in ora. With --layers objects each object "
               "has layers "
               "of its own; a folder of that name is ./objects."},

    OptionInfo{"areas", 0, "KIND", "regions", "Drawing", false, choices, "regions faces triangles",
               "How surfaces come into vector drawings: what hangs together in one colour as one area, flat faces in "
               "few pieces, or each triangle by itself."},
    OptionInfo{"textures", 0, "KIND", "areas", "Drawing", false, choices, "areas picture mean",
               "How textures and colours at vertices come into vector drawings: as areas of flat colour along them, as "
               "they are, by a picture in each area, or each material in their mean colour. --set "
               "Cartoon.TextureColours=8 chooses how many colours. DXF and HPGL have no pictures."},
    OptionInfo{"simplify", 0, "", "", "Drawing", false, nothing, "",
               "In vector drawings, join what is drawn twice, make flat faces of few triangles, leave out what is "
               "hidden: --areas faces."},
    OptionInfo{
        "page", 0, "SIZE", "picture", "Drawing", false, choices,
        "A0 A1 A2 A3 A4 A5 A6 letter legal tabloid fit picture",
        "Paper of a vector drawing, upright: a name, or WxH with mm, cm, in or pt behind it. fit cuts the page to "
        "what is drawn; picture is the picture's own frame."},
    OptionInfo{"landscape", 0, "", "", "Drawing", false, nothing, "", "Turn the paper on its side."},
    OptionInfo{"margin", 0, "LENGTH", "10mm, 2mm of fit", "Drawing", false, nothing, "",
               "What stays free on each side of the page, in mm, cm, in or pt."},
    OptionInfo{"scale", 0, "PAPER:MODEL", "", "Drawing", false, nothing, "",
               "Scale of a parallel view: at 1:2, 100 mm of the model are 50 mm on the paper. Without it the drawing "
               "fills the page."},
    OptionInfo{"units", 0, "UNIT", "by format", "Drawing", false, choices, "um mm cm dm m km inch in ft",
               "The unit of the model's coordinates, for --scale and DXF: what a CAD file says, metres in glTF, else "
               "millimetres."},
    OptionInfo{"hidden", 0, "LOOK", "none", "Drawing", false, choices, "none thin dashed",
               "Lines that something hides, in vector drawings."},
    OptionInfo{"line-group", 0, "WIDTH", "", "Drawing", false, choices, "0.25 0.35 0.5 0.7 1 1.4 2",
               "Line widths of ISO 128 by the wide line in mm: contours and boundaries are wide, all others narrow."},
    OptionInfo{"pen", 0, "KIND=WIDTH[,...]", "", "Drawing", true, nothing, "",
               "Line widths of a vector drawing in mm or pt by kind: contour, boundary, crease, edge, material, "
               "intersection, line, tangent, hidden, all. May be repeated."},

    OptionInfo{"demo", 0, "", "", "Model", false, nothing, "", "Render the built-in scene; no model is needed."},
    OptionInfo{"up-axis", 0, "AXIS", "by format", "Model", false, choices, "y z", "What is up in the model: y or z."},
    OptionInfo{
        "only", 0, "PATTERN", "", "Model", true, nothing, "",
        "Draw the objects of that name alone, as \"selvarin info\" lists them: a name, which means all below it "
        "too, a path, or layer:NAME in CAD files; * and ? stand for any characters and for one. May be repeated."},
    OptionInfo{"hide", 0, "PATTERN", "", "Model", true, nothing, "", "Leave these objects out. May be repeated."},
    OptionInfo{"ghost", 0, "PATTERN", "", "Model", true, nothing, "",
               "Let these objects be seen through. May be repeated."},
    OptionInfo{"colour", 0, "PATTERN=#RRGGBB", "", "Model", true, nothing, "",
               "Paint these objects in that colour. May be repeated."},
    OptionInfo{"deflection", 0, "UNITS", "by the picture", "Model", false, nothing, "",
               "How far triangles may stand off the curved surfaces of CAD files."},

    styleOption,
    baseOption,
    addOption,
    setOption,
    OptionInfo{"shadows", 0, "", "", "Look", false, nothing, "", "Things throw shadows, from every light."},
    OptionInfo{"transparency", 0, "", "", "Look", false, nothing, "",
               "Materials that are not opaque let shine through what lies behind."},
    ambientOption,

    OptionInfo{
        "eye", 0, "X,Y,Z", "", "View", false, nothing, "",
        "Where the camera stands, in the model's coordinates. Without it the model's own camera is used, else the "
        "model is framed from a three-quarter view."},
    OptionInfo{"target", 0, "X,Y,Z", "the model's centre", "View", false, nothing, "", "What the camera looks at."},
    OptionInfo{"up", 0, "X,Y,Z", "the up axis", "View", false, nothing, "", "What is up in the picture."},
    OptionInfo{"fov", 0, "DEGREES", "30", "View", false, nothing, "", "Vertical field of view, 1 to 170."},
    OptionInfo{"ortho", 0, "HEIGHT", "", "View", false, nothing, "",
               "Parallel projection that shows HEIGHT units of the model; 0 fits the model."},
    OptionInfo{"view", 0, "NAME", "", "View", false, choices, "front back left right top bottom iso dimetric",
               "A standard view, parallel unless --fov is given; the model fills the picture."},

    OptionInfo{
        "light", 0, "KIND:X,Y,Z[:#RRGGBB]", "", "Light", true, nothing, "",
        "directional:X,Y,Z shines that way, point:X,Y,Z stands there, spot:X,Y,Z@DX,DY,DZ,ANGLE stands there and "
        "shines that way in a cone of ANGLE degrees from its axis. May be repeated. Without it the model's lights, "
        "else a key light over the viewer's left shoulder."},

    OptionInfo{"offset", 0, "UNITS", "5", "Fine tuning", false, nothing, "",
               "How far surfaces step back from the lines drawn on them, in steps of the depth buffer."},
    OptionInfo{"tile", 0, "PIXELS", "", "Fine tuning", false, nothing, "",
               "Draw the picture in tiles of so many pixels, as those larger than OpenGL's limit always are, with the "
               "same pixels; for png and tif."},
    OptionInfo{"memory-folder", 0, "DIR", "", "Fine tuning", false, folder, "",
               "Where the picture's memory goes as a file; for pictures larger than the memory."},
    OptionInfo{"timings", 0, "", "", "Fine tuning", false, nothing, "", "Tell on standard error what took how long."},

    OptionInfo{
        "config", 0, "FILE", "", "General", false, file, "",
        "Read options from a file, one \"name = value\" a line. Options of the command line win over it; what may "
        "be repeated adds up. No such file is read unless named."},
    OptionInfo{"quiet", 'q', "", "", "General", false, nothing, "", "No progress bar, no summary."},
    langOption,
    help,
};

constexpr OptionInfo slurmOption{
    "slurm", 0,         "",
    "",      "Cluster", false,
    nothing, "",        "Draw on a Slurm cluster, as a job array. All nodes have to see the same folders."};
constexpr OptionInfo slurmOptionsOption{
    "slurm-options",
    0,
    "OPTIONS",
    "",
    "Cluster",
    true,
    nothing,
    "",
    "Options for sbatch, with blanks between them, such as \"--partition=short --mem=2G\". May be repeated."};
constexpr OptionInfo taskSecondsOption{
    "task-seconds",
    0,
    "SECONDS",
    "60",
    "Cluster",
    false,
    nothing,
    "",
    "How long a task of the array is to take: how much goes into one follows from measured times."};
constexpr OptionInfo slurmTaskOption{
    "slurm-task", 0, "DIR", "", "Cluster", false, folder, "", "What the tasks of --slurm are started with."};

constexpr std::array ownCatalogueOptions{
    OptionInfo{"output", 'o', "DIR", "", "Catalogue", false, folder, "",
               "The folder for the pictures, report.json and index.html. It is made if it is not there."},
    OptionInfo{"jobs", 'j', "NUMBER", "by the cores", "Catalogue", false, nothing, "",
               "How many processes draw at a time."},
    OptionInfo{"format", 0, "ENDING[,ENDING...]", "png", "Catalogue", false, nothing, "",
               "The formats of outputs that the table gives no ending."},
    OptionInfo{"timeout", 0, "SECONDS", "300", "Catalogue", false, nothing, "",
               "A picture that takes longer is given up and reported."},
    OptionInfo{"again", 0, "", "", "Catalogue", false, nothing, "",
               "Draw everything, also what an earlier run has drawn and nothing has changed of."},
    slurmOption,
    slurmOptionsOption,
    taskSecondsOption,
    slurmTaskOption,
};

constexpr std::array ownAnimateOptions{
    OptionInfo{"output", 'o', "FILE", "", "Film", false, file, "",
               "A film, by its ending mp4, webm or gif; or frames, pictures or vector drawings, with %04d for a number "
               "of four digits in their name."},
    OptionInfo{"turntable", 0, "DEGREES", "360", "Film", false, nothing, "",
               "Turn the model so far about its upright axis in the film's time."},
    OptionInfo{
        "path", 0, "FILE", "", "Film", false, file, "",
        "Move the camera through the keys in a file, one a line: time in seconds, the eye's X Y Z, the target's X "
        "Y Z, and perhaps the vertical field of view."},
    OptionInfo{"clip", 0, "NAME", "", "Film", false, nothing, "",
               "Play an animation of the model, by the name that \"selvarin info\" lists or by its number from 0. The "
               "camera stands, unless --turntable or --path is given."},
    OptionInfo{"fps", 0, "NUMBER", "25", "Film", false, nothing, "", "Frames in a second."},
    OptionInfo{"seconds", 0, "NUMBER", "8, or by the path or clip", "Film", false, nothing, "",
               "How long the film is."},
    OptionInfo{"from", 0, "FRAME", "", "Film", false, nothing, "", "The first frame to draw; the film's first is 0."},
    OptionInfo{"to", 0, "FRAME", "", "Film", false, nothing, "", "The last frame to draw."},
    OptionInfo{"demo", 0, "", "", "Film", false, nothing, "", "Film the built-in scene; no model is needed."},
    OptionInfo{"keep-part", 0, "", "", "Film", false, nothing, "",
               "After a cancel keep the film as far as it is drawn; without this there is none."},
    slurmOption,
    slurmOptionsOption,
    taskSecondsOption,
    slurmTaskOption,
};

// Such commands take all that render does, but for what is one picture's alone.
constexpr bool isShared(const OptionInfo& option) {
    for (const std::string_view own : {"output", "demo", "timings"}) {
        if (option.name == own) {
            return false;
        }
    }
    return true;
}

constexpr std::size_t numShared = [] {
    std::size_t count = 0;
    for (const OptionInfo& option : renderOptions) {
        count += isShared(option) ? 1 : 0;
    }
    return count;
}();

template <std::size_t own> constexpr auto withShared(const std::array<OptionInfo, own>& options) {
    std::array<OptionInfo, own + numShared> all{};
    std::size_t count = 0;
    for (const OptionInfo& option : options) {
        all[count++] = option;
    }
    for (const OptionInfo& option : renderOptions) {
        if (isShared(option)) {
            all[count++] = option;
        }
    }
    return all;
}

constexpr auto catalogueOptions = withShared(ownCatalogueOptions);
constexpr auto animateOptions = withShared(ownAnimateOptions);

constexpr std::array shadersOptions{
    OptionInfo{"quiet", 'q', "", "", "General", false, nothing, "", "Tags alone, one a line."},
    langOption,
    help,
};

constexpr std::array stylesOptions{
    OptionInfo{"preview", 0, "DIR", "", "Picture", false, folder, "",
               "Also draw each style on the preview scene, as NAME.png in this folder."},
    OptionInfo{"size", 's', "WxH", "110x110", "Picture", false, nothing, "", "Size of these pictures in pixels."},
    antialiasOption,
    backgroundOption,
    ambientOption,
    OptionInfo{"quiet", 'q', "", "", "General", false, nothing, "", "Names alone, one a line."},
    langOption,
    help,
};

constexpr std::array previewOptions{
    OptionInfo{"output", 'o', "FILE", "", "Picture", false, file, "",
               "Where the picture goes; a single - writes a PNG to standard output."},
    OptionInfo{"size", 's', "WxH", "110x110", "Picture", false, nothing, "", "Size in pixels."},
    antialiasOption,
    backgroundOption,
    styleOption,
    baseOption,
    addOption,
    setOption,
    ambientOption,
    OptionInfo{"quiet", 'q', "", "", "General", false, nothing, "", "No summary."},
    langOption,
    help,
};

constexpr std::array styleOptions{
    styleOption,
    baseOption,
    addOption,
    setOption,
    OptionInfo{"force", 'f', "", "", "General", false, nothing, "", "Save over a style that is there."},
    OptionInfo{"quiet", 'q', "", "", "General", false, nothing, "", "No summary."},
    langOption,
    help,
};

constexpr std::array plainOptions{help};
constexpr std::array manOptions{langOption, help};

constexpr std::array infoOptions{
    OptionInfo{"up-axis", 0, "AXIS", "by format", "Model", false, choices, "y z", "What is up in the model: y or z."},
    OptionInfo{"json", 0, "", "", "General", false, nothing, "", "As JSON, for programs."},
    langOption,
    help,
};

constexpr std::array topOptions{
    help,
    OptionInfo{"version", 0, "", "", "General", false, nothing, "", "Show what a report of a problem should name."},
    OptionInfo{"man", 0, "", "", "General", false, nothing, "", "Write the manual page to standard output."},
    langOption,
    OptionInfo{"completion", 0, "SHELL", "", "General", false, choices, "bash zsh fish",
               "Write the shell's completion rules to standard output."},
};

constexpr std::array commands{
    CommandInfo{"render", "MODEL...|DOCUMENT -o FILE [options]",
                "Render a picture. Several models make one scene; with {model} in FILE each gets a picture of its own. "
                "A document of Selvarin Studio (.selvarin) is drawn as it stands there; options that are given win.",
                renderOptions, true},
    CommandInfo{"animate", "MODEL... -o FILE [options]",
                "Draw a film: a model that turns, or a camera that moves along a path.", animateOptions, true},
    CommandInfo{"catalogue", "TABLE|FOLDER -o DIR [options]",
                "Draw many pictures: one for each line of a table (CSV, or JSON lines), or for each model of a folder. "
                "A run that was ended goes on where it was.",
                catalogueOptions, true},
    CommandInfo{"shaders", "", "List the shaders with their settings.", shadersOptions, false},
    CommandInfo{"styles", "", "List the styles: name, whose it is, file.", stylesOptions, false},
    CommandInfo{"preview", "-o FILE [options]", "Draw a look on the preview scene.", previewOptions, false},
    CommandInfo{"style", "save NAME [options] | remove NAME",
                "Save the look that the options give among your own styles, or move one of them to the wastebasket.",
                styleOptions, false},
    CommandInfo{"formats", "", "List what can be read and written.", plainOptions, false},
    CommandInfo{"info", "MODEL", "Tell what a model holds.", infoOptions, true},
    CommandInfo{
        "new-shader", "NAME DIR",
        "Make the folder DIR with a shader of your own: settings, page, texts in two languages, test, build file.",
        plainOptions, false},
    CommandInfo{"man", "", "Write the manual page to standard output; on a terminal, show it.", manOptions, false},
};

constexpr std::array examples{
    ExampleInfo{"selvarin render --demo -o demo.png", "the built-in scene"},
    ExampleInfo{"selvarin render bunny.obj -o bunny.png", "a model, framed and lit by itself"},
    ExampleInfo{"selvarin render car.glb -o car.png -s 1920x1080 --set Cartoon.Bands=2 --background ffffff",
                "another size, two tones, white paper"},
    ExampleInfo{"selvarin render house.dae -o plan.png --ortho 0 --eye 0,100,0 --up 0,0,-1 --add none",
                "straight from above, without lines"},
    ExampleInfo{"selvarin render part.step -o part.pdf --base none --view iso --page A4 --landscape --scale 1:2",
                "lines on paper, half as large as the part"},
    ExampleInfo{"selvarin render bunny.obj -o bunny.png --style Comic --set Outline.Colour=#203040",
                "a style, with ink of another colour"},
    ExampleInfo{"selvarin animate bunny.obj -o bunny.mp4 --seconds 6", "a model that turns"},
    ExampleInfo{"selvarin catalogue parts.csv -o pictures --style Comic", "a picture for each line of a table"},
    ExampleInfo{"selvarin style save 'My comic' --style Comic --set Cartoon.Bands=2", "a style of your own"},
    ExampleInfo{"selvarin render bunny.selvarin -o bunny.png -s 4000x3000",
                "a document of Selvarin Studio, in the size of a poster"},
    ExampleInfo{"selvarin render *.obj -o 'pictures/{model}.png' -q", "a picture of each"},
};

} // namespace

std::span<const CommandInfo> commandTable() {
    return commands;
}

std::span<const OptionInfo> programOptions() {
    return topOptions;
}

std::span<const ExampleInfo> exampleTable() {
    return examples;
}

const CommandInfo* findCommand(std::string_view name) {
    const auto* found =
        std::find_if(commands.begin(), commands.end(), [name](const CommandInfo& info) { return info.name == name; });
    return found == commands.end() ? nullptr : found;
}

const OptionInfo* findOption(std::span<const OptionInfo> options, std::string_view name) {
    const auto found =
        std::find_if(options.begin(), options.end(), [name](const OptionInfo& info) { return info.name == name; });
    return found == options.end() ? nullptr : &*found;
}
