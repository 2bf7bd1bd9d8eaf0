// What the readers fill in and the scene is built from: plain data, free of OpenGL, of Assimp and of the scene classes,
// so that each step (read, weld, normals, build) is tested on its own.
#ifndef IMPORT_MODELPARTS_H
#define IMPORT_MODELPARTS_H

#include "import/bulkarray.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

struct KivTexture;

namespace kivimport {

// Thrown by the readers and caught in kivImportModels alone. The text lacks the file's name, which the catcher knows.
class ImportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The user has had enough. Caught in kivImportModels alone.
class ImportCancelled {};

struct Vec3 {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    friend bool operator==(const Vec3&, const Vec3&) = default;
    friend Vec3 operator+(const Vec3& a, const Vec3& b) {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    friend Vec3 operator-(const Vec3& a, const Vec3& b) {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    friend Vec3 operator*(const Vec3& a, double k) {
        return {a.x * k, a.y * k, a.z * k};
    }
};

using Points = BulkArray<Vec3>;
using Indices = BulkArray<std::uint32_t>;

inline double dot(const Vec3& a, const Vec3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(const Vec3& a) {
    return std::sqrt(dot(a, a));
}
// Zero, and what is too short to have a direction, stays zero.
inline Vec3 unit(const Vec3& a) {
    const double n = length(a);
    return n > 1e-150 ? a * (1.0 / n) : Vec3{};
}
inline bool isFinite(const Vec3& a) {
    return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

// A coordinate beyond this is not a model's: squares and volumes made of it would leave the range of the arithmetic.
inline constexpr double maxCoordinate = 1e30;

inline bool isUsable(const Vec3& a) {
    return std::fabs(a.x) <= maxCoordinate && std::fabs(a.y) <= maxCoordinate && std::fabs(a.z) <= maxCoordinate;
}

// Components 0 to 1 as a screen shows them (sRGB), not linear light.
struct Colour {
    double r = 0.0;
    double g = 0.0;
    double b = 0.0;

    friend bool operator==(const Colour&, const Colour&) = default;
};

inline constexpr std::uint32_t noIndex = std::numeric_limits<std::uint32_t>::max();

// A picture for surfaces. Without pixels it could not be read.
struct Picture {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint8_t> pixels; // rows from the top down; red, green, blue, straight alpha
    Colour average{1.0, 1.0, 1.0};
    bool hasAlpha = false; // is anything less than opaque
    std::string problem;   // why it could not be read
    // Made already, for all surfaces of several models that it lies on: what is above is its average alone.
    std::shared_ptr<const KivTexture> made = nullptr;
};

// How a picture goes on beyond its borders.
enum class Wrap : std::uint32_t { repeat, clamp, mirror };

// Of pictures with alpha, where the file does not say.
inline constexpr double usualCutOut = 0.5;

struct Material {
    std::string name;
    Colour ambient;
    Colour diffuse{0.8, 0.8, 0.8};
    Colour specular;
    Colour emission;
    double shininess = 0.0; // exponent of the highlight, 0 for none
    double opacity = 1.0;
    std::string texture; // file name of the diffuse texture as the model gives it, or empty
    Colour textureAverage{1.0, 1.0, 1.0};
    bool textureLoaded = false;
    std::uint32_t picture = noIndex; // the texture's, where it is to be drawn
    Wrap wrapU = Wrap::repeat;
    Wrap wrapV = Wrap::repeat;
    double cutOut = 0.0;  // what is less opaque in the texture is not there; 0: its alpha means nothing
    bool cutsAll = false; // the file says so itself, however soft the alpha is
};

// One of the names that a file gives to its objects, which stand in a tree.
struct Node {
    std::string name;
    std::uint32_t parent = noIndex;  // an earlier node
    std::vector<std::string> layers; // names of those that it lies on, beside those of its parents
};

// An edge of an exact shape, as a run of a surface's edge points.
struct SurfaceEdge {
    enum class Kind : std::uint32_t {
        sharp,   // the surface bends, or ends, or more than two faces meet
        tangent, // one face runs into the next without a bend
        seam     // a closed face meets itself, or a face that was cut in two goes on
    };

    Kind kind = Kind::sharp;
    std::uint32_t part = 0;           // of the surface
    std::uint32_t material = noIndex; // the edge's own colour
    std::uint32_t first = 0;          // place in the edge points
    std::uint32_t count = 0;          // at least 2
};

// One or more shells of triangles over a common set of positions. Normals are smoothed over the whole surface; each
// part of it becomes a mesh of its own.
struct Surface {
    struct Part {
        std::string name;
        std::uint32_t material = noIndex;
        std::uint32_t node = noIndex;
    };

    Points positions;
    Points normals;        // as the file gives them, any length; may be empty
    Indices corners;       // indices of positions, three to a triangle
    Indices cornerNormals; // indices of normals or noIndex, one to a corner; empty for none at all
    // Of a surface in a pose: where its positions and normals are at rest, one by one, or both empty.
    Points restPositions;
    Points restNormals;
    // Whether a program chose the normals, so that flat ones are meant to be flat. Those of files often are so by
    // chance.
    bool normalsAreMeant = false;
    Indices triangleParts; // indices of parts, one to a triangle; empty: all belong to the first
    std::vector<Part> parts;
    // Places in textures, the first two from (0, 0) at the upper left corner of the picture, or colours from 0 to 1.
    Points paint;
    Indices cornerPaint; // indices of paint or noIndex, one to a corner; empty for none at all
    bool isPaintColour = false;
    // Whether the file knows the edges of the surface. Those below are then all that it has, be they none.
    bool hasEdges = false;
    Indices edgePoints; // indices of positions
    std::vector<SurfaceEdge> edges;
};

// A surface at one of its places.
struct SurfaceInstance {
    std::uint32_t surface = 0;
    // Where the axes of the surface lead: of one length, at right angles; and where its origin lies.
    Vec3 x{1.0, 0.0, 0.0};
    Vec3 y{0.0, 1.0, 0.0};
    Vec3 z{0.0, 0.0, 1.0};
    Vec3 origin;
    std::uint32_t node = noIndex; // of the object, which gives the surface's parts their name too; noIndex: their own
    std::uint32_t material = noIndex; // of those parts that have none

    Vec3 placed(const Vec3& p) const {
        return x * p.x + y * p.y + z * p.z + origin;
    }
};

struct Polyline {
    Points points;
    bool closed = false;
    std::uint32_t material = noIndex;
};

struct Camera {
    std::string name;
    Vec3 location;
    Vec3 direction;
    Vec3 up;
    double verticalFov = 0.0; // degrees; 0 when orthographic
    double orthoHeight = 0.0;
};

struct Light {
    enum class Kind { directional, point, spot };

    std::string name;
    Kind kind = Kind::point;
    Vec3 location;
    Vec3 direction;
    Vec3 attenuation{1.0, 0.0, 0.0};
    double spotAngle = 0.0; // radians, from the axis to the edge of the cone
    Colour colour{1.0, 1.0, 1.0};
};

struct Animation {
    std::string name;
    double seconds = 0.0; // how long it is

    friend bool operator==(const Animation&, const Animation&) = default;
};

struct ModelParts {
    std::string format;
    bool zUp = false;
    double metresPerUnit = 0.0; // of the coordinates; 0 where the file does not say
    std::vector<Node> nodes;
    std::vector<Surface> surfaces;
    // Empty: each surface stands once and as it is. Otherwise all that stands, in the order of the file.
    std::vector<SurfaceInstance> instances;
    std::vector<Polyline> polylines;
    Points points;
    std::vector<Material> materials;
    std::vector<Picture> pictures;
    std::vector<Camera> cameras;
    std::vector<Light> lights;
    std::vector<Animation> animations;
    std::vector<std::string> warnings; // lines for the user, which lack the file's name

    // Those of a surface as often as it stands.
    std::uint64_t numTriangles() const {
        std::uint64_t count = 0;
        for (const SurfaceInstance& instance : instances) {
            count += surfaces[instance.surface].corners.size() / 3;
        }
        for (std::size_t i = 0; instances.empty() && i < surfaces.size(); ++i) {
            count += surfaces[i].corners.size() / 3;
        }
        return count;
    }
};

// How finely curved surfaces are cut into triangles.
struct Fineness {
    double deflection = 0.0;    // units of the file between surface and triangles at most; 0: by the other two
    double unitsPerPixel = 0.0; // of the picture in which the model is seen; 0: it fills the picture
    double picturePixels = 0.0; // along the picture's longer side
};

// An animation of the file in whose pose it is to be read.
struct ClipChoice {
    std::string name; // empty: the file's rest position
    double seconds = 0.0;
};

struct ReadLimits {
    std::uint64_t maxElements = 0; // triangles, lines and points that may still come
};

// All pictures of a model have at most so many pixels together; what comes beyond that is drawn in its mean colour.
inline constexpr std::uint64_t maxTexturePixels = std::uint64_t{1} << 26;

// Takes the pixels of a picture with which there would be too many; its average stays. pixels: how many there are.
void limitPixels(Picture& picture, std::uint64_t& pixels);

// Gives the material what it needs of its picture, or the user a line on why it has none; the same line comes once.
// number: the picture's among those of the model.
void takePicture(Material& material, std::uint32_t number, const Picture& picture, std::vector<std::string>& warnings);

// Takes places in textures from surfaces without a texture, which they would only cut up.
void dropUnusedPaint(ModelParts& parts);

// Paints the surfaces that have no texture with colours of the positions, and gives their parts the mean. Positions and
// colours are in the same order.
void paintPositions(ModelParts& parts, Points colours);

// Throws when count is above the limit.
void checkElements(std::uint64_t count, const ReadLimits& limits);

} // namespace kivimport

#endif
