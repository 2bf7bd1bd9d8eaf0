#include "kivbackdropdrawing.h"

#include "kivbackdropgrain.h"
#include "kivglstate.h"
#include "kivrender/shader/kivpicturetile.h"

#include <GL/gl.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace {

void setColor(std::uint32_t color) {
    glColor4ub(static_cast<GLubyte>(color & 0xFFU), static_cast<GLubyte>(color >> 8U & 0xFFU),
               static_cast<GLubyte>(color >> 16U & 0xFFU), 255);
}

// At the far end of the depth range, behind whatever is in the scene: a vector page sorts by it.
void addCorner(double x, double y) {
    glVertex3d(x, y, -1.0);
}

// Corners that are drawn from an array. What a vector page records is drawn so: each buffer of vertices that glBegin
// fills while feedback is recorded stays in the memory of Mesa's software driver for good (seen with 22.3).
class Corners {
public:
    // At the far end of the depth range, too.
    void add(double x, double y) {
        places.insert(places.end(), {static_cast<GLfloat>(x), static_cast<GLfloat>(y), -1.0F});
    }
    void draw(GLenum mode) const {
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(3, GL_FLOAT, 0, places.data());
        glDrawArrays(mode, 0, static_cast<GLsizei>(places.size() / 3));
    }

private:
    std::vector<GLfloat> places;
};

struct Sheet {
    double width;
    double height;

    void area(double left, double bottom, double right, double top) const {
        Corners corners;
        corners.add(left, bottom);
        corners.add(right, bottom);
        corners.add(right, top);
        corners.add(left, top);
        corners.draw(GL_QUADS);
    }
};

void drawColors(const KivBackdropLook& look, const Sheet& sheet) {
    setColor(look.color);
    if (look.gradient == KivBackdropLook::Gradient::none) {
        sheet.area(0.0, 0.0, sheet.width, sheet.height);
        return;
    }
    glShadeModel(GL_SMOOTH);
    if (look.gradient == KivBackdropLook::Gradient::vertical) {
        glBegin(GL_QUADS);
        addCorner(sheet.width, sheet.height);
        addCorner(0.0, sheet.height);
        setColor(look.secondColor);
        addCorner(0.0, 0.0);
        addCorner(sheet.width, 0.0);
        glEnd();
        return;
    }
    // A cone of colour that meets the corners.
    constexpr int sides = 96;
    const double radius = std::hypot(sheet.width, sheet.height) / 2.0;
    glBegin(GL_TRIANGLE_FAN);
    addCorner(sheet.width / 2.0, sheet.height / 2.0);
    setColor(look.secondColor);
    for (int i = 0; i <= sides; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / sides;
        // A little farther out, so that the straight sides leave no corner bare.
        addCorner(sheet.width / 2.0 + 1.001 * radius * std::cos(angle),
                  sheet.height / 2.0 + 1.001 * radius * std::sin(angle));
    }
    glEnd();
}

std::uint32_t mixed(std::uint32_t from, std::uint32_t to, double share) {
    std::uint32_t color = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const double a = from >> shift & 0xFFU;
        const double b = to >> shift & 0xFFU;
        color |= static_cast<std::uint32_t>(std::lround(a + (b - a) * share)) << shift;
    }
    return color;
}

// A gradient in steps of flat colour, side by side: a vector page would cut a smooth one into far more and smaller
// pieces.
void drawColorSteps(const KivBackdropLook& look, const Sheet& sheet) {
    constexpr int steps = 24;
    constexpr int sides = 48;
    const double x = sheet.width / 2.0;
    const double y = sheet.height / 2.0;
    const double radius = 1.003 * std::hypot(x, y);
    for (int i = 0; i < steps; ++i) {
        const double from = static_cast<double>(i) / steps;
        const double to = static_cast<double>(i + 1) / steps;
        setColor(mixed(look.color, look.secondColor, (from + to) / 2.0));
        if (look.gradient == KivBackdropLook::Gradient::vertical) {
            sheet.area(0.0, sheet.height * (1.0 - to), sheet.width, sheet.height * (1.0 - from));
            continue;
        }
        Corners corners;
        for (int k = 0; k < sides; ++k) {
            const double a = 2.0 * std::numbers::pi * k / sides;
            const double b = 2.0 * std::numbers::pi * (k + 1) / sides;
            corners.add(x + from * radius * std::cos(a), y + from * radius * std::sin(a));
            corners.add(x + to * radius * std::cos(a), y + to * radius * std::sin(a));
            corners.add(x + to * radius * std::cos(b), y + to * radius * std::sin(b));
            corners.add(x + from * radius * std::cos(b), y + from * radius * std::sin(b));
        }
        corners.draw(GL_QUADS);
    }
}

// Lines across one side of the sheet, from its middle outwards so that both borders look alike. In a grid every fifth
// one is twice as wide.
template <class Draw> void forLines(double length, double spacing, double width, bool marked, Draw draw) {
    const int count = static_cast<int>(length / 2.0 / spacing) + 1;
    for (int i = -count; i <= count; ++i) {
        const double half = (marked && i % 5 == 0 ? 2.0 : 1.0) * width / 2.0;
        draw(length / 2.0 + i * spacing - half, length / 2.0 + i * spacing + half);
    }
}

