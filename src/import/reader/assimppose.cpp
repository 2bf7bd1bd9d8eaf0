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

// Scaled first, then turned; the constructor of Assimp's matrix does it the other way round.
aiMatrix4x4 composed(const aiVector3D& scale, const aiQuaternion& turn, const aiVector3D& shift) {
    const aiMatrix3x3 m = turn.GetMatrix();
    return {m.a1 * scale.x, m.a2 * scale.y, m.a3 * scale.z, shift.x,
            m.b1 * scale.x, m.b2 * scale.y, m.b3 * scale.z, shift.y,
            m.c1 * scale.x, m.c2 * scale.y, m.c3 * scale.z, shift.z,
            0.0F,           0.0F,           0.0F,           1.0F};
}

aiMatrix4x4 placeAt(const aiNodeAnim& channel, const aiNode& node, double time) {
    aiVector3D scale(1.0F, 1.0F, 1.0F);
    aiVector3D shift;
    aiQuaternion turn;
    node.mTransformation.Decompose(scale, turn, shift);
    scale = vectorAt(channel.mScalingKeys, channel.mNumScalingKeys, time, scale);
    turn = turnAt(channel.mRotationKeys, channel.mNumRotationKeys, time, turn);
    shift = vectorAt(channel.mPositionKeys, channel.mNumPositionKeys, time, shift);
    return composed(scale, turn, shift);
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

// Assimp makes a chain of nodes for what an FBX node does in several steps: turned before its own rotation, for
// example. All have the node's name with this and the step behind it; the node itself ends the chain.
constexpr const char* stepMark = "_$AssimpFbx$_";

bool isStepOf(const aiNode& step, const aiNode& node) {
    return textOf(step.mName).starts_with(textOf(node.mName) + stepMark);
}

// A channel that bears the node's own name has all steps in its keys (seen with Assimp 5.2), which the chain would do
// once more. Those of a geometry place its mesh alone and are in no key.
void clearSteps(aiNode& node) {
    for (aiNode* step = node.mParent; step != nullptr && isStepOf(*step, node); step = step->mParent) {
        if (textOf(step->mName).find("_Geometric") == std::string::npos) {
            step->mTransformation = aiMatrix4x4();
        }
    }
}

// What the chain of a node does to its mesh alone. Assimp 5.2 leaves it out of the matrices of bones.
aiMatrix4x4 geometryPlace(const aiNode& node) {
    aiMatrix4x4 place;
    for (const aiNode* step = node.mParent; step != nullptr && isStepOf(*step, node); step = step->mParent) {
        if (textOf(step->mName).find("_Geometric") != std::string::npos) {
            place = step->mTransformation * place;
        }
    }
    return place;
}

aiVector3D scaleOf(const aiMatrix4x4& place) {
    aiVector3D scale;
    aiQuaternion turn;
    aiVector3D shift;
    place.Decompose(scale, turn, shift);
    return scale;
}

// The node that an FBX chain ends in, which is the first child all the way down; others end in themselves.
const aiNode& endOfChain(const aiNode& step) {
    const std::string name = textOf(step.mName);
    const std::size_t mark = name.find(stepMark);
    const aiNode* end = &step;
    while (mark != std::string::npos && end->mNumChildren > 0 && textOf(end->mName) != name.substr(0, mark)) {
        end = end->mChildren[0];
    }
    return *end;
}

// An FBX node may inherit the rotation of its parent and the place that the parent's scale gives it, but not that scale
// itself (InheritType 2; "segment scale compensate" of skeletons).
bool ignoresScaleOfParent(const aiNode& node) {
    int inheritance = 0;
    return node.mMetaData != nullptr && node.mMetaData->Get("InheritType", inheritance) && inheritance == 2;
}

// In the coordinates of the parent.
aiMatrix4x4 inheritedPlace(const aiNode& node) {
    const aiNode* const parent = node.mParent;
    const bool isInsideChain = parent != nullptr && textOf(parent->mName).find(stepMark) != std::string::npos;
    if (parent == nullptr || isInsideChain || !ignoresScaleOfParent(endOfChain(node))) {
        return node.mTransformation;
    }
    const aiVector3D scale = scaleOf(parent->mTransformation);
    const auto inverse = [](ai_real s) { return std::fabs(s) > 1e-6F ? 1.0F / s : 1.0F; };
    aiMatrix4x4 unscaled;
    aiMatrix4x4::Scaling({inverse(scale.x), inverse(scale.y), inverse(scale.z)}, unscaled);
    aiMatrix4x4 turnAndScale = node.mTransformation;
    turnAndScale.a4 = turnAndScale.b4 = turnAndScale.c4 = 0.0F;
    aiMatrix4x4 shift;
    aiMatrix4x4::Translation({node.mTransformation.a4, node.mTransformation.b4, node.mTransformation.c4}, shift);
    return shift * unscaled * turnAndScale;
}

// Before the nodes of a scene are placed: all of them as they are in their parents.
void inheritPlaces(aiNode& root) {
    std::vector<std::pair<aiNode*, aiMatrix4x4>> places;
    std::vector<aiNode*> open{&root};
    while (!open.empty()) {
        aiNode* const node = open.back();
        open.pop_back();
        places.emplace_back(node, inheritedPlace(*node));
        open.insert(open.end(), node->mChildren, node->mChildren + node->mNumChildren);
    }
    for (const auto& [node, place] : places) {
        node->mTransformation = place;
    }
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

AssimpPose::AssimpPose(aiScene& scene, const aiAnimation& clip, double seconds, bool restWeights)
    : hasRestWeights(restWeights) {
    const double time = std::clamp(seconds, 0.0, assimpDuration(clip)) * ticksPerSecond(clip);
    nameNodes(*scene.mRootNode);
    for (unsigned int i = 0; i < clip.mNumChannels; ++i) {
        const aiNodeAnim& channel = *clip.mChannels[i];
        if (const auto found = nodes.find(textOf(channel.mNodeName)); found != nodes.end()) {
            found->second->mTransformation = placeAt(channel, *found->second, time);
            clearSteps(*found->second);
        }
    }
    for (unsigned int i = 0; i < clip.mNumMorphMeshChannels; ++i) {
        const aiMeshMorphAnim& channel = *clip.mMorphMeshChannels[i];
        // Some formats add the number of the mesh.
        const std::string name = textOf(channel.mName);
        morphWeights[name.substr(0, name.find('*'))] = weightsAt(channel, time);
    }
    inheritPlaces(*scene.mRootNode);
    placeNodes(*scene.mRootNode);
}

// Names need not differ: a bone may be called as the mesh that it moves, and it is the bone that channels and weights
// mean.
void AssimpPose::nameNodes(aiNode& root) {
    std::vector<aiNode*> open{&root};
    while (!open.empty()) {
        aiNode* const node = open.back();
        open.pop_back();
        aiNode*& named = nodes[textOf(node->mName)];
        if (named == nullptr || (named->mNumMeshes > 0 && node->mNumMeshes == 0)) {
            named = node;
        }
        for (unsigned int i = node->mNumChildren; i-- > 0;) {
            open.push_back(node->mChildren[i]);
        }
    }
}

void AssimpPose::placeNodes(const aiNode& root) {
    std::vector<std::pair<const aiNode*, aiMatrix4x4>> open{{&root, root.mTransformation}};
    while (!open.empty()) {
        const auto [node, place] = open.back();
        open.pop_back();
        globals.try_emplace(node, place);
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
        const double weight = isKnown ? weights->second[i] : hasRestWeights ? static_cast<double>(target.mWeight) : 0.0;
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
    const auto own = globals.find(&node);
    if (mesh.mNumBones == 0 || own == globals.end()) {
        return;
    }
    aiMatrix4x4 nodeFromWorld = own->second;
    nodeFromWorld.Inverse();
    const aiMatrix4x4 geometry = geometryPlace(node);
    std::vector<aiVector3D> points(vertices.points.size());
    std::vector<aiVector3D> normals(vertices.normals.size());
    std::vector<double> sums(vertices.points.size());
    for (unsigned int b = 0; b < mesh.mNumBones; ++b) {
        const aiBone& bone = *mesh.mBones[b];
        const auto holder = nodes.find(textOf(bone.mName));
        if (holder == nodes.end()) {
            continue;
        }
        const aiMatrix4x4 move = nodeFromWorld * globals.at(holder->second) * bone.mOffsetMatrix * geometry;
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
