// What a render does to the picture apart from the shaders: the background under the scene, the depth of meshes that no
// shader paints, the paper over the result, the depth image, the reduction to the final size and the saving.
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivreducedimage.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivgldepth.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivwholefile.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/render/kivmeshwalk.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivstreamlines.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivdrawing.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshadercommunication.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <algorithm>
#include <cmath>
#include <gl2ps.h>
#include <memory>
#include <mutex>
#include <new>
#include <tuple>
#include <vector>

namespace {

// How pictures lie in memory for OpenGL: rows of 24 bits a pixel, padded to 4 bytes.
class PictureRows {
public:
    PictureRows() {
        glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
        for (const GLenum parameter : {GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS,
                                       GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS, GL_PACK_SKIP_PIXELS}) {
            glPixelStorei(parameter, 0);
        }
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
    }
    PictureRows(const PictureRows&) = delete;
    PictureRows& operator=(const PictureRows&) = delete;
    ~PictureRows() {
        glPopClientAttrib();
    }
};

// False if the render is cancelled; otherwise the status line has text number id. Without a progress object true.
bool announce(KivProgress* progress, unsigned int id) {
    if (progress == nullptr) {
        return true;
    }
    if (progress->isCancelled()) {
        return false;
    }
    progress->setText(kivText(id).c_str());
    return true;
}

std::unique_ptr<KivImage> stretch(KivImage* image, tagSIZE size) {
    KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
    return std::unique_ptr<KivImage>(host != nullptr ? host->stretchImageBilinear(image, size) : nullptr);
}

// 1, 2 or 4 for the levels 0, 1 and 2; other levels enlarge nothing.
std::int32_t enlargement(int antialias) {
    return antialias == 1 ? 2 : antialias == 2 ? 4 : 1;
}

// The sources of one direction whose enlarged pixels can be seen when a picture of that length stands centred in view
// pixels: begin and end, with room to spare for what the filter looks at. Both lie on multiples of 4 where they don't
// lie on the picture's edge, so that no rounding of the enlarged size stretches the part.
std::pair<std::int32_t, std::int32_t> visibleSources(std::int32_t length, std::int32_t times, std::int32_t view) {
    constexpr std::int32_t spare = 8;
    const std::int64_t hidden = std::max<std::int64_t>(0, (std::int64_t{length} * times - view) / 2 / times - spare);
    const auto begin = static_cast<std::int32_t>(hidden / 4 * 4);
    const std::int32_t end = std::min(length, (length - begin + 3) / 4 * 4);
    return {begin, std::max(begin + 1, end)};
}

// The same in one direction for a tile of the view: the pixels from begin to end of it.
std::pair<std::int32_t, std::int32_t> tileSources(std::int32_t length, std::int32_t times, std::int32_t view,
                                                  std::int64_t begin, std::int64_t end) {
    constexpr std::int64_t spare = 8;
    const std::int64_t place = (view - std::int64_t{length} * times) / 2;
    const std::int64_t first = std::clamp<std::int64_t>((begin - place) / times - spare, 0, length);
    const std::int64_t last = std::clamp<std::int64_t>((end - place) / times + spare, 0, length);
    return {static_cast<std::int32_t>(first / 4 * 4),
            static_cast<std::int32_t>(std::min<std::int64_t>(length, (last + 3) / 4 * 4))};
}

// The sources of a background picture that can be seen in a frame, rows counted from below. A side is empty where a
// tile shows nothing of it. Enlarged rows are stretched to a multiple of 4 pixels: as long as they can be had, all
// tiles take the columns that the whole view would.
tagRECT seenSources(tagSIZE picture, std::int32_t times, tagSIZE size) {
    const KivPictureTile* const tile = kivPictureTile();
    auto [x0, x1] = visibleSources(picture.cx, times, kivPictureSize(size).cx);
    if (tile != nullptr && std::int64_t{x1 - x0} * times > KivImage::sideLimit) {
        std::tie(x0, x1) = tileSources(picture.cx, times, tile->picture.cx, tile->left, tile->left + size.cx);
    }
    const auto [y0, y1] = tile != nullptr
                              ? tileSources(picture.cy, times, tile->picture.cy, tile->bottom, tile->bottom + size.cy)
                              : visibleSources(picture.cy, times, size.cy);
    return {x0, y0, x1, y1};
}

// Where a picture of that length lies that stands centred in the view. A raster position between two pixels is rounded
// away from zero, which must not depend on the tile.
float centredPlace(float length, std::int32_t view, bool isTile, std::int32_t tileBegin) {
    const float place = (static_cast<float>(view) - length) / 2;
    return isTile ? std::round(place) - static_cast<float>(tileBegin) : place;
}

void drawPicture(const KivImage& picture) {
    const PictureRows rows;
    glDrawPixels(picture.width(), picture.height(), GL_BGR, GL_UNSIGNED_BYTE, picture.row(0));
    glFinish();
}

void moveRasterPosition(float x, float y) {
    glBitmap(0, 0, 0.0F, 0.0F, x, y, nullptr);
}

// Draws a mesh for its depth alone. Between two questions for a cancel lie some milliseconds; false once cancelled.
bool drawDepthOfMesh(const KivMesh& mesh) {
    constexpr unsigned int trianglesPerPoll = 8192;
    Kiv3DPoint points[3];
    for (unsigned int triangle = 0; triangle < mesh.getNumTriangles(); ++triangle) {
        if (triangle % trianglesPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        mesh.getTriangle(points, triangle);
        KivDrawing::beginDrawing(false, KivDrawing::triangles);
        KivDrawing::drawTriangle(points, false);
        KivDrawing::endDrawing(false);
    }
    return true;
}

bool hasPaintedMesh(const KivScene& scene, const KivShaderCommunication& channel) {
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        if (mesh != nullptr && mesh->hasNonCombinable(channel.hasNonCombinable())) {
            return true;
        }
    }
    return false;
}

// The depth buffer as grey values, rows from the bottom up and stride apart. Empty without memory.
std::vector<std::uint8_t> readDepth(tagSIZE size, std::size_t stride) {
    const auto width = static_cast<std::size_t>(size.cx);
    const auto height = static_cast<std::size_t>(size.cy);
    std::vector<float> depth(width * height);
    {
        const PictureRows rows;
        const KivFrameCorner corner = kivFrameCorner();
        glReadPixels(corner.x, corner.y, size.cx, size.cy, GL_DEPTH_COMPONENT, GL_FLOAT, depth.data());
    }
    std::vector<std::uint8_t> grey(stride * height);
    for (std::size_t y = 0; y < height; ++y) {
        std::transform(depth.begin() + static_cast<std::ptrdiff_t>(y * width),
                       depth.begin() + static_cast<std::ptrdiff_t>((y + 1) * width),
                       grey.begin() + static_cast<std::ptrdiff_t>(y * stride),
                       [](float value) { return static_cast<std::uint8_t>(value * 255.0); });
    }
    return grey;
}

void drawPaperQuad() {
    struct Corner {
        float s, t, x, y;
    };
    constexpr Corner corners[] = {{0, 0, -1, -1}, {1, 0, 1, -1}, {1, 1, 1, 1}, {0, 1, -1, 1}};
    glBegin(GL_QUADS);
    glColor4f(1.0F, 1.0F, 1.0F, 0.5F);
    glNormal3f(0.0F, 0.0F, 1.0F);
    for (const Corner& corner : corners) {
        glTexCoord2f(corner.s, corner.t);
        glVertex3f(corner.x, corner.y, 1.0F);
    }
    glEnd();
}

} // namespace

