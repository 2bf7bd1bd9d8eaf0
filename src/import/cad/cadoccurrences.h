// What a document says of one occurrence of a part in an assembly beyond what the part says of itself.
#ifndef IMPORT_CAD_CADOCCURRENCES_H
#define IMPORT_CAD_CADOCCURRENCES_H

#include <cstddef>
#include <string>
#include <vector>

#include <TDF_Label.hxx>
#include <TDocStd_Document.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_LayerTool.hxx>
#include <XCAFPrs_DocumentNode.hxx>
#include <XCAFPrs_Style.hxx>

namespace kivimport {

// Goes with a walk over the nodes of a document, which asks for each of them in turn, parents first.
class CadOccurrences {
public:
    explicit CadOccurrences(const Handle(TDocStd_Document) & document);

    // The node's own style, or what an assembly above it says of that one occurrence ("specified higher usage" in
    // STEP); of several the outermost counts, since it has the last word on how the product looks.
    XCAFPrs_Style styleOf(const XCAFPrs_DocumentNode& node, std::size_t depth);
    // The names of the layers that the node or its part lies on, each once, in the order of the file.
    std::vector<std::string> layersOf(const XCAFPrs_DocumentNode& node) const;

private:
    struct Step {
        TDF_Label component;
        XCAFPrs_Style style;
        bool isSpecified = false; // by an assembly around it
        bool hasUsages = false;   // a chain of components may begin here
    };

    bool specify(XCAFPrs_Style& style) const;
    bool isSpecifiedFrom(std::size_t first, XCAFPrs_Style& style) const;

    Handle(XCAFDoc_ColorTool) colours;
    Handle(XCAFDoc_LayerTool) layers;
    std::vector<Step> trail; // down to the node
};

} // namespace kivimport

#endif
