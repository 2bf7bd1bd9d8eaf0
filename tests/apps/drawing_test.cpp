// Drawings as foreign viewers show them, held against the picture of the same view.
//
// The method: one command of the program writes the picture at antialias 2 and the drawings. A viewer (librsvg for SVG,
// Poppler for PDF and AI, Ghostscript for EPS and PS) paints a drawing four times as large, and each 4 by 4 pixels
// become their mean, as they do for the picture. Both are compared by structural similarity (support/similarity.h).
#include "programrun.h"
#include "support/similarity.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <numbers>
#include <regex>

#include <fcntl.h>
#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr int width = 480;
constexpr int height = 360;
constexpr int times = 4;

// The exit status; what it says goes to the test's own error stream.
int runTool(std::vector<std::string> words) {
    const pid_t child = fork();
    if (child == 0) {
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        dup2(STDERR_FILENO, STDOUT_FILENO);
        execvp(arguments[0], arguments.data());
        std::perror(arguments[0]);
        _exit(127);
    }
    int state = 0;
    waitpid(child, &state, 0);
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

struct Rgb {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;
};

Rgb readPng(const std::string& path) {
    Rgb picture;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        return picture;
    }
    image.format = PNG_FORMAT_RGB;
    picture.bytes.resize(PNG_IMAGE_SIZE(image));
    const png_color white = {255, 255, 255};
    if (png_image_finish_read(&image, &white, picture.bytes.data(), 0, nullptr) != 0) {
        picture.width = static_cast<int>(image.width);
        picture.height = static_cast<int>(image.height);
    }
    return picture;
}

// The mean of each square of pixels.
Rgb reduced(const Rgb& large) {
    Rgb small{large.width / times, large.height / times, {}};
    for (int y = 0; y < small.height; ++y) {
        for (int x = 0; x < small.width; ++x) {
            for (int part = 0; part < 3; ++part) {
                int sum = 0;
                for (int i = 0; i < times * times; ++i) {
                    const int row = y * times + i / times;
                    const int column = x * times + i % times;
                    sum += large.bytes[3 * (static_cast<std::size_t>(row) * large.width + column) + part];
                }
                small.bytes.push_back(static_cast<std::uint8_t>((sum + times * times / 2) / (times * times)));
            }
        }
    }
    return small;
}

// A drawing as its viewer shows it, so many times as large as the picture.
Rgb viewed(const ProgramFolder& folder, const std::string& ending, int zoom) {
    const std::string file = folder.path("a." + ending);
    const std::string png = folder.path(ending + ".png");
    const std::string w = std::to_string(width * zoom);
    const std::string h = std::to_string(height * zoom);
    int status = -1;
    if (ending == "svg") {
        status = runTool({"rsvg-convert", "-w", w, "-h", h, "-o", png, file});
    } else if (ending == "pdf" || ending == "ai") {
        status = runTool(
            {"pdftocairo", "-png", "-singlefile", "-scale-to-x", w, "-scale-to-y", h, file, folder.path(ending)});
    } else {
        // A page of PostScript has no size of its own, an encapsulated one has its box.
        status = runTool({"gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-dEPSCrop", "-dFIXEDMEDIA",
                          "-dGraphicsAlphaBits=4", "-g" + w + "x" + h, "-sDEVICE=png16m",
                          "-r" + std::to_string(72 * zoom), "-sOutputFile=" + png, file});
    }
    EXPECT_EQ(status, 0) << "the viewer of ." << ending << " (see scripts/packages.txt)";
    return readPng(png);
}

// At the size of the picture.
Rgb shown(const ProgramFolder& folder, const std::string& ending) {
    return reduced(viewed(folder, ending, times));
}

// Writes models as Wavefront files, each part in a colour of its own.
class ModelWriter {
public:
    explicit ModelWriter(const ProgramFolder& target) : folder(target) {}