void KivRenderer::drawBackgroundImage(const KivCommonSettings& settings, tagSIZE size, KivProgress* progress) {
    if (settings.doVectorial() || settings.getBackgroundImage().empty() || !announce(progress, 56)) {
        return;
    }
    std::unique_ptr<KivImage> picture = KivImage::load(settings.getBackgroundImage());
    if (!picture) {
        return;
    }
    const std::int32_t times = enlargement(settings.getAntialias());
    const auto width = static_cast<float>(std::int64_t{picture->width()} * times);
    const auto height = static_cast<float>(std::int64_t{picture->height()} * times);

    // A photograph is often larger than the picture, and four times as large in both directions would not fit into
    // memory: only the part in the middle that shows is enlarged.
    std::int32_t left = 0;
    std::int32_t below = 0;
    if (times > 1) {
        const tagRECT seen = seenSources(picture->size(), times, size);
        if (seen.left >= seen.right || seen.top >= seen.bottom) {
            return;
        }
        const std::int32_t top = picture->height() - seen.bottom;
        const std::int32_t bottom = picture->height() - seen.top;
        if (auto part = picture->part({seen.left, top, seen.right, bottom})) {
            if (auto enlarged =
                    stretch(part.get(), {(seen.right - seen.left) * times, (seen.bottom - seen.top) * times})) {
                picture = std::move(enlarged);
                left = seen.left * times;
                below = seen.top * times;
            }
        }
    }
    picture->flip();
    const KivPictureTile* const tile = kivPictureTile();
    const tagSIZE whole = kivPictureSize(size);
    const float x = centredPlace(width, whole.cx, tile != nullptr, tile != nullptr ? tile->left : 0);
    const float y = centredPlace(height, whole.cy, tile != nullptr, tile != nullptr ? tile->bottom : 0);
    moveRasterPosition(x, y);
    moveRasterPosition(static_cast<float>(left), static_cast<float>(below));
    drawPicture(*picture);
    // Back to where a fresh context has it: the summed shadows and the depth of the opaque scene are drawn there.
    moveRasterPosition(-static_cast<float>(left), -static_cast<float>(below));
    moveRasterPosition(-x, -y);
}

