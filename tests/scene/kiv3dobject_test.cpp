#include "kivrender/scene/kiv3dobject.h"

#include "kivrender/scene/kivmesh.h"
#include "scene/countedpage.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

TEST(Kiv3DObject, AFreshOneHasNoSettings) {
    const Kiv3DObject object;
    EXPECT_FALSE(object.hasObjectSettings());
    EXPECT_TRUE(object.hasNonCombinable(true));
    EXPECT_FALSE(object.hasNonCombinable(false));
    EXPECT_EQ(object.getNumPageSettings(), 0);
    EXPECT_EQ(object.getNumCombinableShaders(), 0U);
    EXPECT_EQ(object.getPageSettings(L"Page"), nullptr);
    EXPECT_FALSE(object.rendersThisShader(L"Cartoon"));
}

TEST(Kiv3DObject, CombinableShadersAloneMeanNoNonCombinableOne) {
    Kiv3DObject object;
    object.addCombinableShader(L"Outline");
    EXPECT_TRUE(object.hasObjectSettings());
    EXPECT_FALSE(object.hasNonCombinable(true));
    EXPECT_FALSE(object.hasNonCombinable(false));
    object.setNonCombinableShader(L"Cartoon");
    EXPECT_TRUE(object.hasNonCombinable(true));
    EXPECT_TRUE(object.hasNonCombinable(false));
}

TEST(Kiv3DObject, ANonCombinableShaderIsReplaced) {
    Kiv3DObject object;
    object.setNonCombinableShader(L"Cartoon");
    EXPECT_TRUE(object.hasObjectSettings());
    object.setNonCombinableShader(L"Sketch");
    EXPECT_FALSE(object.rendersThisShader(L"Cartoon"));
    EXPECT_TRUE(object.rendersThisShader(L"Sketch"));
    object.setNonCombinableShader(nullptr);
    EXPECT_FALSE(object.hasObjectSettings());
}

TEST(Kiv3DObject, ShaderNamesDifferByCase) {
    Kiv3DObject object;
    object.setNonCombinableShader(L"Cartoon");
    object.addCombinableShader(L"Outline");
    EXPECT_TRUE(object.rendersThisShader(L"Cartoon"));
    EXPECT_TRUE(object.rendersThisShader(L"Outline"));
    EXPECT_FALSE(object.rendersThisShader(L"cartoon"));
    EXPECT_FALSE(object.rendersThisShader(L"OUTLINE"));
    EXPECT_FALSE(object.rendersThisShader(L"Out"));
}

TEST(Kiv3DObject, TheSameCombinableShaderMayBeThereTwice) {
    Kiv3DObject object;
    object.addCombinableShader(L"Outline");
    object.addCombinableShader(L"Outline");
    EXPECT_EQ(object.getNumCombinableShaders(), 2U);
}

TEST(Kiv3DObject, FindsPagesBySectionName) {
    Kiv3DObject object;
    const auto* first = new CountedPage(L"A");
    const auto* second = new CountedPage(L"B");
    const auto* third = new CountedPage(L"B");
    object.addPageSettings(nullptr);
    object.addPageSettings(first);
    object.addPageSettings(second);
    object.addPageSettings(third);
    EXPECT_EQ(object.getNumPageSettings(), 4);
    EXPECT_EQ(object.getPageSettings(0), nullptr);
    EXPECT_EQ(object.getPageSettings(3), third);
    EXPECT_EQ(object.getPageSettings(L"A"), first);
    EXPECT_EQ(object.getPageSettings(L"B"), second);
    EXPECT_EQ(object.getPageSettings(L"b"), nullptr);
    EXPECT_EQ(object.getPageSettings(L"C"), nullptr);
    EXPECT_FALSE(object.hasObjectSettings()) << "pages alone name no shader";
}

TEST(Kiv3DObject, DeletesItsPages) {
    {
        Kiv3DObject object;
        object.addPageSettings(new CountedPage);
        object.addPageSettings(new CountedPage);
        EXPECT_EQ(CountedPage::alive, 2);
    }
    EXPECT_EQ(CountedPage::alive, 0);
}

TEST(Kiv3DObject, DeleteSettingsForgetsThePagesWithoutDeletingThem) {
    const auto page = std::make_unique<CountedPage>();
    {
        Kiv3DObject object;
        object.setNonCombinableShader(L"Cartoon");
        object.addCombinableShader(L"Outline");
        object.addPageSettings(page.get());
        object.deleteSettings();
        EXPECT_FALSE(object.hasObjectSettings());
        EXPECT_EQ(object.getNumPageSettings(), 0);
        EXPECT_EQ(object.getNumCombinableShaders(), 0U);
    }
    EXPECT_EQ(CountedPage::alive, 1);
}

TEST(Kiv3DObject, CopiesReferToTheSamePagesAndTheLastOneDeletesThem) {
    {
        auto object = std::make_unique<Kiv3DObject>();
        const auto* page = new CountedPage;
        object->setNonCombinableShader(L"Cartoon");
        object->addCombinableShader(L"Outline");
        object->addPageSettings(page);
        Kiv3DObject assigned;
        assigned.addPageSettings(new CountedPage(L"Replaced"));
        {
            const Kiv3DObject copy(*object);
            EXPECT_EQ(copy.getPageSettings(0), page);
            EXPECT_TRUE(copy.rendersThisShader(L"Cartoon"));
            EXPECT_TRUE(copy.rendersThisShader(L"Outline"));
            assigned = copy;
        }
        EXPECT_EQ(CountedPage::alive, 1);
        object.reset();
        EXPECT_EQ(CountedPage::alive, 1);
        EXPECT_EQ(assigned.getPageSettings(L"Page"), page);
    }
    EXPECT_EQ(CountedPage::alive, 0);
}

TEST(Kiv3DObject, AForgottenPageStillBelongsToACopy) {
    {
        Kiv3DObject object;
        object.addPageSettings(new CountedPage);
        const Kiv3DObject copy(object);
        object.deleteSettings();
        EXPECT_EQ(copy.getNumPageSettings(), 1);
        EXPECT_EQ(CountedPage::alive, 1);
    }
    EXPECT_EQ(CountedPage::alive, 0);
}

TEST(Kiv3DObject, APageThatAllHaveForgottenIsTheCallers) {
    const auto page = std::make_unique<CountedPage>();
    {
        Kiv3DObject object;
        object.addPageSettings(page.get());
        object.addPageSettings(page.get());
        Kiv3DObject copy(object);
        object.deleteSettings();
        copy.deleteSettings();
    }
    EXPECT_EQ(CountedPage::alive, 1);
}

TEST(Kiv3DObject, OnePageAddedToSeveralObjectsIsDeletedOnce) {
    {
        auto first = std::make_unique<KivMesh>();
        KivMesh second;
        const auto* page = new CountedPage;
        first->addPageSettings(page);
        first->addPageSettings(page);
        second.addPageSettings(page);
        first.reset();
        EXPECT_EQ(CountedPage::alive, 1);
        EXPECT_EQ(second.getPageSettings(0), page);
    }
    EXPECT_EQ(CountedPage::alive, 0);
}

TEST(Kiv3DObject, APageMayBeHandedOverAgainAfterItWasTakenBack) {
    {
        Kiv3DObject first;
        const auto* page = new CountedPage;
        first.addPageSettings(page);
        first.deleteSettings();
        Kiv3DObject second;
        second.addPageSettings(page);
    }
    EXPECT_EQ(CountedPage::alive, 0);
}

} // namespace
