// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"
#include "model/ModelConstants.h"

#include <QColor>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlProperty>
#include <QSignalSpy>

#include <algorithm>
#include <iostream>

using namespace quillo;
using namespace quillo::screentest;

namespace {

class AppearanceTest : public ScreensTest {
protected:
    // The Theme singleton the screens use, reached as a QML file would reach it.
    QObject* theme() {
        if (!m_theme) {
            QQmlComponent reader(&screens->engine());
            reader.setData("import QtQml\nimport Quillo.Components\n"
                           "QtObject { readonly property QtObject theme: Theme }",
                           QUrl(QStringLiteral("memory:/ThemeReader.qml")));
            spinUntil([&reader] { return !reader.isLoading(); });
            m_reader.reset(reader.create());
            EXPECT_NE(m_reader, nullptr) << reader.errorString().toStdString();
            if (m_reader)
                m_theme = m_reader->property("theme").value<QObject*>();
        }
        return m_theme;
    }
    QColor colour(const char* name) {
        const QVariant value = theme()->property(name);
        EXPECT_TRUE(value.isValid()) << "Theme has no colour " << name;
        return value.value<QColor>();
    }
    double size(const char* name) { return theme()->property(name).toDouble(); }

    void showTheme(ThemeChoice choice) {
        controller->repository().editing().setTheme(choice);
        const bool dark = choice == ThemeChoice::Dark;
        ASSERT_TRUE(spinUntil([&] { return theme()->property("dark").toBool() == dark; }));
    }

    void TearDown() override {
        m_reader.reset();
        ScreensTest::TearDown();
    }

private:
    std::unique_ptr<QObject> m_reader;
    QObject* m_theme = nullptr;
};

struct Pair {
    const char* foreground;
    const char* background;
};

// What every text colour is drawn on, as the screens use them: plain and secondary text,
// timestamps, placeholders, accented and error lines on the window, the sidebar and its rows,
// cards, bubbles, banners and the error strip.
const char* const textColours[] = {"text", "secondaryText", "faintText", "accentForeground",
                                   "danger"};
const char* const textBackgrounds[] = {"window",        "sidebar",         "surface",
                                       "surfaceRaised", "selectedRow",     "hoverRow",
                                       "theirBubble",   "errorBackground", "bannerBackground"};
// Text on colours of its own.
const Pair textOnFills[] = {
    {"theirBubbleText", "theirBubble"}, {"text", "selection"},
    {"ownBubbleText", "ownBubble"},     {"accentText", "accent"},
    {"accentText", "unreadBadge"},      {"tooltipText", "tooltip"},
};
// Controls and their states need 3:1 against what they sit on: field edges and a switch that
// is off, the accent of chosen chips and of a switch that is on, the keyboard's focus ring.
const char* const controlColours[] = {"inputBorder", "accent", "switchOn", "focusRing"};
const char* const controlBackgrounds[] = {"window", "sidebar", "surface", "surfaceRaised"};
const Pair controlOnFills[] = {
    {"switchKnobOn", "switchOn"}, {"focusRing", "selectedRow"}, {"focusRing", "hoverRow"}};

struct Worst {
    double ratio = 21;
    QString pair;
    void note(double r, const QString& what) {
        if (r < ratio) {
            ratio = r;
            pair = what;
        }
    }
};

TEST_F(AppearanceTest, EveryColourPairOfBothThemesMeetsItsContrast) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_NE(theme(), nullptr);

