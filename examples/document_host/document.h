// A document of the example: the settings of the whole picture, and those of single objects, as streams of cells.
#ifndef DOCUMENT_HOST_DOCUMENT_H
#define DOCUMENT_HOST_DOCUMENT_H

#include <kivrender/settings/kivproperty.h>

#include <map>
#include <string>
#include <vector>

using Cells = std::vector<KivProperty>;

struct Document {
    Cells picture;
    std::map<int, Cells> objects; // by the number of the object; most have none of their own
};

// A text file: a line for each stream with its number of cells, a line for each cell with its type and value. Both
// throw std::runtime_error with one line for the user.
Document readDocument(const std::string& path);
void writeDocument(const Document& document, const std::string& path);

#endif
