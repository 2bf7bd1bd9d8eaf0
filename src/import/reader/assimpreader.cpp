#include "import/reader/assimpreader.h"

#include "import/polygons.h"
#include "import/reader/assimpcameras.h"
#include "import/reader/assimppose.h"
#include "import/reader/assimpvalues.h"
#include "import/reader/folderfiles.h"
#include "import/reader/glbchunks.h"
#include "import/reader/plycheck.h"
#include "import/reader/plystrips.h"
#include "import/reader/surfacejoin.h"
#include "import/reader/texturepicture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include <assimp/GltfMaterial.h>
#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/importerdesc.h>
#include <assimp/material.h>
#include <assimp/scene.h>
#include <assimp/version.h>

namespace kivimport {
namespace {

// What of the work is done when Assimp is.
constexpr double parsedPart = 0.7;
constexpr unsigned int facesBetweenReports = 1 << 14;

std::string folderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

class AssimpReader {
public:
    AssimpReader(const std::string& modelPath, const ReadLimits& readLimits, const ClipChoice& clipChoice,
                 ReaderReport& readerReport)
        : path(modelPath), limits(readLimits), clip(clipChoice), report(readerReport) {}

    ModelParts read() {
        if (ending() == ".ply") {
            checkPly(path, parts.warnings); // what Assimp would not survive, or pass over in silence
        }
        report.setStep(0.0, parsedPart);
        importer.SetIOHandler(new FolderFiles(folderOf(path), report)); // which the importer owns then
        // Points of a cloud, lines and faces are wanted as they are; what other programs throw away is ours to judge.
        importer.SetPropertyBool(AI_CONFIG_PP_FD_REMOVE, false);
        scene = parse();
        if (scene == nullptr || scene->mRootNode == nullptr) {
            throw ImportError("it is broken or of another kind than its ending says (" + reason() + ")");
        }
        report.setStep(parsedPart, 1.0);
        parts.format = formatName();
        parts.zUp = isZUp();
        isLinear = parts.format.starts_with("glTF");
        parts.metresPerUnit = isLinear ? 1.0 : 0.0; // glTF 2.0, section 3.4
        for (unsigned int i = 0; i < scene->mNumMaterials; ++i) {
            addMaterial(*scene->mMaterials[i]);
        }
        chooseClip();
        walkNodes();
        const AssimpPlaces places{worldFromNode, isLinear, ending() == ".fbx", isZUp()};
        addAssimpCameras(*scene, places, parts);
        addAssimpLights(*scene, places, parts);
        tellUnused();
        for (unsigned int i = 0; i < scene->mNumAnimations; ++i) {
            parts.animations.push_back({fromAi(scene->mAnimations[i]->mName), assimpDuration(*scene->mAnimations[i])});
        }
        return std::move(parts);
    }

private:
    // Where a material's texture lies, in the coordinates of the file.
    struct TextureLayout {
        std::size_t material = 0;
        int channel = 0;
        Vec3 shift;
        Vec3 scale{1.0, 1.0, 1.0};
    };

    const aiScene* parse() {
        const std::string kind = ending();
        const std::string mended = kind == ".ply"   ? plyWithoutStrips(path)
                                   : kind == ".glb" ? alignedGlb(path)
                                                    : std::string();
        return mended.empty() ? importer.ReadFile(path, 0)
                              : importer.ReadFileFromMemory(mended.data(), mended.size(), 0, kind.c_str() + 1);
    }

