#include "kivrender/shader/kivshadercommunication.h"

#include <gtest/gtest.h>

namespace {

TEST(KivShaderCommunication, StartsWithNothing) {
    KivShaderCommunication channel;
    float factor = 1.0F;
    float units = 1.0F;
    channel.getPolygonOffset(&factor, &units);
    EXPECT_EQ(factor, 0.0F);
    EXPECT_EQ(units, 0.0F);
    EXPECT_FALSE(channel.hasNonCombinable());
    EXPECT_FALSE(channel.doTransparency());
}

TEST(KivShaderCommunication, KeepsWhatItIsTold) {
    KivShaderCommunication channel;
    channel.setPolygonOffset(2.5F, 7.0F);
    float factor = 0.0F;
    float units = 0.0F;
    channel.getPolygonOffset(&factor, &units);
    EXPECT_EQ(factor, 2.5F);
    EXPECT_EQ(units, 7.0F);
    channel.setHasNonCombinable(true);
    EXPECT_TRUE(channel.hasNonCombinable());
    EXPECT_FALSE(channel.doTransparency());
    channel.setTransparency(true);
    channel.setHasNonCombinable(false);
    EXPECT_FALSE(channel.hasNonCombinable());
    EXPECT_TRUE(channel.doTransparency());
}

TEST(KivShaderCommunication, SettingTheDefaultReturnsTheOneBefore) {
    ASSERT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr);
    KivShaderCommunication first;
    KivShaderCommunication second;
    EXPECT_EQ(KivShaderCommunication::setDefaultCommunication(&first), nullptr);
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), &first);
    EXPECT_EQ(KivShaderCommunication::setDefaultCommunication(&second), &first);
    EXPECT_EQ(KivShaderCommunication::setDefaultCommunication(nullptr), &second);
    EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr);
}

} // namespace
