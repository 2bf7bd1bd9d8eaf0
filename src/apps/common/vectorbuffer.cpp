#include "apps/common/vectorbuffer.h"

#include "kivrender/vector/kivvectorpage.h"

#include <algorithm>

bool growVectorBuffer(std::uint64_t floats) {
    const int before = KivVectorPage::getBufferSize();
    if (floats > static_cast<std::uint64_t>(before)) {
        constexpr std::uint64_t most = KivVectorPage::largestBuffer;
        KivVectorPage::setBufferSize(static_cast<int>(std::min(floats, most)));
    }
    return KivVectorPage::getBufferSize() > before;
}

bool growVectorBuffer() {
    return growVectorBuffer(std::uint64_t{4} * static_cast<std::uint64_t>(KivVectorPage::getBufferSize()));
}
