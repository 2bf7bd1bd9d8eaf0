#include "import/modelparts.h"

namespace kivimport {

void checkElements(std::uint64_t count, const ReadLimits& limits) {
    if (count > limits.maxElements) {
        throw ImportError("it is too large: more than " + std::to_string(limits.maxElements) +
                          " triangles, lines or points");
    }
}

} // namespace kivimport
