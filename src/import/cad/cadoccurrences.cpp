#include "import/cad/cadoccurrences.h"

#include "import/cad/cadtext.h"

#include <algorithm>

#include <Quantity_ColorRGBA.hxx>
#include <TColStd_HSequenceOfExtendedString.hxx>
#include <TDF_AttributeSequence.hxx>
#include <TDF_LabelSequence.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_GraphNode.hxx>
#include <XCAFDoc_ShapeTool.hxx>

namespace kivimport {

CadOccurrences::CadOccurrences(const Handle(TDocStd_Document) & document)
    : colours(XCAFDoc_DocumentTool::ColorTool(document->Main())),
      layers(XCAFDoc_DocumentTool::LayerTool(document->Main())) {}

// Of the chains of components that end with the last step, the longest first.
bool CadOccurrences::specify(XCAFPrs_Style& style) const {
    for (std::size_t first = 0; first + 1 < trail.size(); ++first) {
        if (trail[first].hasUsages && isSpecifiedFrom(first, style)) {
            return true;
        }
    }
    return false;
}

bool CadOccurrences::isSpecifiedFrom(std::size_t first, XCAFPrs_Style& style) const {
    TDF_LabelSequence chain;
    for (std::size_t i = first; i < trail.size(); ++i) {
        chain.Append(trail[i].component);
    }
    Handle(XCAFDoc_GraphNode) usage;
    if (!XCAFDoc_ShapeTool::FindSHUO(chain, usage) || usage.IsNull()) {
        return false;
    }
    Quantity_ColorRGBA colour;
    const bool isColoured = colours->GetColor(usage->Label(), XCAFDoc_ColorSurf, colour) ||
                            colours->GetColor(usage->Label(), XCAFDoc_ColorGen, colour);
    if (isColoured) {
        style.SetColorSurf(colour);
    }
    const bool isHidden = !colours->IsVisible(usage->Label());
    if (isHidden) {
        style.SetVisibility(false);
    }
    return isColoured || isHidden;
}

XCAFPrs_Style CadOccurrences::styleOf(const XCAFPrs_DocumentNode& node, std::size_t depth) {
    trail.resize(std::min(trail.size(), depth));
    const bool isWithinSpecified = !trail.empty() && trail.back().isSpecified;
    Step& step = trail.emplace_back();
    step.component = node.Label;
    step.style = isWithinSpecified ? trail[trail.size() - 2].style : node.Style;
    TDF_AttributeSequence usages;
    step.hasUsages = XCAFDoc_ShapeTool::GetAllComponentSHUO(node.Label, usages);
    step.isSpecified = isWithinSpecified || specify(step.style);
    return step.style;
}

std::vector<std::string> CadOccurrences::layersOf(const XCAFPrs_DocumentNode& node) const {
    std::vector<std::string> names;
    for (const TDF_Label& label : {node.Label, node.RefLabel}) {
        Handle(TColStd_HSequenceOfExtendedString) found;
        if (label.IsNull() || !layers->GetLayers(label, found) || found.IsNull()) {
            continue;
        }
        for (int i = 1; i <= found->Length(); ++i) {
            std::string name = toUtf8(found->Value(i));
            if (std::find(names.begin(), names.end(), name) == names.end()) {
                names.push_back(std::move(name));
            }
        }
    }
    return names;
}

} // namespace kivimport
