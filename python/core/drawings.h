// A drawing as Python has it: strokes and areas as arrays, and files in many formats.
#ifndef CORE_DRAWINGS_H
#define CORE_DRAWINGS_H

#include "core/placement.h"
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/lines/write/kivsheet.h"

#include <string>

#include <pybind11/numpy.h>

class DrawingData {
public:
    KivVectorDrawing drawing;
    Placement place; // of the scene, whose coordinates the strokes have

    // [(kind, object's name, hidden, colour, width in pixels, closed, points (N, 2), points in space (N, 3) or None)].
    // Curves become points that depart from them by no more than tolerance, in pixels.
    pybind11::list strokes(double tolerance) const;
    // [(object's name, colour, opacity, [rings (N, 2)])].
    pybind11::list areas(double tolerance) const;

    // The bytes of a file. Throws py::value_error for another ending and a sheet that can't be.
    pybind11::bytes encode(const std::string& ending, const KivSheet& sheet) const;

private:
    pybind11::str nameOf(std::uint32_t object) const;
};

// Words of a sheet as users write them: page, scale, margin, pens, line_group, hidden, unit, background; each may be
// missing. Throws py::value_error with what is expected.
KivSheet sheetOf(const pybind11::dict& words);

#endif
