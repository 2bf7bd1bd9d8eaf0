// Drawing papers made by rule: what the build lays beside the library as images, for the paper that a picture is
// multiplied with. The same paper is made of the same bytes everywhere.
#ifndef PAPERS_PAPERMAKER_H
#define PAPERS_PAPERMAKER_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// In the order of their names.
std::span<const std::string_view> paperNames();

// The paper of that name as red, green, blue, row after row from the top, side pixels square. It is meant to be
// stretched over a picture that is four wide and three high. Empty for a name that there is not.
std::vector<std::uint8_t> makePaper(std::string_view name, int side);

#endif
