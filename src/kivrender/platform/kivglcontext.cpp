#include "kivrender/platform/kivglcontext.h"

#include "kivrender/platform/kivdeferredpicture.h"
#include "kivrender/platform/kivglframe.h"
#include "kivrender/platform/kivglobjects.h"
#include "kivrender/platform/kivglwarmup.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

namespace {

// What this thread has taken. Plain data, since surfaces that are globals of the host are released after the objects of
// the thread; a handle and not a pointer, as another thread may end the context.
struct ThreadState {
    HGLRC taken;
    KivEglBinding callers;
};
thread_local ThreadState thread{};

struct PlainFailure {
    KivGlFailure::Kind kind;
    std::int32_t limit;
    std::array<char, 128> detail;
};
thread_local PlainFailure lastFailure{};

std::mutex warmMutex;
std::shared_ptr<KivGlContextObject>& warmContext() {
    static auto* const context = new std::shared_ptr<KivGlContextObject>;
    return *context;
}

thread_local const KivGlFrame* currentFrame = nullptr;

bool makeEglCurrent(const KivGlContextObject& object) {
    return eglMakeCurrent(object.display, EGL_NO_SURFACE, EGL_NO_SURFACE, object.context) != EGL_FALSE;
}

// The picture of the context that this thread has taken goes into its bitmap. What is current to EGL afterwards is
// ours or, if a foreign context was made current behind our back and ours can't be had again, that one.
bool finishTaken(KivGlContextObject& object) {
    if (eglGetCurrentContext() != object.context && !makeEglCurrent(object)) {
        return kivFailGl(kivEglFailure("eglMakeCurrent"));
    }
    KivBitmapObject& bitmap = *object.bitmap;
    bitmap.settle(false);
    object.framebuffer.read(0, bitmap.size.cy, bitmap.memory->data());
    return true;
}

// Only what nobody draws with or reads from any more.
void keepForNext(const std::shared_ptr<KivGlContextObject>& object) {
    if (object == nullptr || !kivKeepsGlContexts() || object.use_count() > 1) {
        return;
    }
    {
        const KivEglRestore restore(object->display);
        if (!makeEglCurrent(*object) || !kivMakeAsNew(*object)) {
            return;
        }
    }
    object->isBehindBitmap = false;
    object->defersPictures = false;
    const std::lock_guard<std::mutex> guard(warmMutex);
    warmContext() = object;
}

// A picture that stays with its context, which serves again once nobody wants the picture any more.
class DeferredPicture : public KivDrawnPicture {
public:
    explicit DeferredPicture(std::shared_ptr<KivGlContextObject> drawn) : object(std::move(drawn)) {}
    DeferredPicture(const DeferredPicture&) = delete;
    DeferredPicture& operator=(const DeferredPicture&) = delete;
    ~DeferredPicture() override {
        keepForNext(object);
    }

    bool readRows(std::int32_t first, std::int32_t count, std::uint8_t* rows) override {
        return object->readRows(first, count, rows);
    }

private:
    std::shared_ptr<KivGlContextObject> object;
};

// The same at the end of a drawing, which the framebuffer may keep.
bool leaveTaken(const std::shared_ptr<KivGlContextObject>& object) {
    return (object->defersPictures && object->bitmap->keep(std::make_shared<DeferredPicture>(object))) ||
           finishTaken(*object);
}

bool releaseTaken() {
    if (thread.taken == nullptr) {
        return true;
    }
    const auto object = kivGlContextTable().find(thread.taken);
    const bool isFinished = object == nullptr || leaveTaken(object);
    // A context that another thread has ended is still current here; its display is that of the driver.
    KivGlFailure ignored;
    thread.callers.restore(object != nullptr ? object->display : kivEglDisplay(&ignored));
    thread = {};
    return isFinished;
}

bool failTaking(const char* detail) {
    releaseTaken();
    return kivFailGl({KivGlFailure::wrongUse, 0, detail});
}

// With ours current to EGL.
void takeOverBitmap(KivGlContextObject& object, std::shared_ptr<KivBitmapObject> bitmap) {
    object.bitmap = std::move(bitmap);
    if (object.isBehindBitmap) {
        object.framebuffer.write(object.bitmap->pixels());
        object.isBehindBitmap = false;
    }
}

} // namespace

KivGlFrameScope::KivGlFrameScope(const KivGlFrame& wanted) : frame(wanted) {
    currentFrame = &frame;
}

KivGlFrameScope::~KivGlFrameScope() {
    currentFrame = nullptr;
}

