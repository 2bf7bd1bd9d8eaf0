#include "kivrender/lines/write/packedpicture.h"

#include "foreignprogram.h"
#include "sampledrawings.h"

#include "kivrender/platform/kivimage.h"
#include "support/xmltree.h"

#include <algorithm>
#include <random>
#include <set>

namespace {

// Upper half red, lower half green to the left and blue to the right; of so many pixels along each side.
std::shared_ptr<KivAreaPicture> flag(int side, KivPicturePoint low, KivPicturePoint high) {
    auto picture = std::make_shared<KivAreaPicture>();
    picture->width = picture->height = side;
    picture->low = low;
    picture->high = high;
    for (int i = 0; i < side * side; ++i) {
        const bool isUpper = i / side < side / 2;
        const bool isLeft = i % side < side / 2;
        const std::uint8_t full = 240;
        picture->pixels.insert(picture->pixels.end(),
                               {isUpper ? full : std::uint8_t{0}, !isUpper && isLeft ? full : std::uint8_t{0},
                                !isUpper && !isLeft ? full : std::uint8_t{0}});
    }
    return picture;
}

// The sample's plate with a picture, and nothing else. The plate reaches from 50 to 250.
KivVectorDrawing pictured() {
    KivVectorDrawing drawing = sampleDrawing();
    drawing.strokes.clear();
    drawing.areas[0].picture = flag(100, {48, 48}, {252, 252});
    return drawing;
}

std::unique_ptr<KivImage> decoded(const std::string& png) {
    return KivImage::decode({reinterpret_cast<const std::uint8_t*>(png.data()), png.size()});
}

std::string fromBase64(const std::string& text) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t value = 0;
    int bits = 0;
    for (const char c : text.substr(0, text.find('='))) {
        value = value << 6U | static_cast<std::uint32_t>(digits.find(c));
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(value >> bits & 0xFFU);
        }
    }
    return bytes;
}

std::vector<XmlElement> imagesOf(const KivVectorDrawing& drawing, const KivSheet& sheet = {}) {
    std::vector<XmlElement> found;
    XmlReader::read(written(drawing, KivDrawingFormat::svg, sheet)).walk([&found](const XmlElement& element) {
        if (element.name == "image") {
            found.push_back(element);
        }
    });
    return found;
}

std::unique_ptr<KivImage> imageIn(const XmlElement& element) {
    const std::string link = element.attribute("xlink:href");
    const std::string head = "data:image/png;base64,";
    EXPECT_EQ(link.substr(0, head.size()), head);
    return decoded(fromBase64(link.substr(head.size())));
}

// A picture of pixels that a foreign program has painted.
struct Painted {
    std::unique_ptr<KivImage> image;
    double scale = 1.0; // pixels to one of the drawing

    // Red in the low byte, at a place of the drawing, which is 300 pixels high.
    void expect(double x, double y, std::uint32_t color, const char* what) const {
        ASSERT_NE(image, nullptr);
        const std::uint32_t seen = image->pixel(static_cast<int>(x * scale), static_cast<int>((300.0 - y) * scale));
        for (const unsigned int shift : {0U, 8U, 16U}) {
            EXPECT_NEAR(static_cast<int>(seen >> shift & 255U), static_cast<int>(color >> shift & 255U), 4)
                << what << ", " << std::hex << seen;
        }
    }
    void expectTheFlag() const {
        expect(60, 240, 0x0000F0, "upper left");
        expect(240, 160, 0x0000F0, "upper right");
        expect(60, 140, 0x00F000, "lower left");
        expect(240, 60, 0xF00000, "lower right");
        expect(51.5, 51.5, 0x00F000, "the corner");
        expect(150, 150, 0xFFFFFF, "the hole");
        expect(45, 45, 0xFFFFFF, "beside");
        expect(249, 255, 0xFFFFFF, "above");
    }
};

} // namespace