    // A grid of rows by columns points, closed where it returns to its beginning.
    void addGrid(const std::string& colour, int rows, int columns,
                 const std::function<std::array<double, 3>(double, double)>& at) {
        begin(colour);
        const int first = points + 1;
        for (int r = 0; r <= rows; ++r) {
            for (int c = 0; c <= columns; ++c) {
                const std::array<double, 3> p = at(static_cast<double>(r) / rows, static_cast<double>(c) / columns);
                addPoint(p[0], p[1], p[2]);
            }
        }
        for (int r = 0; r < rows; ++r) {
            for (int c = 0; c < columns; ++c) {
                const int a = first + r * (columns + 1) + c;
                const int b = a + columns + 1;
                obj += "f " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(b + 1) + " " +
                       std::to_string(a + 1) + "\n";
            }
        }
    }
    void addBall(const std::string& colour, double x, double y, double z, double radius) {
        addGrid(colour, 24, 48, [=](double v, double u) {
            const double tilt = std::numbers::pi * v;
            const double turn = 2 * std::numbers::pi * u;
            return std::array{x + radius * std::sin(tilt) * std::sin(turn), y + radius * std::cos(tilt),
                              z + radius * std::sin(tilt) * std::cos(turn)};
        });
    }
    void addBox(const std::string& colour, double x, double y, double z, double a, double b, double c) {
        begin(colour);
        const int first = points;
        for (int i = 0; i < 8; ++i) {
            addPoint(x + ((i & 1) != 0 ? a : -a), y + ((i & 2) != 0 ? b : -b), z + ((i & 4) != 0 ? c : -c));
        }
        for (const std::array<int, 4>& face :
             {std::array{1, 3, 4, 2}, std::array{5, 6, 8, 7}, std::array{1, 2, 6, 5}, std::array{3, 7, 8, 4},
              std::array{1, 5, 7, 3}, std::array{2, 4, 8, 6}}) {
            obj += "f";
            for (const int corner : face) {
                obj += " " + std::to_string(first + corner);
            }
            obj += "\n";
        }
    }
    std::string write() const {
        folder.write("a.mtl", mtl);
        return folder.write("a.obj", "mtllib a.mtl\n" + obj);
    }

private:
    void begin(const std::string& colour) {
        ++parts;
        mtl += "newmtl m" + std::to_string(parts) + "\nKd " + colour + "\n";
        obj += "o p" + std::to_string(parts) + "\nusemtl m" + std::to_string(parts) + "\n";
    }
    void addPoint(double x, double y, double z) {
        obj += "v " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(z) + "\n";
        ++points;
    }

    const ProgramFolder& folder;
    std::string mtl;
    std::string obj;
    int parts = 0;
    int points = 0;
};

void writeBalls(ModelWriter& model) {
    model.addBox("0.6 0.55 0.5", 0, -1.2, 0, 3, 0.2, 3);
    model.addBall("0.8 0.2 0.2", -1.2, 0, 0.8, 1.0);
    model.addBall("0.2 0.5 0.8", 0.9, -0.1, 1.2, 0.9);
    model.addBall("0.9 0.7 0.2", 0.2, 0.4, -1.0, 1.4);
}

// A tube that winds over and under itself.
void writeKnot(ModelWriter& model) {
    model.addGrid("0.2 0.6 0.5", 240, 24, [](double v, double u) {
        const auto centre = [](double t) {
            const double r = 2.0 + std::cos(3.0 * t);
            return std::array{r * std::cos(2.0 * t), r * std::sin(2.0 * t), std::sin(3.0 * t)};
        };
        const double t = 2 * std::numbers::pi * v;
        const std::array<double, 3> c = centre(t);
        const std::array<double, 3> d = centre(t + 1e-4);
        std::array<double, 3> along = {d[0] - c[0], d[1] - c[1], d[2] - c[2]};
        const double length = std::hypot(along[0], along[1], along[2]);
        for (double& part : along) {
            part /= length;
        }
        // Across: away from the z axis, and what is upright on both.
        std::array<double, 3> side = {along[1], -along[0], 0.0};
        const double flat = std::hypot(side[0], side[1]);
        side = {side[0] / flat, side[1] / flat, 0.0};
        const std::array<double, 3> up = {along[1] * side[2] - along[2] * side[1],
                                          along[2] * side[0] - along[0] * side[2],
                                          along[0] * side[1] - along[1] * side[0]};
        const double turn = -2 * std::numbers::pi * u;
        std::array<double, 3> point{};
        for (int i = 0; i < 3; ++i) {
            point[i] = c[i] + 0.5 * (std::cos(turn) * side[i] + std::sin(turn) * up[i]);
        }
        return point;
    });
}

