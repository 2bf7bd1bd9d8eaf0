// Feedback buffers with any content: reading takes no more than there is, what is written reads back, and the stages of
// simplification end with a buffer that reads back too.
#include "kivrender/vector/parsertobuffer.h"
#include "kivrender/vector/parsertoclasses.h"
#include "kivrender/vector/vectorsimplifier.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

struct FreeBuffer {
    void operator()(float* floats) const {
        std::free(floats);
    }
};

// The number of primitives in a buffer that some code of ours has written.
std::size_t countOf(float* floats, int size) {
    ParserToClasses reader(floats, size);
    reader.parse();
    const std::unique_ptr<FeedbackPrimitiveList> list(reader.getPrimitives());
    const std::size_t count = list->size();
    deletePrimitives(*list);
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::size_t numFloats = size / sizeof(float);
    const std::unique_ptr<float[]> floats(new float[numFloats]);
    std::memcpy(floats.get(), data, numFloats * sizeof(float));

    ParserToClasses reader(floats.get(), static_cast<int>(numFloats));
    reader.parse();
    const std::unique_ptr<FeedbackPrimitiveList> list(reader.getPrimitives());
    std::size_t numVertices = 0;
    for (const FeedbackPrimitive* each : *list)
        numVertices += each->vertices.capacity();
    require(list->size() <= numFloats);
    require(numVertices <= numFloats + 14);

    ParserToBuffer writer(list.get());
    writer.parse();
    const std::unique_ptr<float, FreeBuffer> written(writer.getBuffer());
    require(countOf(written.get(), writer.getSize()) == list->size());
    deletePrimitives(*list);

    // Half a unit of the window is a unit of object space, so that small numbers meet the tolerances.
    FeedbackView view = {};
    for (const int i : {0, 5, 10, 15})
        view.modelView[i] = view.projection[i] = 1;
    view.viewport[2] = view.viewport[3] = 2;
    int used = static_cast<int>(numFloats);
    const std::unique_ptr<float, FreeBuffer> simplified(VectorSimplifier(view).simplify(floats.get(), &used));
    require(simplified != nullptr);
    countOf(simplified.get(), used);
    return 0;
}
