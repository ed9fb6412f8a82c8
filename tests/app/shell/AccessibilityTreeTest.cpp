// SPDX-License-Identifier: Apache-2.0
#include "../PrivateBus.h"
#include "../VirtualDisplay.h"
#include "../screens/ScreensFixture.h"

#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace quillo;
using namespace quillo::screentest;
using quillo::apptest::PrivateBus;
using quillo::apptest::VirtualDisplay;

namespace {

// One object of the tree a screen reader reads, as the AT-SPI registry hands it out.
struct Heard {
    int depth = 0;
    QString role;
    QString name;
    QString description;
    QString text;
    QStringList states;
};

// The application on an X server and a session bus of the test's own, with the accessibility
// bus that the session starts on demand; the tree is read by a separate AT-SPI client, as a
// screen reader reads it.
class AccessibilityTreeTest : public ScreensTest {
protected:
    // Everything on screen, read over AT-SPI while this process goes on answering.
    QList<Heard> heard() {
        // The bridge registers the application a moment after its first window shows.
        QList<Heard> nodes;
        for (int attempt = 0; attempt < 20 && nodes.isEmpty(); ++attempt)
            nodes = readTree(attempt == 19);
        return nodes;
    }

    QList<Heard> readTree(bool lastAttempt) {
        QProcess reader;
        reader.start(QStringLiteral("/usr/bin/python3"),
                     {QStringLiteral(QUILLO_ATSPI_READER),
                      QString::number(QCoreApplication::applicationPid())});
        // The reader's questions are answered by this process's event loop.
        const bool finished = spinUntil(
            [&reader] {
                return reader.state() == QProcess::NotRunning || reader.waitForFinished(1);
            },
            60'000);
        if (lastAttempt) {
            EXPECT_TRUE(finished && reader.exitCode() == 0)
                << reader.readAllStandardError().toStdString();
        }
        QList<Heard> nodes;
        for (const QByteArray& line : reader.readAllStandardOutput().split('\n')) {
            const QJsonObject node = QJsonDocument::fromJson(line).object();
            if (node.isEmpty())
                continue;
            QStringList states;
            for (const QJsonValue state : node.value(QStringLiteral("states")).toArray())
                states.append(state.toString());
            nodes.append({node.value(QStringLiteral("depth")).toInt(),
                          node.value(QStringLiteral("role")).toString(),
                          node.value(QStringLiteral("name")).toString(),
                          node.value(QStringLiteral("description")).toString(),
                          node.value(QStringLiteral("text")).toString(), states});
        }
        return nodes;
    }

    // What a control is called must be words: a glyph such as "+" or "⚙" says nothing aloud.
    static bool spoken(const QString& name) {
        for (const QChar c : name) {
            if (c.isLetter())
                return true;
        }
        return false;
    }

    // Every control that takes input on screen has a name made of words. Two kinds are named
    // by what stands next to them, as screen readers take it: a password field, whose own name
    // the bridge keeps back, by the label just before it; the value field inside a combo box by
    // the box.
    static void expectEveryControlNamed(const QList<Heard>& nodes, const char* where) {
        static const QStringList controls{
            QStringLiteral("push button"),   QStringLiteral("toggle button"),
            QStringLiteral("check box"),     QStringLiteral("radio button"),
            QStringLiteral("combo box"),     QStringLiteral("text"),
            QStringLiteral("password text"), QStringLiteral("slider"),
            QStringLiteral("list item"),     QStringLiteral("list"),
            QStringLiteral("spin button"),   QStringLiteral("link")};
        int counted = 0;
        for (qsizetype at = 0; at < nodes.size(); ++at) {
            const Heard& node = nodes[at];
            if (!controls.contains(node.role) || !node.states.contains(u"showing"))
                continue;
            ++counted;
            const Heard* before = at > 0 ? &nodes[at - 1] : nullptr;
            if (before && node.role == u"password text" && before->role == u"label" &&
                before->depth == node.depth && spoken(before->name))
                continue;
            if (before && node.role == u"text" && before->role == u"combo box" &&
                before->depth == node.depth - 1 && spoken(before->name))
                continue;
            EXPECT_TRUE(spoken(node.name))
                << where << ": a " << node.role.toStdString() << " is called \""
                << node.name.toStdString() << "\" (" << node.description.toStdString()
                << ") holding \"" << node.text.toStdString() << "\"";
        }
        QString all;
        for (const Heard& node : nodes)
            all += QString(node.depth, u' ') + node.role + u' ' + node.name + u'\n';
        EXPECT_GE(counted, 2) << where << ": the tree holds no controls at all:\n"
                              << all.toStdString();
    }

    static bool holds(const QList<Heard>& nodes, const std::function<bool(const Heard&)>& test) {
        return std::any_of(nodes.begin(), nodes.end(), test);
    }
};

TEST_F(AccessibilityTreeTest, AScreenReaderNamesEverythingFromSignInToTheContactEditor) {
    seed(StoredState(), false);
    ASSERT_NO_FATAL_FAILURE(launch());
    QList<Heard> nodes = heard();
    expectEveryControlNamed(nodes, "sign-in");
    EXPECT_TRUE(holds(nodes, [](const Heard& node) { return node.role == u"password text"; }));

    item(QStringLiteral("accessCode"))
        ->setProperty("text", invite(QStringLiteral("ana@example.com")));
    QMetaObject::invokeMethod(item(QStringLiteral("signInButton")), "clicked");
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("startButton")) != nullptr; }));
    nodes = heard();
    expectEveryControlNamed(nodes, "onboarding");
    EXPECT_TRUE(holds(nodes, [](const Heard& node) {
        return node.role == u"check box" && node.name == u"music";
    })) << "the suggested interests are toggles with their names";
}

