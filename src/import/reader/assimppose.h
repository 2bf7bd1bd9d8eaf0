// A scene of Assimp in the pose that one of its animations has at a moment: nodes at their places, meshes bent by their
// bones and by their morph targets.
#ifndef IMPORT_READER_ASSIMPPOSE_H
#define IMPORT_READER_ASSIMPPOSE_H

#include <map>
#include <string>
#include <vector>

#include <assimp/scene.h>

namespace kivimport {

// Seconds; 0 for one without a length that can be used.
double assimpDuration(const aiAnimation& clip);

struct PosedVertices {
    std::vector<aiVector3D> points;
    std::vector<aiVector3D> normals; // as many, or none
};

class AssimpPose {
public:
    // Moves the nodes of the scene. seconds beyond the clip are its end. The scene must outlive this.
    // hasRestWeights: whether the weights of morph targets count that no channel moves. Those of an FBX file do not:
    // Assimp 5.2 gives a target 1 whatever the file says.
    AssimpPose(aiScene& scene, const aiAnimation& clip, double seconds, bool hasRestWeights);

    // In the coordinates of the node that shows the mesh. Nothing for a mesh that neither bones nor morph targets move.
    PosedVertices posed(const aiMesh& mesh, const aiNode& node) const;

private:
    void nameNodes(aiNode& root);
    void placeNodes(const aiNode& root);
    void morph(const aiMesh& mesh, const aiNode& node, PosedVertices& vertices) const;
    void bend(const aiMesh& mesh, const aiNode& node, PosedVertices& vertices) const;

    bool hasRestWeights;
    std::map<std::string, aiNode*> nodes; // by their names
    std::map<const aiNode*, aiMatrix4x4> globals;
    std::map<std::string, std::vector<double>> morphWeights; // by the names of nodes or meshes
};

} // namespace kivimport

#endif
