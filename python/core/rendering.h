// Renders of a scene to pictures and drawings.
#ifndef CORE_RENDERING_H
#define CORE_RENDERING_H

#include "apps/common/lookoptions.h"
#include "core/drawings.h"
#include "core/pictures.h"
#include "core/pythonscene.h"
#include "core/renderprogress.h"
#include "core/runtime.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using Vector3 = std::array<double, 3>;

// In the user's own coordinates. What is not given follows from the scene.
struct ViewRequest {
    std::optional<Vector3> eye;
    std::optional<Vector3> target;
    std::optional<Vector3> direction;
    std::optional<Vector3> up;
    std::optional<double> fov;    // degrees, vertical
    std::optional<double> height; // of a parallel view; 0 fits the scene
    // What the picture shows of the view: left, lower, right and upper side, where the view reaches from 0 to 1.
    std::array<double, 4> window{0.0, 0.0, 1.0, 1.0};

    // width / height of the view, of which the picture has that aspect.
    double viewAspect(double pictureAspect) const {
        return pictureAspect * (window[3] - window[1]) / (window[2] - window[0]);
    }
};

struct RenderRequest {
    std::int32_t width = 1280;
    std::int32_t height = 960;
    int antialias = 2;
    bool shadows = false;
    bool transparency = false;
    bool wantsDepth = false;
    bool wantsShadow = false;
    std::optional<std::uint32_t> background; // red in the low byte; none: see-through
    std::uint32_t ambient = 0;
    std::string backgroundImage; // files
    std::string paper;           // or the name of a paper
    double offset = 5.0;
    std::wstring temporaryFolder; // of the caller, for the pictures beside the render
    ViewRequest view;
    LookOptions look;
};

// A view with eye, direction and lens as they would be for a picture of that aspect.
struct ResolvedView {
    Vector3 eye;
    Vector3 direction;
    Vector3 up;
    double fov = 0.0;    // degrees; 0 for a parallel view
    double height = 0.0; // 0 in perspective
    double nearPlane = 0.0;
    double farPlane = 0.0;
};
ResolvedView resolveView(LibraryUse& library, PythonScene& scene, const ViewRequest& view, double aspect,
                         RenderProgress& progress);

// Throws RenderError and what the progress has cancelled it with; null where progress.rethrow() has the reason.
// warnings: what the user should read though there is a picture.
std::shared_ptr<PictureData> renderPicture(LibraryUse& library, PythonScene& scene, const RenderRequest& request,
                                           RenderProgress& progress, std::vector<std::string>& warnings);

// How the surfaces of a drawing come out.
enum class AreaKind { regions, faces, triangles };
enum class TextureKind { areas, mean, picture };

// The same as lines and areas; textures: how they come into areas; hidden: also of lines that something stands before.
std::shared_ptr<DrawingData> renderDrawing(LibraryUse& library, PythonScene& scene, const RenderRequest& request,
                                           AreaKind areas, TextureKind textures, bool hidden, const std::wstring& title,
                                           RenderProgress& progress, std::vector<std::string>& warnings);

#endif