// Boxes that run through one another.
void writeCross(ModelWriter& model) {
    model.addBox("0.8 0.3 0.2", 0, 0, 0, 2.0, 0.5, 0.5);
    model.addBox("0.3 0.6 0.3", 0.2, 0.1, 0.1, 0.6, 1.7, 0.6);
    model.addBox("0.3 0.4 0.8", -0.2, 0.05, -0.05, 0.4, 0.4, 2.2);
    model.addBox("0.8 0.7 0.3", 0.9, 0.7, 0.8, 0.7, 0.3, 0.7);
}

void writeHills(ModelWriter& model) {
    model.addGrid("0.5 0.7 0.35", 90, 90, [](double v, double u) {
        const double x = 8 * u - 4;
        const double z = 8 * v - 4;
        return std::array{x, 0.8 * std::sin(1.3 * x) * std::cos(1.1 * z) + 0.3 * std::sin(2.1 * z + x), z};
    });
}

// Open at the top, so that its inside shows.
void writeVase(ModelWriter& model) {
    model.addGrid("0.75 0.45 0.35", 60, 72, [](double v, double u) {
        const double radius = 0.75 + 0.35 * std::sin(5.0 * v + 0.4) - 0.25 * v;
        const double turn = -2 * std::numbers::pi * u;
        return std::array{radius * std::cos(turn), 3.0 * v - 1.5, radius * std::sin(turn)};
    });
}

struct SceneCase {
    const char* name;
    void (*write)(ModelWriter&); // null for the built-in scene
};

class Drawing : public testing::TestWithParam<SceneCase> {
protected:
    // Renders the picture and the drawings of one view, and compares each with the picture.
    void compare(const std::vector<std::string>& look, const std::vector<std::string>& endings, double limit) {
        const ProgramFolder folder;
        std::vector<std::string> words = {std::string(SELVARIN_BIN_DIR) + "/selvarin", "render"};
        if (GetParam().write != nullptr) {
            ModelWriter model(folder);
            GetParam().write(model);
            words.push_back(model.write());
        } else {
            words.emplace_back("--demo");
        }
        words.insert(words.end(), {"-o", folder.path("a.png"), "-s",
                                   std::to_string(width) + "x" + std::to_string(height), "-a", "2", "-q"});
        for (const std::string& ending : endings) {
            words.insert(words.end(), {"-o", folder.path("a." + ending)});
        }
        words.insert(words.end(), look.begin(), look.end());
        ASSERT_EQ(runTool(words), 0);
        const Rgb picture = readPng(folder.path("a.png"));
        ASSERT_EQ(picture.width, width);
        const Luminance expected = luminanceOf(picture.bytes, picture.width, picture.height);
        for (const std::string& ending : endings) {
            const Rgb drawing = shown(folder, ending);
            ASSERT_EQ(drawing.width, width) << ending;
            ASSERT_EQ(drawing.height, height) << ending;
            const Similarity found = similarityOf(expected, luminanceOf(drawing.bytes, width, height));
            EXPECT_GE(found.mean, limit) << ending;
            RecordProperty(ending, std::to_string(found.mean));
        }
    }
};

TEST_P(Drawing, AreasLookLikeThePicture) {
    compare({"--base", "Cartoon", "--add", "none"}, {"svg", "pdf", "eps"}, 0.985);
}

TEST_P(Drawing, AreasAndLinesLookLikeThePicture) {
    compare({"--base", "Cartoon", "--add", "Outline"}, {"svg", "pdf", "eps"}, 0.98);
}

TEST_P(Drawing, SimplifiedItStillLooksLikeThePicture) {
    compare({"--base", "Cartoon", "--add", "Outline", "--simplify"}, {"svg", "ai", "ps"}, 0.98);
}

TEST_P(Drawing, RimsOfWashesLookLikeThoseOfThePicture) {
    compare({"--base", "Cartoon", "--add", "none", "--set", "Cartoon.WashEdge=80"}, {"svg"}, 0.98);
}

