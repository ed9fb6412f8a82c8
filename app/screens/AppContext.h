// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Lifetime.h"
#include "desktop/ColorSchemePortal.h"
#include "desktop/DesktopNotifications.h"
#include "desktop/GoogleSignIn.h"
#include "desktop/LoginItem.h"
#include "dictation/AudioSource.h"
#include "models/AppController.h"
#include "models/ChatListModel.h"
#include "screens/AccountScreen.h"
#include "screens/Appearance.h"
#include "screens/ContactDraft.h"
#include "screens/ConversationScreen.h"
#include "screens/FeedbackScreen.h"
#include "screens/NotificationCards.h"
#include "screens/ProfileSettings.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace quillo {

// What the screens reach as the `App` singleton: the models and screen adapters over the one
// application controller. It is also the desktop shell the controller talks to: it asks the
// window to come forward, keeps the unread count and puts notifications on the panel.
class AppContext : public QObject, public AppShell {
    Q_OBJECT
    QML_NAMED_ELEMENT(App)
    QML_SINGLETON
    Q_PROPERTY(quillo::Navigation* navigation READ navigation CONSTANT)
    Q_PROPERTY(quillo::ChatListModel* chats READ chats CONSTANT)
    Q_PROPERTY(quillo::ConversationScreen* conversation READ conversation CONSTANT)
    Q_PROPERTY(quillo::FeedbackScreen* feedback READ feedback CONSTANT)
    Q_PROPERTY(quillo::AccountScreen* account READ account CONSTANT)
    Q_PROPERTY(quillo::ProfileSettings* settings READ settings CONSTANT)
    Q_PROPERTY(quillo::WordHover* wordHover READ wordHover CONSTANT)
    Q_PROPERTY(
        quillo::SelectionTranslation* selectionTranslation READ selectionTranslation CONSTANT)
    Q_PROPERTY(quillo::NotificationCards* notifications READ notifications CONSTANT)
    Q_PROPERTY(quillo::Appearance* appearance READ appearance CONSTANT)
    Q_PROPERTY(int unread READ unread NOTIFY unreadChanged)
    Q_PROPERTY(bool refreshing READ refreshing NOTIFY refreshingChanged)
    // The banner's newer release; empty while there is none or after "Later".
    Q_PROPERTY(QString updateVersion READ updateVersion NOTIFY updateChanged)
    Q_PROPERTY(QString updateUrl READ updateUrl NOTIFY updateChanged)
    Q_PROPERTY(QString displayName READ displayName CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)

public:
    // What the desktop session offers the application. Without it (headless) notifications
    // stay on the application's own panel and Google sign-in is not offered.
    struct Desktop {
        // Opens a URL in the user's browser, for Google sign-in (offered only when a client id
        // is configured).
        GoogleSignIn::Opener openBrowser;
        // The session bus's notification server and launcher entry, when there is one.
        std::optional<QDBusConnection> bus;
        DesktopNotifications::AvatarPainter avatar;
        // What dictation listens to; the default microphone when not given.
        std::shared_ptr<AudioSource> microphone;
    };

    explicit AppContext(AppController& controller, Desktop desktop = {}, QObject* parent = nullptr);
    ~AppContext() override;

    // The instance the QML engine hands out; set before any screen loads.
    static void setCurrent(AppContext* context);
    static AppContext* create(QQmlEngine* qml, QJSEngine* js);

    Navigation* navigation() { return &m_controller.navigation(); }
    ChatListModel* chats() { return &m_chats; }
    ConversationScreen* conversation() { return &m_conversation; }
    FeedbackScreen* feedback() { return &m_feedback; }
    AccountScreen* account() { return &m_account; }
    ProfileSettings* settings() { return &m_settings; }
    WordHover* wordHover() { return &m_controller.wordHover(); }
    SelectionTranslation* selectionTranslation() { return &m_controller.selectionTranslation(); }
    NotificationCards* notifications() { return &m_notifications; }
    Appearance* appearance() { return &m_appearance; }
    int unread() const { return m_unread; }
    bool refreshing() const { return m_refreshing; }
    QString updateVersion() const;
    QString updateUrl() const;
    static QString displayName();
    static QString version();

    Q_INVOKABLE void openConversation(const QString& botId);
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void focusMostRelevantChat();
    // Ctrl+R: the account check and what other devices changed.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void dismissUpdate();
    // The editor's copy of a contact; an empty id starts a new one.
    Q_INVOKABLE quillo::ContactDraft* draftFor(const QString& botId);
    // The window tells whether it is on screen.
    Q_INVOKABLE void setWindowShown(bool shown);
    // A URL given to the application (the sign-in callback); whether it was taken.
    bool handleUrl(const QUrl& url);

    // AppShell
    void showMainWindow() override;
    void setUnread(int count) override;
    void showNotification(const NotificationPayload& payload) override;

Q_SIGNALS:
    void showWindowRequested();
    void unreadChanged();
    void refreshingChanged();
    void updateChanged();

private:
    QCoro::Task<> refreshing(Lifetime::Watch alive);

    AppController& m_controller;
    std::unique_ptr<GoogleSignIn> m_google;
    std::unique_ptr<DesktopNotifications> m_desktopNotifications;
    std::shared_ptr<AudioSource> m_microphone;
    LoginItem m_loginItem;
    ChatListModel m_chats;
    ConversationScreen m_conversation;
    FeedbackScreen m_feedback;
    AccountScreen m_account;
    ProfileSettings m_settings;
    NotificationCards m_notifications;
    Appearance m_appearance;
    ColorSchemePortal m_colorScheme;
    int m_unread = 0;
    bool m_refreshing = false;
    bool m_updateDismissed = false;
    Lifetime m_lifetime;
};

} // namespace quillo
