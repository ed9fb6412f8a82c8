// SPDX-License-Identifier: Apache-2.0
#include "AppContext.h"

#include "desktop/MicrophoneSource.h"
#include "store/AppIdentity.h"

#include <QJSEngine>
#include <QQmlEngine>

namespace quillo {

namespace {

AppContext* current = nullptr;

std::unique_ptr<GoogleSignIn> googleSignIn(GoogleSignIn::Opener openBrowser) {
    const std::optional<GoogleSignInConfig> config = GoogleSignInConfig::fromEnvironment();
    return config ? std::make_unique<GoogleSignIn>(*config, std::move(openBrowser)) : nullptr;
}

} // namespace

AppContext::AppContext(AppController& controller, Desktop desktop, QObject* parent)
    : QObject(parent)
    , m_controller(controller)
    , m_google(googleSignIn(std::move(desktop.openBrowser)))
    , m_microphone(desktop.microphone ? std::move(desktop.microphone)
                                      : std::make_shared<MicrophoneSource>())
    , m_chats(controller.repository())
    , m_conversation(controller.repository(), controller.navigation(),
                     {*m_microphone, controller.api(), controller.session(), controller.clock()})
    , m_feedback(controller.repository())
    , m_account(controller.repository(), m_google.get(), controller.api().baseURL())
    , m_settings(controller.repository(), m_loginItem)
    , m_appearance(controller.repository())
    , m_colorScheme(QDBusConnection::sessionBus()) {
    connect(&m_colorScheme, &ColorSchemePortal::schemeChanged, &m_appearance,
            &Appearance::setDesktopScheme);
    connect(&controller, &AppController::updateFound, this, &AppContext::updateChanged);
    connect(&m_notifications, &NotificationCards::activated, this, &AppContext::openConversation);
    if (desktop.bus) {
        m_desktopNotifications =
            std::make_unique<DesktopNotifications>(*desktop.bus, std::move(desktop.avatar));
        connect(m_desktopNotifications.get(), &DesktopNotifications::activated, this,
                &AppContext::openConversation);
    }
    // A launcher may hand over an access code (scripts/run does, for the local service): it signs
    // in as if typed on the sign-in screen, whose failure line then says what went wrong.
    const QString handedOver = qEnvironmentVariable("QUILLO_ACCESS_CODE").trimmed();
    if (!handedOver.isEmpty() && !m_account.signedIn())
        m_account.signInWithCode(handedOver);
    // A notification for the conversation just opened has nothing more to say.
    connect(&controller.navigation(), &Navigation::selectionChanged, this, [this] {
        const QString botId = m_controller.navigation().selectedBotId();
        m_notifications.dismissFor(botId);
        if (m_desktopNotifications)
            m_desktopNotifications->withdraw(botId);
    });
}

AppContext::~AppContext() {
    m_lifetime.end();
    if (current == this)
        current = nullptr;
}

void AppContext::setCurrent(AppContext* context) {
    current = context;
}

AppContext* AppContext::create(QQmlEngine*, QJSEngine*) {
    Q_ASSERT(current);
    QJSEngine::setObjectOwnership(current, QJSEngine::CppOwnership);
    return current;
}

QString AppContext::updateVersion() const {
    const auto& update = m_controller.update();
    return update && !m_updateDismissed ? update->version : QString();
}

QString AppContext::updateUrl() const {
    const auto& update = m_controller.update();
    return update && !m_updateDismissed ? update->url.toString() : QString();
}

QString AppContext::displayName() {
    return AppIdentity::displayName();
}

QString AppContext::version() {
    return AppIdentity::version();
}

void AppContext::openConversation(const QString& botId) {
    m_controller.openConversation(botId);
}

void AppContext::openSettings() {
    m_controller.openSettings();
}

void AppContext::focusMostRelevantChat() {
    m_controller.navigation().focusMostRelevantChat();
}

void AppContext::refresh() {
    if (!m_refreshing)
        refreshing(m_lifetime.watch());
}

QCoro::Task<> AppContext::refreshing(Lifetime::Watch alive) {
    m_refreshing = true;
    Q_EMIT refreshingChanged();
    auto refresh = m_controller.repository().synchronisation().refresh();
    co_await refresh;
    if (alive.ended())
        co_return;
    m_refreshing = false;
    Q_EMIT refreshingChanged();
}

void AppContext::dismissUpdate() {
    m_updateDismissed = true;
    Q_EMIT updateChanged();
}

ContactDraft* AppContext::draftFor(const QString& botId) {
    auto* draft = new ContactDraft(m_controller.repository(), botId);
    QJSEngine::setObjectOwnership(draft, QJSEngine::JavaScriptOwnership);
    return draft;
}

void AppContext::setWindowShown(bool shown) {
    m_controller.navigation().setWindowShown(shown);
}

bool AppContext::handleUrl(const QUrl& url) {
    return m_google && m_google->handle(url);
}

void AppContext::showMainWindow() {
    Q_EMIT showWindowRequested();
}

void AppContext::setUnread(int count) {
    if (m_desktopNotifications)
        m_desktopNotifications->setUnread(count);
    if (count == m_unread)
        return;
    m_unread = count;
    Q_EMIT unreadChanged();
}

void AppContext::showNotification(const NotificationPayload& payload) {
    // The desktop's own notifications where it has a server for them, else the panel's cards.
    if (m_desktopNotifications && m_desktopNotifications->available())
        m_desktopNotifications->show(payload);
    else
        m_notifications.push(payload);
}

} // namespace quillo
