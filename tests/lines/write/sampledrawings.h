// Small drawings whose files can be told by heart.
#ifndef TESTS_LINES_WRITE_SAMPLEDRAWINGS_H
#define TESTS_LINES_WRITE_SAMPLEDRAWINGS_H

#include "kivrender/lines/write/kivdrawingwriter.h"

#include <cmath>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

inline KivCurvePath polylinePath(std::initializer_list<KivPicturePoint> points, bool closed = false) {
    KivCurvePath path;
    path.start = *points.begin();
    path.closed = closed;
    for (const KivPicturePoint* p = points.begin() + 1; p != points.end(); ++p) {
        path.pieces.push_back({KivCurvePiece::Kind::line, {}, *p});
    }
    if (closed) {
        path.pieces.push_back({KivCurvePiece::Kind::line, {}, path.start});
    }
    return path;
}

// Four cubics, counter-clockwise from the right.
inline KivCurvePath circlePath(double x, double y, double radius) {
    constexpr double handle = 0.5522847498307936;
    KivCurvePath path;
    path.start = {x + radius, y};
    path.closed = true;
    const double at[5][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}, {1, 0}};
    for (int i = 0; i < 4; ++i) {
        const double* a = at[i];
        const double* b = at[i + 1];
        KivCurvePiece piece;
        piece.kind = KivCurvePiece::Kind::cubic;
        piece.control[0] = {x + radius * (a[0] - handle * a[1]), y + radius * (a[1] + handle * a[0])};
        piece.control[1] = {x + radius * (b[0] + handle * b[1]), y + radius * (b[1] - handle * b[0])};
        piece.end = {x + radius * b[0], y + radius * b[1]};
        path.pieces.push_back(piece);
    }
    path.pieces.back().end = path.start;
    return path;
}

inline KivStroke makeStroke(KivStrokeKind kind, KivCurvePath path, std::uint32_t object = 1, bool hidden = false,
                            double width = 2.0) {
    KivStroke stroke;
    stroke.object = object;
    stroke.kind = kind;
    stroke.hidden = hidden;
    stroke.width = width;
    stroke.path = std::move(path);
    return stroke;
}

// 200 x 100 pixels of half a unit: a square of 100 units' length with a hole, its outline, a circle, a hidden line.
inline KivVectorDrawing sampleDrawing() {
    KivVectorDrawing drawing;
    drawing.width = 400;
    drawing.height = 300;
    drawing.unitsPerPixel = 0.5;
    drawing.background = 0xFFFFFF;
    drawing.title = L"Two parts";
    drawing.objects = {{L""}, {L"plate"}, {L"ring"}};
    KivArea area;
    area.object = 1;
    area.color = 0x3366CC; // red 0xcc, green 0x66, blue 0x33
    area.rings = {polylinePath({{50, 50}, {250, 50}, {250, 250}, {50, 250}}, true), circlePath(150, 150, 40)};
    drawing.areas.push_back(area);
    drawing.strokes = {
        makeStroke(KivStrokeKind::contour, polylinePath({{50, 50}, {250, 50}, {250, 250}, {50, 250}}, true)),
        makeStroke(KivStrokeKind::crease, circlePath(150, 150, 40)),
        makeStroke(KivStrokeKind::crease, polylinePath({{60, 60}, {240, 60}}), 1, true),
        makeStroke(KivStrokeKind::contour, circlePath(320, 150, 30), 2, false, 3.0),
        makeStroke(KivStrokeKind::own, polylinePath({{10, 280}}), 0),
    };
    return drawing;
}

// A circle, a turned ellipse, arcs of 120 degrees of a circle either way, and most of an ellipse.
inline KivVectorDrawing arcDrawing() {
    constexpr double turn = 6.283185307179586;
    KivVectorDrawing drawing = sampleDrawing();
    drawing.areas.clear();
    drawing.strokes.clear();
    for (const KivEllipseArc& arc :
         {KivEllipseArc{{100, 100}, 40, 40, 0, 0, turn}, KivEllipseArc{{250, 100}, 60, 20, turn / 12, 0, turn},
          KivEllipseArc{{100, 220}, 40, 40, 0, turn / 12, turn / 3},
          KivEllipseArc{{100, 220}, 30, 30, 0, turn / 12, -turn / 3},
          KivEllipseArc{{250, 220}, 60, 20, -turn / 12, turn / 4, 0.7 * turn}}) {
        drawing.strokes.push_back(makeStroke(KivStrokeKind::contour, kivPathOf(arc, 0.01)));
        drawing.strokes.back().arc = arc;
    }
    return drawing;
}

inline std::string written(const KivVectorDrawing& drawing, KivDrawingFormat format, const KivSheet& sheet = {}) {
    std::string text;
    if (kivWriteDrawing(drawing, sheet, format, &text, {}) != KivDrawingWritten::done) {
        throw std::runtime_error("not written");
    }
    return text;
}

// An A4 page with the drawing at half its size; units are millimetres.
inline KivSheet halfScaleSheet() {
    KivSheet sheet;
    kivReadPage("A4", &sheet);
    sheet.scale = 0.5;
    return sheet;
}

#endif
