// The objects of a model by their names: which are drawn, which are seen through, and in which colour.
//
// Files put names into a tree: assemblies hold groups, and these hold parts. The path of an object is the names from
// the top of the tree to its own, with slashes between them.
#ifndef IMPORT_KIVMODELOBJECTS_H
#define IMPORT_KIVMODELOBJECTS_H

#include "import/kivmodelimport.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Of a mesh of the scene. Ends with the mesh's own name where that is another than its node's; may be empty.
std::wstring kivObjectPath(const KivModel& model, std::size_t mesh);

// Whether a pattern means the object with that path. * stands for any number of characters, ? for one; case does not
// count. A pattern without a slash is compared with each name of the path, and so means all that is in an assembly of
// that name; one with a slash is compared with the path from its beginning up to any of its names.
bool kivIsObject(const std::wstring& path, const std::wstring& pattern);

// Of a mesh of the scene: the layers that it or an assembly around it lies on.
std::vector<std::wstring> kivObjectLayers(const KivModel& model, std::size_t mesh);

// Whether a pattern means what lies on those layers: "layer:" and the name of a layer, with * and ? as above.
bool kivIsOnLayer(const std::vector<std::wstring>& layers, const std::wstring& pattern);

struct KivObjectChoice {
    std::vector<std::wstring> only;                              // what none of these means goes, if there are any
    std::vector<std::wstring> hide;                              // goes
    std::vector<std::wstring> ghost;                             // is seen through
    std::vector<std::pair<std::wstring, std::uint32_t>> colours; // red in the lowest byte; the last one counts

    bool isEmpty() const {
        return only.empty() && hide.empty() && ghost.empty() && colours.empty();
    }
};

// Takes meshes out of the scene and changes their materials. Lines and points of the scene have no names: any of
// `only` removes them. Where the model lies in the scene does not change. Returns the patterns that mean no object.
std::vector<std::wstring> kivChooseObjects(KivModel& model, const KivObjectChoice& choice);

// How much of what is behind a ghost is hidden.
inline constexpr double kivGhostOpacity = 0.2;

#endif
