// SPDX-License-Identifier: Apache-2.0
#include "AppController.h"

#include "store/AppIdentity.h"

#include <QLoggingCategory>

namespace quillo {

namespace {

Q_LOGGING_CATEGORY(lcApp, "quillo.app")

} // namespace

AppController::AppController(const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock)
    , m_paths(AppPaths::current()) {
    m_store = std::make_unique<StateStore>(m_paths.statePath(), clock);
    if (const auto failure = m_paths.ensureSupportDirectories())
        qCWarning(lcApp).noquote() << "the support directory is not usable:" << failure->message();
    m_session = std::make_unique<SessionStore>(m_paths.sessionPath());
    m_api = std::make_unique<QuilloAPI>(AppIdentity::apiBaseURL());
    m_repository = std::make_unique<ChatRepository>(*m_store, *m_session, *m_api, clock);
    m_navigation = std::make_unique<Navigation>(*m_repository);
}

AppController::~AppController() {
    m_lifetime.end();
    stop();
}

int AppController::totalUnread(const StoredState& state) {
    int unread = 0;
    for (const BotProfile& bot : state.bots)
        unread += state.unreadCount(bot.id);
    return unread;
}

void AppController::start(AppShell& shell, bool launchedAtLogin) {
    m_shell = &shell;
    ChatRepository* repository = m_repository.get();
    m_wordHover.wire([repository](QString messageId, QString word, QString language) {
        repository->glossing().prefetchWords(messageId);
        return repository->glossing().translate(language, word);
    });
    m_selectionTranslation.wire([repository](QString language, QString text) {
        return repository->glossing().translate(language, text);
    });
    connect(m_repository.get(), &ChatRepository::stateChanged, this,
            [this](const StoredState& state) { m_shell->setUnread(totalUnread(state)); });
    m_shell->setUnread(totalUnread(m_repository->state()));
    m_repository->conversation().setOnIncoming(
        [this](const BotProfile& bot, const QList<ChatMessage>& messages) {
            notify(bot, messages);
        });
    m_timers = std::make_unique<RepeatingTimers>(
        m_clock, [repository](qint64 now) { return repository->nudges().run(now); },
        [repository] { return repository->synchronisation().refresh(); });
    m_timers->start();
    checkForUpdate();

    // A login launch of someone signed in and set up stays in the tray: replies and
    // notifications still reach them.
    const bool quiet =
        launchedAtLogin && m_repository->account() && m_repository->state().profile.setupCompleted;
    if (quiet)
        return;
    if (!launchedAtLogin)
        m_navigation->focusMostRelevantChat();
    m_shell->showMainWindow();
}

void AppController::stop() {
    if (m_timers)
        m_timers->stop();
    m_selectionTranslation.clear();
    m_wordHover.hide();
    m_repository->conversation().setVisibleBotId(std::nullopt);
    m_repository->flush();
}

void AppController::didBecomeActive() {
    m_repository->synchronisation().refresh();
}

void AppController::openConversation(const QString& botId) {
    m_navigation->closeSheet();
    m_navigation->select(botId);
    if (m_shell)
        m_shell->showMainWindow();
}

void AppController::openSettings() {
    m_navigation->showSheet(Navigation::Sheet::Settings);
    if (m_shell)
        m_shell->showMainWindow();
}

void AppController::notify(const BotProfile& bot, const QList<ChatMessage>& messages) {
    if (m_shell)
        m_shell->showNotification(NotificationPayload::of(m_repository->state(), bot, messages));
}

QCoro::Task<> AppController::checkForUpdate() {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto checking = UpdateCheck::newer(AppIdentity::version(), m_api->baseURL());
    const std::optional<MacUpdate> update = co_await checking;
    if (alive.ended() || !update)
        co_return;
    m_update = update;
    Q_EMIT updateFound();
}

} // namespace quillo
