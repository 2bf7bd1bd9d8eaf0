#include "studio/endtoend/display.h"

#include <QApplication>
#include <gtest/gtest.h>

namespace {

// Skips every test, saying why.
class Skipping : public testing::Environment {
public:
    explicit Skipping(QString because) : reason(std::move(because)) {}
    void SetUp() override {
        GTEST_SKIP() << reason.toStdString();
    }

private:
    QString reason;
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS();
    }
    if (const QString reason = MemoryDisplay::missing(); !reason.isEmpty()) {
        testing::AddGlobalTestEnvironment(new Skipping(reason));
        return RUN_ALL_TESTS();
    }
    const MemoryDisplay display;
    if (!display) {
        std::fputs("test_studio_endtoend: Xvfb did not start\n", stderr);
        return 1;
    }
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false); // stories end by themselves
    return RUN_ALL_TESTS();
}
