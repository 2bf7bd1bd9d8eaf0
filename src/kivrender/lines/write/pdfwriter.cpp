#include "kivrender/lines/write/pdfwriter.h"

#include "kivrender/lines/write/drawingnames.h"
#include "kivrender/lines/write/packedpicture.h"
#include "kivrender/lines/write/pagecontent.h"
#include "kivrender/platform/kivdeflate.h"

#include <cstdint>
#include <string>
#include <vector>

namespace {

enum Object { catalog = 1, pages, page, content, info, firstLayer };

// UTF-16BE with its mark, in hexadecimal.
std::string textString(std::wstring_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string made = "<FEFF";
    const auto put = [&](std::uint32_t unit) {
        for (const int shift : {12, 8, 4, 0}) {
            made += digits[unit >> shift & 0xFU];
        }
    };
    for (const wchar_t c : kivCleanText(text)) {
        const auto code = static_cast<std::uint32_t>(c);
        if (code < 0x10000) {
            put(code);
        } else {
            put(0xD800 + ((code - 0x10000) >> 10U));
            put(0xDC00 + (code & 0x3FFU));
        }
    }
    return made + ">";
}

std::string reference(int object) {
    return std::to_string(object) + " 0 R";
}

// Numbered objects, and where each begins.
class PdfFile {
public:
    explicit PdfFile(DrawingSink& out) : sink(out) {
        sink << "%PDF-1.5\n%\xE2\xE3\xCF\xD3\n";
    }
    void add(int number, std::string_view body) {
        begins.resize(std::max(begins.size(), static_cast<std::size_t>(number) + 1));
        begins[static_cast<std::size_t>(number)] = sink.size();
        sink << number << " 0 obj\n" << body << "\nendobj\n";
    }
    void finish() {
        const std::uint64_t table = sink.size();
        sink << "xref\n0 " << static_cast<int>(begins.size()) << "\n0000000000 65535 f \n";
        for (std::size_t i = 1; i < begins.size(); ++i) {
            const std::string place = std::to_string(begins[i]);
            sink << std::string(10 - std::min<std::size_t>(place.size(), 10), '0') << place << " 00000 n \n";
        }
        sink << "trailer\n<< /Size " << static_cast<int>(begins.size()) << " /Root " << reference(catalog) << " /Info "
             << reference(info) << " >>\nstartxref\n"
             << std::to_string(table) << "\n%%EOF\n";
    }

private:
    DrawingSink& sink;
    std::vector<std::uint64_t> begins;
};

std::string catalogText(std::size_t layers) {
    std::string all;
    for (std::size_t i = 0; i < layers; ++i) {
        all += (i > 0 ? " " : "") + reference(firstLayer + static_cast<int>(i));
    }
    return "<< /Type /Catalog /Pages " + reference(pages) +
           " /PageMode /UseOC /ViewerPreferences << /DisplayDocTitle "
           "true >> /OCProperties << /OCGs [" +
           all + "] /D << /Name (Layers) /Order [" + all + "] /ON [" + all + "] >> >> >>";
}

int firstPicture(const PageContent& painted) {
    return firstLayer + static_cast<int>(painted.layers().size());
}

std::string pageText(const SheetLayout& layout, const PageContent& painted) {
    std::string text = "<< /Type /Page /Parent " + reference(pages) + " /MediaBox [0 0 " +
                       kivNumberText(layout.page().pageWidth * kivPointsPerMillimetre) + " " +
                       kivNumberText(layout.page().pageHeight * kivPointsPerMillimetre) + "] /Contents " +
                       reference(content) + " /Resources << /Properties <<";
    for (std::size_t i = 0; i < painted.layers().size(); ++i) {
        text += " /L" + std::to_string(i) + " " + reference(firstLayer + static_cast<int>(i));
    }
    text += " >> /ExtGState <<";
    for (std::size_t i = 0; i < painted.opacities().size(); ++i) {
        text += " /O" + std::to_string(i) + " << /ca " + painted.opacities()[i] + " >>";
    }
    text += " >>";
    if (!painted.pictures().empty()) {
        text += " /XObject <<";
        for (std::size_t i = 0; i < painted.pictures().size(); ++i) {
            text += " /I" + std::to_string(i) + " " + reference(firstPicture(painted) + static_cast<int>(i));
        }
        text += " >>";
    }
    return text + " >> >>";
}

std::string pictureText(const PackedPicture& packed) {
    const std::string width = std::to_string(packed.width);
    return "<< /Type /XObject /Subtype /Image /Width " + width + " /Height " + std::to_string(packed.height) +
           " /ColorSpace /DeviceRGB /BitsPerComponent 8 /Interpolate true /Filter /FlateDecode /DecodeParms << "
           "/Predictor 15 /Colors 3 /Columns " +
           width + " >> /Length " + std::to_string(packed.rows.size()) + " >>\nstream\n" + packed.rows + "\nendstream";
}

} // namespace

bool kivWritePdf(const KivVectorDrawing& drawing, const SheetLayout& layout, DrawingSink& sink) {
    std::string painting;
    DrawingSink page([&painting](std::string_view block) { return painting.append(block), true; },
                     [&sink] { return sink.isCancelled(); });
    PageContent painted(drawing, layout, PageContent::Kind::pdf, page);
    if (!painted.write() || !page.finish()) {
        return false;
    }
    PdfFile file(sink);
    file.add(catalog, catalogText(painted.layers().size()));
    file.add(pages, "<< /Type /Pages /Kids [" + reference(Object::page) + "] /Count 1 >>");
    file.add(Object::page, pageText(layout, painted));
    const std::string packed = kivDeflate(painting);
    file.add(content, "<< /Length " + std::to_string(packed.size()) + " /Filter /FlateDecode >>\nstream\n" + packed +
                          "\nendstream");
    file.add(info, "<< /Title " + textString(drawing.title) + " /Producer (Selvarin) >>");
    for (std::size_t i = 0; i < painted.layers().size(); ++i) {
        file.add(firstLayer + static_cast<int>(i), "<< /Type /OCG /Name (" + painted.layers()[i] + ") >>");
    }
    for (std::size_t i = 0; i < painted.pictures().size(); ++i) {
        file.add(firstPicture(painted) + static_cast<int>(i), pictureText(kivPack(*painted.pictures()[i], layout)));
        if (!sink.goesOn()) {
            return false;
        }
    }
    file.finish();
    return true;
}
