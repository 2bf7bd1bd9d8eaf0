#include "kivrender/vector/gl2pspage.h"

#include "kivrender/platform/kivpdf.h"
#include "kivrender/platform/kivprintfile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/vector/feedbackprimitive.h"
#include "kivrender/vector/hiddenprimitives.h"
#include "kivrender/vector/kivvectorpage.h"
#include "kivrender/vector/libraryfeedback.h"
#include "kivrender/vector/pagetext.h"
#include "kivrender/vector/paintersorder.h"
#include "kivrender/vector/parsertoclasses.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t vertexFloats = 7;

int bufferSize = KivVectorPage::defaultBuffer;
bool overflowed = false;
bool exactOrder = true;
bool orderWasExact = true;

struct Page {
    Page(const wchar_t* path, PageText::Format pageFormat, bool culls)
        : name(path), format(pageFormat), leavesOutHidden(culls), inOrder(exactOrder), file(name) {}

    std::wstring name;
    PageText::Format format;
    bool leavesOutHidden;
    bool inOrder;
    KivPrintFile file;
};

PageText::Format textFormat(GLint format) {
    return format == GL2PS_PDF   ? PageText::Format::pdf
           : format == GL2PS_SVG ? PageText::Format::svg
                                 : PageText::Format::postScript;
}

// The page that is open, if any: gl2ps has one too, in the same state.
std::unique_ptr<Page> openPage;

GL2PSvertex vertexOf(const float* floats, const FeedbackState& state) {
    GL2PSvertex vertex = {{floats[0], floats[1], floats[2]}, {floats[3], floats[4], floats[5], floats[6]}};
    // A primitive that is not blended, or blended in full, covers.
    if (!state.blend || state.blendSource == GL_ONE) {
        vertex.rgba[3] = 1.0F;
    }
    return vertex;
}

// Which sides of a fan's triangle are sides of the polygon.
char boundaryOf(bool boundary, int corner, int count) {
    if (!boundary) {
        return 0;
    }
    return static_cast<char>(2 | (corner == 2 ? 1 : 0) | (corner == count - 1 ? 4 : 0));
}

// Whether a filled triangle shows anything: not one whose corners lie on a line in the picture, of which some readers
// of drawings make a line all the same. Of a triangle that is seen edge-on rounding leaves no more than this height, in
// parts of its largest coordinate.
bool hasArea(const GL2PSvertex (&corners)[3]) {
    constexpr double rounding = 0x1p-21; // four units in the last place of a float
    double longest = 0.0;
    double largest = 0.0;
    for (int i = 0; i < 3; ++i) {
        const float* const a = corners[i].xyz;
        const float* const b = corners[(i + 1) % 3].xyz;
        longest = std::max(longest, std::hypot(static_cast<double>(b[0]) - a[0], static_cast<double>(b[1]) - a[1]));
        largest = std::max({largest, std::abs(static_cast<double>(a[0])), std::abs(static_cast<double>(a[1]))});
    }
    const float* const a = corners[0].xyz;
    const float* const b = corners[1].xyz;
    const float* const c = corners[2].xyz;
    const double twice = (static_cast<double>(b[0]) - a[0]) * (static_cast<double>(c[1]) - a[1]) -
                         (static_cast<double>(b[1]) - a[1]) * (static_cast<double>(c[0]) - a[0]);
    return std::abs(twice) > longest * largest * rounding;
}

