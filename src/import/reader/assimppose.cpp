#include "import/reader/assimppose.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <assimp/anim.h>

namespace kivimport {
namespace {

// Files that do not say are meant so, as Assimp's own viewer takes them.
constexpr double usualTicks = 25.0;
// Of morph targets; more is not a model's.
constexpr unsigned int mostTargets = 4096;

double ticksPerSecond(const aiAnimation& clip) {
    return std::isfinite(clip.mTicksPerSecond) && clip.mTicksPerSecond > 0.0 ? clip.mTicksPerSecond : usualTicks;
}

// The keys before and behind a time, and how far it is between them.
template <class Key> struct Between {
    const Key* before;
    const Key* behind;
    double part;
};

template <class Key> Between<Key> between(const Key* keys, unsigned int count, double time) {
    const Key* const behind =
        std::upper_bound(keys, keys + count, time, [](double t, const Key& key) { return t < key.mTime; });
    if (behind == keys) {
        return {keys, keys, 0.0};
    }
    if (behind == keys + count) {
        return {behind - 1, behind - 1, 0.0};
    }
    const Key* const before = behind - 1;
    const double length = behind->mTime - before->mTime;
    return {before, behind, length > 0.0 ? (time - before->mTime) / length : 0.0};
}

aiVector3D vectorAt(const aiVectorKey* keys, unsigned int count, double time, const aiVector3D& otherwise) {
    if (count == 0 || keys == nullptr) {
        return otherwise;
    }
    const auto at = between(keys, count, time);
    return at.before->mValue + (at.behind->mValue - at.before->mValue) * static_cast<ai_real>(at.part);
}

aiQuaternion turnAt(const aiQuatKey* keys, unsigned int count, double time, const aiQuaternion& otherwise) {
    if (count == 0 || keys == nullptr) {
        return otherwise;
    }
    const auto at = between(keys, count, time);
    aiQuaternion turn;
    aiQuaternion::Interpolate(turn, at.before->mValue, at.behind->mValue, static_cast<ai_real>(at.part));
    return turn.Normalize();
}

aiMatrix4x4 placeAt(const aiNodeAnim& channel, const aiNode& node, double time) {
    aiVector3D scale(1.0F, 1.0F, 1.0F);
    aiVector3D shift;
    aiQuaternion turn;
    node.mTransformation.Decompose(scale, turn, shift);
    scale = vectorAt(channel.mScalingKeys, channel.mNumScalingKeys, time, scale);
    turn = turnAt(channel.mRotationKeys, channel.mNumRotationKeys, time, turn);
    shift = vectorAt(channel.mPositionKeys, channel.mNumPositionKeys, time, shift);
    return {scale, turn, shift};
}

double weightOf(const aiMeshMorphKey& key, unsigned int target) {
    double weight = 0.0;
    for (unsigned int i = 0; i < key.mNumValuesAndWeights; ++i) {
        weight = key.mValues[i] == target && std::isfinite(key.mWeights[i]) ? key.mWeights[i] : weight;
    }
    return weight;
}

std::vector<double> weightsAt(const aiMeshMorphAnim& channel, double time) {
    std::vector<double> weights;
    if (channel.mNumKeys == 0 || channel.mKeys == nullptr) {
        return weights;
    }
    const auto at = between(channel.mKeys, channel.mNumKeys, time);
    for (const aiMeshMorphKey* key : {at.before, at.behind}) {
        for (unsigned int i = 0; i < key->mNumValuesAndWeights; ++i) {
            if (key->mValues[i] < mostTargets) {
                weights.resize(std::max<std::size_t>(weights.size(), key->mValues[i] + 1));
            }
        }
    }
    for (unsigned int i = 0; i < weights.size(); ++i) {
        weights[i] = weightOf(*at.before, i) * (1.0 - at.part) + weightOf(*at.behind, i) * at.part;
    }
    return weights;
}

std::string textOf(const aiString& text) {
    return text.C_Str();
}

void addScaled(std::vector<aiVector3D>& to, const aiVector3D* target, const aiVector3D* base, double weight) {
    for (std::size_t i = 0; i < to.size(); ++i) {
        to[i] += (target[i] - base[i]) * static_cast<ai_real>(weight);
    }
}

} // namespace

double assimpDuration(const aiAnimation& clip) {
    const double seconds = clip.mDuration / ticksPerSecond(clip);
    return std::isfinite(seconds) && seconds > 0.0 ? seconds : 0.0;
}

AssimpPose::AssimpPose(aiScene& scene, const aiAnimation& clip, double seconds) {
    const double time = std::clamp(seconds, 0.0, assimpDuration(clip)) * ticksPerSecond(clip);
    for (unsigned int i = 0; i < clip.mNumChannels; ++i) {
        const aiNodeAnim& channel = *clip.mChannels[i];
        if (aiNode* const node = scene.mRootNode->FindNode(channel.mNodeName)) {
            node->mTransformation = placeAt(channel, *node, time);
        }
    }
    for (unsigned int i = 0; i < clip.mNumMorphMeshChannels; ++i) {
        const aiMeshMorphAnim& channel = *clip.mMorphMeshChannels[i];
        // Some formats add the number of the mesh.
        const std::string name = textOf(channel.mName);
        morphWeights[name.substr(0, name.find('*'))] = weightsAt(channel, time);
    }
    placeNodes(*scene.mRootNode);
}

void AssimpPose::placeNodes(const aiNode& root) {
    std::vector<std::pair<const aiNode*, aiMatrix4x4>> open{{&root, root.mTransformation}};
    while (!open.empty()) {
        const auto [node, place] = open.back();
        open.pop_back();
        globals.try_emplace(textOf(node->mName), place);
        for (unsigned int i = 0; i < node->mNumChildren; ++i) {
            open.emplace_back(node->mChildren[i], place * node->mChildren[i]->mTransformation);
        }
    }
}

PosedVertices AssimpPose::posed(const aiMesh& mesh, const aiNode& node) const {
    PosedVertices vertices;
    if ((mesh.mNumBones == 0 && mesh.mNumAnimMeshes == 0) || mesh.mVertices == nullptr) {
        return vertices;
    }
    vertices.points.assign(mesh.mVertices, mesh.mVertices + mesh.mNumVertices);
    if (mesh.HasNormals()) {
        vertices.normals.assign(mesh.mNormals, mesh.mNormals + mesh.mNumVertices);
    }
    morph(mesh, node, vertices);
    bend(mesh, node, vertices);
    return vertices;
}

// Assimp holds the targets as whole shapes: what they differ by from the mesh counts by their weights.
void AssimpPose::morph(const aiMesh& mesh, const aiNode& node, PosedVertices& vertices) const {
    auto weights = morphWeights.find(textOf(node.mName));
    if (weights == morphWeights.end()) {
        weights = morphWeights.find(textOf(mesh.mName));
    }
    for (unsigned int i = 0; i < mesh.mNumAnimMeshes; ++i) {
        const aiAnimMesh& target = *mesh.mAnimMeshes[i];
        const bool isKnown = weights != morphWeights.end() && i < weights->second.size();
        const double weight = isKnown ? weights->second[i] : static_cast<double>(target.mWeight);
        if (weight == 0.0 || target.mNumVertices != mesh.mNumVertices || target.mVertices == nullptr) {
            continue;
        }
        addScaled(vertices.points, target.mVertices, mesh.mVertices, weight);
        if (!vertices.normals.empty() && target.mNormals != nullptr) {
            addScaled(vertices.normals, target.mNormals, mesh.mNormals, weight);
        }
    }
}

// Linear blend skinning (Magnenat-Thalmann and others, 1988): each bone moves a vertex as if it alone held it, and the
// weights mix the results.
void AssimpPose::bend(const aiMesh& mesh, const aiNode& node, PosedVertices& vertices) const {
    const auto own = globals.find(textOf(node.mName));
    if (mesh.mNumBones == 0 || own == globals.end()) {
        return;
    }
    aiMatrix4x4 nodeFromWorld = own->second;
    nodeFromWorld.Inverse();
    std::vector<aiVector3D> points(vertices.points.size());
    std::vector<aiVector3D> normals(vertices.normals.size());
    std::vector<double> sums(vertices.points.size());
    for (unsigned int b = 0; b < mesh.mNumBones; ++b) {
        const aiBone& bone = *mesh.mBones[b];
        const auto place = globals.find(textOf(bone.mName));
        if (place == globals.end()) {
            continue;
        }
        const aiMatrix4x4 move = nodeFromWorld * place->second * bone.mOffsetMatrix;
        const aiMatrix3x3 turn(move);
        for (unsigned int w = 0; w < bone.mNumWeights; ++w) {
            const aiVertexWeight& held = bone.mWeights[w];
            if (held.mVertexId >= points.size() || !(held.mWeight > 0.0F) || !std::isfinite(held.mWeight)) {
                continue;
            }
            points[held.mVertexId] += (move * vertices.points[held.mVertexId]) * held.mWeight;
            if (!normals.empty()) {
                normals[held.mVertexId] += (turn * vertices.normals[held.mVertexId]) * held.mWeight;
            }
            sums[held.mVertexId] += held.mWeight;
        }
    }
    // What no bone holds stays; weights that do not add up to 1 are taken as parts of their sum.
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (sums[i] > 0.0) {
            vertices.points[i] = points[i] * static_cast<ai_real>(1.0 / sums[i]);
            if (!normals.empty()) {
                vertices.normals[i] = normals[i];
            }
        }
    }
}

} // namespace kivimport