TEST_P(Drawing, ARimOfLightLooksLikeThatOfThePicture) {
    compare({"--base", "Cartoon", "--add", "none", "--set", "Cartoon.RimWidth=40"}, {"svg"}, 0.98);
}

TEST_P(Drawing, ShadowsLookLikeThoseOfThePicture) {
    compare({"--base", "Cartoon", "--add", "none", "--shadows"}, {"svg"}, 0.98);
}

// One style for each scene.
TEST_P(Drawing, TonesOfDotsAndLinesLookLikeThoseOfThePicture) {
    const char* const styles[] = {"Comic print", "Stippling", "Engraving"};
    compare({"--style", styles[GetParam().name[0] % 3], "--set", "Backdrop.Grain=0"}, {"svg"}, 0.93);
}

// --- what a texture cuts out ---

// A square with round holes before a ball.
void writeGrid(const ProgramFolder& folder) {
    constexpr int side = 128;
    std::vector<std::uint8_t> pixels;
    for (int i = 0; i < side * side; ++i) {
        const double x = i % side % 32 - 15.5;
        const double y = static_cast<double>(i / side % 32) - 15.5;
        const std::uint8_t alpha = std::hypot(x, y) < 11.0 ? 0 : 255;
        pixels.insert(pixels.end(), {40, 110, 60, alpha});
    }
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = side;
    image.height = side;
    image.format = PNG_FORMAT_RGBA;
    ASSERT_NE(png_image_write_to_file(&image, folder.path("grid.png").c_str(), 0, pixels.data(), 0, nullptr), 0);
    ModelWriter model(folder);
    model.addBall("0.8 0.2 0.2", 0, 0, -2, 1.5);
    const std::string ball = model.write();
    std::ofstream(folder.path("a.mtl"), std::ios::app) << "newmtl grid\nKd 1 1 1\nmap_Kd grid.png\n";
    std::ofstream(ball, std::ios::app) << "o grid\nusemtl grid\nv -2 -2 0\nv 2 -2 0\nv 2 2 0\nv -2 2 0\n"
                                          "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nf -4/1 -3/2 -2/3 -1/4\n";
}

TEST(DrawingCutOuts, HolesOfATextureShowWhatLiesBehind) {
    const ProgramFolder folder;
    writeGrid(folder);
    for (const std::string areas : {"regions", "triangles"}) {
        ASSERT_EQ(runTool({std::string(SELVARIN_BIN_DIR) + "/selvarin",
                           "render",
                           folder.path("a.obj"),
                           "-q",
                           "-s",
                           std::to_string(width) + "x" + std::to_string(height),
                           "-a",
                           "2",
                           "--base",
                           "Cartoon",
                           "--add",
                           "none",
                           "--areas",
                           areas,
                           "-o",
                           folder.path("a.png"),
                           "-o",
                           folder.path("a.svg"),
                           "-o",
                           folder.path("a.pdf")}),
                  0);
        const Rgb picture = readPng(folder.path("a.png"));
        const Luminance expected = luminanceOf(picture.bytes, width, height);
        for (const std::string ending : {"svg", "pdf"}) {
            const Rgb drawing = shown(folder, ending);
            EXPECT_GE(similarityOf(expected, luminanceOf(drawing.bytes, width, height)).mean, 0.97)
                << areas << ' ' << ending;
        }
    }
}

// --- textures as pictures ---

