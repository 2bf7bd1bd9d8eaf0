// The cameras and lights of a file that Assimp has read.
#ifndef IMPORT_READER_ASSIMPCAMERAS_H
#define IMPORT_READER_ASSIMPCAMERAS_H

#include "import/reader/assimpvalues.h"

#include <map>
#include <string>

struct aiScene;

namespace kivimport {

// What a file's format says of its cameras and lights, and where its nodes stand.
struct AssimpPlaces {
    const std::map<std::string, Transform>& worldFromNode; // by the nodes' names
    bool isLinear = false;                                 // glTF
    bool isFbx = false;
    bool isZUp = false;
};

// Add to the parts what has a use: cameras that see something, lights that shine. Places are in the coordinates of the
// file.
void addAssimpCameras(const aiScene& scene, const AssimpPlaces& places, ModelParts& parts);
void addAssimpLights(const aiScene& scene, const AssimpPlaces& places, ModelParts& parts);

} // namespace kivimport

#endif