void KivRenderer::fillDepthForLines(const KivScene* scene, const KivCommonSettings& settings,
                                    KivShaderCommunication& channel) {
    const bool vectorial = settings.doVectorial();
    const bool isCollected = vectorial && KivDrawingCollector::current() != nullptr;
    if (isCollected && !hasPaintedMesh(*scene, channel)) {
        return; // there are no areas to hide, and lines find by themselves what hides them
    }
    glDepthMask(GL_TRUE);
    float factor = 0;
    float units = 0;
    channel.getPolygonOffset(&factor, &units);
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(factor + 1.0F, units + 1.0F);
    if (vectorial) {
        gl2psEnable(GL2PS_POLYGON_OFFSET_FILL);
        // The page records these triangles too: there they cover what lies behind in the colour of the background.
        const std::uint32_t colour = settings.getBackgroundColor();
        const auto component = [&](int shift) { return static_cast<float>(colour >> shift & 0xFF) / 255.0F; };
        KivDrawing::enableLighting(false, true);
        KivDrawing::setColor(component(0), component(8), component(16), 1.0F, true);
    }
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    KivShader* const known = KivShader::getByTag(L"Sketch");
    auto* sketch = known != nullptr && kivIsCombinable(*known) ? static_cast<KivCombinableShader*>(known) : nullptr;
    for (unsigned int i = 0; i < scene->numMeshes(); ++i) {
        const KivMesh* mesh = scene->getMesh(i);
        if (mesh == nullptr || (settings.doTransparencies() && !mesh->isOpaque())) {
            continue;
        }
        if (mesh->hasNonCombinable(channel.hasNonCombinable())) {
            continue;
        }
        // Without a sketch shader nothing asks for the depth of a mesh that nobody paints. Lines of any other shader
        // hide as well what an object's own look paints behind them.
        const bool hasLines = isCollected || (!vectorial && mesh->getNumCombinableShaders() > 0);
        const bool hides =
            hasLines || (sketch != nullptr && kivCallShader(*sketch, [&] { return sketch->rendersMesh(mesh); }));
        if (hides && !drawDepthOfMesh(*mesh)) {
            break;
        }
    }
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

bool KivRenderer::drawDepth(const KivScene& scene, const KivCamera& camera, tagSIZE size,
                            const std::function<bool(const KivMesh&)>& isDrawn) {
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    kivClipDepthAsUsual();
    kivSetPictureViewport(size);
    glMatrixMode(GL_PROJECTION);
    kivLoadPictureProjection();
    setCamera(camera, false);
    for (const GLenum off : {GL_STENCIL_TEST, GL_BLEND, GL_LIGHTING, GL_CULL_FACE, GL_TEXTURE_1D, GL_TEXTURE_2D}) {
        glDisable(off);
    }
    // As surfaces lie without shadows, behind the lines on them.
    float factor = 0;
    float units = 0;
    communication.getPolygonOffset(&factor, &units);
    kivSetPolygonOffset(factor, units, false);
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glDepthFunc(GL_LEQUAL);
    glClear(GL_DEPTH_BUFFER_BIT);
    bool done = true;
    for (unsigned int i = 0; done && i < scene.numMeshes(); ++i) {
        const KivMesh* mesh = scene.getMesh(i);
        done = mesh == nullptr || !isDrawn(*mesh) || drawDepthOfMesh(*mesh);
    }
    glPopAttrib();
    return done;
}

void KivRenderer::saveDepthBuffer(tagSIZE size, [[maybe_unused]] KivProgress* progress, KivCommonSettings& settings) {
    const std::wstring file = settings.getSaveDepthFile();
    KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
    if (!settings.doSaveDepth() || file.empty() || size.cx <= 0 || size.cy <= 0 || host == nullptr) {
        return;
    }
    const std::size_t stride = (static_cast<std::size_t>(size.cx) + 3) / 4 * 4;
    std::unique_ptr<KivImage> image;
    try {
        image = KivImage::createIndexed(size, readDepth(size, stride).data(), stride);
    } catch (const std::bad_alloc&) {
        return;
    }
    GUID encoder;
    if (!image || host->getEncoderClsidFromFileName(file.c_str(), &encoder) < 0) {
        return;
    }
    const std::int32_t times = settings.doVectorial() ? 1 : enlargement(settings.getAntialias());
    if (times > 1) {
        image = kivReducedImage(*host, std::move(image), times);
    }
    image->flip();
    if (KivPictureTile* const tile = kivPictureTile()) {
        tile->depth = std::move(image);
        return;
    }
    image->save(file, encoder);
}

unsigned int KivRenderer::getPreviousPowerOfTwo(unsigned int value) {
    constexpr unsigned int largest = 32768;
    unsigned int power = 2;
    while (power < largest && power * 2 <= value) {
        power *= 2;
    }
    return power;
}

void KivRenderer::drawPaperImage(const KivCommonSettings& settings, KivProgress* progress) {
    if (settings.getPaperImage().empty() || !announce(progress, 60)) {
        return;
    }
    std::unique_ptr<KivImage> paper = KivImage::load(settings.getPaperImage());
    if (!paper) {
        return;
    }
    const tagSIZE size{static_cast<std::int32_t>(getPreviousPowerOfTwo(static_cast<unsigned int>(paper->width()))),
                       static_cast<std::int32_t>(getPreviousPowerOfTwo(static_cast<unsigned int>(paper->height())))};
    paper = paper->scaled(size);
    if (!paper) {
        return;
    }
    paper->flip();

    glMatrixMode(GL_PROJECTION);
    kivLoadPictureProjection();
    glOrtho(-1.0, 1.0, -1.0, 1.0, -1.0, 1.0);
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();

    glEnable(GL_TEXTURE_2D);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    {
        const PictureRows rows;
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, size.cx, size.cy, 0, GL_BGR, GL_UNSIGNED_BYTE, paper->row(0));
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    // Plain GL_CLAMP mixes the black border into the outermost texels where a driver takes it at its word, as Mesa
    // does: a dark frame around every picture.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);

    // The paper multiplies what is there.
    glEnable(GL_BLEND);
    glDisable(GL_LIGHTING);
    glBlendFunc(GL_ZERO, GL_SRC_COLOR);
    drawPaperQuad();
    glDisable(GL_BLEND);
    kivWaitForDrawing(progress);
    glFinish();
    // The texture ends with the context, which follows at once.
}

void KivRenderer::makeAntialias(KivBitmapManager* surface, KivProgress* progress, const KivCommonSettings* settings,
                                tagSIZE finalSize) {
    {
        const std::lock_guard locked(*surface);
        if (surface->getHBitmap() != nullptr && announce(progress, 35)) {
            const bool enlarged = !settings->doVectorial() && enlargement(settings->getAntialias()) > 1;
            const HDC screen = enlarged ? kivScreenDeviceContext() : nullptr;
            KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
            if (screen != nullptr && host != nullptr) {
                host->stretchImageBilinear(screen, surface, finalSize);
            }
        }
    }
    if (progress != nullptr) {
        progress->advance(1, true);
    }
}

void KivRenderer::saveFinalRender(KivBitmapManager* surface, const KivCommonSettings& settings) {
    const std::lock_guard locked(*surface);
    if (settings.doSaveRender()) {
        const std::wstring file = settings.getSaveRenderFile();
        KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
        if (host != nullptr && kivCanWriteFile(file)) {
            host->saveImage(*surface, file.c_str());
        }
    } else if (settings.doVectorial()) {
        saveDrawing(surface, settings.getSaveVectorFile());
    }
}

// As with pictures, the path itself is at fault without a message. A drawing that was not copied stays where it is for
// the host, as long as the surface.
void KivRenderer::saveDrawing(KivBitmapManager* surface, const std::wstring& file) {
    const std::wstring& drawing = surface->getVectorialTempFileName();
    if (drawing.empty() || !kivCanWriteFile(file)) {
        return;
    }
    if (kivCopyWholeFile(drawing, file)) {
        forgetVectorFile(*surface);
    } else if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
        const unsigned long error = kivGetLastError();
        host->morvaneErrorMessage(error, (L"While saving file \"" + file + L"\".").c_str());
        kivSetLastError(error);
    }
}
