// From the file of a CAD program to the lines of a drawing, held to what the exact shape shows.
#include "../../lines/linecameras.h"
#include "../importtestfiles.h"
#include "cadfiles.h"
#include "import/cad/cadreader.h"
#include "import/kivmodelimport.h"
#include "kivrender/geometry/kivsurface.h"
#include "kivrender/lines/kivlineengine.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmesh.h"
#include "sampledlines.h"

#include <cmath>
#include <cstdlib>
#include <numbers>

#include <gtest/gtest.h>

namespace {

using Kind = KivStrokeKind;

constexpr double pixels = 4096.0;
constexpr double halfWidth = 100.0; // units of the scene
constexpr double perUnit = pixels / (2.0 * halfWidth);
constexpr double elevation = 0.5; // radians, of the viewer above the horizon

KivVec towardsViewer() {
    constexpr double azimuth = 0.3;
    return {std::cos(elevation) * std::cos(azimuth), std::cos(elevation) * std::sin(azimuth), std::sin(elevation)};
}

KivModel modelOf(const std::string& path) {
    KivModelOptions options;
    options.picturePixels = pixels;
    KivModel model;
    std::wstring message;
    EXPECT_TRUE(kivImportModels({kivFromUtf8(path)}, options, model, message)) << kivToUtf8(message);
    return model;
}

// Of one part that is written and read.
KivModel modelOf(const TopoDS_Shape& shape) {
    const TestFolder folder;
    writeStep(folder.path("part.step"), documentOf(shape, "part"));
    return modelOf(folder.path("part.step"));
}

KivLineView obliqueView() {
    return {lineCamera(KivCamera::orthographic, towardsViewer() * 1000.0, halfWidth, 1.0, 2000.0), pixels, pixels};
}

// In a parallel view from above the horizon.
std::vector<KivFoundLine> linesOf(const KivModel& model, bool tangents = true) {
    KivLineEngine engine(obliqueView());
    for (std::size_t i = 0; i < model.scene->numMeshes(); ++i) {
        KivLineBody body;
        body.surface = kivReadSurface(*model.scene->getMesh(static_cast<unsigned int>(i)));
        body.rules.features.tangents = tangents;
        engine.add(std::move(body));
    }
    EXPECT_TRUE(engine.find());
    return engine.lines();
}

double lengthOf(const KivFoundLine& line) {
    double sum = 0.0;
    for (std::size_t i = line.closed ? 0 : 1; i < line.picture.size(); ++i) {
        const KivPicturePoint& from = line.picture[i == 0 ? line.picture.size() - 1 : i - 1];
        sum += std::hypot(line.picture[i].x - from.x, line.picture[i].y - from.y);
    }
    return sum;
}

double lengthOf(const std::vector<KivFoundLine>& lines) {
    double sum = 0.0;
    for (const KivFoundLine& line : lines) {
        sum += lengthOf(line);
    }
    return sum;
}

// Of an ellipse, by Ramanujan (1914).
double perimeter(double a, double b) {
    return std::numbers::pi * (3.0 * (a + b) - std::sqrt((3.0 * a + b) * (a + 3.0 * b)));
}

} // namespace

TEST(CadLines, ACylinderShowsItsRimsAndItsOutlineAndNoFacet) {
    const KivModel model = modelOf(cylinder());
    const std::vector<KivFoundLine> lines = linesOf(model);
    const Kiv3DPoint axis = model.toScene({0.0, 0.0, 0.0});
    const double radius = 10.0 * model.scale;
    for (const KivFoundLine& line : lines) {
        EXPECT_TRUE(line.kind == Kind::edge || line.kind == Kind::contour) << kivNameOf(line.kind);
        for (const KivVec& p : line.space) {
            EXPECT_NEAR(std::hypot(p.x - axis.x, p.y - axis.y) * perUnit, radius * perUnit, 0.5);
        }
    }
    const double rim = perimeter(radius, radius * std::sin(elevation));
    const double expected = 1.5 * rim + 2.0 * 30.0 * model.scale * std::cos(elevation);
    EXPECT_NEAR(lengthOf(lines) / perUnit, expected, expected * 0.01);
}

TEST(CadLines, TheOutlineOfABallIsRoundToHalfAPixel) {
    const KivModel model = modelOf(sphereWithHoles());
    const Kiv3DPoint centre = model.toScene({0.0, 0.0, 0.0});
    int onOutline = 0;
    for (const KivFoundLine& line : linesOf(model)) {
        EXPECT_TRUE(line.kind == Kind::edge || line.kind == Kind::contour) << kivNameOf(line.kind);
        for (const KivVec& p : line.space) {
            const KivVec away = p - KivVec{centre.x, centre.y, centre.z};
            const double across = kivLength(away - towardsViewer() * kivDot(away, towardsViewer()));
            const bool isAtHole = std::hypot(away.x, away.z) < 3.2 * model.scale;
            if (across > 19.0 * model.scale && !isAtHole) {
                ++onOutline;
                EXPECT_NEAR(across * perUnit, 20.0 * model.scale * perUnit, 0.5);
            }
        }
    }
    EXPECT_GT(onOutline, 100);
}

TEST(CadLines, TheOutlineOfAFilletIsRoundToHalfAPixel) {
    const KivModel model = modelOf(filletedBox());
    int onFillet = 0;
    for (const KivFoundLine& line : linesOf(model, false)) {
        for (const KivVec& p : line.space) {
            // In millimetres, from the axis of the next fillet outwards.
            const double x = std::fabs(p.x / model.scale + model.origin.x - 20.0) - 15.0;
            const double y = std::fabs(p.y / model.scale + model.origin.y - 15.0) - 10.0;
            if (x > 0.1 && y > 0.1) {
                ++onFillet;
                EXPECT_NEAR(std::hypot(x, y) * model.scale * perUnit, 5.0 * model.scale * perUnit, 0.5);
            }
        }
    }
    // Rims of three fillets, and the contours of two.
    EXPECT_GT(onFillet, 100);
}