    for (const ThemeChoice choice : {ThemeChoice::Light, ThemeChoice::Dark}) {
        ASSERT_NO_FATAL_FAILURE(showTheme(choice));
        const QString themeName =
            choice == ThemeChoice::Dark ? QStringLiteral("dark") : QStringLiteral("light");
        Worst worstText;
        Worst worstControl;
        const auto check = [&](const char* fg, const char* bg, double needed, Worst& worst) {
            const double ratio = Appearance::contrast(colour(fg), colour(bg));
            const QString what = themeName + QStringLiteral(": ") + QLatin1String(fg) +
                                 QStringLiteral(" on ") + QLatin1String(bg);
            worst.note(ratio, what);
            EXPECT_GE(ratio, needed) << what.toStdString() << " is " << ratio << ":1";
        };
        for (const char* fg : textColours)
            for (const char* bg : textBackgrounds)
                check(fg, bg, 4.5, worstText);
        for (const Pair& pair : textOnFills)
            check(pair.foreground, pair.background, 4.5, worstText);
        for (const char* fg : controlColours)
            for (const char* bg : controlBackgrounds)
                check(fg, bg, 3.0, worstControl);
        for (const Pair& pair : controlOnFills)
            check(pair.foreground, pair.background, 3.0, worstControl);

        // Initials on every colour a contact can have, and on the grey of an inactive one.
        QStringList avatarColours = botAccents();
        avatarColours.append(colour("mutedAvatar").name());
        for (const QString& accent : avatarColours) {
            const double ratio =
                Appearance::contrast(Appearance::initialsColor(QColor(accent)), QColor(accent));
            worstText.note(ratio, themeName + QStringLiteral(": initials on ") + accent);
            EXPECT_GE(ratio, 4.5) << "initials on " << accent.toStdString();
        }
        // Times are drawn softer than their message; blended over the bubble they still read.
        const QList<QQuickItem*> times = items(QStringLiteral("messageTime"));
        ASSERT_FALSE(times.isEmpty());
        for (QQuickItem* time : times) {
            const QColor bubble = time->parentItem()->property("color").value<QColor>();
            const QColor ink = time->property("color").value<QColor>();
            const qreal alpha = time->opacity();
            const QColor seen =
                QColor::fromRgbF(ink.redF() * alpha + bubble.redF() * (1 - alpha),
                                 ink.greenF() * alpha + bubble.greenF() * (1 - alpha),
                                 ink.blueF() * alpha + bubble.blueF() * (1 - alpha));
            const double ratio = Appearance::contrast(seen, bubble);
            worstText.note(ratio, themeName + QStringLiteral(": a time on ") + bubble.name());
            EXPECT_GE(ratio, 4.5) << "a time on " << bubble.name().toStdString();
        }
        // The avatars on screen draw their initials in that colour.
        const QList<QQuickItem*> initials = items(QStringLiteral("avatarInitials"));
        ASSERT_FALSE(initials.isEmpty());
        for (QQuickItem* text : initials) {
            const QColor circle = text->parentItem()->property("color").value<QColor>();
            EXPECT_EQ(text->property("color").value<QColor>(), Appearance::initialsColor(circle))
                << textOf(text).toStdString();
        }
        std::cout << "lowest text contrast " << worstText.ratio << ":1, "
                  << worstText.pair.toStdString() << "\nlowest control contrast "
                  << worstControl.ratio << ":1, " << worstControl.pair.toStdString() << '\n';
    }
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

// The application font, put back after the test whatever happens.
struct DesktopFont {
    QFont before = QGuiApplication::font();
    ~DesktopFont() { QGuiApplication::setFont(before); }
    static void setPoints(double points) {
        QFont font = QGuiApplication::font();
        font.setPointSizeF(points);
        QGuiApplication::setFont(font);
    }
};

// Buttons on screen whose label does not fit inside them.
QStringList overflowingButtons(QQuickItem* item) {
    QStringList found;
    if (!item->isVisible())
        return found;
    if (item->inherits("QQuickAbstractButton") && item->width() > 0) {
        const auto* label = item->property("contentItem").value<QQuickItem*>();
        const double availableWidth = item->property("availableWidth").toDouble();
        const double availableHeight = item->property("availableHeight").toDouble();
        if (label && (label->implicitWidth() > availableWidth + 1 ||
                      label->implicitHeight() > availableHeight + 1))
            found.append(item->property("text").toString() + QStringLiteral(" (") +
                         item->objectName() + QStringLiteral(")"));
    }
    for (QQuickItem* child : item->childItems())
        found += overflowingButtons(child);
    return found;
}

TEST_F(AppearanceTest, TheWholeInterfaceFollowsTheDesktopFont) {
    const DesktopFont restore;
    DesktopFont::setPoints(9.75); // 13 px at 96 dpi: the size the screens were drawn for
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_NE(theme(), nullptr);
    EXPECT_DOUBLE_EQ(context->appearance()->scale(), 1.0);
    EXPECT_DOUBLE_EQ(size("bodySize"), 13);

    QQuickItem* name = item(QStringLiteral("conversationName"));
    QQuickItem* lastMessage = item(QStringLiteral("lastMessage"));
    ASSERT_NE(name, nullptr);
    ASSERT_NE(lastMessage, nullptr);
    const double namePixels = QQmlProperty::read(name, QStringLiteral("font.pixelSize")).toDouble();
    const double rowPixels =
        QQmlProperty::read(lastMessage, QStringLiteral("font.pixelSize")).toDouble();
    const double nameHeight = name->height();
    const double sidebar = size("sidebarWidth");
    const double rowHeight = size("chatRowHeight");

    // The desktop's font grows while the application runs: the screens follow at once.
    QSignalSpy scaled(context->appearance(), &Appearance::scaleChanged);
    DesktopFont::setPoints(16);
    EXPECT_EQ(scaled.count(), 1);
    const double scale = context->appearance()->scale();
    EXPECT_NEAR(scale, 16.0 * 96 / 72 / 13, 0.02);
    ASSERT_TRUE(spinUntil([&] { return size("bodySize") > 13; }));
    EXPECT_NEAR(size("bodySize"), 13 * scale, 0.01);
    EXPECT_NEAR(QQmlProperty::read(name, QStringLiteral("font.pixelSize")).toDouble(),
                namePixels * scale, 1);
    EXPECT_NEAR(QQmlProperty::read(lastMessage, QStringLiteral("font.pixelSize")).toDouble(),
                rowPixels * scale, 1);
    EXPECT_NEAR(size("sidebarWidth"), sidebar * scale, 1);
    EXPECT_NEAR(size("chatRowHeight"), rowHeight * scale, 1);

    // Every screen at the larger font: no button's label spills out of it.
    const auto screen = [this](const QString& png) {
        grab(png);
        const QStringList spilled = overflowingButtons(window()->contentItem());
        EXPECT_TRUE(spilled.isEmpty())
            << png.toStdString() << ": " << spilled.join(u", ").toStdString();
    };
    ASSERT_TRUE(spinUntil([this] { return wordItem(QStringLiteral("ありがとう")) != nullptr; }));
    screen(QStringLiteral("large-font-chats"));
    // Laid out again for the larger text.
    EXPECT_GT(name->height(), nameHeight * scale * 0.85);
    context->openSettings();
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("settingsSheet")) != nullptr; }));
    screen(QStringLiteral("large-font-settings"));
    controller->navigation().closeSheet();
    controller->navigation().showSheet(Navigation::Sheet::NewContact);
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("contactEditor")) != nullptr; }));
    screen(QStringLiteral("large-font-contact"));
    controller->navigation().closeSheet();
    controller->repository().editing().setTheme(ThemeChoice::Dark);
    ASSERT_TRUE(spinUntil([this] { return context->appearance()->dark(); }));
    screen(QStringLiteral("large-font-chats-dark"));

    // And back: the desktop's usual size gives the screens as drawn.
    DesktopFont::setPoints(9.75);
    ASSERT_TRUE(spinUntil([&] { return size("bodySize") == 13; }));
    EXPECT_EQ(QQmlProperty::read(name, QStringLiteral("font.pixelSize")).toDouble(), namePixels);
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

} // namespace
