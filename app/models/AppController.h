// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Lifetime.h"
#include "models/Navigation.h"
#include "models/NotificationPayload.h"
#include "models/RepeatingTimers.h"
#include "models/SelectionTranslation.h"
#include "models/WordHover.h"
#include "repository/ChatRepository.h"
#include "service/QuilloAPI.h"
#include "service/UpdateCheck.h"
#include "store/AppPaths.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

#include <QObject>

#include <memory>
#include <optional>

namespace quillo {

// What the desktop around the application does for it: the window, the tray's unread count and
// desktop notifications. The Qt Quick shell implements it; tests record the calls.
class AppShell {
public:
    virtual ~AppShell() = default;
    virtual void showMainWindow() = 0;
    virtual void setUnread(int count) = 0;
    virtual void showNotification(const NotificationPayload& payload) = 0;
};

// The application's main object: it builds the core in a fixed order, wires the shell to the
// repository, runs the two repeating timers and decides whether the window opens at launch.
class AppController : public QObject {
    Q_OBJECT

public:
    // Builds the state store, the support directories, the session store, the service client,
    // the repository and the UI model, in that order. `clock` must outlive the controller.
    explicit AppController(const Clock& clock, QObject* parent = nullptr);
    ~AppController() override;

    // Wires everything to `shell` (which must outlive the controller), starts the timers and
    // the update check, and opens the window unless a login launch finds the user signed in
    // and set up.
    void start(AppShell& shell, bool launchedAtLogin);
    // At quit: the timers end and the last save reaches the disk.
    void stop();
    // The application came to the front: bring in what other devices changed.
    void didBecomeActive();

    void openConversation(const QString& botId);
    void openSettings();
    // The repository's incoming-message callback: a notification for the contact.
    void notify(const BotProfile& bot, const QList<ChatMessage>& messages);

    ChatRepository& repository() { return *m_repository; }
    Navigation& navigation() { return *m_navigation; }
    WordHover& wordHover() { return m_wordHover; }
    SelectionTranslation& selectionTranslation() { return m_selectionTranslation; }
    const QuilloAPI& api() const { return *m_api; }
    const SessionStore& session() const { return *m_session; }
    const Clock& clock() const { return m_clock; }
    // A newer release, once the check has found one.
    const std::optional<MacUpdate>& update() const { return m_update; }

    // Every contact's unread messages together, as the tray shows them.
    static int totalUnread(const StoredState& state);

Q_SIGNALS:
    void updateFound();

private:
    QCoro::Task<> checkForUpdate();

    const Clock& m_clock;
    AppPaths m_paths;
    std::unique_ptr<StateStore> m_store;
    std::unique_ptr<SessionStore> m_session;
    std::unique_ptr<QuilloAPI> m_api;
    std::unique_ptr<ChatRepository> m_repository;
    std::unique_ptr<Navigation> m_navigation;
    std::unique_ptr<RepeatingTimers> m_timers;
    WordHover m_wordHover;
    SelectionTranslation m_selectionTranslation;
    AppShell* m_shell = nullptr;
    std::optional<MacUpdate> m_update;
    Lifetime m_lifetime;
};

} // namespace quillo