void handOver(const FeedbackItem& item, const FeedbackState& state) {
    const GLint offset = state.offset ? 1 : 0;
    GL2PSvertex corners[3];
    if (item.token == FeedbackToken::point) {
        corners[0] = vertexOf(item.vertices, state);
        gl2psAddPolyPrimitive(GL2PS_POINT, 1, corners, 0, 0.0F, 0.0F, state.stipplePattern, state.stippleFactor,
                              state.pointSize, state.lineCap, state.lineJoin, 0);
    } else if (item.token == FeedbackToken::line) {
        corners[0] = vertexOf(item.vertices, state);
        corners[1] = vertexOf(item.vertices + vertexFloats, state);
        gl2psAddPolyPrimitive(GL2PS_LINE, 2, corners, 0, 0.0F, 0.0F, state.stipplePattern, state.stippleFactor,
                              state.lineWidth, state.lineCap, state.lineJoin, 0);
    } else {
        for (int corner = 2; corner < item.count; ++corner) {
            corners[0] = vertexOf(item.vertices, state);
            corners[1] = vertexOf(item.vertices + vertexFloats * static_cast<std::size_t>(corner - 1), state);
            corners[2] = vertexOf(item.vertices + vertexFloats * static_cast<std::size_t>(corner), state);
            // With its sides as lines it is more than a fill.
            if (!state.boundary && !hasArea(corners)) {
                continue;
            }
            gl2psAddPolyPrimitive(GL2PS_TRIANGLE, 3, corners, offset, state.offsetFactor, state.offsetUnits,
                                  state.stipplePattern, state.stippleFactor, state.lineWidth, state.lineCap,
                                  state.lineJoin, boundaryOf(state.boundary, corner, item.count));
        }
    }
}

void handOverAll(std::span<const float> library) {
    LibraryFeedback feedback(library);
    FeedbackItem item;
    while (feedback.next(item)) {
        handOver(item, feedback.state());
    }
}

struct DeleteList {
    void operator()(FeedbackPrimitiveList* list) const {
        deletePrimitives(*list);
        delete list;
    }
};

using OwnedList = std::unique_ptr<FeedbackPrimitiveList, DeleteList>;

// Depths by which the library's own sort leaves the primitives in the order of the list.
void setDepthsByOrder(FeedbackPrimitiveList& list) {
    auto depth = static_cast<float>(list.size());
    for (FeedbackPrimitive* primitive : list) {
        for (FeedbackVertex& vertex : primitive->vertices) {
            vertex.z = depth;
        }
        primitive->offset = false;
        depth -= 1.0F;
    }
}

// Hands over what floats hold in between.
class ListHandover {
public:
    void handOver(const FeedbackPrimitive& primitive, const FeedbackState& state) {
        floats.clear();
        for (const FeedbackVertex& v : primitive.vertices) {
            floats.insert(floats.end(), {v.x, v.y, v.z, v.r, v.g, v.b, v.a});
        }
        ::handOver({primitive.type, floats.data(), static_cast<int>(primitive.vertices.size())}, state);
    }

private:
    std::vector<float> floats;
};

// The primitives of a recorded buffer, each with all that the library knows of it, from back to front. False after a
// cancel.
bool handOverInOrder(std::span<const float> library) {
    const OwnedList list(new FeedbackPrimitiveList);
    std::vector<FeedbackState> states;
    LibraryFeedback feedback(library);
    FeedbackItem item;
    while (feedback.next(item)) {
        states.push_back(feedback.state());
        list->push_back(kivPrimitiveOf(item, states.back()).release());
    }
    std::vector<std::uint32_t> origins;
    const FeedbackState& last = feedback.state();
    if (!PaintersOrder(PolygonShift{last.offsetFactor, last.offsetUnits}).sort(list.get(), &origins, &orderWasExact)) {
        return false;
    }
    setDepthsByOrder(*list);
    ListHandover handover;
    for (std::size_t i = 0; i < list->size(); ++i) {
        FeedbackState state = states[origins[i]];
        state.offset = false;
        handover.handOver(*(*list)[i], state);
    }
    return true;
}

// The primitives of a simplified buffer, which has no marker for what attributes tells. False after a cancel.
bool handOverSimplified(const FeedbackPrimitiveList* list, const FeedbackState& attributes, void (*tick)(),
                        bool (*isCancelled)(), int* count) {
    *count = static_cast<int>(list->size());
    ListHandover handover;
    for (const FeedbackPrimitive* primitive : *list) {
        if (isCancelled()) {
            return false;
        }
        FeedbackState state = attributes;
        state.offset = primitive->offset;
        state.boundary = primitive->boundary;
        state.stipplePattern = primitive->stipplePattern;
        state.stippleFactor = primitive->stippleFactor;
        state.pointSize = primitive->pointSize;
        state.lineWidth = primitive->lineWidth;
        state.blend = primitive->blend;
        state.blendSource = primitive->blendSource;
        state.blendDestination = primitive->blendDestination;
        handover.handOver(*primitive, state);
        tick();
    }
    return true;
}

