#include "kivrender/lines/write/dxftext.h"

#include <array>
#include <charconv>

std::string kivDxfHandleText(DxfHandle handle) {
    std::array<char, 9> digits{};
    std::string text(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), handle, 16).ptr);
    for (char& c : text) {
        c = c >= 'a' ? static_cast<char>(c - ('a' - 'A')) : c;
    }
    return text;
}

DxfText& DxfText::add(int code, std::string_view value) {
    sink << code << '\n' << value << '\n';
    return *this;
}

DxfText& DxfText::add(int code, int value) {
    sink << code << '\n' << value << '\n';
    return *this;
}

DxfText& DxfText::add(int code, double value) {
    const std::string text = kivNumberText(value, 6);
    // Readers that guess by the look want a point in what is no integer.
    sink << code << '\n' << text << (text.find('.') == std::string::npos ? ".0\n" : "\n");
    return *this;
}

DxfText& DxfText::addHandle(int code, DxfHandle handle) {
    return add(code, kivDxfHandleText(handle));
}

DxfText& DxfText::addPoint(int first, const KivPicturePoint& p, bool withHeight) {
    add(first, p.x).add(first + 10, p.y);
    return withHeight ? add(first + 20, 0.0) : *this;
}

DxfText& DxfText::begin(std::string_view name, DxfHandle handle, DxfHandle owner, std::string_view subclass) {
    return add(0, name).addHandle(5, handle).addHandle(330, owner).add(100, subclass);
}

void DxfText::beginSection(std::string_view name) {
    add(0, "SECTION").add(2, name);
}

void DxfText::endSection() {
    add(0, "ENDSEC");
}

void DxfText::beginTable(std::string_view name, DxfHandle handle, int count) {
    add(0, "TABLE").add(2, name).addHandle(5, handle).addHandle(330, 0).add(100, "AcDbSymbolTable").add(70, count);
}

void DxfText::endTable() {
    add(0, "ENDTAB");
}
