// Adding up the lights, the shadow picture, and OpenGL's lights.
#include "kivrender/shadow/kivshadows.h"

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivreducedimage.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivpicturetile.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

constexpr int stencilBase = 100;

std::size_t pixelCount(tagSIZE size) {
    return static_cast<std::size_t>(std::max(size.cx, 0)) * static_cast<std::size_t>(std::max(size.cy, 0));
}

// Rows without padding, for as long as this lives.
class TightRows {
public:
    TightRows() {
        glGetIntegerv(GL_PACK_ALIGNMENT, &pack);
        glGetIntegerv(GL_UNPACK_ALIGNMENT, &unpack);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    }
    TightRows(const TightRows&) = delete;
    TightRows& operator=(const TightRows&) = delete;
    ~TightRows() {
        glPixelStorei(GL_PACK_ALIGNMENT, pack);
        glPixelStorei(GL_UNPACK_ALIGNMENT, unpack);
    }

private:
    GLint pack = 4;
    GLint unpack = 4;
};

// Reading takes milliseconds for each million pixels: after so many the user may cancel, and the bar may move.
constexpr int pixelsPerBand = 1 << 21;

// Adds one to the sum where the light just drawn is lost. After a cancel the sum is incomplete.
void addStencilInBands(tagSIZE size, unsigned char* sum) {
    const int rows = std::max(pixelsPerBand / std::max(size.cx, 1), 1);
    std::vector<unsigned char> band(pixelCount({size.cx, std::min(rows, size.cy)}));
    const TightRows tight;
    const KivFrameCorner corner = kivFrameCorner();
    for (int first = 0; first < size.cy && (first == 0 || !kivIsCancelled()); first += rows) {
        const tagSIZE part{size.cx, std::min(rows, size.cy - first)};
        glReadPixels(corner.x, corner.y + first, part.cx, part.cy, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, band.data());
        for (std::size_t i = 0; i < pixelCount(part); ++i, ++sum) {
            // How far above the base does not matter: a light is lost once, however many volumes enclose the point. The
            // sum stops at what a byte holds, so that more lights than that don't turn a shadow into light.
            *sum = static_cast<unsigned char>(*sum + (band[i] > stencilBase && *sum < 255 ? 1 : 0));
        }
    }
}

struct GlColour {
    explicit GlColour(std::uint32_t colour)
        : values{static_cast<float>(colour & 0xFF) / 255.0F, static_cast<float>(colour >> 8 & 0xFF) / 255.0F,
                 static_cast<float>(colour >> 16 & 0xFF) / 255.0F, 1.0F} {}
    float values[4];
};

void lightVector(GLenum light, GLenum name, double x, double y, double z, double w) {
    const float values[4] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z),
                             static_cast<float>(w)};
    glLightfv(light, name, values);
}

} // namespace

void KivShadows::createInitialStencilBuffer(tagSIZE size) {
    const std::size_t count = pixelCount(size);
    stencilBuffer = std::shared_ptr<unsigned char[]>(new unsigned char[count]);
    std::fill_n(stencilBuffer.get(), count, static_cast<unsigned char>(stencilBase));
}

void KivShadows::addCurrentStencil(tagSIZE size) {
    // Without a sum to add to, only the stencil buffer is made ready for the next light.
    if (stencilBuffer) {
        addStencilInBands(size, stencilBuffer.get());
    }
    glClearStencil(stencilBase);
    glClear(GL_STENCIL_BUFFER_BIT);
}

void KivShadows::saveAndDestroyStencilBuffer(tagSIZE size) {
    if (!stencilBuffer) {
        return;
    }
    const TightRows tight;
    glDrawPixels(size.cx, size.cy, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, stencilBuffer.get());
    stencilBuffer.reset();
}

void KivShadows::copyStencilToBitmap(const wchar_t* fileName, tagSIZE size, int lights,
                                     const KivCommonSettings& settings) {
    obtainDepthBuffer(size);
    glDisable(GL_BLEND);
    glDisable(GL_STENCIL_TEST);

    // The default alignment of 4 puts the rows on this stride.
    const std::size_t width = static_cast<std::size_t>(std::max(size.cx, 0));
    const std::size_t height = static_cast<std::size_t>(std::max(size.cy, 0));
    const std::size_t stride = (width + 3) / 4 * 4;
    std::vector<std::uint8_t> stencil(stride * height);
    std::vector<std::uint8_t> picture(stride * height, static_cast<std::uint8_t>(lights));
    const KivFrameCorner corner = kivFrameCorner();
    glReadPixels(corner.x, corner.y, size.cx, size.cy, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, stencil.data());
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            if (depthBuffer[y * width + x] != 1.0F) {
                const int lost = stencil[y * stride + x] - stencilBase;
                picture[y * stride + x] = static_cast<std::uint8_t>(lights - lost);
            }
        }
    }
    deleteDepthBuffer();

    KivHostApplicationServices* host = KivHostApplicationServices::getDefaultHost();
    std::unique_ptr<KivImage> image = KivImage::createIndexed(size, picture.data(), stride);
    if (image != nullptr && host != nullptr) {
        const auto palette = image->palette();
        palette[0] = 0;
        for (int i = 1; i <= lights && static_cast<std::size_t>(lights) < palette.size(); ++i) {
            palette[static_cast<std::size_t>(i)] = static_cast<std::uint32_t>(i * 255 / lights) * 0x010101U;
        }
        GUID encoder{};
        if (host->getEncoderClsidFromFileName(fileName, &encoder) >= 0) {
            const int level = settings.getAntialias();
            if (level == 1 || level == 2) {
                image = kivReducedImage(*host, std::move(image), 1 << level);
            }
            image->flip();
            if (KivPictureTile* const tile = kivPictureTile()) {
                tile->shadow = std::move(image);
            } else {
                // As with every picture beside the render, a failed save is not told.
                static_cast<void>(image->save(fileName, encoder));
            }
        }
    }
    glEnable(GL_BLEND);
    glEnable(GL_STENCIL_TEST);
}