void drawDots(const Sheet& sheet, double spacing, double radius) {
    constexpr int sides = 12;
    std::array<double, 2 * sides> ring{};
    for (int k = 0; k < sides; ++k) {
        ring[2 * k] = radius * std::cos(2.0 * std::numbers::pi * k / sides);
        ring[2 * k + 1] = radius * std::sin(2.0 * std::numbers::pi * k / sides);
    }
    // Rows that stand in each other's gaps.
    const double rowHeight = spacing * std::numbers::sqrt3 / 2.0;
    const int rows = static_cast<int>(sheet.height / rowHeight) + 2;
    const int columns = static_cast<int>(sheet.width / spacing) + 2;
    Corners corners;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const double x = (column + (row % 2 == 0 ? 0.0 : 0.5)) * spacing;
            const double y = row * rowHeight;
            for (int k = 1; k + 1 < sides; ++k) {
                corners.add(x + ring[0], y + ring[1]);
                corners.add(x + ring[2 * k], y + ring[2 * k + 1]);
                corners.add(x + ring[2 * k + 2], y + ring[2 * k + 3]);
            }
        }
    }
    corners.draw(GL_TRIANGLES);
}

void drawPattern(const KivBackdropLook& look, const Sheet& sheet, double pixel) {
    const double spacing = look.patternSpacing * pixel;
    const double width = look.patternWidth * pixel;
    const bool grid = look.pattern == KivBackdropLook::Pattern::grid;
    setColor(look.patternColor);
    if (look.pattern == KivBackdropLook::Pattern::dots) {
        drawDots(sheet, spacing, width / 2.0);
    } else if (look.pattern != KivBackdropLook::Pattern::none) {
        forLines(sheet.height, spacing, width, grid,
                 [&](double from, double to) { sheet.area(0.0, from, sheet.width, to); });
    }
    if (grid) {
        forLines(sheet.width, spacing, width, true,
                 [&](double from, double to) { sheet.area(from, 0.0, to, sheet.height); });
    }
    if (look.frame > 0.0) {
        const double outer = look.frameDistance * pixel;
        const double inner = outer + look.frame * pixel;
        const double right = sheet.width - outer;
        const double top = sheet.height - outer;
        if (inner < sheet.width - inner && inner < sheet.height - inner) {
            sheet.area(outer, outer, right, inner);
            sheet.area(outer, sheet.height - inner, right, top);
            sheet.area(outer, inner, inner, sheet.height - inner);
            sheet.area(sheet.width - inner, inner, right, sheet.height - inner);
        }
    }
}

// The grain as a texture that follows the places of what is drawn, and darkens it.
class Grain {
public:
    Grain(const KivBackdropLook& look, double pixel) {
        const std::vector<std::uint8_t> grain = kivPaperGrain(look.grain);
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
        glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
        for (const GLenum direction : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
            glTexParameteri(GL_TEXTURE_2D, direction, GL_REPEAT);
        }
        for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            glTexParameteri(GL_TEXTURE_2D, filter, GL_LINEAR);
        }
        glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE8, kivGrainSide, kivGrainSide, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE,
                     grain.data());
        glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
        const double scale = 1.0 / (kivGrainSide * look.grainSize * pixel);
        const GLdouble across[] = {scale, 0.0, 0.0, 0.0};
        const GLdouble up[] = {0.0, scale, 0.0, 0.0};
        glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
        glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
        glTexGendv(GL_S, GL_OBJECT_PLANE, across);
        glTexGendv(GL_T, GL_OBJECT_PLANE, up);
        for (const GLenum what : {GL_TEXTURE_2D, GL_TEXTURE_GEN_S, GL_TEXTURE_GEN_T}) {
            glEnable(what);
        }
    }
    Grain(const Grain&) = delete;
    Grain& operator=(const Grain&) = delete;
    ~Grain() {
        glDeleteTextures(1, &texture);
    }

private:
    GLuint texture = 0;
};

// The sheet goes where nobody has painted, which the picture's alpha tells: a frame begins with 0, and what is painted
// is opaque. The depth can't tell, as lines may have laid that of surfaces without a base look.
void drawUnderneath(const KivBackdropLook& look, const Sheet& sheet, double pixel) {
    const bool hasGrain = look.grain > 0.0;
    glDisable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE_MINUS_DST_ALPHA, GL_DST_ALPHA);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE);
    if (hasGrain && !look.grainEverywhere) {
        const Grain grain(look, pixel);
        drawColors(look, sheet);
        drawPattern(look, sheet, pixel);
        return;
    }
    drawColors(look, sheet);
    drawPattern(look, sheet, pixel);
    if (hasGrain) {
        const Grain grain(look, pixel);
        glBlendFunc(GL_ZERO, GL_SRC_COLOR);
        setColor(0xFFFFFF);
        sheet.area(0.0, 0.0, sheet.width, sheet.height);
    }
}

} // namespace

void kivDrawBackdrop(const KivBackdropLook& look, tagSIZE size, double pixel, bool vectorial) {
    const KivGlState state;
    for (const GLenum what : {GL_LIGHTING, GL_TEXTURE_1D, GL_TEXTURE_2D, GL_BLEND, GL_CULL_FACE, GL_STENCIL_TEST,
                              GL_POLYGON_OFFSET_FILL, GL_FOG}) {
        glDisable(what);
    }
    for (const GLenum array : {GL_COLOR_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY}) {
        glDisableClientState(array);
    }
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glDepthMask(GL_FALSE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    const Sheet sheet{static_cast<double>(size.cx), static_cast<double>(size.cy)};
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    kivLoadPictureProjection();
    glOrtho(0.0, sheet.width, 0.0, sheet.height, 0.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    if (vectorial) {
        if (look.gradient == KivBackdropLook::Gradient::none) {
            drawColors(look, sheet);
        } else {
            drawColorSteps(look, sheet);
        }
        drawPattern(look, sheet, pixel);
    } else {
        drawUnderneath(look, sheet, pixel);
    }
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
}
