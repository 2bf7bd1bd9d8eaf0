// DXF as ezdxf reads it, which audits what it reads.
#include "foreignprogram.h"
#include "sampledrawings.h"

#include "support/commalocale.h"

#include <map>
#include <set>

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

// What the reader says of one file.
struct DxfFile {
    std::string text;

    // The lines that begin with a word, without it.
    Lines lines(const std::string& word) const {
        Lines found;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            if (line.starts_with(word + " ")) {
                found.push_back(line.substr(word.size() + 1));
            }
        }
        return found;
    }
};

// The system's own has the packages of the system.
std::string python() {
    return std::filesystem::exists("/usr/bin/python3") ? "/usr/bin/python3" : "python3";
}

// Files by their names, read at once: the reader takes seconds to start.
class DxfFiles {
public:
    void add(const std::string& name, const KivVectorDrawing& drawing, const KivSheet& sheet = {}) {
        names[folder.write(name + ".dxf", written(drawing, KivDrawingFormat::dxf, sheet))] = name;
    }
    void add(const std::string& name, const KivCurvePath& path) {
        KivVectorDrawing drawing = sampleDrawing();
        drawing.areas.clear();
        drawing.strokes = {makeStroke(KivStrokeKind::contour, path)};
        add(name, drawing);
    }
    std::map<std::string, DxfFile> read() const {
        std::string command = python() + " " DXF_READER;
        for (const auto& [file, name] : names) {
            command += " " + file;
        }
        const ForeignOutcome outcome = runForeign(command);
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        std::map<std::string, DxfFile> files;
        std::istringstream stream(outcome.out);
        std::string name;
        for (std::string line; std::getline(stream, line);) {
            name = line.starts_with("file ") ? names.at(line.substr(5)) : name;
            files[name].text += line + "\n";
        }
        return files;
    }

private:
    ForeignFolder folder;
    std::map<std::string, std::string> names;
};

// A quarter of a circle, and the same the other way round.
KivCurvePath quarter(bool back) {
    KivCurvePath path = circlePath(200, 150, 100);
    path.closed = false;
    path.pieces.resize(1);
    if (!back) {
        return path;
    }
    KivCurvePath turned;
    turned.start = path.pieces[0].end;
    turned.pieces = {{KivCurvePiece::Kind::cubic, {path.pieces[0].control[1], path.pieces[0].control[0]}, path.start}};
    return turned;
}

// Two lines and two half circles, each of two cubics.
KivCurvePath slot() {
    const KivCurvePath circle = circlePath(100, 100, 20);
    KivCurvePath path;
    path.start = {200, 80};
    path.closed = true;
    const auto add = [&path](KivCurvePiece piece, double shift) {
        for (KivPicturePoint* p : {&piece.control[0], &piece.control[1], &piece.end}) {
            p->x += shift;
        }
        path.pieces.push_back(piece);
    };
    add(circle.pieces[3], 100);
    add(circle.pieces[0], 100);
    path.pieces.push_back({KivCurvePiece::Kind::line, {}, {100, 120}});
    add(circle.pieces[1], 0);
    add(circle.pieces[2], 0);
    path.pieces.push_back({KivCurvePiece::Kind::line, {}, {200, 80}});
    return path;
}

KivVectorDrawing withHostileNames() {
    KivVectorDrawing drawing = sampleDrawing();
    for (const wchar_t* name :
         {L"a/b*c<d>", L"", L"*Model_Space", L"plate", L"PLATE", L"齿轮", L"0\nEOF\n0", L"|;,`="}) {
        drawing.objects.push_back({name});
        drawing.strokes.push_back(drawing.strokes[0]);
        drawing.strokes.back().object = static_cast<std::uint32_t>(drawing.objects.size() - 1);
    }
    return drawing;
}

void checkSample(const DxfFile& file) {
    EXPECT_EQ(file.lines("version"), Lines{"AC1015"});
    EXPECT_EQ(file.lines("units"), Lines{"4"});
    const Lines layers = file.lines("layer");
    EXPECT_EQ(std::set<std::string>(layers.begin(), layers.end()),
              (std::set<std::string>{"0 7 CONTINUOUS 25 on", "AREAS 7 CONTINUOUS 0 off", "CONTOUR 7 CONTINUOUS 40 on",
                                     "CREASE 7 CONTINUOUS 40 on", "HIDDEN 7 DASHED 20 on", "LINE 7 CONTINUOUS 40 on"}));
    EXPECT_EQ(file.lines("group"), (Lines{"PLATE 5", "RING 1"}));
    // True to the model, as nothing else is asked for: 200 pixels of half a unit.
    const Lines found = file.lines("entity");
    ASSERT_EQ(found.size(), 7U);
    EXPECT_EQ(found[2], "LWPOLYLINE CONTOUR 1.000 4.000 25.000 25.000 0.000 125.000 25.000 0.000 125.000 125.000 0.000 "
                        "25.000 125.000 0.000");
    EXPECT_EQ(found[3], "CIRCLE CREASE 75.000 75.000 20.003"); // the mean of four cubics
    EXPECT_EQ(found[4], "LINE HIDDEN 30.000 30.000 120.000 30.000");
    EXPECT_EQ(found[6], "POINT LINE 5.000 140.000");
}

