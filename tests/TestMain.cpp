#include <QCoreApplication>
#include <QStandardPaths>

#include <gtest/gtest.h>

// One event loop for the tests that need Qt's, and standard paths that never touch the
// developer's own data.
int main(int argc, char** argv) {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