// What simplify makes of the recorded buffer, handed over without what is hidden. False after a cancel.
bool simplifyAndHandOver(std::span<const float> library, const Page& page, float* (*simplify)(float*, int*),
                         void (*tick)(), bool (*isCancelled)(), int* count) {
    FeedbackState attributes;
    std::vector<float> recorded = kivTranslateFeedback(library, attributes);
    int size = static_cast<int>(recorded.size());
    std::unique_ptr<float, decltype(&std::free)> simplified(simplify(recorded.data(), &size), &std::free);
    std::vector<float>().swap(recorded);
    if (simplified == nullptr && size == 0) {
        return false;
    }
    ParserToClasses parser(simplified.get(), size);
    parser.parse();
    simplified.reset();
    const OwnedList list(parser.getPrimitives());
    const PolygonShift shift{attributes.offsetFactor, attributes.offsetUnits};
    if (page.leavesOutHidden && !HiddenPrimitives(shift).remove(list.get())) {
        return false;
    }
    if (page.inOrder) {
        if (!PaintersOrder(shift).sort(list.get(), nullptr, &orderWasExact)) {
            return false;
        }
        setDepthsByOrder(*list);
    }
    return handOverSimplified(list.get(), attributes, tick, isCancelled, count);
}

// Ticks for the lines that are printed, as there is about one for each primitive, until the promised number is reached.
class PrintTicks {
public:
    PrintTicks(int promised, void (*tick)(), bool (*isCancelled)())
        : left(promised), advance(tick), cancelled(isCancelled) {}

    bool printed(std::string_view block) {
        for (auto lines = std::count(block.begin(), block.end(), '\n'); lines > 0 && left > 0; --lines, --left) {
            advance();
        }
        return !cancelled();
    }
    void finish() {
        for (; left > 0; --left) {
            advance();
        }
    }

private:
    int left;
    void (*advance)();
    bool (*cancelled)();
};

// Ends gl2ps's page and ours.
KivPrintFile::Outcome closePage(Page& page) {
    gl2psEndPage();
    return page.file.close();
}

GLint giveUp(Page& page, GLint result) {
    page.file.stop();
    closePage(page);
    return result;
}

} // namespace

void KivVectorPage::setBufferSize(int floats) {
    bufferSize = std::clamp(floats, smallestBuffer, largestBuffer);
}

int KivVectorPage::getBufferSize() {
    return bufferSize;
}

void KivVectorPage::setExactOrder(bool exact) {
    exactOrder = exact;
}

bool KivVectorPage::isExactOrder() {
    return exactOrder;
}

void kivNoteOrder(bool isExact) {
    orderWasExact = orderWasExact && isExact;
}

bool KivVectorPage::wasOrderExact() {
    return orderWasExact;
}

bool KivVectorPage::hasOverflowed() {
    return overflowed;
}

GLint gl2psBeginPageW(const char* title, const char* producer, GLint viewport[4], GLint format, GLint sort,
                      GLint options, GLint colormode, GLint colorsize, GL2PSrgba* colormap, GLint nr, GLint ng,
                      GLint nb, GLint buffersize, const wchar_t* filename) {
    gl2psDiscardPage();
    overflowed = false;
    orderWasExact = exactOrder;
    const GLint printed = format == GL2PS_AI ? GL2PS_PDF : format;
    auto page = std::make_unique<Page>(filename, textFormat(printed), (options & GL2PS_OCCLUSION_CULL) != 0);
    if (page->file.stream() == nullptr) {
        return GL2PS_ERROR;
    }
    // Its own culling compares every primitive with every other one, and its complaints go to standard error. In our
    // order lines stand where they belong.
    const GLint taken = page->inOrder ? GL2PS_OCCLUSION_CULL | GL2PS_SIMPLE_LINE_OFFSET : GL2PS_OCCLUSION_CULL;
    const GLint passedOn = (options & ~taken) | GL2PS_SILENT;
    const GLint result =
        gl2psBeginPage(title, producer, viewport, printed, sort, passedOn, colormode, colorsize, colormap, nr, ng, nb,
                       buffersize, page->file.stream(), kivToUtf8(filename).c_str());
    if (result == GL2PS_SUCCESS) {
        openPage = std::move(page);
    }
    return result;
}

