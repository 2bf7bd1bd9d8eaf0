#include "kivrender/vector/pagetext.h"

#include <algorithm>
#include <string_view>

namespace {

// Blanks out the dates of printing in the first lines; their length stays.
void blankDates(std::string& head) {
    constexpr std::string_view key = "CreationDate";
    for (std::size_t at = head.find(key); at != std::string::npos; at = head.find(key, at + key.size())) {
        std::size_t from = at;
        std::size_t to = std::min(head.find('\n', at), head.size());
        if (at > 0 && head[at - 1] == '/') {
            // PDF: a name and a text in brackets, maybe with more behind it on the line.
            from = at - 1;
            to = std::min(head.find(')', at), to - 1) + 1;
        } else if (at > 1 && head.compare(at - 2, 2, "%%") == 0) {
            // PostScript: what is left is an empty comment.
            from = at - 1;
        }
        std::fill(head.begin() + static_cast<std::ptrdiff_t>(from), head.begin() + static_cast<std::ptrdiff_t>(to),
                  ' ');
    }
}

void replaceFirst(std::string& text, std::string_view from, std::string_view to) {
    const std::size_t at = text.find(from);
    if (at != std::string::npos) {
        text.replace(at, from.size(), to);
    }
}

// gl2ps counts in points what are pixels here: a drawing is as large as the picture of its size.
void countInPixels(std::string& head) {
    const std::size_t end = head.find("viewBox");
    for (const std::string_view name : {"width=\"", "height=\""}) {
        const std::size_t at = head.find(name);
        const std::size_t unit = at < end ? head.find("pt\"", at) : std::string::npos;
        if (unit < end) {
            head.replace(unit, 2, "px");
        }
    }
}

// <polygon fill="#d4544a" shape-rendering="crispEdges" points=...: what covers gets a rim, what is seen through would
// show it.
void addRims(std::string& lines) {
    constexpr std::string_view ragged = " shape-rendering=\"crispEdges\"";
    constexpr std::string_view fill = "<polygon fill=\"";
    constexpr std::size_t colorLength = 7;
    std::string changed;
    changed.reserve(lines.size());
    std::size_t from = 0;
    for (std::size_t at = lines.find(fill); at != std::string::npos; at = lines.find(fill, at + 1)) {
        const std::size_t behind = at + fill.size() + colorLength + 1;
        if (lines.compare(std::min(behind, lines.size()), ragged.size(), ragged) != 0) {
            continue;
        }
        changed.append(lines, from, behind - from);
        changed.append(" stroke=\"").append(lines, at + fill.size(), colorLength).append("\"");
        from = behind + ragged.size();
    }
    changed.append(lines, from);
    lines = std::move(changed);
}

} // namespace

void PageText::changeHead(std::string& head) const {
    blankDates(head);
    const std::string width = rimWidth;
    if (format == Format::svg) {
        countInPixels(head);
        replaceFirst(head, "\n<g>\n", "\n<g stroke-width=\"" + width + "\" stroke-linejoin=\"round\">\n");
    } else if (format == Format::postScript) {
        replaceFirst(head, "/T  { newpath moveto lineto lineto closepath fill } BD",
                     "/T  { newpath moveto lineto lineto closepath gsave fill " + width +
                         " setlinewidth 1 setlinejoin [] 0 setdash stroke grestore } BD");
    }
}

void PageText::change(std::string& lines) {
    if (isHead) {
        changeHead(lines);
        isHead = false;
    }
    if (format == Format::svg) {
        addRims(lines);
    }
}