    // By its name, or by its number where none is called so.
    void chooseClip() {
        if (clip.name.empty()) {
            return;
        }
        const aiAnimation* const* const begin = scene->mAnimations;
        const aiAnimation* const* const end = begin + scene->mNumAnimations;
        const aiAnimation* const* found =
            std::find_if(begin, end, [this](const aiAnimation* each) { return fromAi(each->mName) == clip.name; });
        const bool isNumber = clip.name.find_first_not_of("0123456789") == std::string::npos && clip.name.size() < 6;
        if (found == end && isNumber && std::stoul(clip.name) < scene->mNumAnimations) {
            found = begin + std::stoul(clip.name);
        }
        if (found == end) {
            throw ImportError("it has no animation \"" + clip.name + "\"" + namesOfClips());
        }
        posedScene.reset(importer.GetOrphanedScene());
        scene = posedScene.get();
        pose.emplace(*posedScene, **found, clip.seconds, ending() != ".fbx");
    }
    std::string namesOfClips() const {
        std::string names;
        for (unsigned int i = 0; i < scene->mNumAnimations; ++i) {
            names += (i > 0 ? ", \"" : "; there is \"") + fromAi(scene->mAnimations[i]->mName) + "\"";
        }
        return names;
    }

    std::string reason() const {
        std::string text = importer.GetErrorString();
        text = text.substr(0, text.find_first_of("\r\n"));
        return text.empty() ? "no reason is known" : text;
    }

    std::string formatName() const {
        const std::size_t index =
            static_cast<std::size_t>(std::max(importer.GetPropertyInteger("importerIndex", -1), -1));
        const aiImporterDesc* description = importer.GetImporterInfo(index);
        std::string name = description != nullptr ? description->mName : "unknown";
        const std::size_t tail = name.find(" Importer");
        return tail == std::string::npos ? name : name.substr(0, tail);
    }

