// SPDX-License-Identifier: Apache-2.0
#include "DocumentFixture.h"

#include "model/StarterBots.h"

#include <QFile>

#include <malloc.h>

namespace quillo::bench {

StoredState makeDocument(int messageCount) {
    StoredState state;
    state.profile.displayName = QStringLiteral("Ana");
    state.profile.setupCompleted = true;
    const QStringList languages{QStringLiteral("Spanish"), QStringLiteral("Japanese"),
                                QStringLiteral("German"), QStringLiteral("Korean")};
    for (int i = 0; i < 20; ++i)
        state.bots.append(StarterBots::forLanguage(languages.at(i % languages.size()),
                                                   {QStringLiteral("cooking")}, i));
    state = state.withSyncedLanguages();

    qint64 time = 1'700'000'000'000;
    for (int i = 0; i < messageCount; ++i) {
        ChatMessage message;
        message.id = QStringLiteral("%1").arg(i, 8, 10, QChar(u'0')) +
                     QStringLiteral("-0000-4000-8000-000000000000");
        message.botId = state.bots.at(i % 20).id;
        message.createdAt = time += 37'000;
        if (i % 2) {
            message.role = MessageRole::Assistant;
            message.source = MessageSource::Provider;
            message.text = QStringLiteral("¡Qué bien! Yo también cocino los domingos. ¿Qué vas "
                                          "a preparar hoy?");
            message.words = {{QStringLiteral("Qué"), QStringLiteral("what")},
                             {QStringLiteral("bien"), QStringLiteral("good")},
                             {QStringLiteral("cocino"), QStringLiteral("I cook")},
                             {QStringLiteral("domingos"), QStringLiteral("Sundays")},
                             {QStringLiteral("preparar"), QStringLiteral("to prepare")}};
        } else {
            message.role = MessageRole::User;
            message.source = MessageSource::User;
            message.text = QStringLiteral("Hoy voy a hacer una tortilla para mi familia.");
        }
        state.messages.append(std::move(message));
        state.lastReadAt.insert(state.bots.at(i % 20).id, time);
    }
    return state;
}

namespace {
qint64 statusField(const char* name) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.mid(qsizetype(qstrlen(name))).trimmed().split(' ').value(0).toLongLong() *
                   1024;
    }
    return 0;
}
} // namespace

qint64 residentBytes() {
    return statusField("VmRSS:");
}

qint64 peakResidentBytes() {
    return statusField("VmHWM:");
}

void resetPeakResident() {
    // Memory freed earlier but kept by the allocator would hide the next peak: give it back.
    malloc_trim(0);
    // Writing 5 to clear_refs resets the peak to the current resident size.
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

} // namespace quillo::bench
