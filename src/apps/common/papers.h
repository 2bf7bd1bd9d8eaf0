// The drawing papers that lie beside the library, by their names.
#ifndef APPS_COMMON_PAPERS_H
#define APPS_COMMON_PAPERS_H

#include <string>
#include <vector>

// In order.
std::vector<std::string> paperNames();

// The image file that an option names: a file as it stands, or else a paper by its name. Throws std::runtime_error with
// a line for a human if it is neither. An empty text stays empty.
std::string findPaper(const std::string& text);

#endif