KivGlFrame kivGlFrameOf(tagSIZE surface) {
    return currentFrame != nullptr ? *currentFrame : KivGlFrame{surface, 0, 0};
}

KivGlContextTable& kivGlContextTable() {
    static KivGlContextTable* const table = new KivGlContextTable;
    return *table;
}

KivGlContextObject::~KivGlContextObject() {
    if (context != EGL_NO_CONTEXT) {
        eglDestroyContext(display, context);
    }
}

bool KivGlContextObject::readRows(std::int32_t first, std::int32_t count, std::uint8_t* rows) {
    const KivEglRestore restore(display);
    if (eglGetCurrentContext() != context && !makeEglCurrent(*this)) {
        return kivFailGl(kivEglFailure("eglMakeCurrent"));
    }
    framebuffer.read(first, count, rows);
    return true;
}

std::shared_ptr<KivGlContextObject> KivGlContextObject::make(KivGlFailure* failure) {
    auto object = std::make_shared<KivGlContextObject>();
    object->display = kivEglDisplay(failure);
    if (object->display == EGL_NO_DISPLAY) {
        return nullptr;
    }
    object->context = kivEglCreateContext(object->display, failure);
    return object->context != EGL_NO_CONTEXT ? object : nullptr;
}

bool KivGlContextObject::fit(tagSIZE size, bool withStencil, KivGlFailure* failure) {
    const KivGlFrame wanted = kivGlFrameOf(size);
    const KivGlFrame& present = framebuffer.frame();
    const bool isLargeEnough = present.size == wanted.size && (framebuffer.hasStencil() || !withStencil);
    if (isLargeEnough && framebuffer.size() == size && present.left == wanted.left && present.bottom == wanted.bottom) {
        return true;
    }
    const KivEglRestore restore(display);
    if (!makeEglCurrent(*this)) {
        *failure = kivEglFailure("eglMakeCurrent");
        return false;
    }
    if (isLargeEnough) {
        framebuffer.moveTo(wanted, size);
        return true;
    }
    framebuffer.destroy();
    glFinish(); // the driver frees what is drawn into only after the drawing
    return framebuffer.create(wanted, size, withStencil, failure);
}

std::shared_ptr<KivGlContextObject> kivTakeGlContext(tagSIZE size, bool withStencil, KivGlFailure* failure) {
    std::shared_ptr<KivGlContextObject> object;
    {
        const std::lock_guard<std::mutex> guard(warmMutex);
        object.swap(warmContext());
    }
    if (object != nullptr && object->isReusable && !kivKeepsGlContexts()) {
        object = nullptr;
    }
    // Warmed up long ago: the display may have been terminated since by a caller who shares it, and the context with
    // it. Then a new one serves.
    if (object != nullptr && kivEglDisplay(failure) != EGL_NO_DISPLAY) {
        const KivEglRestore restore(object->display);
        if (!makeEglCurrent(*object)) {
            object = nullptr;
        }
    }
    if (object == nullptr) {
        object = KivGlContextObject::make(failure);
    }
    if (object == nullptr || !object->fit(size, withStencil, failure)) {
        return nullptr;
    }
    if (kivKeepsGlContexts()) {
        const KivEglRestore restore(object->display);
        if (makeEglCurrent(*object)) {
            kivPrepareReuse(*object);
        }
    }
    return object;
}

void kivBeforeBitmapChange(KivGlContextObject& context) {
    if (thread.taken != nullptr && kivGlContextTable().find(thread.taken).get() == &context) {
        finishTaken(context);
    }
}

void kivAfterBitmapChange(KivGlContextObject& context) {
    context.isBehindBitmap = true;
    if (thread.taken != nullptr && kivGlContextTable().find(thread.taken).get() == &context) {
        takeOverBitmap(context, context.bitmap);
    }
}

void kivClearGlFailure() {
    lastFailure = {};
}

bool kivFailGl(const KivGlFailure& failure) {
    lastFailure = {failure.kind, failure.limit, {}};
    std::copy_n(failure.detail.begin(), std::min(failure.detail.size(), lastFailure.detail.size() - 1),
                lastFailure.detail.begin());
    kivSetLastError(kivErrorInvalidPixelFormat);
    return false;
}

KivGlFailure kivGlFailure() {
    return {lastFailure.kind, lastFailure.limit, lastFailure.detail.data()};
}

