// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TestRecords.h"
#include "repository/ChatRepository.h"
#include "service/QuilloAPI.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"
#include "support/ManualClock.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace quillo::apptest {

// A repository over a seeded document in a temporary directory; nothing here reaches a service.
class AppModelsTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    ManualClock clock;
    std::unique_ptr<StateStore> store;
    std::unique_ptr<SessionStore> session;
    QuilloAPI api{QUrl(QStringLiteral("http://127.0.0.1:9"))};
    std::unique_ptr<ChatRepository> repository;

    void open(const StoredState& seed) {
        store = std::make_unique<StateStore>(dir.filePath(QStringLiteral("state.json")), clock);
        store->save(seed);
        store->flush();
        session = std::make_unique<SessionStore>(dir.filePath(QStringLiteral("session.json")));
        repository = std::make_unique<ChatRepository>(*store, *session, api, clock);
    }

public:
    static BotProfile contact(const QString& id, bool active = true) {
        BotProfile bot = testrecords::contact(id);
        bot.isEnabled = active;
        return bot;
    }

    static ChatMessage message(const QString& botId, MessageRole role, qint64 at,
                               const QString& text = QStringLiteral("hola")) {
        return {botId + QString::number(at),
                botId,
                role,
                text,
                {},
                at,
                role == MessageRole::User ? MessageSource::User : MessageSource::Provider,
                {}};
    }
};

} // namespace quillo::apptest
