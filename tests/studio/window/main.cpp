#include "studio/offscreen.h"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // Without a display, wherever the tests run. The screen is smaller than the window would like to be.
    const OffscreenDisplay display(1280, 860);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
