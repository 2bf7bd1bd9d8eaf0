#include "kivrender/platform/kivdeflate.h"

#include <string>

#include <zlib.h>

#include <gtest/gtest.h>

namespace {

// By another library.
std::string inflated(const std::string& packed, std::size_t size) {
    std::string out(size + 1, '\0');
    uLongf found = out.size();
    EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(out.data()), &found, reinterpret_cast<const Bytef*>(packed.data()),
                         packed.size()),
              Z_OK);
    out.resize(found);
    return out;
}

} // namespace

TEST(KivDeflate, WhatIsPackedComesBack) {
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        text += std::to_string(i * 7919 % 10007) + (i % 3 == 0 ? " l\n" : " ");
    }
    for (const std::string& bytes : {text, std::string(), std::string(1, '\0'), std::string(100000, 'a')}) {
        const std::string packed = kivDeflate(bytes);
        EXPECT_EQ(inflated(packed, bytes.size()), bytes);
        EXPECT_EQ(kivDeflate(bytes), packed);
    }
    EXPECT_LT(kivDeflate(text).size(), text.size() / 2);
}