// A ball and a floor with one texture, the ball partly behind a plain one.
std::string writeTextured(const ProgramFolder& folder) {
    constexpr int side = 128;
    std::vector<std::uint8_t> pixels;
    for (int i = 0; i < side * side; ++i) {
        const double x = 0.08 * (i % side);
        const double y = 0.08 * static_cast<double>(i / side);
        for (const double wave : {std::sin(x) * std::cos(y), std::sin(0.5 * x + y), std::cos(x - 2.0 * y)}) {
            pixels.push_back(static_cast<std::uint8_t>(128.0 + 100.0 * wave));
        }
    }
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = side;
    image.height = side;
    image.format = PNG_FORMAT_RGB;
    EXPECT_NE(png_image_write_to_file(&image, folder.path("waves.png").c_str(), 0, pixels.data(), 0, nullptr), 0);
    ModelWriter model(folder);
    model.addBall("0.8 0.2 0.2", 0.9, 0.2, 1.4, 0.6);
    const std::string file = model.write();
    std::ofstream(folder.path("a.mtl"), std::ios::app) << "newmtl waves\nKd 1 1 1\nmap_Kd waves.png\n";
    std::ofstream more(file, std::ios::app);
    more << "o floor\nusemtl waves\nv -2 -1 2\nv 2 -1 2\nv 2 -1 -2\nv -2 -1 -2\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
            "f -4/1 -3/2 -2/3 -1/4\no ball\n";
    constexpr int rows = 24;
    constexpr int columns = 48;
    for (int i = 0; i < (rows + 1) * (columns + 1); ++i) {
        const double u = static_cast<double>(i % (columns + 1)) / columns;
        const double v = static_cast<double>(i / (columns + 1)) / rows;
        const double around = std::sin(std::numbers::pi * v);
        more << "v " << around * std::sin(2 * std::numbers::pi * u) << ' ' << std::cos(std::numbers::pi * v) << ' '
             << around * std::cos(2 * std::numbers::pi * u) << "\nvt " << u << ' ' << 1.0 - v << '\n';
    }
    constexpr int all = (rows + 1) * (columns + 1);
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            more << 'f';
            for (const int corner : {r * (columns + 1) + c, (r + 1) * (columns + 1) + c,
                                     (r + 1) * (columns + 1) + c + 1, r * (columns + 1) + c + 1}) {
                more << ' ' << corner - all << '/' << corner - all;
            }
            more << '\n';
        }
    }
    return file;
}

// The mean of the differences of all parts of all colours.
double meanDifference(const Rgb& p, const Rgb& q) {
    EXPECT_EQ(p.bytes.size(), q.bytes.size());
    double sum = 0.0;
    for (std::size_t i = 0; i < std::min(p.bytes.size(), q.bytes.size()); ++i) {
        sum += std::abs(p.bytes[i] - q.bytes[i]);
    }
    return sum / static_cast<double>(p.bytes.size());
}

// Areas of flat colour are about 2 to 4 away.
TEST(DrawingPictures, LookLikeThePicture) {
    const ProgramFolder folder;
    const std::string model = writeTextured(folder);
    for (const std::string shadows : {"", "--shadows"}) {
        std::vector<std::string> words = {std::string(SELVARIN_BIN_DIR) + "/selvarin",
                                          "render",
                                          model,
                                          "-q",
                                          "-s",
                                          std::to_string(width) + "x" + std::to_string(height),
                                          "-a",
                                          "2",
                                          "--base",
                                          "Cartoon",
                                          "--add",
                                          "none",
                                          "--textures",
                                          "picture",
                                          "-o",
                                          folder.path("a.png")};
        for (const char* const ending : {"svg", "pdf", "eps", "ai", "ps"}) {
            words.insert(words.end(), {"-o", folder.path(std::string("a.") + ending)});
        }
        if (!shadows.empty()) {
            words.push_back(shadows);
        }
        ASSERT_EQ(runTool(words), 0);
        const Rgb picture = readPng(folder.path("a.png"));
        const Luminance expected = luminanceOf(picture.bytes, width, height);
        for (const std::string ending : {"svg", "pdf", "eps", "ai", "ps"}) {
            const Rgb drawing = shown(folder, ending);
            EXPECT_LE(meanDifference(picture, drawing), 1.0) << ending << shadows;
            EXPECT_GE(similarityOf(expected, luminanceOf(drawing.bytes, width, height)).mean, 0.985)
                << ending << shadows;
            EXPECT_LT(std::filesystem::file_size(folder.path("a." + ending)), 1'000'000U) << ending;
        }
        const std::string ppm = folder.path("ppm");
        ASSERT_EQ(runTool({"pdftoppm", "-png", "-singlefile", "-scale-to-x", std::to_string(width), "-scale-to-y",
                           std::to_string(height), folder.path("a.pdf"), ppm}),
                  0);
        EXPECT_LE(meanDifference(picture, readPng(ppm + ".png")), 2.0) << shadows;
    }
}

