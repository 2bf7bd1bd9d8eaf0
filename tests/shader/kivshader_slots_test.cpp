// The places of the virtual operations of shaders and pages: plug-ins that were built earlier rely on them.
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "support/vtableslot.h"

#include <gtest/gtest.h>

namespace {

TEST(KivShaderSlots, AreInOrder) {
    using S = KivShader;
    EXPECT_EQ(vtableSlot(&S::render), 1);
    EXPECT_EQ(vtableSlot(&S::loadRenderData), 2);
    EXPECT_EQ(vtableSlot(&S::getName), 3);
    EXPECT_EQ(vtableSlot(&S::reservedSlot), 4);
    EXPECT_EQ(vtableSlot(&S::getPreviewBitmap), 5);
    EXPECT_EQ(vtableSlot(&S::getTag), 6);
    EXPECT_EQ(vtableSlot(&S::loadDocData), 7);
    EXPECT_EQ(vtableSlot(&S::createPages), 8);
    EXPECT_EQ(vtableSlot(&S::destroyPages), 9);
    EXPECT_EQ(vtableSlot(&S::isCombinable), 10);
    EXPECT_EQ(vtableSlot(&S::getProgressSteps), 11);
    EXPECT_EQ(vtableSlot(&S::saveDefaultData), 12);
    EXPECT_EQ(vtableSlot(&S::loadObjectSettings), 13);
    EXPECT_EQ(vtableSlot(&S::preparePreview), 14);
    EXPECT_EQ(vtableSlot(&S::getNumPages), 15);
    EXPECT_EQ(vtableSlot(&S::loadShaderSettings), 16);
    EXPECT_EQ(vtableSlot(&S::flushAndShow), -1);
    EXPECT_EQ(vtableSlot(&S::release), -1);
}

TEST(KivShaderSlots, OfCombinableShadersFollow) {
    EXPECT_EQ(vtableSlot(&KivCombinableShader::isCombinable), 10);
    EXPECT_EQ(vtableSlot(&KivCombinableShader::rendersMesh), 17);
}

TEST(KivShaderSlots, OfNonCombinableShadersFollow) {
    using S = KivNonCombinableShader;
    EXPECT_EQ(vtableSlot(&S::isCombinable), 10);
    EXPECT_EQ(vtableSlot(static_cast<void (S::*)()>(&S::reservedSlot)), 4);
    EXPECT_EQ(vtableSlot(&S::prepareObjectRendering), 17);
    EXPECT_EQ(vtableSlot(&S::renderMeshDepth), 18);
    EXPECT_EQ(vtableSlot(static_cast<void (S::*)(const KivMesh*)>(&S::reservedSlot)), 19);
    EXPECT_EQ(vtableSlot(&S::renderMeshPass), 20);
    EXPECT_EQ(vtableSlot(&S::beginTransparency), 21);
    EXPECT_EQ(vtableSlot(&S::renderOpaqueMesh), 22);
    EXPECT_EQ(vtableSlot(&S::renderTransparentTriangle), 23);
    EXPECT_EQ(vtableSlot(&S::endTransparentTriangle), 24);
    EXPECT_EQ(vtableSlot(&S::endTransparency), 25);
}

TEST(KivPageDlgSlots, FollowThoseOfTheDialog) {
    EXPECT_EQ(vtableSlot(&KivDialog::Create), 1);
    EXPECT_EQ(vtableSlot(&KivDialog::DestroyWindow), 2);
    EXPECT_EQ(vtableSlot(&KivPageDlg::Create), 1);
    EXPECT_EQ(vtableSlot(&KivPageDlg::DestroyWindow), 2);
    EXPECT_EQ(vtableSlot(&KivPageDlg::saveControls), 4);
    EXPECT_EQ(vtableSlot(&KivPageDlg::loadControls), 5);
}

} // namespace
