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
    AssimpPose(aiScene& scene, const aiAnimation& clip, double seconds);

    // In the coordinates of the node that shows the mesh. Nothing for a mesh that neither bones nor morph targets move.
    PosedVertices posed(const aiMesh& mesh, const aiNode& node) const;

private:
    void placeNodes(const aiNode& root);
    void morph(const aiMesh& mesh, const aiNode& node, PosedVertices& vertices) const;
    void bend(const aiMesh& mesh, const aiNode& node, PosedVertices& vertices) const;

    std::map<std::string, aiMatrix4x4> globals;              // by the names of nodes
    std::map<std::string, std::vector<double>> morphWeights; // by the names of nodes or meshes
};

} // namespace kivimport

#endif