void checkScale(const DxfFile& file) {
    std::istringstream stream(file.lines("entity").at(2));
    std::string kind;
    std::string layer;
    double closed = 0;
    double count = 0;
    double x[3] = {};
    double y[3] = {};
    double bulge = 0;
    stream >> kind >> layer >> closed >> count;
    for (int i = 0; i < 3; ++i) {
        stream >> x[i] >> y[i] >> bulge;
    }
    // 100 millimetres of the model.
    EXPECT_NEAR(x[1] - x[0], 50.0, 1e-3);
    EXPECT_NEAR(y[2] - y[1], 50.0, 1e-3);
}

} // namespace

TEST(DxfWriter, EzdxfReadsWhatWasWritten) {
    if (runForeign(python() + " -c 'import importlib.util; importlib.util.find_spec(\"ezdxf\") or exit(1)'").status !=
        0) {
        GTEST_SKIP() << "python3-ezdxf is not there; scripts/packages.txt names it";
    }
    DxfFiles written;
    written.add("sample", sampleDrawing());
    written.add("half", sampleDrawing(), halfScaleSheet());
    KivSheet withAreas;
    withAreas.outlinesAreas = true;
    written.add("areas", sampleDrawing(), withAreas);
    written.add("arc", quarter(false));
    written.add("back", quarter(true));
    written.add("slot", slot());
    written.add("arcs", arcDrawing());
    KivCurvePath spline = polylinePath({{0, 0}, {100, 0}});
    spline.pieces.push_back({KivCurvePiece::Kind::cubic, {{150, 0}, {200, 100}}, {300, 20}});
    written.add("spline", spline);
    written.add("names", withHostileNames());
    KivVectorDrawing nothing = sampleDrawing();
    nothing.areas.clear();
    nothing.strokes.clear();
    written.add("nothing", nothing);

    std::map<std::string, DxfFile> files = written.read();
    EXPECT_EQ(files.size(), 10U);
    for (const auto& [name, file] : files) {
        EXPECT_TRUE(file.lines("problem").empty()) << name << "\n" << file.text;
    }
    checkSample(files["sample"]);
    checkScale(files["half"]);

    const Lines layers = files["areas"].lines("layer");
    EXPECT_EQ(std::count(layers.begin(), layers.end(), "AREAS 7 CONTINUOUS 0 on"), 1);
    EXPECT_TRUE(files["areas"].lines("entity").at(0).starts_with("LWPOLYLINE AREAS 1.000 4.000 "));
    EXPECT_TRUE(files["areas"].lines("entity").at(1).starts_with("LWPOLYLINE AREAS 1.000 "));

    const Lines arc = files["arc"].lines("entity");
    ASSERT_EQ(arc.size(), 1U);
    EXPECT_TRUE(arc[0].starts_with("ARC CONTOUR 100.0")) << arc[0];
    EXPECT_EQ(files["back"].lines("entity"), arc);
    const Lines polyline = files["slot"].lines("entity");
    ASSERT_EQ(polyline.size(), 1U);
    EXPECT_TRUE(polyline[0].starts_with("LWPOLYLINE CONTOUR 1.000 6.000 100.000 40.000 0.414 110.000 50.000 0.414 "
                                        "100.000 60.000 0.000 50.000 60.000 0.414"))
        << polyline[0];
    // In half units; of the last one both ends, seven tenths of a turn apart.
    EXPECT_EQ(
        files["arcs"].lines("entity"),
        (Lines{"CIRCLE CONTOUR 50.000 50.000 20.000",
               "ELLIPSE CONTOUR 125.000 50.000 25.981 15.000 0.333 150.981 65.000 150.981 65.000 6.283",
               "ARC CONTOUR 50.000 110.000 20.000 30.000 150.000", "ARC CONTOUR 50.000 110.000 15.000 270.000 30.000",
               "ELLIPSE CONTOUR 125.000 110.000 25.981 -15.000 0.333 130.000 118.660 148.164 93.058 4.398"}));
    // The middle of the knots is the corner between the two pieces.
    EXPECT_EQ(files["spline"].lines("entity"), Lines{"SPLINE CONTOUR 0.000 0.000 50.000 0.000 150.000 10.000"});

    EXPECT_EQ(files["names"].lines("group").size(), 9U) << files["names"].text;
    EXPECT_EQ(files["names"].lines("entity").size(), 15U);
    EXPECT_TRUE(files["nothing"].lines("entity").empty());
}

TEST(DxfWriter, TheLocaleChangesNothing) {
    const std::string plain = written(sampleDrawing(), KivDrawingFormat::dxf);
    const CommaLocale locale;
    EXPECT_EQ(written(sampleDrawing(), KivDrawingFormat::dxf), plain);
}