TEST(PackedPicture, APngHasThePixels) {
    std::mt19937 random(5);
    KivAreaPicture picture{37, 23, {}, {0, 0}, {37, 23}};
    for (int i = 0; i < 3 * 37 * 23; ++i) {
        // Smooth, rough and flat in turns, so that each filter is the best of some row.
        const int row = i / (3 * 37);
        picture.pixels.push_back(static_cast<std::uint8_t>(row % 3 == 0   ? i % 111 * 2
                                                           : row % 3 == 1 ? random() % 256U
                                                                          : 77));
    }
    const KivVectorDrawing drawing = sampleDrawing();
    const PackedPicture packed = kivPack(picture, SheetLayout(drawing, {}, 25.4 / 96.0));
    EXPECT_EQ(packed.width, 37);
    EXPECT_EQ(packed.height, 23);
    const std::unique_ptr<KivImage> read = decoded(kivPngOf(packed));
    ASSERT_NE(read, nullptr);
    ASSERT_EQ(read->width(), 37);
    ASSERT_EQ(read->height(), 23);
    for (int y = 0; y < 23; ++y) {
        for (int x = 0; x < 37; ++x) {
            const std::uint8_t* const p = &picture.pixels[3 * static_cast<std::size_t>(y * 37 + x)];
            EXPECT_EQ(read->pixel(x, y), p[0] | std::uint32_t{p[1]} << 8U | std::uint32_t{p[2]} << 16U)
                << x << ' ' << y;
        }
    }
}

TEST(PackedPicture, BytesBecomeText) {
    EXPECT_EQ(kivBase64(""), ""); // the examples of RFC 4648
    EXPECT_EQ(kivBase64("f"), "Zg==");
    EXPECT_EQ(kivBase64("fo"), "Zm8=");
    EXPECT_EQ(kivBase64("foobar"), "Zm9vYmFy");
    EXPECT_EQ(kivAscii85(""), "~>\n");
    EXPECT_EQ(kivAscii85("Man "), "9jqo^~>\n");
    EXPECT_EQ(kivAscii85("Ma"), "9jn~>\n");
    EXPECT_EQ(kivAscii85(std::string(5, '\0')), "z!!~>\n");
}

// A comment on the structure of the document begins with two of them.
TEST(PackedPicture, NoLineOfTextBeginsWithAPercentSign) {
    std::mt19937 random(9);
    std::string bytes;
    for (int i = 0; i < 60000; ++i) {
        bytes += static_cast<char>(random() % 256U);
    }
    const std::string text = kivAscii85(bytes);
    EXPECT_EQ(text.find("\n%"), std::string::npos);
    EXPECT_NE(text.find("\n %"), std::string::npos) << "this test sees none";
}

// Two to a pixel on a screen, 300 to an inch on paper, and never more than there are.
TEST(PackedPicture, ThePageDecidesHowFineItIs) {
    KivVectorDrawing drawing = pictured(); // 204 pixels along each side
    drawing.areas[0].picture = flag(816, {48, 48}, {252, 252});
    EXPECT_EQ(imageIn(imagesOf(drawing).at(0))->width(), 408);
    KivSheet sheet;
    ASSERT_TRUE(kivReadPage("A4", &sheet));
    sheet.scale = 0.5; // a pixel is half a unit, and so a quarter of a millimetre
    EXPECT_EQ(imageIn(imagesOf(drawing, sheet).at(0))->width(), 603);
    sheet.scale = 1.0;
    EXPECT_EQ(imageIn(imagesOf(drawing, sheet).at(0))->width(), 816);
    const std::unique_ptr<KivImage> reduced = imageIn(imagesOf(drawing).at(0));
    EXPECT_EQ(reduced->pixel(10, 10), 0x0000F0U);
    EXPECT_EQ(reduced->pixel(10, 400), 0x00F000U);
    EXPECT_EQ(reduced->pixel(400, 400), 0xF00000U);
}

