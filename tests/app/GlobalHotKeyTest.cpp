#include "desktop/GlobalHotKey.h"
#include "EventsUntil.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace quillo;
using quillo::apptest::eventsUntil;

namespace {

// An X server of the test's own, on the first free display number from :90.
class VirtualDisplay {
public:
    VirtualDisplay() {
        int number = 90;
        while (QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(number)) ||
               QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(number)))
            ++number;
        m_name = QStringLiteral(":%1").arg(number);
        m_server.start(QStringLiteral("Xvfb"), {m_name, QStringLiteral("-nolisten"),
                                                QStringLiteral("tcp"), QStringLiteral("-screen"),
                                                QStringLiteral("0"), QStringLiteral("640x480x24")});
        QElapsedTimer waited;
        waited.start();
        const QString socket = QStringLiteral("/tmp/.X11-unix/X%1").arg(number);
        while (m_server.state() != QProcess::NotRunning && !QFile::exists(socket) &&
               waited.elapsed() < 10'000)
            m_server.waitForFinished(20);
    }
    ~VirtualDisplay() {
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    bool running() const { return m_server.state() == QProcess::Running; }
    const QString& name() const { return m_name; }

    // What a user's keyboard does: a key press the server delivers to whoever grabbed it.
    bool press(const QString& keys) const {
        QProcess xdotool;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), m_name);
        xdotool.setProcessEnvironment(environment);
        xdotool.start(QStringLiteral("xdotool"), {QStringLiteral("key"), keys});
        return xdotool.waitForFinished(10'000) && xdotool.exitCode() == 0;
    }

private:
    QProcess m_server;
    QString m_name;
};

} // namespace

TEST(GlobalHotKey, ControlShiftSpaceReachesQuilloWhateverHasTheFocus) {
    VirtualDisplay display;
    ASSERT_TRUE(display.running()) << "Xvfb did not start";
    GlobalHotKey hotKey(display.name());
    ASSERT_TRUE(hotKey.registered());
    QSignalSpy pressed(&hotKey, &GlobalHotKey::pressed);

    ASSERT_TRUE(display.press(QStringLiteral("ctrl+shift+space")));
    ASSERT_TRUE(eventsUntil([&] { return pressed.count() == 1; }));
    ASSERT_TRUE(display.press(QStringLiteral("ctrl+space")));
    ASSERT_TRUE(display.press(QStringLiteral("shift+space")));
    ASSERT_TRUE(display.press(QStringLiteral("ctrl+shift+space")));
    ASSERT_TRUE(eventsUntil([&] { return pressed.count() == 2; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(pressed.count(), 2) << "other combinations are not ours";

    // A second program cannot take the key while Quillo holds it.
    GlobalHotKey second(display.name());
    EXPECT_FALSE(second.registered());
}

TEST(GlobalHotKey, WithoutAnXServerNothingIsRegistered) {
    GlobalHotKey hotKey(QStringLiteral(":999"));
    EXPECT_FALSE(hotKey.registered());
}
