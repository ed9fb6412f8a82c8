#include <QCoreApplication>
#include <QStandardPaths>

#include <gtest/gtest.h>

// One event loop for the tests that need Qt's, standard paths that never touch the developer's
// own data, and no request ever leaving the machine.
int main(int argc, char** argv) {
    QStandardPaths::setTestModeEnabled(true);
    // Glosses are fetched for every reply; no test may reach the public translator.
    if (!qEnvironmentVariableIsSet("QUILLO_TRANSLATE_URL"))
        qputenv("QUILLO_TRANSLATE_URL", "http://127.0.0.1:9");
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