TEST(DrawingPictures, FormatsWithoutThemSayOneLineAndHaveAreas) {
    const ProgramFolder folder;
    const std::string model = writeTextured(folder);
    const auto render = [&](const std::string& textures, const std::vector<std::string>& names) {
        std::vector<std::string> words = {"render", model, "-q", "--size", "200x150", "--textures", textures};
        for (const std::string& name : names) {
            words.insert(words.end(), {"-o", folder.path(name)});
        }
        return run(folder, words);
    };
    const Outcome both = render("picture", {"a.svg", "a.dxf"});
    EXPECT_EQ(both.status, 0);
    EXPECT_EQ(both.err, "selvarin: warning: \"" + folder.path("a.dxf") +
                            "\": DXF and HPGL have no pictures: textures and colours at vertices are drawn as areas\n");
    EXPECT_NE(folder.read("a.svg").find("<image"), std::string::npos);
    EXPECT_EQ(render("areas", {"b.dxf"}).status, 0);
    EXPECT_EQ(folder.read("a.dxf"), folder.read("b.dxf")) << "areas along the texture";
    EXPECT_EQ(render("mean", {"c.dxf"}).status, 0);
    EXPECT_NE(folder.read("a.dxf"), folder.read("c.dxf"));
    EXPECT_EQ(render("picture", {"a.pdf"}).err, "");
}

// --- seams ---

struct Seams {
    int inside = 0; // pixels with no paper near
    int seen = 0;   // of these: how many have more than a trace of the paper in them
};

// By the same drawing on two papers.
Seams seamsOf(const Rgb& onBlack, const Rgb& onWhite) {
    constexpr int reach = 3;
    constexpr int trace = 8;
    constexpr int paper = 250;
    const auto shareAt = [&](int x, int y) {
        const std::size_t i = 3 * (static_cast<std::size_t>(y) * onBlack.width + x);
        return std::abs(onWhite.bytes[i] - onBlack.bytes[i]);
    };
    Seams seams;
    for (int y = reach; y + reach < onBlack.height; ++y) {
        for (int x = reach; x + reach < onBlack.width; ++x) {
            bool isInside = true;
            for (int i = 0; i < 49 && isInside; ++i) {
                isInside = shareAt(x + i % 7 - reach, y + i / 7 - reach) < paper;
            }
            seams.inside += isInside ? 1 : 0;
            seams.seen += isInside && shareAt(x, y) > trace ? 1 : 0;
        }
    }
    return seams;
}

class DrawingSeams : public testing::TestWithParam<const char*> {};

// As large as someone enlarges a detail.
TEST_P(DrawingSeams, NoPaperShinesThroughBetweenAreas) {
    const ProgramFolder folders[2];
    for (const ProgramFolder& folder : folders) {
        ModelWriter model(folder);
        writeBalls(model);
        ASSERT_EQ(runTool({std::string(SELVARIN_BIN_DIR) + "/selvarin",
                           "render",
                           model.write(),
                           "-q",
                           "-s",
                           std::to_string(width) + "x" + std::to_string(height),
                           "--base",
                           "Cartoon",
                           "--add",
                           "none",
                           "--background",
                           &folder == &folders[0] ? "#000000" : "#ffffff",
                           "--areas",
                           GetParam(),
                           "-o",
                           folder.path("a.svg"),
                           "-o",
                           folder.path("a.pdf"),
                           "-o",
                           folder.path("a.eps")}),
                  0);
    }
    std::vector<std::pair<std::string, int>> views = {{"svg", 1}, {"svg", 4}, {"svg", 16},
                                                      {"pdf", 4}, {"eps", 1}, {"eps", 4}};
    if (GetParam() == std::string("regions")) {
        views.emplace_back("pdf", 1);
    }
    for (const auto& [ending, zoom] : views) {
        const Rgb onBlack = viewed(folders[0], ending, zoom);
        const Rgb onWhite = viewed(folders[1], ending, zoom);
        ASSERT_EQ(onBlack.bytes.size(), onWhite.bytes.size());
        const Seams seams = seamsOf(onBlack, onWhite);
        EXPECT_GT(seams.inside, width * height * zoom * zoom / 4) << ending << " at " << zoom;
        EXPECT_LE(seams.seen, 16 * zoom) << ending << " at " << zoom;
    }
}