HGLRC kivCreateGlContext(HDC dc) {
    const auto object = kivDeviceContextTable().find(dc);
    const auto bitmap = object != nullptr ? kivBitmapTable().find(object->selected) : nullptr;
    if (bitmap == nullptr || object->pixelFormat == 0) {
        kivFailGl({KivGlFailure::wrongUse, 0, "no pixel format"});
        return nullptr;
    }
    std::shared_ptr<KivGlContextObject> context = std::move(object->prepared);
    object->prepared = nullptr;
    if (context == nullptr) {
        KivGlFailure failure;
        context = kivTakeGlContext(bitmap->size, kivHasStencil(object->pixelFormat), &failure);
        if (context == nullptr) {
            kivFailGl(failure);
            return nullptr;
        }
    }
    return kivGlContextTable().add(std::move(context));
}

bool kivMakeGlCurrent(HDC dc, HGLRC context) {
    if (context == nullptr) {
        return releaseTaken();
    }
    const auto object = kivGlContextTable().find(context);
    const auto target = kivDeviceContextTable().find(dc);
    auto bitmap = target != nullptr ? kivBitmapTable().find(target->selected) : nullptr;
    if (object == nullptr || bitmap == nullptr) {
        return failTaking("a handle that is gone");
    }
    if (object->framebuffer.size() != bitmap->size) {
        return failTaking("a bitmap of another size");
    }
    if (thread.taken == context && object->bitmap == bitmap && eglGetCurrentContext() == object->context) {
        return true;
    }
    if (object->bitmap != nullptr) {
        object->bitmap->settle(object->bitmap != bitmap); // drawing goes on, or elsewhere
    }
    if (thread.taken == nullptr) {
        thread.callers = KivEglBinding::current();
    } else if (const auto former = kivGlContextTable().find(thread.taken); former != nullptr) {
        finishTaken(*former); // what the caller had current before it stays to be given back
    }
    thread.taken = nullptr;
    if (!makeEglCurrent(*object)) {
        kivFailGl(kivEglFailure("eglMakeCurrent"));
        thread.callers.restore(object->display);
        return false;
    }
    thread.taken = context;
    target->drawing = object;
    takeOverBitmap(*object, std::move(bitmap));
    return true;
}

bool kivDeleteGlContext(HGLRC context) {
    if (context != nullptr && thread.taken == context) {
        releaseTaken();
    }
    const auto object = kivGlContextTable().find(context);
    const bool isReleased = kivGlContextTable().release(context);
    if (isReleased && kivGlContextTable().find(context) == nullptr) {
        object->bitmap = nullptr; // which may own the drawing
        keepForNext(object);
    }
    return isReleased;
}

bool kivDeferPictures(HGLRC context) {
    const auto object = kivGlContextTable().find(context);
    if (object == nullptr) {
        return kivFailGl({KivGlFailure::wrongUse, 0, "a handle that is gone"});
    }
    object->defersPictures = true;
    return true;
}

HGLRC kivCurrentGlContext() {
    return thread.taken;
}

bool kivWarmUpGl(tagSIZE size) {
    return kivWarmUpGl(size, true);
}

bool kivWarmUpGl(tagSIZE size, bool withStencil) {
    KivGlFailure failure;
    const std::lock_guard<std::mutex> guard(warmMutex);
    std::shared_ptr<KivGlContextObject>& object = warmContext();
    if (object == nullptr) {
        object = KivGlContextObject::make(&failure);
    }
    if (object == nullptr) {
        return kivFailGl(failure);
    }
    if (size.cx > 0 && size.cy > 0 && !object->fit(size, withStencil, &failure)) {
        return kivFailGl(failure);
    }
    return true;
}

void kivCoolDownGl() {
    const std::lock_guard<std::mutex> guard(warmMutex);
    warmContext() = nullptr;
}

std::wstring kivGlDescription() {
    KivGlFailure failure;
    std::string text;
    if (!kivWarmUpGl({})) {
        return {};
    }
    const std::lock_guard<std::mutex> guard(warmMutex);
    const std::shared_ptr<KivGlContextObject>& object = warmContext();
    if (object == nullptr) {
        return {}; // a render on another thread has just taken it
    }
    const KivEglRestore restore(object->display);
    if (makeEglCurrent(*object)) {
        const auto append = [&text](GLenum name) {
            const auto* part = reinterpret_cast<const char*>(glGetString(name));
            text += part != nullptr ? part : "";
        };
        append(GL_RENDERER);
        text += ", OpenGL ";
        append(GL_VERSION);
    }
    return kivFromUtf8(text);
}
