// The table's look-ups and the counting of references.
#include "kivrender/shader/kivshader.h"

#include "dialogs/shadertable.h"
#include "support/plainshader.h"
#include "support/temphome.h"
#include "support/testshader.h"

#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <utility>

namespace {

constexpr unsigned long allBits = static_cast<unsigned long>(-1);

class KivShaderTable : public testing::Test {
protected:
    KivShaderTable() {
        TestShader::install(folder.path(), {"alpha", "beta", "gamma"});
        KivShader::loadShaders(folder.wide().c_str());
    }
    ~KivShaderTable() override {
        KivShader::unLoadAll();
    }

    TempFolder folder;
};

TEST_F(KivShaderTable, ByIndexIsNullBehindTheEnd) {
    ASSERT_EQ(KivShader::shaders(), 3U);
    EXPECT_STREQ(KivShader::getByIndex(2)->getTag(), L"gamma");
    EXPECT_EQ(KivShader::getByIndex(3), nullptr);
    EXPECT_EQ(KivShader::getByIndex(allBits), nullptr);
}

TEST_F(KivShaderTable, NamesAndTagsAreComparedWithoutCase) {
    EXPECT_EQ(KivShader::getByTag(L"BETA"), KivShader::getByIndex(1));
    EXPECT_EQ(KivShader::getByName(L"test GAMMA"), KivShader::getByIndex(2));
    EXPECT_EQ(KivShader::getByTag(L"Test beta"), nullptr) << "a tag is no name";
    EXPECT_EQ(KivShader::getByName(L"beta"), nullptr) << "a name is no tag";
    EXPECT_EQ(KivShader::getByTag(L"bet"), nullptr);
    EXPECT_EQ(KivShader::getByTag(nullptr), nullptr);
}

TEST(KivShaderLookups, AnEntryThatIsGoneIsPassedOver) {
    PlainCombinable first(nullptr, L"First", L"Test first");
    PlainCombinable last(nullptr, L"Last", L"Test last");
    KivTestAccess::setShaders({&first, nullptr, &last});
    EXPECT_EQ(KivShader::getByTag(L"last"), &last);
    EXPECT_EQ(KivShader::getByName(L"test last"), &last);
    EXPECT_EQ(KivShader::getByTag(L"none"), nullptr);
    EXPECT_EQ(KivShader::selectByTag(L"first"), nullptr);
    EXPECT_EQ(KivShader::current(), &first);
    KivShader::selectByIndex(static_cast<unsigned long>(-1));
    KivTestAccess::setShaders({});
}

TEST_F(KivShaderTable, AWalkMeetsEachShaderOnce) {
    EXPECT_EQ(KivShader::getFirstShader(), KivShader::getByIndex(0));
    EXPECT_EQ(KivShader::getNextShader(), KivShader::getByIndex(1));
    EXPECT_EQ(KivShader::getNextShader(), KivShader::getByIndex(2));
    EXPECT_EQ(KivShader::getNextShader(), nullptr);
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(KivShader::getNextShader(), nullptr) << "unused entries, then the end of the table";
    }
    EXPECT_EQ(KivShader::getFirstShader(), KivShader::getByIndex(0)) << "a new walk begins at the beginning";
}

TEST_F(KivShaderTable, SelectingReturnsTheOneBefore) {
    EXPECT_EQ(KivShader::current(), nullptr);
    EXPECT_EQ(KivShader::selectByIndex(1), nullptr);
    EXPECT_EQ(KivShader::current(), KivShader::getByIndex(1));
    EXPECT_EQ(KivShader::selectByTag(L"GAMMA"), KivShader::getByIndex(1));
    EXPECT_EQ(KivShader::current(), KivShader::getByIndex(2));
}

TEST_F(KivShaderTable, AnIndexOutOfRangeIsStoredAndGivesNull) {
    KivShader::selectByIndex(2);
    EXPECT_EQ(KivShader::selectByTag(L"unknown"), KivShader::getByIndex(2));
    EXPECT_EQ(KivShader::current(), nullptr);
    EXPECT_EQ(KivShader::selectByIndex(1000000), nullptr);
    EXPECT_EQ(KivShader::current(), nullptr);
}