INSTANTIATE_TEST_SUITE_P(Areas, DrawingSeams, testing::Values("regions", "faces"),
                         [](const testing::TestParamInfo<const char*>& tested) { return std::string(tested.param); });

// --- true to scale ---

// What a page of PDF or PostScript shows, in millimetres: width and height.
std::array<double, 2> inkOf(const std::string& file) {
    std::FILE* const pipe = popen(("gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=bbox " + file + " 2>&1").c_str(), "r");
    std::array<double, 4> box{};
    for (std::array<char, 256> line{}; std::fgets(line.data(), line.size(), pipe) != nullptr;) {
        std::sscanf(line.data(), "%%%%HiResBoundingBox: %lf %lf %lf %lf", &box[0], &box[1], &box[2], &box[3]);
    }
    EXPECT_EQ(pclose(pipe), 0) << file;
    return {(box[2] - box[0]) * 25.4 / 72.0, (box[3] - box[1]) * 25.4 / 72.0};
}

struct Extent {
    double low = 1e30;
    double high = -1e30;

    void add(double v) {
        low = std::min(low, v);
        high = std::max(high, v);
    }
    double size() const {
        return high - low;
    }
};

// The places that lines of a DXF file begin and end at.
std::array<double, 2> extentOfDxf(const std::string& text) {
    Extent x;
    Extent y;
    std::istringstream stream(text.substr(text.find("\nENTITIES\n")));
    std::string code;
    std::string value;
    while (std::getline(stream, code) && std::getline(stream, value) && value != "OBJECTS") {
        if (code == "10" || code == "11") {
            x.add(std::stod(value));
        } else if (code == "20" || code == "21") {
            y.add(std::stod(value));
        }
    }
    return {x.size(), y.size()};
}

std::array<double, 2> extentOfHpgl(const std::string& text) {
    Extent x;
    Extent y;
    const std::regex place("(-?[0-9]+),(-?[0-9]+)");
    for (std::sregex_iterator found(text.begin(), text.end(), place), end; found != end; ++found) {
        x.add(std::stod((*found)[1]) / 40.0);
        y.add(std::stod((*found)[2]) / 40.0);
    }
    return {x.size(), y.size()};
}

// A box of 100 by 60 by 40 millimetres is half as large on paper, in every format.
TEST(DrawingOnPaper, IsTrueToScaleInEachFormat) {
    const ProgramFolder folder;
    ModelWriter model(folder);
    model.addBox("0.5 0.5 0.5", 7, -3, 2, 50, 30, 20);
    std::vector<std::string> words = {std::string(SELVARIN_BIN_DIR) + "/selvarin",
                                      "render",
                                      model.write(),
                                      "-q",
                                      "--base",
                                      "none",
                                      "--view",
                                      "front",
                                      "--page",
                                      "A4",
                                      "--scale",
                                      "1:2",
                                      "--pen",
                                      "all=0.5mm"};
    const std::vector<std::string> endings = {"svg", "pdf", "eps", "ps", "ai", "dxf", "hpgl", "plt"};
    for (const std::string& ending : endings) {
        words.insert(words.end(), {"-o", folder.path("a." + ending)});
    }
    ASSERT_EQ(runTool(words), 0);
    ASSERT_EQ(runTool({"rsvg-convert", "-f", "pdf", "-o", folder.path("svg.pdf"), folder.path("a.svg")}), 0);
    for (const std::string& ending : endings) {
        const bool isPlot = ending == "hpgl" || ending == "plt";
        const std::array<double, 2> size = ending == "dxf" ? extentOfDxf(folder.read("a.dxf"))
                                           : isPlot        ? extentOfHpgl(folder.read("a." + ending))
                                                    : inkOf(folder.path(ending == "svg" ? "svg.pdf" : "a." + ending));
        // Ink is wider by the pen.
        const double pen = ending == "dxf" || isPlot ? 0.0 : 0.5;
        EXPECT_NEAR(size[0], 50.0 + pen, 0.1) << ending;
        EXPECT_NEAR(size[1], 30.0 + pen, 0.1) << ending;
    }
}