TEST(PackedPicture, APixelIsTheMeanOfThoseThatItCovers) {
    KivAreaPicture picture{12, 12, {}, {0, 0}, {2, 2}};
    for (int i = 0; i < 144; ++i) {
        const std::uint8_t grey = i % 12 % 2 == 0 ? 200 : 100;
        picture.pixels.insert(picture.pixels.end(), {grey, 0, static_cast<std::uint8_t>(i / 12 < 6 ? 30 : 60)});
    }
    const KivVectorDrawing drawing = sampleDrawing();
    const std::unique_ptr<KivImage> read =
        decoded(kivPngFor(picture, SheetLayout(drawing, {}, 25.4 / 96.0), 1'000'000));
    ASSERT_EQ(read->width(), 4);
    ASSERT_EQ(read->height(), 4);
    for (int i = 0; i < 16; ++i) {
        const std::uint32_t seen = read->pixel(i % 4, i / 4);
        EXPECT_NEAR(static_cast<int>(seen & 255U), i % 4 % 2 == 0 ? 167 : 133, 1);
        EXPECT_EQ(seen >> 16U, i / 4 < 2 ? 30U : 60U);
    }
}

TEST(PackedPicture, ALinkIsNoLongerThanReadersTake) {
    std::mt19937 random(11);
    KivAreaPicture picture{200, 200, {}, {0, 0}, {100, 100}};
    for (int i = 0; i < 3 * 200 * 200; ++i) {
        picture.pixels.push_back(static_cast<std::uint8_t>(random() % 256U)); // nothing can be left out
    }
    const KivVectorDrawing drawing = sampleDrawing();
    const SheetLayout layout(drawing, {}, 25.4 / 96.0);
    EXPECT_GT(kivPngFor(picture, layout, 1'000'000).size(), 100000U);
    const std::string small = kivPngFor(picture, layout, 20000);
    EXPECT_LE(small.size(), 20000U);
    EXPECT_GT(small.size(), 10000U);
    EXPECT_EQ(decoded(small)->width(), decoded(small)->height());
}

TEST(SvgWriter, APictureIsClippedByItsArea) {
    const KivVectorDrawing drawing = pictured();
    const std::string text = written(drawing, KivDrawingFormat::svg);
    const XmlElement root = XmlReader::read(text);
    const std::vector<XmlElement> images = imagesOf(drawing);
    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(images[0].attribute("x"), "48");
    EXPECT_EQ(images[0].attribute("y"), "48");
    EXPECT_EQ(images[0].attribute("width"), "204");
    EXPECT_EQ(images[0].attribute("preserveAspectRatio"), "none");
    std::size_t clips = 0;
    root.walk([&](const XmlElement& element) {
        if (element.name == "clipPath") {
            ++clips;
            EXPECT_EQ(images[0].attribute("clip-path"), "url(#" + element.attribute("id") + ")");
            EXPECT_EQ(element.children.at(0).attribute("clip-rule"), "evenodd");
            const std::string path = element.children.at(0).attribute("d");
            EXPECT_EQ(std::count(path.begin(), path.end(), 'M'), 2) << "with its hole";
        }
    });
    EXPECT_EQ(clips, 1U);
    EXPECT_EQ(text.find("tone-1"), std::string::npos) << "no colour is there";
    EXPECT_NE(text.find("xmlns:xlink"), std::string::npos);
    EXPECT_EQ(written(sampleDrawing(), KivDrawingFormat::svg).find("xmlns:xlink"), std::string::npos);
}

TEST(SvgWriter, LibrsvgPaintsAPicture) {
    SKIP_WITHOUT("rsvg-convert");
    const ForeignFolder folder;
    folder.write("a.svg", written(pictured(), KivDrawingFormat::svg));
    ASSERT_EQ(runForeign("rsvg-convert -z 3 -o " + folder.path("a.png") + " " + folder.path("a.svg")).status, 0);
    Painted{decoded(folder.read("a.png")), 3.0}.expectTheFlag();
}

