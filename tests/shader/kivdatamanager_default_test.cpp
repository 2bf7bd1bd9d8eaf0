// The default stream and the shaders that write into it.
#include "dialogs/shadertable.h"
#include "kivrender/settings/kivmemorydatamanager.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

// Tells how often it is held while it writes its defaults.
class CountedShader : public PlainCombinable {
public:
    using PlainCombinable::PlainCombinable;
    bool saveDefaultData(KivDataManager*) override {
        heldWhileSaving = addRef() - 1;
        release();
        return true;
    }

    unsigned long heldWhileSaving = 0;
};

TEST(KivDataManagerDefault, AShaderIsHeldWhileItWritesItsDefaults) {
    CountedShader first(nullptr, L"First", L"Test first");
    CountedShader second(nullptr, L"Second", L"Test second");
    KivTestAccess::setShaders({&first, &second});
    KivMemoryDataManager manager;
    manager.setDefault();
    for (CountedShader* const shader : {&first, &second}) {
        EXPECT_EQ(shader->heldWhileSaving, 2U) << "by the table and by the stream";
        EXPECT_EQ(shader->addRef(), 2U) << "by the table alone, and now by the test";
        shader->release();
    }
    KivTestAccess::setShaders({});
}

} // namespace
