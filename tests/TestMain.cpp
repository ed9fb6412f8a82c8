// SPDX-License-Identifier: Apache-2.0
#include <QCoreApplication>
#ifdef QUILLO_TEST_SCREENS
#include <QGuiApplication>
#endif
#include <QStandardPaths>

#include <gtest/gtest.h>

// One event loop for the tests that need Qt's, standard paths that never touch the developer's
// own data, and no request ever leaving the machine.
int main(int argc, char** argv) {
    QStandardPaths::setTestModeEnabled(true);
    // Glosses are fetched for every reply; no test may reach the public translator.
    if (!qEnvironmentVariableIsSet("QUILLO_TRANSLATE_URL"))
        qputenv("QUILLO_TRANSLATE_URL", "http://127.0.0.1:9");
#ifdef QUILLO_TEST_SCREENS
    // Screens render in software, off any display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
#else
    QCoreApplication app(argc, argv);
#endif
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
