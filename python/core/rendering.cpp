#include "core/rendering.h"

#include "apps/common/papers.h"
#include "apps/common/pictureproblem.h"
#include "apps/common/sight.h"
#include "apps/common/vectorbuffer.h"
#include "apps/common/viewchoice.h"
#include "core/looks.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/vector/kivvectorpage.h"

#include <algorithm>
#include <exception>

namespace {

// Thrown where the progress was cancelled; its object has the reason.
class Stopped : public std::exception {};

Kiv3DPoint pointOf(const Vector3& v) {
    return {v[0], v[1], v[2]};
}
Kiv3DVector vectorOf(const Vector3& v) {
    return {v[0], v[1], v[2]};
}

ViewChoice choiceOf(const ViewRequest& view, const Placement& place) {
    ViewChoice choice;
    if (view.eye) {
        choice.eye = place.toScene(pointOf(*view.eye));
        // The middle of the scene, unless another place is named.
        choice.target = Kiv3DPoint(0.0, 0.0, 0.0);
    }
    if (view.target) {
        choice.target = place.toScene(pointOf(*view.target));
    }
    if (view.direction) {
        choice.direction = vectorOf(*view.direction);
        if (view.eye && !view.target) {
            const Kiv3DPoint eye = *choice.eye;
            choice.target =
                Kiv3DPoint(eye.x + choice.direction->x, eye.y + choice.direction->y, eye.z + choice.direction->z);
        }
    }
    if (view.up) {
        choice.up = vectorOf(*view.up);
    }
    choice.verticalFov = view.fov;
    if (view.height) {
        choice.orthoHeight = *view.height * place.scale;
    }
    return choice;
}

// The part of a symmetrical frustum that a picture shows: a lens that is shifted, or a detail.
void cutToWindow(KivCamera& camera, const std::array<double, 4>& window) {
    const double left = camera.getFrustumLeft();
    const double bottom = camera.getFrustumBottom();
    const double width = camera.getFrustumRight() - left;
    const double height = camera.getFrustumTop() - bottom;
    camera.setFrustumLeft(left + width * window[0]);
    camera.setFrustumBottom(bottom + height * window[1]);
    camera.setFrustumRight(left + width * window[2]);
    camera.setFrustumTop(bottom + height * window[3]);
}

// A scene without anything in it has a picture, too: that of its background.
std::vector<Kiv3DPoint> pointsToShow(const KivScene& scene) {
    std::vector<Kiv3DPoint> points = scenePoints(scene);
    if (points.empty()) {
        points = {{-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0}};
    }
    return points;
}

void checkImage(const std::string& file, const char* what) {
    const PictureProblem problem = problemOfPicture(kivFromUtf8(file));
    if (problem != PictureProblem::none) {
        throw RenderError(std::string(what) + ": can't use \"" + file + "\": " + pictureProblemText(problem));
    }
}

KivCommonSettings settingsOf(const RenderRequest& request, std::uint32_t background) {
    KivCommonSettings settings;
    settings.setAntialias(request.antialias);
    settings.setBackgroundColor(background);
    settings.setAmbientLight(request.ambient);
    settings.setTransparencies(request.transparency);
    settings.setPolygonOffset(request.offset);
    return settings;
}

// One scene under one camera with its lights and shaders, ready to be drawn any number of times.
class Drawing {
public:
    Drawing(LibraryUse& use, PythonScene& scene, const RenderRequest& renderRequest, RenderProgress& renderProgress,
            std::vector<std::string>& lines)
        : library(use), request(renderRequest), progress(renderProgress), warnings(lines),
          place(prepareAndDress(scene)), drawn(scene.objects()) {
        look = buildShaderStream(request.look, stream);
        warnings.insert(warnings.end(), look.warnings.begin(), look.warnings.end());
        const std::vector<Kiv3DPoint> points = pointsToShow(drawn.scene());
        view = chooseView(choiceOf(request.view, place), scene.camerasAt(place), scene.up(), points,
                          request.view.viewAspect(static_cast<double>(request.width) / request.height));
        if (request.view.window != ViewRequest().window) {
            cutToWindow(view.camera, request.view.window);
        }
        if (const std::string why = whyNothingIsSeen(points, view.camera, request.height); !why.empty()) {
            warnings.push_back("the camera sees nothing: " + why);
        }
        std::vector<KivLight> lights = scene.lightsAt(place, points);
        if (lights.empty()) {
            lights = defaultLights(view.axes, points);
        }
        for (KivLight& light : lights) {
            drawn.scene().addLight(light);
        }
    }

