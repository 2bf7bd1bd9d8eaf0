// The program's messages are in English for all tests here.
#include "kivrender/host/kivlanguage.h"

#include <gtest/gtest.h>

namespace {

class English : public testing::Environment {
public:
    void SetUp() override {
        ASSERT_TRUE(kivLoadLanguage(L"en"));
    }
};

// GoogleTest owns it.
[[maybe_unused]] const testing::Environment* const english = testing::AddGlobalTestEnvironment(new English);

} // namespace