    std::string ending() const {
        std::string text = std::filesystem::path(path).extension().string();
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); });
        return text;
    }

    // Assimp turns 3ds and dxf files upright, and the coordinates here are to be those of the file: turned back.
    bool isTurned() const {
        return ending() == ".3ds" || ending() == ".dxf";
    }
    static Transform turnBack() {
        Transform transform;
        transform.rows = {Vec3{1.0, 0.0, 0.0}, Vec3{0.0, 0.0, -1.0}, Vec3{0.0, 1.0, 0.0}};
        return transform;
    }

    // FBX says what is up, Collada comes with y up whatever it says, printing and drafting programs have z up.
    bool isZUp() const {
        int axis = 1;
        if (scene->mMetaData != nullptr && scene->mMetaData->Get("UpAxis", axis)) {
            return axis == 2;
        }
        return isTurned() || ending() == ".stl" || ending() == ".3mf";
    }

    // --- materials ---

    void addMaterial(const aiMaterial& source) {
        Material& material = parts.materials.emplace_back();
        aiString name;
        source.Get(AI_MATKEY_NAME, name);
        material.name = fromAi(name);
        readColours(source, material);
        float value = 0.0F;
        if (source.Get(AI_MATKEY_OPACITY, value) == aiReturn_SUCCESS && std::isfinite(value)) {
            material.opacity = std::clamp(static_cast<double>(value), 0.0, 1.0);
        }
        if (source.Get(AI_MATKEY_SHININESS, value) == aiReturn_SUCCESS && std::isfinite(value)) {
            material.shininess = std::max(static_cast<double>(value), 0.0);
        }
        readTexture(source, material);
    }

    void readColours(const aiMaterial& source, Material& material) const {
        aiColor4D base;
        aiColor3D colour;
        if (source.Get(AI_MATKEY_BASE_COLOR, base) == aiReturn_SUCCESS) {
            material.diffuse = fromAi(aiColor3D(base.r, base.g, base.b));
            material.opacity = std::isfinite(base.a) ? std::clamp(static_cast<double>(base.a), 0.0, 1.0) : 1.0;
        } else if (source.Get(AI_MATKEY_COLOR_DIFFUSE, colour) == aiReturn_SUCCESS) {
            material.diffuse = fromAi(colour);
        }
        if (source.Get(AI_MATKEY_COLOR_SPECULAR, colour) == aiReturn_SUCCESS) {
            material.specular = fromAi(colour);
        }
        // With a texture of light the colour is what that is multiplied with; it would light all of the surface.
        if (source.GetTextureCount(aiTextureType_EMISSIVE) == 0 &&
            source.Get(AI_MATKEY_COLOR_EMISSIVE, colour) == aiReturn_SUCCESS) {
            material.emission = fromAi(colour);
        }
        if (isLinear) {
            material.diffuse = toScreen(material.diffuse);
            material.emission = toScreen(material.emission);
            float roughness = 1.0F;
            source.Get(AI_MATKEY_ROUGHNESS_FACTOR, roughness);
            const double gloss =
                std::isfinite(roughness) ? 1.0 - std::clamp(static_cast<double>(roughness), 0.0, 1.0) : 0.0;
            material.specular = {gloss, gloss, gloss};
        }
    }

    void readTexture(const aiMaterial& source, Material& material) {
        aiString name;
        aiTextureType type = aiTextureType_BASE_COLOR;
        if (source.GetTexture(type, 0, &name) != aiReturn_SUCCESS) {
            type = aiTextureType_DIFFUSE;
            if (source.GetTexture(type, 0, &name) != aiReturn_SUCCESS) {
                return;
            }
        }
        material.texture = fromAi(name);
        readLayout(source, type, material);
        const auto [known, isNew] =
            pictureNumbers.try_emplace(material.texture, static_cast<std::uint32_t>(parts.pictures.size()));
        if (isNew) {
            const aiTexture* embedded = scene->GetEmbeddedTexture(name.C_Str());
            limitPixels(parts.pictures.emplace_back(embedded != nullptr
                                                        ? readEmbedded(*embedded)
                                                        : readTextureFile(material.texture, folderOf(path))),
                        numPixels);
        }
        takePicture(material, known->second, parts.pictures[known->second], parts.warnings);
    }

    // How the texture lies on surfaces.
    void readLayout(const aiMaterial& source, aiTextureType type, Material& material) {
        const auto wrapOf = [](int mode) {
            return mode == aiTextureMapMode_Mirror                                    ? Wrap::mirror
                   : mode == aiTextureMapMode_Clamp || mode == aiTextureMapMode_Decal ? Wrap::clamp
                                                                                      : Wrap::repeat;
        };
        int mode = aiTextureMapMode_Wrap;
        source.Get(AI_MATKEY_MAPPINGMODE_U(type, 0), mode);
        material.wrapU = wrapOf(mode);
        mode = aiTextureMapMode_Wrap;
        source.Get(AI_MATKEY_MAPPINGMODE_V(type, 0), mode);
        material.wrapV = wrapOf(mode);
        readCutOut(source, material);
        TextureLayout& layout = layouts.emplace_back();
        layout.material = parts.materials.size() - 1;
        source.Get(AI_MATKEY_UVWSRC(type, 0), layout.channel);
        aiUVTransform transform;
        if (source.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) == aiReturn_SUCCESS) {
            layout.shift = {transform.mTranslation.x, transform.mTranslation.y, 0.0};
            layout.scale = {transform.mScaling.x, transform.mScaling.y, 1.0};
        }
    }

    // glTF says what the alpha of a texture means; elsewhere less than half of it is a hole.
    void readCutOut(const aiMaterial& source, Material& material) const {
        aiString mode;
        float threshold = usualCutOut;
        material.cutOut = usualCutOut;
        if (!isLinear) {
            return;
        }
        if (source.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) != aiReturn_SUCCESS || fromAi(mode) == "OPAQUE") {
            material.cutOut = 0.0;
        } else if (fromAi(mode) == "MASK") {
            material.cutsAll = true;
            if (source.Get(AI_MATKEY_GLTF_ALPHACUTOFF, threshold) == aiReturn_SUCCESS && std::isfinite(threshold)) {
                material.cutOut = std::clamp(static_cast<double>(threshold), 0.0, 1.0);
            }
        }
    }

    static Picture readEmbedded(const aiTexture& texture) {
        if (texture.mHeight == 0) {
            return readPictureBytes(reinterpret_cast<const std::uint8_t*>(texture.pcData), texture.mWidth);
        }
        std::vector<std::uint8_t> pixels;
        const std::size_t count = std::size_t{texture.mWidth} * texture.mHeight;
        pixels.reserve(count * 4);
        for (std::size_t i = 0; i < count; ++i) {
            const aiTexel& texel = texture.pcData[i];
            pixels.insert(pixels.end(), {texel.r, texel.g, texel.b, texel.a});
        }
        return pictureOf(static_cast<std::int32_t>(texture.mWidth), static_cast<std::int32_t>(texture.mHeight),
                         pixels.data());
    }

    // One line on what the file has besides and no picture shows.
    void tellUnused() {
        std::vector<std::string> unused;
        const auto tell = [&unused](bool has, const char* what) {
            if (has) {
                unused.emplace_back(what);
            }
        };
        const auto hasTexture = [this](aiTextureType type) {
            return std::any_of(scene->mMaterials, scene->mMaterials + scene->mNumMaterials,
                               [type](const aiMaterial* m) { return m->GetTextureCount(type) > 0; });
        };
        const auto hasMesh = [this](auto has) {
            return std::any_of(scene->mMeshes, scene->mMeshes + scene->mNumMeshes, has);
        };
        tell(hasTexture(aiTextureType_NORMALS) || hasTexture(aiTextureType_HEIGHT), "normal maps");
        tell(hasTexture(aiTextureType_EMISSIVE), "textures of light");
        const bool isAtRest = !pose;
        tell(isAtRest && hasMesh([](const aiMesh* m) { return m->mNumBones > 0; }), "the poses of its skeleton");
        tell(isAtRest && hasMesh([](const aiMesh* m) { return m->mNumAnimMeshes > 0; }), "shapes to be blended");
        std::string list;
        for (std::size_t i = 0; i < unused.size(); ++i) {
            list += (i == 0 ? "" : i + 1 == unused.size() ? " and " : ", ") + unused[i];
        }
        if (!list.empty()) {
            parts.warnings.push_back("it has " + list + ", which are not drawn");
        }
    }

    // --- geometry ---

    void walkNodes() {
        struct Visit {
            const aiNode* node;
            Transform transform;
            std::uint32_t parent; // in the tree of names
        };
        // Without recursion: the depth is the file's to choose.
        const Transform base = isTurned() ? turnBack() : Transform{};
        std::vector<Visit> open{{scene->mRootNode, combine(base, scene->mRootNode->mTransformation), noIndex}};
        while (!open.empty()) {
            const Visit visit = open.back();
            open.pop_back();
            worldFromNode.try_emplace(fromAi(visit.node->mName), visit.transform);
            const std::uint32_t node = nodeOf(*visit.node, visit.parent);
            const std::size_t firstSurface = parts.surfaces.size();
            for (unsigned int i = 0; i < visit.node->mNumMeshes; ++i) {
                const unsigned int number = visit.node->mMeshes[i];
                if (number >= scene->mNumMeshes) {
                    throw ImportError("node \"" + fromAi(visit.node->mName) + "\": mesh index " +
                                      std::to_string(number) + " is out of range, the file has " +
                                      std::to_string(scene->mNumMeshes) + " meshes");
                }
                const aiMesh& mesh = *scene->mMeshes[number];
                const PosedVertices posed = pose ? pose->posed(mesh, *visit.node) : PosedVertices();
                addMesh(mesh, posed, node, fromAi(visit.node->mName), visit.transform);
            }
            if (isLinear) { // a node of glTF has one mesh, which Assimp divides into its primitives
                joinSurfaces(parts.surfaces, firstSurface, fromAi(visit.node->mName));
            }
            // Last child first, so that the first is visited first.
            for (unsigned int i = visit.node->mNumChildren; i-- > 0;) {
                const aiNode* child = visit.node->mChildren[i];
                open.push_back({child, combine(visit.transform, child->mTransformation), node});
            }
        }
        // A file may define meshes that no node shows. It then has nothing to draw, which the caller tells.
    }

    // Programs and Assimp give a name to what holds all other nodes; nobody calls it by that, nor a node of no name.
    std::uint32_t nodeOf(const aiNode& node, std::uint32_t parent) {
        const std::string name = fromAi(node.mName);
        const bool isMadeUpRoot =
            node.mParent == nullptr && (name.starts_with('<') || name == "ROOT" || name == "RootNode" || name == "3MF");
        const bool isStep = name.find("_$AssimpFbx$_") != std::string::npos; // Assimp divides nodes of FBX files
        if (name.empty() || isMadeUpRoot || isStep) {
            return parent;
        }
        parts.nodes.push_back({name, parent, {}});
        return static_cast<std::uint32_t>(parts.nodes.size() - 1);
    }

    void addMesh(const aiMesh& mesh, const PosedVertices& posed, std::uint32_t node, const std::string& nodeName,
                 const Transform& transform) {
        Surface surface;
        const aiVector3D* const points = posed.points.empty() ? mesh.mVertices : posed.points.data();
        const aiVector3D* const normals = posed.normals.empty() ? mesh.mNormals : posed.normals.data();
        surface.positions.reserve(mesh.mNumVertices);
        for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
            surface.positions.push_back(usablePoint(mesh, transform.point(fromAi(points[i]))));
        }
        // Those of stl belong to facets and those of 3ds are made by Assimp: neither tells anything of the surface.
        const bool hasNormals = mesh.HasNormals() && ending() != ".stl" && ending() != ".3ds";
        if (hasNormals) {
            surface.normals.reserve(mesh.mNumVertices);
            for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
                const Vec3 normal = transform.normal(unit(fromAi(normals[i])));
                surface.normals.push_back(isFinite(normal) ? normal : Vec3{});
            }
        }
        if (pose) {
            addRest(mesh, transform, hasNormals, surface);
        }
        if (mesh.mNumFaces == 0) {
            parts.points.insert(parts.points.end(), surface.positions.begin(), surface.positions.end());
        }
        const std::uint32_t material = materialOf(mesh);
        const bool mirrored = transform.determinant() < 0.0;
        for (unsigned int f = 0; f < mesh.mNumFaces; ++f) {
            if (f % facesBetweenReports == 0) {
                report.done((numMeshesDone + static_cast<double>(f) / mesh.mNumFaces) / scene->mNumMeshes);
            }
            addFace(mesh, mesh.mFaces[f], material, mirrored, surface);
            checkElements(numElements + surface.corners.size() / 3 + parts.polylines.size() + parts.points.size(),
                          limits);
        }
        ++numMeshesDone;
        addPaint(mesh, material, surface);
        if (!surface.corners.empty()) {
            numElements += surface.corners.size() / 3;
            if (hasNormals) {
                surface.cornerNormals = surface.corners;
            }
            const std::string name = fromAi(mesh.mName);
            surface.parts.push_back({name.empty() ? nodeName : name, material, node});
            parts.surfaces.push_back(std::move(surface));
        }
    }

    // Where the file has the mesh, whatever moves it: mirrored as the pose is, so that its faces are wound alike.
    void addRest(const aiMesh& mesh, const Transform& transform, bool hasNormals, Surface& surface) const {
        const double side = transform.determinant() < 0.0 ? -1.0 : 1.0;
        const auto mirrored = [side](const Vec3& v) { return Vec3{v.x * side, v.y, v.z}; };
        for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
            surface.restPositions.push_back(usablePoint(mesh, mirrored(fromAi(mesh.mVertices[i]))));
            if (hasNormals) {
                const Vec3 normal = mirrored(unit(fromAi(mesh.mNormals[i])));
                surface.restNormals.push_back(isFinite(normal) ? normal : Vec3{});
            }
        }
    }

    // Places in the texture, where the mesh has both, else the colours at its vertices.
    void addPaint(const aiMesh& mesh, std::uint32_t material, Surface& surface) {
        if (material == noIndex || surface.corners.empty()) {
            return;
        }
        if (parts.materials[material].picture != noIndex) {
            addPlaces(mesh, surface);
        } else if (hasColours(mesh)) {
            const auto factor = factors.find(material);
            const Colour base = factor != factors.end() ? factor->second : Colour{1.0, 1.0, 1.0};
            surface.isPaintColour = true;
            for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
                const Colour colour = colourAt(mesh, i);
                surface.paint.push_back({colour.r * base.r, colour.g * base.g, colour.b * base.b});
            }
        }
        if (!surface.paint.empty()) {
            surface.cornerPaint = surface.corners;
        }
    }

    void addPlaces(const aiMesh& mesh, Surface& surface) const {
        const auto found = std::find_if(layouts.begin(), layouts.end(), [&mesh](const TextureLayout& layout) {
            return layout.material == mesh.mMaterialIndex;
        });
        const TextureLayout layout = found != layouts.end() ? *found : TextureLayout();
        const auto channel =
            static_cast<unsigned int>(std::clamp(layout.channel, 0, AI_MAX_NUMBER_OF_TEXTURECOORDS - 1));
        if (!mesh.HasTextureCoords(channel)) {
            return;
        }
        for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
            const aiVector3D& at = mesh.mTextureCoords[channel][i];
            const Vec3 place{at.x * layout.scale.x + layout.shift.x, 1.0 - (at.y * layout.scale.y + layout.shift.y),
                             0.0};
            surface.paint.push_back(isUsable(place) ? place : Vec3{});
        }
    }

    // As a screen shows it.
    Colour colourAt(const aiMesh& mesh, unsigned int vertex) const {
        const aiColor4D& at = mesh.mColors[0][vertex];
        const Colour colour = fromAi(aiColor3D(at.r, at.g, at.b));
        return isLinear ? toScreen(colour) : colour;
    }

    // Whether there is more than one.
    static bool hasColours(const aiMesh& mesh) {
        if (!mesh.HasVertexColors(0)) {
            return false;
        }
        const aiColor4D& first = mesh.mColors[0][0];
        return std::any_of(mesh.mColors[0], mesh.mColors[0] + mesh.mNumVertices,
                           [&first](const aiColor4D& c) { return c.r != first.r || c.g != first.g || c.b != first.b; });
    }

    static Vec3 usablePoint(const aiMesh& mesh, const Vec3& p) {
        if (!isFinite(p)) {
            throw ImportError("mesh \"" + fromAi(mesh.mName) + "\": a coordinate is not a finite number");
        }
        if (!isUsable(p)) {
            throw ImportError("mesh \"" + fromAi(mesh.mName) + "\": a coordinate is too large");
        }
        return p;
    }

    void addFace(const aiMesh& mesh, const aiFace& face, std::uint32_t material, bool mirrored, Surface& surface) {
        if (face.mNumIndices > maxPolygonCorners) {
            throw ImportError("mesh \"" + fromAi(mesh.mName) + "\": a face has more than " +
                              std::to_string(maxPolygonCorners) + " corners");
        }
        for (unsigned int i = 0; i < face.mNumIndices; ++i) {
            if (face.mIndices[i] >= mesh.mNumVertices) {
                throw ImportError("mesh \"" + fromAi(mesh.mName) + "\": vertex index " +
                                  std::to_string(face.mIndices[i]) + " is out of range, it has " +
                                  std::to_string(mesh.mNumVertices) + " vertices");
            }
        }
        if (face.mNumIndices == 1) {
            parts.points.push_back(surface.positions[face.mIndices[0]]);
        } else if (face.mNumIndices == 2) {
            Polyline line;
            line.points = {surface.positions[face.mIndices[0]], surface.positions[face.mIndices[1]]};
            line.material = material;
            parts.polylines.push_back(std::move(line));
        } else if (face.mNumIndices > 2) {
            addPolygon(face, mirrored, surface);
        }
    }

    void addPolygon(const aiFace& face, bool mirrored, Surface& surface) {
        polygon.clear();
        for (unsigned int i = 0; i < face.mNumIndices; ++i) {
            polygon.push_back(surface.positions[face.mIndices[i]]);
        }
        pieces.clear();
        triangulate(polygon, pieces);
        for (std::size_t i = 0; i < pieces.size(); i += 3) {
            const std::uint32_t a = face.mIndices[pieces[i]];
            const std::uint32_t b = face.mIndices[pieces[i + 1]];
            const std::uint32_t c = face.mIndices[pieces[i + 2]];
            // A mirrored node turns its faces inside out.
            surface.corners.insert(surface.corners.end(), {a, mirrored ? c : b, mirrored ? b : c});
        }
    }

    // Assimp makes a material for what has none: by a name of its own, without a name, or, for glTF, behind all others.
    bool isMadeUp(std::uint32_t number) const {
        const std::string& name = parts.materials[number].name;
        return isLinear ? number + 1 == scene->mNumMaterials
                        : name.empty() || name == AI_DEFAULT_MATERIAL_NAME || name.starts_with("%%%");
    }

    // The mean of the colours at the vertices is the material's, for what knows nothing of them.
    std::uint32_t materialOf(const aiMesh& mesh) {
        std::uint32_t number = mesh.mMaterialIndex < scene->mNumMaterials ? mesh.mMaterialIndex : noIndex;
        if (number != noIndex && isMadeUp(number)) {
            number = noIndex;
        }
        if (!mesh.HasVertexColors(0) || mesh.mNumVertices == 0) {
            return number;
        }
        Colour sum;
        for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
            const aiColor4D& at = mesh.mColors[0][i];
            const Colour colour = fromAi(aiColor3D(at.r, at.g, at.b));
            sum = {sum.r + colour.r, sum.g + colour.g, sum.b + colour.b};
        }
        const double n = mesh.mNumVertices;
        Colour mean{sum.r / n, sum.g / n, sum.b / n};
        // What Assimp gives to entities of a drawing that name no colour.
        constexpr double drawingGrey = 0.6;
        const auto isGrey = [](double v) { return std::fabs(v - drawingGrey) < 1e-5; };
        if (number == noIndex && ending() == ".dxf" && isGrey(mean.r) && isGrey(mean.g) && isGrey(mean.b)) {
            return noIndex;
        }
        // Programs that know of no colours write black, by the letter, on each facet.
        if (number == noIndex && ending() == ".stl" && mean.r == 0.0 && mean.g == 0.0 && mean.b == 0.0) {
            return noIndex;
        }
        Material material;
        if (number != noIndex) {
            material = parts.materials[number];
        } else {
            material.diffuse = {1.0, 1.0, 1.0};
        }
        mean = isLinear ? toScreen(mean) : mean;
        factors[static_cast<std::uint32_t>(parts.materials.size())] = material.diffuse;
        material.diffuse = {material.diffuse.r * mean.r, material.diffuse.g * mean.g, material.diffuse.b * mean.b};
        parts.materials.push_back(std::move(material));
        return static_cast<std::uint32_t>(parts.materials.size() - 1);
    }

    std::string path;
    ReadLimits limits;
    ClipChoice clip;
    ReaderReport& report;
    double numMeshesDone = 0.0;
    Assimp::Importer importer;
    const aiScene* scene = nullptr;
    ModelParts parts;
    bool isLinear = false;
    std::unique_ptr<aiScene> posedScene; // in place of the importer's
    std::optional<AssimpPose> pose;
    std::uint64_t numElements = 0;
    std::map<std::string, Transform> worldFromNode;
    std::vector<TextureLayout> layouts;
    std::map<std::string, std::uint32_t> pictureNumbers; // by the names of textures
    std::uint64_t numPixels = 0;                         // of the pictures
    std::map<std::uint32_t, Colour> factors;             // of the materials of meshes with colours at their vertices
    Points polygon;
    Indices pieces;
};

} // namespace

ModelParts readByAssimp(const std::string& path, const ReadLimits& limits, const ClipChoice& clip,
                        ReaderReport& report) {
    return AssimpReader(path, limits, clip, report).read();
}

std::string assimpVersion() {
    return "Assimp " + std::to_string(aiGetVersionMajor()) + "." + std::to_string(aiGetVersionMinor()) + "." +
           std::to_string(aiGetVersionPatch());
}

} // namespace kivimport