TEST_F(KivShaderTable, ReferencesCountUpAndDown) {
    KivShader* const shader = KivShader::getByIndex(0);
    EXPECT_EQ(shader->addRef(), 2U);
    EXPECT_EQ(shader->addRef(), 3U);
    EXPECT_EQ(shader->release(), 2U);
    EXPECT_EQ(shader->release(), 1U);
    EXPECT_EQ(KivShader::getByTag(L"alpha"), shader);
}

// A call through a stale pointer is what the test is about, so the sanitizers that look at the object behind it stay
// out of it.
#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize("undefined")))
#endif
void callOnDeadShader(KivShader* shader, unsigned long* added, unsigned long* released) {
    *added = shader->addRef();
    *released = shader->release();
}

TEST(KivShaderReferences, AnObjectThatIsGoneIsSeen) {
    alignas(PlainCombinable) unsigned char room[sizeof(PlainCombinable)];
    auto* const shader = new (room) PlainCombinable(nullptr, L"tag", L"name");
    EXPECT_EQ(shader->addRef(), 2U);
    shader->~PlainCombinable();
    unsigned long added = 1;
    unsigned long released = 1;
    callOnDeadShader(reinterpret_cast<KivShader*>(room), &added, &released);
    EXPECT_EQ(added, 0U);
    EXPECT_EQ(released, allBits);
}

TEST(KivShaderReferences, AShaderWithoutAModuleIsNotDestroyedByRelease) {
    PlainCombinable shader(nullptr, L"tag", L"name");
    EXPECT_EQ(shader.release(), 0U);
    EXPECT_STREQ(shader.getTag(), L"tag");
}

TEST(KivShaderReferences, ACopyHasTheCountOfItsSource) {
    PlainBaseLook shader(nullptr, L"tag", L"name");
    shader.addRef();
    PlainBaseLook copy(shader);
    EXPECT_EQ(copy.addRef(), 3U);
    EXPECT_EQ(shader.addRef(), 3U) << "each counts for itself";
    EXPECT_STREQ(copy.getTag(), L"tag");
    EXPECT_FALSE(copy.isCombinable());
}

class WithData : public PlainCombinable {
public:
    using PlainCombinable::doubleSided;
    using PlainCombinable::PlainCombinable;
    using PlainCombinable::pluginData;
};

TEST(KivShaderReferences, ACopyHasWhatThePluginKeepsInItsSource) {
    WithData shader(nullptr, L"tag", L"name");
    EXPECT_EQ(shader.pluginData, 0U);
    EXPECT_FALSE(shader.doubleSided);
    shader.pluginData = 0x89ABCDEFU;
    shader.doubleSided = true;
    WithData assigned(nullptr, L"", L"");
    assigned = shader;
    const WithData copied(shader);
    for (const WithData* const copy : {&std::as_const(assigned), &copied}) {
        EXPECT_EQ(copy->pluginData, 0x89ABCDEFU);
        EXPECT_TRUE(copy->doubleSided);
    }
}

TEST(KivShaderKinds, TellWhetherTheyCombine) {
    EXPECT_TRUE(PlainCombinable(nullptr, L"", L"").isCombinable());
    EXPECT_FALSE(PlainBaseLook(nullptr, L"", L"").isCombinable());
}

class WithPicture : public PlainCombinable {
public:
    using PlainCombinable::PlainCombinable;
    HBITMAP getPreviewBitmap() override {
        return reinterpret_cast<HBITMAP>(this);
    }
};

TEST(KivShaderKinds, TheBitmapIsThePreview) {
    WithPicture shader(nullptr, L"", L"");
    EXPECT_EQ(shader.getBitmap(), reinterpret_cast<HBITMAP>(&shader));
}

} // namespace