TEST(CadLines, TheOutlineOfALongBlendIsStraight) {
    const KivModel model = modelOf(roundedBox());
    const KivLineView view = obliqueView();
    // The box through the centres of the corners. The outline lies 6 outside its picture.
    std::vector<KivPicturePoint> core;
    for (int i = 0; i < 8; ++i) {
        const Kiv3DPoint p =
            model.toScene({(i & 1) != 0 ? 114.0 : 6.0, (i & 2) != 0 ? 54.0 : 6.0, (i & 4) != 0 ? 24.0 : 6.0});
        core.push_back(view.toPicture(view.toCamera({p.x, p.y, p.z})));
    }
    const auto distance = [&core](const KivPicturePoint& p) {
        // From a convex figure: the largest over all directions of how far the point lies beyond it.
        double most = 0.0;
        for (int i = 0; i < 3600; ++i) {
            const double turn = std::numbers::pi / 1800.0 * i;
            double least = 1e9;
            for (const KivPicturePoint& corner : core) {
                least = std::min(least, (p.x - corner.x) * std::cos(turn) + (p.y - corner.y) * std::sin(turn));
            }
            most = std::max(most, least);
        }
        return most;
    };
    int count = 0;
    for (const KivFoundLine& line : linesOf(model, false)) {
        EXPECT_EQ(line.kind, Kind::contour) << kivNameOf(line.kind);
        for (const KivPicturePoint& p : line.picture) {
            ++count;
            EXPECT_NEAR(distance(p), 6.0 * model.scale * perUnit, 0.5);
        }
    }
    EXPECT_GT(count, 20);
}

TEST(CadLines, TangentEdgesAreLinesOfTheirOwnAndMayBeLeftOut) {
    const KivModel model = modelOf(filletedBox());
    double tangent = 0.0;
    for (const KivFoundLine& line : linesOf(model)) {
        tangent += line.kind == Kind::tangent ? lengthOf(line) : 0.0;
    }
    // Four of the eight upright ones are seen: two sides, with two ends each.
    const double seen = 4.0 * 20.0 * model.scale * std::cos(elevation);
    EXPECT_NEAR(tangent / perUnit, seen, seen * 0.01);
    for (const KivFoundLine& line : linesOf(model, false)) {
        EXPECT_NE(line.kind, Kind::tangent);
    }
}

// The lines of whole drawings, held to what rays see of a tessellation that is ten times as fine.
class SampledCadLines : public testing::Test {
protected:
    void compare(const Handle(TDocStd_Document) & document, double deflection) {
        const TestFolder folder;
        const std::string path = folder.path("part.step");
        writeStep(path, document);
        compare(path, deflection);
    }

    // deflection: of the fine tessellation, in millimetres.
    void compare(const std::string& path, double deflection) {
        const KivModel model = modelOf(path);
        kivimport::ReaderRequest request;
        request.path = path;
        request.limits = {50'000'000};
        request.fineness.deflection = deflection;
        SilentReport report;
        const kivimport::ModelParts fine = kivimport::readCad(request, report);
        const auto toScene = [&model](const kivimport::Vec3& p) {
            const Kiv3DPoint at = model.toScene({p.x, p.y, p.z});
            return KivVec{at.x, at.y, at.z};
        };
        const SampledLines expected = sampleLines(fine, obliqueView(), deflection * model.scale, toScene);
        double found[kivStrokeKinds] = {};
        for (const KivFoundLine& line : linesOf(model)) {
            found[static_cast<int>(line.kind)] += lengthOf(line);
        }
        const auto of = [&found](Kind kind) { return found[static_cast<int>(kind)]; };
        // An edge of which one face is seen is a contour to the engine.
        const double whole = expected.edges + expected.contours;
        std::printf("edges and contours %.0f of %.0f, tangent edges %.0f of %.0f\n", of(Kind::edge) + of(Kind::contour),
                    whole, of(Kind::tangent), expected.tangents);
        EXPECT_NEAR(of(Kind::edge) + of(Kind::contour), whole, whole * 0.01);
        EXPECT_NEAR(of(Kind::tangent), expected.tangents, whole * 0.01);
        for (const Kind none : {Kind::boundary, Kind::crease, Kind::material, Kind::intersection, Kind::own}) {
            EXPECT_EQ(of(none), 0.0) << kivNameOf(none);
        }
    }
};

TEST_F(SampledCadLines, OfABoxWithRoundedEdges) {
    compare(documentOf(filletedBox(), "box"), 0.002);
}

TEST_F(SampledCadLines, OfABottle) {
    compare(documentOf(bottle(), "bottle"), 0.005);
}

TEST_F(SampledCadLines, OfAGear) {
    compare(documentOf(gear(), "gear"), 0.002);
}

TEST_F(SampledCadLines, OfASphereWithHoles) {
    compare(documentOf(sphereWithHoles(), "ball"), 0.01);
}

TEST_F(SampledCadLines, OfFiftyBoltsOnAPlate) {
    compare(boltedPlate(50), 0.002);
}

TEST_F(SampledCadLines, OfAThread) {
    compare(documentOf(threadedRod(), "rod"), 0.005);
}

// A file of one's own: SELVARIN_CAD_FILE names it.
TEST_F(SampledCadLines, OfTheFileThatIsNamed) {
    const char* const named = std::getenv("SELVARIN_CAD_FILE");
    if (named == nullptr) {
        GTEST_SKIP() << "SELVARIN_CAD_FILE names no file";
    }
    compare(std::string(named), 0.02);
}