    static Placement prepare(PythonScene& scene, RenderProgress& progress) {
        return scene.prepare([&progress] {
            if (!progress.show(0.0, L"Preparing the scene")) {
                throw Stopped();
            }
        });
    }

    // The colour behind the scene: a backdrop has one of its own.
    std::uint32_t backgroundOr(std::uint32_t colour) const {
        return look.background.value_or(colour);
    }
    bool hasBackdrop() const {
        return look.background.has_value();
    }
    const std::vector<std::wstring>& meshNames() const {
        return drawn.meshNames();
    }
    // Where the depth of the picture begins and ends.
    void tellDepths(PictureData& picture) const {
        picture.nearPlane = view.camera.getFrustumNear() / place.scale;
        picture.farPlane = view.camera.getFrustumFar() / place.scale;
        picture.isPerspective = view.camera.getProjection() == KivCamera::perspective;
    }
    const Placement& placement() const {
        return place;
    }

    // Whether the context stays for the next render. With it stays the machine code that a driver without graphics
    // makes for what is drawn, a fifth of the work for a small picture; and the memory of its frame, at most 30 MB.
    bool isSmall(const KivCommonSettings& settings) const {
        constexpr std::int64_t most = 2'500'000;
        const std::int64_t factor =
            settings.doVectorial() ? 1 : std::int64_t{1} << std::clamp(settings.getAntialias(), 0, 2);
        return request.width * factor * (request.height * factor) <= most;
    }

    // Throws Stopped and RenderError.
    void draw(KivCommonSettings& settings, KivBitmapManager& surface, double from = 0.0, double to = 1.0) {
        KivMemoryCommonDataManager common;
        settings.saveDataOnHost(&common);
        library->host.takeMessages();
        library->hasDrawn = true;
        // A render empties its scene: it gets a copy, which shares the meshes.
        KivScene copy(drawn.scene());
        tagSIZE size{request.width, request.height};
        progress.restart(from, to);
        library->host.setCurProgress(&progress);
        kivSetLastError(0);
        kivKeepGlContexts(isSmall(settings));
        bool done = false;
        try {
            done = library->renderer.render(&common, &stream, &copy, view.camera, &surface, &size);
        } catch (const KivShader::stopReason&) {
            if (library->host.numMessages() == 0) {
                library->host.morvaneErrorMessage(kivGetLastError(), nullptr);
            }
        }
        const unsigned long error = kivGetLastError();
        library->host.setCurProgress(nullptr);
        if (!progress.show(to, L"")) {
            throw Stopped();
        }
        const std::vector<std::string> messages = library->host.takeMessages();
        if (!done) {
            throw RenderError("can't draw the scene: " + reason(messages, error));
        }
        warnings.insert(warnings.end(), messages.begin(), messages.end());
    }

    HBITMAP drawBitmap(KivCommonSettings settings, double from, double to) {
        KivBitmapManager surface;
        draw(settings, surface, from, to);
        return kivShareBitmap(surface.getHBitmap());
    }

private:
    // Looks go through the shaders' own pages: the stream of the picture comes after them.
    Placement prepareAndDress(PythonScene& scene) const {
        const Placement chosen = prepare(scene, progress);
        std::shared_ptr<const ObjectLooks> shared = std::make_shared<ObjectLooks>();
        const auto isSplit = [](const auto& object) { return object->isVisible && object->isSplit(); };
        if (std::any_of(scene.objects().begin(), scene.objects().end(), isSplit)) {
            shared = objectLooksOf(request.look);
        }
        for (const auto& object : scene.objects()) {
            object->dress(*shared);
        }
        return chosen;
    }

    std::string reason(const std::vector<std::string>& messages, unsigned long error) {
        if (!messages.empty()) {
            return messages.front();
        }
        if (error == 0 || error == kivErrorInvalidHandle) {
            return "nothing was drawn";
        }
        return kivToUtf8(kivSystemErrorText(error)) + memoryPlace(error, library->host);
    }

    LibraryUse& library;
    const RenderRequest& request;
    RenderProgress& progress;
    std::vector<std::string>& warnings;
    Placement place;
    DrawnScene drawn;
    KivMemoryDataManager stream;
    ChosenLook look;
    ChosenView view;
};

} // namespace