GLint gl2psEndPage(float* (*simplify)(float*, int*), void (*tick)(), bool (*isCancelled)(), void (*beginOutput)(int)) {
    if (openPage == nullptr) {
        return GL2PS_UNINITIALIZED;
    }
    const std::unique_ptr<Page> page = std::move(openPage);
    const GLint used = glRenderMode(GL_RENDER);
    if (used < 0) {
        overflowed = true;
        return giveUp(*page, GL2PS_OVERFLOW);
    }
    void* floats = nullptr;
    glGetPointerv(GL_FEEDBACK_BUFFER_POINTER, &floats);
    const std::span<const float> library(static_cast<const float*>(floats), static_cast<std::size_t>(used));
    int count = 0;
    if (simplify != nullptr) {
        if (!simplifyAndHandOver(library, *page, simplify, tick, isCancelled, &count)) {
            return giveUp(*page, GL2PS_NO_FEEDBACK);
        }
    } else {
        count = kivCountFeedback(library);
        if (beginOutput != nullptr) {
            beginOutput(count);
        }
        if (isCancelled()) {
            return giveUp(*page, GL2PS_NO_FEEDBACK);
        }
        if (!page->inOrder) {
            handOverAll(library);
        } else if (!handOverInOrder(library)) {
            return giveUp(*page, GL2PS_NO_FEEDBACK);
        }
    }
    PrintTicks ticks(count, tick, isCancelled);
    PageText text(page->format);
    page->file.onPrint([&text](std::string& lines) { text.change(lines); },
                       [&ticks](std::string_view block) { return ticks.printed(block); });
    switch (closePage(*page)) {
    case KivPrintFile::Outcome::stopped:
        return GL2PS_NO_FEEDBACK;
    case KivPrintFile::Outcome::failed:
        return GL2PS_ERROR;
    case KivPrintFile::Outcome::written:
        break;
    }
    ticks.finish();
    if (page->format == PageText::Format::pdf && !kivFinishPdf(page->name)) {
        page->file.remove();
        return GL2PS_ERROR;
    }
    return GL2PS_SUCCESS;
}

GLint gl2psBeginRecording(GLint buffersize) {
    // The title, the format and the sort are of no account to a page without a file.
    const GLint result = gl2psBeginPageW("", "", nullptr, GL2PS_SVG, GL2PS_NO_SORT, GL2PS_USE_CURRENT_VIEWPORT, GL_RGBA,
                                         0, nullptr, 0, 0, 0, buffersize, L"");
    orderWasExact = true;
    return result;
}

GLint gl2psEndRecording(std::vector<float>* recorded) {
    recorded->clear();
    if (openPage == nullptr) {
        return GL2PS_UNINITIALIZED;
    }
    const std::unique_ptr<Page> page = std::move(openPage);
    const GLint used = glRenderMode(GL_RENDER);
    if (used < 0) {
        overflowed = true;
        return giveUp(*page, GL2PS_OVERFLOW);
    }
    void* floats = nullptr;
    glGetPointerv(GL_FEEDBACK_BUFFER_POINTER, &floats);
    recorded->assign(static_cast<const float*>(floats), static_cast<const float*>(floats) + used);
    return giveUp(*page, GL2PS_SUCCESS);
}

void gl2psDiscardPage() {
    if (const std::unique_ptr<Page> page = std::move(openPage)) {
        glRenderMode(GL_RENDER); // or else gl2ps would print all that was recorded so far, for nobody
        giveUp(*page, GL2PS_NO_FEEDBACK);
    }
}
