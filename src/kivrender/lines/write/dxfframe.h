// The frame around the entities of a DXF file: header, tables, blocks and objects, as AC1015 wants them.
#ifndef KIVRENDER_LINES_WRITE_DXFFRAME_H
#define KIVRENDER_LINES_WRITE_DXFFRAME_H

#include "kivrender/lines/write/dxftext.h"

#include <string>
#include <vector>

struct DxfLayer {
    std::string name;
    int color = 7; // of AutoCAD's index
    bool isDashed = false;
    bool isOn = true;
    int weight = 25; // hundredths of a millimetre
};

// Entities of one object.
struct DxfGroup {
    std::string name;
    std::vector<DxfHandle> entities;
};

// Widths of lines, in hundredths of a millimetre, have to be one of 24: the nearest.
int kivDxfWeight(double millimetres);
// The nearest of the colours that all programs show alike; dark ones are black, which is white on a dark screen.
int kivDxfColor(std::uint32_t color);

namespace dxfframe {

constexpr DxfHandle modelSpace = 0x1F;
constexpr DxfHandle firstFree = 0x100;

struct Page {
    double width = 0.0;
    double height = 0.0;
    double dash = 3.0; // of the linetype, in millimetres
    double gap = 0.75;
};

// All before the first entity. The handles of the entities begin with firstFree; behind: above all that the file uses.
void writeBeginning(DxfText& text, const Page& page, const std::vector<DxfLayer>& layers, DxfHandle behind);
// All behind the last one; firstHandle: for the groups.
void writeEnd(DxfText& text, const std::vector<DxfGroup>& groups, DxfHandle firstHandle);

} // namespace dxfframe

#endif