TEST(PdfWriter, PopplerPaintsAPicture) {
    SKIP_WITHOUT("pdftoppm");
    const ForeignFolder folder;
    const std::string pdf = written(pictured(), KivDrawingFormat::pdf);
    EXPECT_NE(pdf.find("/Subtype /Image"), std::string::npos);
    EXPECT_EQ(written(sampleDrawing(), KivDrawingFormat::pdf).find("/XObject"), std::string::npos);
    folder.write("a.pdf", pdf);
    ASSERT_EQ(runForeign("pdftoppm -png -r 216 -singlefile " + folder.path("a.pdf") + " " + folder.path("a")).status,
              0);
    Painted{decoded(folder.read("a.png")), 3.0}.expectTheFlag();
}

TEST(PdfWriter, EachPictureIsTheOneOfItsArea) {
    SKIP_WITHOUT("pdftoppm");
    const ForeignFolder folder;
    KivVectorDrawing drawing = pictured();
    KivArea second = drawing.areas[0];
    second.rings = {polylinePath({{300, 50}, {380, 50}, {380, 130}, {300, 130}}, true)};
    second.picture = flag(40, {296, 46}, {384, 134});
    drawing.areas.push_back(second);
    folder.write("a.pdf", written(drawing, KivDrawingFormat::pdf));
    ASSERT_EQ(runForeign("pdftoppm -png -r 216 -singlefile " + folder.path("a.pdf") + " " + folder.path("a")).status,
              0);
    const Painted painted{decoded(folder.read("a.png")), 3.0};
    painted.expectTheFlag();
    painted.expect(320, 120, 0x0000F0, "above");
    painted.expect(320, 60, 0x00F000, "left");
    painted.expect(370, 60, 0xF00000, "right");
}

TEST(PostScriptWriter, GhostscriptPaintsPictures) {
    SKIP_WITHOUT("gs");
    const ForeignFolder folder;
    KivVectorDrawing drawing = pictured();
    drawing.strokes = {makeStroke(KivStrokeKind::contour, polylinePath({{300, 100}, {380, 100}}), 1, false, 20.0)};
    KivArea second = drawing.areas[0];
    second.rings = {polylinePath({{300, 200}, {380, 200}, {380, 280}, {300, 280}}, true)};
    second.picture = nullptr;
    drawing.areas.push_back(second);
    for (const KivDrawingFormat format : {KivDrawingFormat::eps, KivDrawingFormat::ps}) {
        const std::string text = written(drawing, format);
        EXPECT_NE(text.find("%%LanguageLevel: 3\n"), std::string::npos);
        folder.write("a.ps", text);
        ASSERT_EQ(
            runForeign("gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -dFIXEDMEDIA -g1200x900 -r216 -sOutputFile=" +
                       folder.path("a.png") + " " + folder.path("a.ps"))
                .status,
            0);
        const Painted painted{decoded(folder.read("a.png")), 3.0};
        painted.expectTheFlag();
        painted.expect(340, 240, 0x3366CC, "an area after it");
        painted.expect(340, 100, 0, "a stroke after it");
    }
    EXPECT_NE(written(sampleDrawing(), KivDrawingFormat::eps).find("%%LanguageLevel: 2\n"), std::string::npos);
}

// They have no pictures: the area is there in its colour.
TEST(KivDrawingWriter, FormatsWithoutPicturesKeepTheArea) {
    EXPECT_FALSE(kivHoldsPictures(KivDrawingFormat::dxf));
    EXPECT_FALSE(kivHoldsPictures(KivDrawingFormat::hpgl));
    for (const KivDrawingFormat format : {KivDrawingFormat::svg, KivDrawingFormat::pdf, KivDrawingFormat::ai,
                                          KivDrawingFormat::eps, KivDrawingFormat::ps}) {
        EXPECT_TRUE(kivHoldsPictures(format));
    }
    KivVectorDrawing plain = pictured();
    plain.areas[0].picture = nullptr;
    for (const KivDrawingFormat format : {KivDrawingFormat::dxf, KivDrawingFormat::hpgl}) {
        EXPECT_EQ(written(pictured(), format), written(plain, format));
    }
}
