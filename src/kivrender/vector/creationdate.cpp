#include "kivrender/vector/creationdate.h"

#include <algorithm>
#include <string_view>

void kivBlankCreationDate(std::string& head) {
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
