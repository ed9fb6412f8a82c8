// SPDX-License-Identifier: Apache-2.0
// Saves a fixed sequence of documents into a state store until it is killed, reporting its
// progress on stdout so that the crash test can kill it at chosen points:
//
//   state-store-crash-child DIR          saves document 1, 2, ... to DIR/state.json; prints "k"
//                                        after handing over save k, and "flushed k" once a flush
//                                        after save k has returned (every third save)
//   state-store-crash-child --document K   prints document K as compact JSON
#include "store/StateStore.h"

#include <QJsonDocument>

#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace quillo;

namespace {

constexpr int saveLimit = 200;
constexpr int flushEvery = 3;

// Document k is fully determined by k; every fourth message is long, so writes take a moment.
StoredState document(int k) {
    StoredState state;
    state.profile.displayName = QStringLiteral("save %1").arg(k);
    BotProfile bot;
    bot.id = QStringLiteral("b1");
    bot.displayName = QStringLiteral("Lucía");
    bot.targetLanguage = QStringLiteral("Spanish");
    state.bots = {bot};
    for (int i = 1; i <= k; ++i) {
        const QString text = i % 4 == 0 ? QString(48 * 1024, QChar(u'a' + i % 26))
                                        : QStringLiteral("message %1").arg(i);
        state.messages.append({QStringLiteral("m%1").arg(i),
                               bot.id,
                               i % 2 ? MessageRole::User : MessageRole::Assistant,
                               text,
                               {},
                               1'700'000'000'000 + i,
                               MessageSource::User,
                               {}});
    }
    state.lastReadAt = {{bot.id, 1'700'000'000'000 + k}};
    return state;
}

void report(const char* format, int k) {
    std::printf(format, k);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--document") == 0) {
        const QByteArray json =
            QJsonDocument(document(std::atoi(argv[2])).toJson()).toJson(QJsonDocument::Compact);
        std::fwrite(json.constData(), 1, size_t(json.size()), stdout);
        return 0;
    }
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIR | --document K\n", argv[0]);
        return 2;
    }
    StateStore store(QString::fromLocal8Bit(argv[1]) + QStringLiteral("/state.json"));
    for (int k = 1; k <= saveLimit; ++k) {
        store.save(document(k));
        report("%d\n", k);
        if (k % flushEvery == 0) {
            store.flush();
            report("flushed %d\n", k);
        }
    }
    return 0;
}
