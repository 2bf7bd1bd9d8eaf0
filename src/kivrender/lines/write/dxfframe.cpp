#include "kivrender/lines/write/dxfframe.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace {

enum Handle : DxfHandle {
    viewports = 1,
    linetypes,
    layerTable,
    styles,
    views,
    coordinateSystems,
    applications,
    dimensionStyles,
    blockRecords,
    viewport,
    byBlock,
    byLayer,
    continuous,
    dashed,
    standardStyle,
    application,
    dimensionStyle,
    rootDictionary,
    groupDictionary,
    modelBlock,
    modelEnd,
    paperBlock,
    paperEnd,
    paperSpace = 0x1E,
    firstLayer = 0x30,
};

void writeHeader(DxfText& text, const dxfframe::Page& page, DxfHandle behind) {
    text.beginSection("HEADER");
    text.add(9, "$ACADVER").add(1, "AC1015");
    text.add(9, "$DWGCODEPAGE").add(3, "ANSI_1252");
    text.add(9, "$INSBASE").addPoint(10, {});
    text.add(9, "$EXTMIN").addPoint(10, {});
    text.add(9, "$EXTMAX").addPoint(10, {page.width, page.height});
    text.add(9, "$LIMMIN").addPoint(10, {}, false);
    text.add(9, "$LIMMAX").addPoint(10, {page.width, page.height}, false);
    text.add(9, "$LTSCALE").add(40, 1.0);
    text.add(9, "$MEASUREMENT").add(70, 1);
    text.add(9, "$INSUNITS").add(70, 4); // millimetres
    text.add(9, "$LUNITS").add(70, 2);
    text.add(9, "$LWDISPLAY").add(290, 1);
    text.add(9, "$HANDSEED").addHandle(5, behind);
    text.endSection();
}

void writeViewports(DxfText& text, const dxfframe::Page& page) {
    text.beginTable("VPORT", viewports, 1);
    text.begin("VPORT", viewport, viewports, "AcDbSymbolTableRecord").add(100, "AcDbViewportTableRecord");
    text.add(2, "*ACTIVE").add(70, 0).addPoint(10, {}, false).addPoint(11, {1.0, 1.0}, false);
    text.addPoint(12, {page.width / 2.0, page.height / 2.0}, false).addPoint(13, {}, false);
    text.addPoint(14, {10.0, 10.0}, false).addPoint(15, {10.0, 10.0}, false);
    text.add(16, 0.0).add(26, 0.0).add(36, 1.0).addPoint(17, {});
    text.add(40, page.height * 1.05).add(41, page.width / page.height).add(42, 50.0).add(43, 0.0).add(44, 0.0);
    text.add(50, 0.0).add(51, 0.0).add(71, 0).add(72, 100).add(73, 1).add(74, 3);
    text.add(75, 0).add(76, 0).add(77, 0).add(78, 0);
    text.endTable();
}

void writeLinetype(DxfText& text, DxfHandle handle, std::string_view name, std::string_view description) {
    text.begin("LTYPE", handle, linetypes, "AcDbSymbolTableRecord").add(100, "AcDbLinetypeTableRecord");
    text.add(2, name).add(70, 0).add(3, description).add(72, 65);
}

void writeLinetypes(DxfText& text, const dxfframe::Page& page) {
    text.beginTable("LTYPE", linetypes, 4);
    for (const auto& [handle, name] :
         {std::pair(byBlock, "ByBlock"), std::pair(byLayer, "ByLayer"), std::pair(continuous, "CONTINUOUS")}) {
        writeLinetype(text, handle, name, "");
        text.add(73, 0).add(40, 0.0);
    }
    writeLinetype(text, dashed, "DASHED", "_ _ _ _ _ _ _ _");
    text.add(73, 2).add(40, page.dash + page.gap).add(49, page.dash).add(74, 0).add(49, -page.gap).add(74, 0);
    text.endTable();
}

void writeLayers(DxfText& text, const std::vector<DxfLayer>& layers) {
    text.beginTable("LAYER", layerTable, static_cast<int>(layers.size()));
    DxfHandle handle = firstLayer;
    for (const DxfLayer& layer : layers) {
        text.begin("LAYER", handle++, layerTable, "AcDbSymbolTableRecord").add(100, "AcDbLayerTableRecord");
        text.add(2, layer.name).add(70, 0).add(62, layer.isOn ? layer.color : -layer.color);
        text.add(6, layer.isDashed ? "DASHED" : "CONTINUOUS").add(370, layer.weight);
    }
    text.endTable();
}

void writeStyles(DxfText& text) {
    text.beginTable("STYLE", styles, 1);
    text.begin("STYLE", standardStyle, styles, "AcDbSymbolTableRecord").add(100, "AcDbTextStyleTableRecord");
    text.add(2, "Standard").add(70, 0).add(40, 0.0).add(41, 1.0).add(50, 0.0).add(71, 0).add(42, 2.5);
    text.add(3, "txt").add(4, "");
    text.endTable();
}

