#include "kivrender/platform/kivegl.h"

#include "kivrender/platform/kivworkarounds.h"

#include <EGL/eglext.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <vector>

#ifndef EGL_PLATFORM_SURFACELESS_MESA
#define EGL_PLATFORM_SURFACELESS_MESA 0x31DD
#endif

namespace {

bool hasExtension(const char* list, std::string_view name) {
    if (list == nullptr) {
        return false;
    }
    const std::string padded = " " + std::string(list) + " ";
    return padded.find(" " + std::string(name) + " ") != std::string::npos;
}

std::vector<EGLDeviceEXT> devices() {
    const auto query = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    EGLint count = 0;
    if (query == nullptr || !hasExtension(extensions, "EGL_EXT_platform_device") || query(0, nullptr, &count) == 0) {
        return {};
    }
    std::vector<EGLDeviceEXT> found(static_cast<std::size_t>(count));
    if (count == 0 || query(count, found.data(), &count) == 0) {
        return {};
    }
    found.resize(static_cast<std::size_t>(count));
    return found;
}

bool isSoftware(EGLDeviceEXT device) {
    const auto query = reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(eglGetProcAddress("eglQueryDeviceStringEXT"));
    return query != nullptr && hasExtension(query(device, EGL_EXTENSIONS), "EGL_MESA_device_software");
}

EGLDisplay deviceDisplay(EGLDeviceEXT device) {
    return eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
}

EGLDisplay surfacelessDisplay() {
    return eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, reinterpret_cast<void*>(EGL_DEFAULT_DISPLAY), nullptr);
}

bool isUsable(EGLDisplay display) {
    if (display == EGL_NO_DISPLAY || eglInitialize(display, nullptr, nullptr) == EGL_FALSE) {
        return false;
    }
    KivGlFailure failure;
    const EGLContext context = kivEglCreateContext(display, &failure);
    if (context == EGL_NO_CONTEXT) {
        return false;
    }
    eglDestroyContext(display, context);
    return true;
}

EGLDisplay chooseDisplay() {
    const char* const wanted = std::getenv("SELVARIN_GL");
    if (wanted != nullptr && std::strcmp(wanted, "gpu") == 0) {
        for (EGLDeviceEXT device : devices()) {
            if (!isSoftware(device) && isUsable(deviceDisplay(device))) {
                return deviceDisplay(device);
            }
        }
    }
    // Without a window system Mesa takes the first graphics card it finds; only its software device is sure to draw the
    // same bytes everywhere.
    if (kivWorkaround("software-device")) {
        for (EGLDeviceEXT device : devices()) {
            if (isSoftware(device) && eglInitialize(deviceDisplay(device), nullptr, nullptr) != EGL_FALSE) {
                return deviceDisplay(device);
            }
        }
    }
    return surfacelessDisplay();
}

} // namespace

KivEglBinding KivEglBinding::current() {
    KivEglBinding binding;
    binding.api = eglQueryAPI();
    binding.context = eglGetCurrentContext();
    if (binding.context != EGL_NO_CONTEXT) {
        binding.display = eglGetCurrentDisplay();
        binding.draw = eglGetCurrentSurface(EGL_DRAW);
        binding.read = eglGetCurrentSurface(EGL_READ);
    }
    return binding;
}

void KivEglBinding::restore(EGLDisplay ownDisplay) const {
    if (context == EGL_NO_CONTEXT || eglMakeCurrent(display, draw, read, context) == EGL_FALSE) {
        eglBindAPI(EGL_OPENGL_API);
        eglMakeCurrent(ownDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
    eglBindAPI(api);
}

EGLDisplay kivEglDisplay(KivGlFailure* failure) {
    static std::mutex mutex;
    static EGLDisplay chosen = EGL_NO_DISPLAY;
    const std::lock_guard<std::mutex> guard(mutex);
    if (chosen == EGL_NO_DISPLAY) {
        chosen = chooseDisplay();
    }
    if (chosen == EGL_NO_DISPLAY) {
        *failure = kivEglFailure("eglGetPlatformDisplay");
        return EGL_NO_DISPLAY;
    }
    if (eglInitialize(chosen, nullptr, nullptr) == EGL_FALSE) {
        *failure = kivEglFailure("eglInitialize");
        return EGL_NO_DISPLAY;
    }
    return chosen;
}

EGLContext kivEglCreateContext(EGLDisplay display, KivGlFailure* failure) {
    const EGLenum before = eglQueryAPI();
    if (eglBindAPI(EGL_OPENGL_API) == EGL_FALSE) {
        *failure = kivEglFailure("eglBindAPI");
        return EGL_NO_CONTEXT;
    }
    EGLConfig config = EGL_NO_CONFIG_KHR;
    if (!hasExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_no_config_context")) {
        constexpr std::array<EGLint, 3> wanted{EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
        EGLint count = 0;
        eglChooseConfig(display, wanted.data(), &config, 1, &count);
    }
    // No version is asked for: drivers answer with the newest one that has the fixed function.
    const EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
    if (context == EGL_NO_CONTEXT) {
        *failure = kivEglFailure("eglCreateContext");
    }
    eglBindAPI(before);
    return context;
}

KivGlFailure kivEglFailure(const char* call) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto error = static_cast<std::uint32_t>(eglGetError());
    std::string text = std::string(call) + ": 0x";
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += digits[(error >> static_cast<unsigned int>(shift)) & 15U];
    }
    return {KivGlFailure::noDriver, 0, text};
}