ResolvedView resolveView(LibraryUse& /*library*/, PythonScene& scene, const ViewRequest& view, double aspect,
                         RenderProgress& progress) {
    const Placement place = Drawing::prepare(scene, progress);
    DrawnScene drawn(scene.objects());
    const ChosenView chosen = chooseView(choiceOf(view, place), scene.camerasAt(place), scene.up(),
                                         pointsToShow(drawn.scene()), view.viewAspect(aspect));
    const Kiv3DPoint eye = place.toModel(chosen.camera.getLocation());
    const auto tripleOf = [](const Kiv3DVector& v) { return Vector3{v.x, v.y, v.z}; };
    ResolvedView resolved;
    resolved.eye = {eye.x, eye.y, eye.z};
    resolved.direction = tripleOf(chosen.axes.forward);
    resolved.up = tripleOf(chosen.axes.up);
    if (chosen.lens.orthoHeight > 0.0) {
        resolved.height = chosen.lens.orthoHeight / place.scale;
    } else {
        resolved.fov = chosen.lens.verticalFov;
    }
    resolved.nearPlane = chosen.camera.getFrustumNear() / place.scale;
    resolved.farPlane = chosen.camera.getFrustumFar() / place.scale;
    return resolved;
}

std::shared_ptr<PictureData> renderPicture(LibraryUse& library, PythonScene& scene, const RenderRequest& request,
                                           RenderProgress& progress, std::vector<std::string>& warnings) {
    checkImage(request.backgroundImage, "background_image");
    const std::string paper = findPaper(request.paper);
    checkImage(paper, "paper");
    try {
        Drawing drawing(library, scene, request, progress, warnings);
        KivCommonSettings settings = settingsOf(request, drawing.backgroundOr(request.background.value_or(0)));
        settings.setShadows(request.shadows);
        settings.setBackgroundImage(kivFromUtf8(request.backgroundImage).c_str());
        settings.setPaperImage(kivFromUtf8(paper).c_str());
        const std::wstring beside = request.temporaryFolder + L"/beside";
        settings.setSaveRenderFile((beside + L".bmp").c_str());
        settings.setSaveDepth(request.wantsDepth);
        settings.setSaveShadows(request.wantsShadow);
        const bool isTwice = !request.background && !drawing.hasBackdrop();
        auto picture = std::make_shared<PictureData>(drawing.drawBitmap(settings, 0.0, isTwice ? 0.5 : 1.0));
        if (request.wantsDepth) {
            picture->depth = readGrey(beside + L"_depth.bmp");
            drawing.tellDepths(*picture);
        }
        if (request.wantsShadow) {
            picture->shadow = readGrey(beside + L"_shadow.bmp");
        }
        if (isTwice) {
            settings.setSaveDepth(false);
            settings.setSaveShadows(false);
            settings.setBackgroundColor(0xFFFFFF);
            const PictureData overWhite(drawing.drawBitmap(settings, 0.5, 1.0));
            picture->takeOpacity(overWhite);
        }
        return picture;
    } catch (const Stopped&) {
        return nullptr;
    }
}

std::shared_ptr<DrawingData> renderDrawing(LibraryUse& library, PythonScene& scene, const RenderRequest& request,
                                           AreaKind areas, TextureKind textures, bool hidden, const std::wstring& title,
                                           RenderProgress& progress, std::vector<std::string>& warnings) {
    try {
        Drawing drawing(library, scene, request, progress, warnings);
        KivCommonSettings settings = settingsOf(request, drawing.backgroundOr(request.background.value_or(0xFFFFFF)));
        settings.setVectorial(true);
        settings.setShadows(request.shadows);
        auto result = std::make_shared<DrawingData>();
        result->place = drawing.placement();
        result->drawing.wantsHidden = hidden;
        KivDrawingCollector collector(result->drawing);
        collector.setAreas(static_cast<KivDrawingCollector::Areas>(areas));
        collector.setTextures(static_cast<KivDrawingCollector::Textures>(textures));
        collector.setTitle(title);
        collector.setObjectNames(drawing.meshNames());
        std::uint64_t triangles = 0;
        for (const auto& object : scene.objects()) {
            triangles += object->isVisible ? object->numTriangles() : 0;
        }
        growVectorBuffer(triangles * vectorFloatsPerTriangle);
        const std::size_t before = warnings.size();
        do {
            warnings.resize(before);
            KivBitmapManager surface;
            drawing.draw(settings, surface);
        } while (!collector.hasDrawing() && KivVectorPage::hasOverflowed() && growVectorBuffer());
        if (!collector.hasDrawing()) {
            throw RenderError(
                "can't draw the scene: " +
                (warnings.size() > before ? warnings.back() : std::string("the drawing is too large for its buffer")));
        }
        if (!KivVectorPage::wasOrderExact()) {
            warnings.emplace_back(
                "so much lies over one another in the drawing that some of it may be painted in the wrong order");
        }
        result->drawing.unitsPerPixel /= drawing.placement().scale;
        return result;
    } catch (const Stopped&) {
        return nullptr;
    }
}