void KivShadows::showStencil(tagSIZE size) {
    // From black over green and yellow to red.
    constexpr int entries = 16;
    static const float red[entries] = {0, 0, 0, 0, 0, 0.25F, 0.5F, 0.75F, 1, 1, 1, 1, 1, 1, 1, 1};
    static const float green[entries] = {0, 0.25F, 0.5F, 0.75F, 1, 1, 1, 1, 1, 0.75F, 0.5F, 0.25F, 0, 0, 0, 0};
    static const float blue[entries] = {};
    glPixelMapfv(GL_PIXEL_MAP_I_TO_R, entries, red);
    glPixelMapfv(GL_PIXEL_MAP_I_TO_G, entries, green);
    glPixelMapfv(GL_PIXEL_MAP_I_TO_B, entries, blue);
    // One pixel less in each direction than the size: the last row and column are left out. Rows are tight: drawing
    // colour indices, llvmpipe takes no account of padding.
    const TightRows tight;
    std::vector<std::uint8_t> buffer(pixelCount(size));
    const KivFrameCorner corner = kivFrameCorner();
    glReadPixels(corner.x, corner.y, size.cx - 1, size.cy - 1, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, buffer.data());
    glDrawPixels(size.cx - 1, size.cy - 1, GL_COLOR_INDEX, GL_UNSIGNED_BYTE, buffer.data());
    glFlush();
}

void KivShadows::obtainDepthBuffer(tagSIZE size) {
    if (!depthBuffer) {
        depthBuffer = std::shared_ptr<float[]>(new float[pixelCount(size)]);
    }
    const KivFrameCorner corner = kivFrameCorner();
    glReadPixels(corner.x, corner.y, size.cx, size.cy, GL_DEPTH_COMPONENT, GL_FLOAT, depthBuffer.get());
}

float* KivShadows::getDepthBuffer(tagSIZE size) {
    if (!depthBuffer) {
        obtainDepthBuffer(size);
    }
    return depthBuffer.get();
}

void KivShadows::deleteDepthBuffer() {
    depthBuffer.reset();
}

void KivShadows::setOnlyAmbientLight(const KivCommonSettings* settings, const KivScene* scene) {
    glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 0);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, GlColour(settings->getAmbientLight()).values);
    for (unsigned int i = 0; i < scene->numLights(); ++i) {
        glDisable(GL_LIGHT0 + i);
    }
}

void KivShadows::setOnlyOtherLight(const KivCommonSettings* settings, KivScene* scene, int light) const {
    if (settings->doVectorial()) {
        return;
    }
    const KivLight* source = scene->getLight(static_cast<unsigned int>(light));
    if (source == nullptr) {
        return;
    }
    const auto id = static_cast<GLenum>(GL_LIGHT0 + light);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, GlColour(0).values);
    glEnable(id);
    glLightfv(id, GL_DIFFUSE, GlColour(source->getDiffuse()).values);
    glLightfv(id, GL_SPECULAR, GlColour(source->getSpecular()).values);
    const Kiv3DVector direction = source->getDirection();
    const Kiv3DPoint location = source->getLocation();
    switch (source->getStyle()) {
    case KivLight::directionalLight:
        lightVector(id, GL_POSITION, -direction.x, -direction.y, -direction.z, 0);
        break;
    case KivLight::spotLight: {
        lightVector(id, GL_POSITION, location.x, location.y, location.z, 1);
        lightVector(id, GL_SPOT_DIRECTION, direction.x, direction.y, direction.z, 0);
        glLightf(id, GL_SPOT_EXPONENT, static_cast<float>(source->getSpotExponent()));
        glLightf(id, GL_SPOT_CUTOFF, static_cast<float>(source->getSpotAngle()));
        const Kiv3DVector attenuation = source->getAttenuation();
        glLightf(id, GL_CONSTANT_ATTENUATION, static_cast<float>(attenuation.x));
        glLightf(id, GL_LINEAR_ATTENUATION, static_cast<float>(attenuation.y));
        glLightf(id, GL_QUADRATIC_ATTENUATION, static_cast<float>(attenuation.z));
        break;
    }
    case KivLight::pointLight:
        lightVector(id, GL_POSITION, location.x, location.y, location.z, 1);
        break;
    default:
        break;
    }
}
