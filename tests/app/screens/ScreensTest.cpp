// SPDX-License-Identifier: Apache-2.0
#include "../GoogleFixture.h"
#include "../NotificationServer.h"
#include "../PrivateBus.h"
#include "ScreensFixture.h"
#include "server/JwksFixture.h"
#include "shell/TrayIcon.h"

#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlProperty>
#include <QStandardPaths>

using namespace quillo;
using namespace quillo::screentest;
using ModelFixture = quillo::server::ModelFixture;
using ScreensRenderTest = ScreensTest;

namespace {

TEST_F(ScreensRenderTest, EveryScreenOfASetUpUserRendersWithoutWarnings) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());

    // The newest unread conversation opens first.
    EXPECT_EQ(controller->navigation().selectedBotId(), japaneseId);
    EXPECT_EQ(textOf(item(QStringLiteral("conversationName"))), QStringLiteral("Yui Tanaka"));
    ASSERT_TRUE(spinUntil([this] { return wordItem(QStringLiteral("ありがとう")) != nullptr; }));
    // Japanese shows its reading line over the kana words.
    QStringList readings;
    for (QQuickItem* reading : items(QStringLiteral("reading")))
        readings.append(textOf(reading));
    EXPECT_TRUE(readings.contains(QStringLiteral("arigatou"))) << readings.join(u' ').toStdString();
    grab(QStringLiteral("chats-japanese"));

    controller->navigation().select(russianId);
    ASSERT_TRUE(spinUntil([this] { return wordItem(QStringLiteral("неделя")) != nullptr; }));
    grab(QStringLiteral("chats-russian"));
    controller->navigation().select(spanishId);
    ASSERT_TRUE(spinUntil([this] { return wordItem(QStringLiteral("música")) != nullptr; }));
    grab(QStringLiteral("chats-spanish"));

    // The service has a newer release than this build.
    ASSERT_TRUE(spinUntil([this] { return !context->updateVersion().isEmpty(); }));
    EXPECT_EQ(textOf(item(QStringLiteral("updateVersion"))), QStringLiteral("Quillo 9.1"));
    grab(QStringLiteral("update-banner"));
    context->dismissUpdate();

    context->openSettings();
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("settingsSheet")) != nullptr; }));
    grab(QStringLiteral("settings"));
    QQuickItem* ageGroup = item(QStringLiteral("ageGroupPicker"));
    ASSERT_NE(ageGroup, nullptr);
    EXPECT_EQ(ageGroup->property("displayText").toString(), u"18+");
    QMetaObject::invokeMethod(ageGroup, "activated", Q_ARG(int, 0));
    EXPECT_EQ(controller->repository().state().profile.ageGroup, UserAgeGroup::Under18);
    QQuickItem* scroll = item(QStringLiteral("settingsScroll"));
    ASSERT_NE(scroll, nullptr);
    if (auto* flickable = scroll->property("contentItem").value<QQuickItem*>()) {
        flickable->setProperty("contentY",
                               flickable->property("contentHeight").toReal() - flickable->height());
        grab(QStringLiteral("settings-account"));
    }
    controller->navigation().closeSheet();

    controller->navigation().showSheet(Navigation::Sheet::NewContact);
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("contactEditor")) != nullptr; }));
    grab(QStringLiteral("contact-new"));
    controller->navigation().closeSheet();
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("contactEditor")) == nullptr; }));

    controller->navigation().select(japaneseId);
    QMetaObject::invokeMethod(item(QStringLiteral("conversationView")), "editContact");
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("contactEditor")) != nullptr; }));
    EXPECT_EQ(textOf(item(QStringLiteral("noMemories"))).isEmpty(), false);
    EXPECT_FALSE(item(QStringLiteral("noMemories"))->isVisible()) << "Yui remembers something";
    grab(QStringLiteral("contact-edit"));
    controller->navigation().closeSheet();

    controller->repository().editing().setTheme(ThemeChoice::Dark);
    ASSERT_TRUE(spinUntil([this] { return context->appearance()->dark(); }));
    grab(QStringLiteral("chats-dark"));

    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, SigningInWithAnAccessCodeLeadsThroughOnboardingToTheChats) {
    seed(StoredState(), false);
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_NE(item(QStringLiteral("accessCode")), nullptr);
    grab(QStringLiteral("sign-in"));
    EXPECT_FALSE(item(QStringLiteral("connectionWarning"))->isVisible()) << "loopback is private";

    // A code the service does not know.
    item(QStringLiteral("accessCode"))->setProperty("text", QStringLiteral("NOPE-NOPE"));
    QMetaObject::invokeMethod(item(QStringLiteral("signInButton")), "clicked");
    ASSERT_TRUE(
        spinUntil([this] { return !textOf(item(QStringLiteral("failureLine"))).isEmpty(); }));
    EXPECT_EQ(textOf(item(QStringLiteral("failureLine"))),
              QStringLiteral("Quillo couldn't sign you in. Try again."));

    item(QStringLiteral("accessCode"))
        ->setProperty("text", invite(QStringLiteral("ana@example.com")));
    QMetaObject::invokeMethod(item(QStringLiteral("signInButton")), "clicked");
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("startButton")) != nullptr; }));
    grab(QStringLiteral("onboarding"));

    QQuickItem* onboarding = item(QStringLiteral("startButton"))->parentItem();
    while (onboarding && !onboarding->property("languages").isValid())
        onboarding = onboarding->parentItem();
    ASSERT_NE(onboarding, nullptr);
    // Written as the fields write them: the value replaces the binding to the settings, which
    // the sign-in's last upload may still refresh.
    QQmlProperty::write(onboarding, QStringLiteral("name"), QStringLiteral("Ana"));
    QQmlProperty::write(onboarding, QStringLiteral("languages"),
                        QStringList{QStringLiteral("Japanese"), QStringLiteral("Spanish")});
    QQmlProperty::write(onboarding, QStringLiteral("interests"), QStringLiteral("music, travel"));
    // Under 18, picked in the age group's list as a click would.
    QQuickItem* ageGroup = item(QStringLiteral("ageGroup"));
    ASSERT_NE(ageGroup, nullptr);
    EXPECT_EQ(ageGroup->property("displayText").toString(), u"18+");
    QMetaObject::invokeMethod(ageGroup, "activated", Q_ARG(int, 0));
    EXPECT_EQ(ageGroup->property("displayText").toString(), u"Under 18");
    grab(QStringLiteral("onboarding-filled"));
    ASSERT_TRUE(onboarding->property("ready").toBool())
        << "name " << onboarding->property("name").toString().toStdString() << ", languages "
        << onboarding->property("languages").toStringList().join(u',').toStdString();
    QMetaObject::invokeMethod(item(QStringLiteral("startButton")), "clicked");

    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("chatList")) != nullptr; }))
        << "set up: " << controller->repository().state().profile.setupCompleted
        << ", signed in: " << context->account()->signedIn();
    EXPECT_EQ(context->chats()->rowCount(), 2);
    EXPECT_TRUE(controller->repository().state().profile.setupCompleted);
    EXPECT_EQ(controller->repository().state().profile.ageGroup, UserAgeGroup::Under18);
    EXPECT_FALSE(controller->navigation().selectedBotId().isEmpty())
        << "a chat is open to start with";
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, ContinuingWithGoogleSignsInThroughTheServiceAndOnboards) {
    server::JwksFixture keys;
    apptest::GoogleFixture google;
    google.clientId = server::JwksFixture::clientId();
    google.tokenBody =
        QJsonDocument(QJsonObject{{QStringLiteral("id_token"),
                                   keys.sign(server::JwksFixture::claims(
                                       QStringLiteral("ana@example.com"), clock.nowMillis()))}})
            .toJson(QJsonDocument::Compact);
    // The service trusts this Google and this client; the app asks that Google.
    const int servedOn = port();
    stop();
    config.listenPort = servedOn;
    config.googleClientIds = {google.clientId};
    config.googleJwksUrl = keys.url();
    start();
    const GoogleSignInConfig endpoints = google.config();
    qputenv("QUILLO_GOOGLE_CLIENT_ID", google.clientId.toUtf8());
    qputenv("QUILLO_GOOGLE_CLIENT_SECRET", google.clientSecret.toUtf8());
    qputenv("QUILLO_GOOGLE_AUTH_URL", endpoints.authorizationEndpoint.toEncoded());
    qputenv("QUILLO_GOOGLE_TOKEN_URL", endpoints.tokenEndpoint.toEncoded());
    seed(StoredState(), false);
    AppContext::Desktop desktop;
    desktop.openBrowser = google.browser();
    launch(std::move(desktop));
    qunsetenv("QUILLO_GOOGLE_CLIENT_ID");
    qunsetenv("QUILLO_GOOGLE_CLIENT_SECRET");
    qunsetenv("QUILLO_GOOGLE_AUTH_URL");
    qunsetenv("QUILLO_GOOGLE_TOKEN_URL");

    ASSERT_NE(item(QStringLiteral("googleButton")), nullptr);
    EXPECT_TRUE(item(QStringLiteral("googleButton"))->isVisible());
    QMetaObject::invokeMethod(item(QStringLiteral("googleButton")), "clicked");
    ASSERT_TRUE(
        spinUntil([this] { return item(QStringLiteral("startButton")) != nullptr; }, 2000, 1000));
    ASSERT_TRUE(controller->repository().account().has_value());
    EXPECT_EQ(controller->repository().account()->email, QStringLiteral("ana@example.com"));
    EXPECT_EQ(keys.fetchCount(), 1) << "the service checked the token against Google's keys";
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, ASessionThatEndedGreetsItsOwnerByEmail) {
    seed(seededDocument());
    SessionStore(support.filePath(QStringLiteral("session.json"))).expire();
    ASSERT_NO_FATAL_FAILURE(launch());
    const QString greeting = textOf(item(QStringLiteral("returningOwner")));
    EXPECT_EQ(greeting, QStringLiteral("Your session ended. Sign in as ana@example.com to pick "
                                       "up where you left off."));
    grab(QStringLiteral("sign-in-returning"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(ScreensRenderTest, SigningOutFromTheSettingsLeavesNoChatsAndAFailedDeletionSaysSo) {
    seed(seededDocument());
    ASSERT_NO_FATAL_FAILURE(launch());
    context->openSettings();
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("deleteAccount")) != nullptr; }));

    // A file where the autostart folder belongs: the switch stays off and says why.
    const QString configHome =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    ASSERT_TRUE(QDir().mkpath(configHome));
    QFile blocker(configHome + QStringLiteral("/autostart"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    QQuickItem* loginSwitch = item(QStringLiteral("openAtLogin"));
    ASSERT_NE(loginSwitch, nullptr);
    QMetaObject::invokeMethod(loginSwitch, "toggled", Q_ARG(bool, true));
    EXPECT_EQ(textOf(item(QStringLiteral("loginProblem"))),
              QStringLiteral("Couldn't change whether Quillo opens at login."));
    EXPECT_FALSE(context->settings()->openAtLogin());
    blocker.remove();

    // The service is gone: deleting cannot go through, and nothing local changes.
    const int servedOn = port();
    stop();
    context->account()->deleteAccount();
    ASSERT_TRUE(spinUntil([this] { return !context->account()->busy(); }, 2000, 1000));
    EXPECT_EQ(textOf(item(QStringLiteral("deleteFailure"))),
              QStringLiteral("Your account couldn't be deleted right now. Try again in a moment."));
    EXPECT_TRUE(context->account()->signedIn());
    EXPECT_EQ(context->chats()->rowCount(), 3);
    grab(QStringLiteral("settings-delete-failed"));

    config.listenPort = servedOn; // back where the app looks for it
    start();
    QMetaObject::invokeMethod(item(QStringLiteral("signOut")), "clicked");
    ASSERT_TRUE(
        spinUntil([this] { return item(QStringLiteral("accessCode")) != nullptr; }, 2000, 1000));
    EXPECT_EQ(context->chats()->rowCount(), 0) << "this computer keeps none of the chats";
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST(TrayIcon, TheUnreadCountStandsBesideAndOnTheIcon) {
    EXPECT_EQ(TrayIcon::unreadTitle(0), QString());
    EXPECT_EQ(TrayIcon::unreadTitle(-2), QString());
    EXPECT_EQ(TrayIcon::unreadTitle(3), u" 3");
    const QImage bare = TrayIcon::badged(32, 0);
    ASSERT_EQ(bare.size(), QSize(32, 32));
    EXPECT_NE(bare, TrayIcon::badged(32, 3)) << "a badge is drawn";
    EXPECT_NE(TrayIcon::badged(32, 3), TrayIcon::badged(32, 4));
    EXPECT_EQ(bare, TrayIcon::badged(32, -1));
    const QString folder = QCoreApplication::applicationDirPath() + QStringLiteral("/screens");
    QDir().mkpath(folder);
    EXPECT_TRUE(TrayIcon::badged(64, 3).save(folder + QStringLiteral("/tray-icon-3.png")));
}

} // namespace