void writeDimensionStyles(DxfText& text) {
    text.beginTable("DIMSTYLE", dimensionStyles, 1);
    text.add(100, "AcDbDimStyleTable").add(71, 0);
    text.add(0, "DIMSTYLE").addHandle(105, dimensionStyle).addHandle(330, dimensionStyles);
    text.add(100, "AcDbSymbolTableRecord").add(100, "AcDbDimStyleTableRecord").add(2, "Standard").add(70, 0);
    text.endTable();
}

void writeBlockRecords(DxfText& text) {
    text.beginTable("BLOCK_RECORD", blockRecords, 2);
    for (const auto& [handle, name] :
         {std::pair(dxfframe::modelSpace, "*Model_Space"), std::pair(DxfHandle{paperSpace}, "*Paper_Space")}) {
        text.begin("BLOCK_RECORD", handle, blockRecords, "AcDbSymbolTableRecord").add(100, "AcDbBlockTableRecord");
        text.add(2, name);
    }
    text.endTable();
}

void writeTables(DxfText& text, const dxfframe::Page& page, const std::vector<DxfLayer>& layers) {
    text.beginSection("TABLES");
    writeViewports(text, page);
    writeLinetypes(text, page);
    writeLayers(text, layers);
    writeStyles(text);
    text.beginTable("VIEW", views, 0);
    text.endTable();
    text.beginTable("UCS", coordinateSystems, 0);
    text.endTable();
    text.beginTable("APPID", applications, 1);
    text.begin("APPID", application, applications, "AcDbSymbolTableRecord").add(100, "AcDbRegAppTableRecord");
    text.add(2, "ACAD").add(70, 0);
    text.endTable();
    writeDimensionStyles(text);
    writeBlockRecords(text);
    text.endSection();
}

void writeBlock(DxfText& text, DxfHandle begin, DxfHandle end, DxfHandle record, std::string_view name) {
    text.begin("BLOCK", begin, record, "AcDbEntity").add(8, "0").add(100, "AcDbBlockBegin");
    text.add(2, name).add(70, 0).addPoint(10, {}).add(3, name).add(1, "");
    text.begin("ENDBLK", end, record, "AcDbEntity").add(8, "0").add(100, "AcDbBlockEnd");
}

} // namespace

int kivDxfWeight(double millimetres) {
    constexpr std::array weights{0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                 53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
    const double wanted = millimetres * 100.0;
    return *std::min_element(weights.begin(), weights.end(),
                             [wanted](int a, int b) { return std::fabs(a - wanted) < std::fabs(b - wanted); });
}

int kivDxfColor(std::uint32_t color) {
    struct Entry {
        int index;
        int red, green, blue;
    };
    constexpr std::array entries{Entry{1, 255, 0, 0},    Entry{2, 255, 255, 0},   Entry{3, 0, 255, 0},
                                 Entry{4, 0, 255, 255},  Entry{5, 0, 0, 255},     Entry{6, 255, 0, 255},
                                 Entry{7, 0, 0, 0},      Entry{7, 255, 255, 255}, Entry{8, 128, 128, 128},
                                 Entry{9, 192, 192, 192}};
    const auto part = [color](int shift) { return static_cast<int>(color >> shift & 0xFFU); };
    const auto distance = [&](const Entry& entry) {
        const int red = entry.red - part(0);
        const int green = entry.green - part(8);
        const int blue = entry.blue - part(16);
        return red * red + green * green + blue * blue;
    };
    return std::min_element(entries.begin(), entries.end(),
                            [&](const Entry& a, const Entry& b) { return distance(a) < distance(b); })
        ->index;
}

void dxfframe::writeBeginning(DxfText& text, const Page& page, const std::vector<DxfLayer>& layers, DxfHandle behind) {
    writeHeader(text, page, behind);
    text.beginSection("CLASSES");
    text.endSection();
    writeTables(text, page, layers);
    text.beginSection("BLOCKS");
    writeBlock(text, modelBlock, modelEnd, modelSpace, "*Model_Space");
    writeBlock(text, paperBlock, paperEnd, paperSpace, "*Paper_Space");
    text.endSection();
    text.beginSection("ENTITIES");
}

void dxfframe::writeEnd(DxfText& text, const std::vector<DxfGroup>& groups, DxfHandle firstHandle) {
    text.endSection();
    text.beginSection("OBJECTS");
    text.begin("DICTIONARY", rootDictionary, 0, "AcDbDictionary").add(281, 1);
    text.add(3, "ACAD_GROUP").addHandle(350, groupDictionary);
    text.begin("DICTIONARY", groupDictionary, rootDictionary, "AcDbDictionary").add(281, 1);
    DxfHandle handle = firstHandle;
    for (const DxfGroup& group : groups) {
        text.add(3, group.name).addHandle(350, handle++);
    }
    handle = firstHandle;
    for (const DxfGroup& group : groups) {
        text.begin("GROUP", handle++, groupDictionary, "AcDbGroup").add(300, "").add(70, 0).add(71, 1);
        for (const DxfHandle entity : group.entities) {
            text.addHandle(340, entity);
        }
    }
    text.endSection();
    text.add(0, "EOF");
}
