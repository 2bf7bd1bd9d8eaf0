// The pairs of group codes and values that a DXF file is made of, with the handles of its objects.
#ifndef KIVRENDER_LINES_WRITE_DXFTEXT_H
#define KIVRENDER_LINES_WRITE_DXFTEXT_H

#include "kivrender/lines/write/drawingsink.h"

#include <cstdint>
#include <string>
#include <string_view>

using DxfHandle = std::uint32_t;

std::string kivDxfHandleText(DxfHandle handle);

class DxfText {
public:
    explicit DxfText(DrawingSink& out) : sink(out) {}

    DxfText& add(int code, std::string_view value);
    DxfText& add(int code, int value);
    DxfText& add(int code, double value);
    DxfText& addHandle(int code, DxfHandle handle);
    // Codes 10 and 20, and 30 with a height of 0; first: 10 or another first code.
    DxfText& addPoint(int first, const KivPicturePoint& p, bool withHeight = true);

    // 0 NAME, 5 handle, 330 owner, 100 subclass
    DxfText& begin(std::string_view name, DxfHandle handle, DxfHandle owner, std::string_view subclass);
    void beginSection(std::string_view name);
    void endSection();
    void beginTable(std::string_view name, DxfHandle handle, int count);
    void endTable();

    DrawingSink& out() {
        return sink;
    }

private:
    DrawingSink& sink;
};

#endif