TEST(DrawingOnPaper, WhatDoesNotFitIsToldAndLeavesNothing) {
    const ProgramFolder folder;
    ModelWriter model(folder);
    model.addBox("0.5 0.5 0.5", 0, 0, 0, 50, 30, 20);
    const std::string program = std::string(SELVARIN_BIN_DIR) + "/selvarin";
    const std::string file = folder.path("a.svg");
    const std::vector<std::string> words = {program, "render", model.write(), "-q", "--base", "none", "-o", file};
    const auto with = [&words](const std::vector<std::string>& more) {
        std::vector<std::string> all = words;
        all.insert(all.end(), more.begin(), more.end());
        return all;
    };
    EXPECT_EQ(runTool(with({"--view", "top", "--page", "A6", "--scale", "2:1"})), 1);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(runTool(with({"--scale", "1:2"})), 2); // in perspective
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(runTool(with({"--view", "top", "--page", "A6", "--landscape", "--scale", "1:1"})), 0);
    EXPECT_NE(folder.read("a.svg").find("width=\"148mm\" height=\"105mm\""), std::string::npos);
}

// glTF is in metres unless someone says otherwise; other formats in millimetres.
TEST(DrawingOnPaper, UnitsAreThoseThatAreTold) {
    const ProgramFolder folder;
    ModelWriter model(folder);
    model.addBox("0.5 0.5 0.5", 0, 0, 0, 5, 3, 2);
    const std::string program = std::string(SELVARIN_BIN_DIR) + "/selvarin";
    ASSERT_EQ(runTool({program, "render", model.write(), "-q", "--base", "none", "-o", folder.path("a.plt"), "--view",
                       "front", "--scale", "1:1", "--units", "cm"}),
              0);
    EXPECT_NEAR(extentOfHpgl(folder.read("a.plt"))[0], 100.0, 0.2);
}

TEST(DrawingOnPaper, TheGridOfBlueprintCoversTheSheet) {
    const ProgramFolder folder;
    ModelWriter model(folder);
    writeCross(model);
    ASSERT_EQ(runTool({std::string(SELVARIN_BIN_DIR) + "/selvarin", "render", model.write(), "-q", "--style",
                       "Blueprint", "--page", "A6", "-o", folder.path("a.svg"), "-o", folder.path("a.pdf")}),
              0);
    for (const std::string ending : {"svg", "pdf"}) {
        const Rgb sheet = viewed(folder, ending, 1); // stretched to a fixed size
        ASSERT_EQ(sheet.width, width);
        for (const int x : {1, width / 2, width - 2}) {
            for (const int y : {1, height / 2, height - 2}) {
                const std::uint8_t* const p = &sheet.bytes[3 * (static_cast<std::size_t>(y) * width + x)];
                if (x != width / 2 || y != height / 2) {
                    EXPECT_GT(p[2], p[0] + 40) << ending << " at " << x << ", " << y << " is blue";
                }
            }
        }
    }
}

// The grid lies upon the colours and does not tear them into its meshes.
TEST(DrawingOnPaper, TheGridOfBlueprintIsOneArea) {
    const ProgramFolder folder;
    ModelWriter model(folder);
    writeCross(model);
    ASSERT_EQ(runTool({std::string(SELVARIN_BIN_DIR) + "/selvarin", "render", model.write(), "-q", "--style",
                       "Blueprint", "-o", folder.path("a.svg")}),
              0);
    std::map<std::string, int> tones;
    const std::string text = folder.read("a.svg");
    const std::regex area("<path class=\"(tone-[0-9]+)\"");
    for (std::sregex_iterator found(text.begin(), text.end(), area), end; found != end; ++found) {
        ++tones[(*found)[1]];
    }
    EXPECT_EQ(tones.size(), 25U) << "24 steps of the gradient, and the grid";
    for (const auto& [tone, count] : tones) {
        EXPECT_LE(count, 4) << tone; // the corners of the sheet
    }
}

INSTANTIATE_TEST_SUITE_P(Scenes, Drawing,
                         testing::Values(SceneCase{"Demo", nullptr}, SceneCase{"Balls", writeBalls},
                                         SceneCase{"Knot", writeKnot}, SceneCase{"Cross", writeCross},
                                         SceneCase{"Hills", writeHills}, SceneCase{"Vase", writeVase}),
                         [](const testing::TestParamInfo<SceneCase>& scene) { return scene.param.name; });

} // namespace
