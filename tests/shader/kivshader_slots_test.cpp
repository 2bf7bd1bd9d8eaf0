// The places of the virtual operations and fields of shaders and pages: plug-ins that were built earlier rely on them.
#include "dialogs/shadertable.h"
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "support/vtableslot.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <vector>

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

// Plug-ins read and write these fields where the headers put them at the time of their compilation.
TEST(KivShaderFields, AreWherePluginsLookForThem) {
    const PlainCombinable shader(nullptr, L"tag", L"name");
    constexpr std::ptrdiff_t pointer = sizeof(void*);
    constexpr std::ptrdiff_t sequence = sizeof(std::vector<void*>);
    constexpr std::ptrdiff_t firstPages = 2 * pointer + 16; // behind four numbers, the last of them only for alignment
    constexpr std::ptrdiff_t data = firstPages + 2 * sequence;
    EXPECT_EQ(KivTestAccess::fieldOffsets(shader),
              (std::vector<std::ptrdiff_t>{pointer, 2 * pointer, 2 * pointer + 4, 2 * pointer + 8, firstPages,
                                           firstPages + sequence, data, data + 4}));
    EXPECT_EQ(sizeof(KivShader), static_cast<std::size_t>(data) + 8);
    EXPECT_EQ(sizeof(KivCombinableShader), sizeof(KivShader));
    EXPECT_EQ(sizeof(KivNonCombinableShader), sizeof(KivShader));
}

class OpenPage : public SamplePage {
public:
    OpenPage() : SamplePage(L"Open") {}
    std::vector<std::ptrdiff_t> fieldOffsets() const {
        const auto offset = [this](const auto& field) {
            return reinterpret_cast<const char*>(&field) -
                   reinterpret_cast<const char*>(static_cast<const KivDialog*>(this));
        };
        return {offset(settings), offset(propertiesDlg), offset(pageFlag)};
    }
};

TEST(KivPageDlgFields, FollowThoseOfTheDialog) {
    constexpr std::ptrdiff_t begin = sizeof(KivDialog);
    EXPECT_EQ(OpenPage().fieldOffsets(), (std::vector<std::ptrdiff_t>{begin, begin + std::ptrdiff_t{sizeof(void*)},
                                                                      begin + 2 * std::ptrdiff_t{sizeof(void*)}}));
    EXPECT_EQ(sizeof(KivPageDlg), sizeof(KivDialog) + 3 * sizeof(void*));
}

class OpenSettings : public SampleSettings {
public:
    OpenSettings() : SampleSettings(L"Open") {}
    std::ptrdiff_t managerOffset() const {
        return reinterpret_cast<const char*>(&dataManager) -
               reinterpret_cast<const char*>(static_cast<const KivPageSettings*>(this));
    }
};

TEST(KivPageSettingsFields, AreWherePluginsLookForThem) {
    EXPECT_EQ(OpenSettings().managerOffset(), std::ptrdiff_t{sizeof(void*)});
    EXPECT_EQ(sizeof(KivPageSettings), 3 * sizeof(void*));
}

TEST(KivShaderCommunicationFields, AreTwoNumbersAndTwoFlags) {
    EXPECT_EQ(sizeof(KivShaderCommunication), 12U);
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