TEST_F(AccessibilityTreeTest, ChatsMessagesAndSheetsAreReadWithTheirNames) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    QList<Heard> nodes = heard();
    expectEveryControlNamed(nodes, "chats");
    for (const char* name : {"Refresh", "New contact", "Settings", "More", "Send", "Dictate"}) {
        EXPECT_TRUE(holds(nodes,
                          [name](const Heard& node) {
                              return node.role == u"push button" &&
                                     node.name == QLatin1String(name);
                          }))
            << "no button called " << name;
    }
    // A chat row says who, what came last and when.
    EXPECT_TRUE(holds(nodes, [](const Heard& node) {
        return node.role == u"list item" && node.name.startsWith(u"Yui Tanaka, ") &&
               node.name.contains(u"いつ行きますか");
    }));
    // The open conversation's messages are there to be read, the contact's with its name.
    EXPECT_TRUE(holds(nodes, [](const Heard& node) {
        return node.name.contains(u"Yui Tanaka") && node.name.contains(u"たのしみですね");
    }));
    EXPECT_TRUE(holds(nodes, [](const Heard& node) {
        return node.name.contains(u"You") && node.name.contains(u"京都に行きます");
    }));

    context->openSettings();
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("settingsSheet")) != nullptr; }));
    nodes = heard();
    expectEveryControlNamed(nodes, "settings");
    EXPECT_TRUE(holds(nodes, [](const Heard& node) {
        return node.role == u"check box" && node.name == u"Grow difficulty slowly";
    })) << "switches carry their title";
    controller->navigation().closeSheet();
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("settingsSheet")) == nullptr; }));

    controller->navigation().showSheet(Navigation::Sheet::NewContact);
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("contactEditor")) != nullptr; }));
    nodes = heard();
    expectEveryControlNamed(nodes, "contact editor");
    EXPECT_TRUE(holds(
        nodes, [](const Heard& node) { return node.role == u"text" && node.name == u"Name"; }));
}

TEST_F(AccessibilityTreeTest, ANewReplyIsAnnounced) {
    model.setDefault(server::ModelFixture::reply(
        QStringLiteral(R"({"message":"¡Qué bien! ¿Y el fin de semana?","remember":""})")));
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    controller->navigation().select(spanishId);
    ASSERT_TRUE(context->conversation()->send(QStringLiteral("Hola")));
    ASSERT_TRUE(spinUntil([this] { return context->conversation()->messages()->rowCount() == 3; },
                          2000, 100));
    const QList<Heard> nodes = heard();
    EXPECT_TRUE(holds(nodes, [](const Heard& node) {
        return (node.role == u"alert" || node.role == u"notification") &&
               node.name.contains(u"Lucía") && node.name.contains(u"fin de semana");
    })) << "the reply is in the conversation's announcement";
}

} // namespace

// The X server, the session bus and the accessibility bridge must all be there before the
// application object is made.
int main(int argc, char** argv) {
    QStandardPaths::setTestModeEnabled(true);
    qputenv("QUILLO_TRANSLATE_URL", "http://127.0.0.1:9");
    // The accessibility bus, started by the session bus on first use, puts its socket here.
    QTemporaryDir runtime;
    qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
    VirtualDisplay display;
    PrivateBus bus;
    if (!display.running() || bus.address().isEmpty() || !runtime.isValid()) {
        std::fprintf(stderr, "no X server or session bus for the accessibility tests\n");
        return 1;
    }
    qputenv("DISPLAY", display.name().toUtf8());
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toUtf8());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
