#include "kivrender/lines/kivvectordrawing.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

TEST(KivVectorDrawing, EachKindHasANameOfItsOwn) {
    std::set<std::string> names;
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        names.insert(kivNameOf(static_cast<KivStrokeKind>(kind)));
    }
    EXPECT_EQ(names.size(), static_cast<std::size_t>(kivStrokeKinds));
    EXPECT_STREQ(kivNameOf(KivStrokeKind::contour), "contour");
    EXPECT_STREQ(kivNameOf(KivStrokeKind::own), "line");
    EXPECT_STREQ(kivNameOf(KivStrokeKind::tangent), "tangent");
}

TEST(KivVectorDrawing, OneIsCollectedAtATime) {
    KivVectorDrawing first;
    KivVectorDrawing second;
    EXPECT_EQ(kivCollectDrawing(&first), nullptr);
    EXPECT_EQ(kivCollectedDrawing(), &first);
    EXPECT_EQ(kivCollectDrawing(&second), &first);
    EXPECT_EQ(kivCollectDrawing(nullptr), &second);
    EXPECT_EQ(kivCollectedDrawing(), nullptr);
}
