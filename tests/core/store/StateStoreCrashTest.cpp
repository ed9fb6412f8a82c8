// SPDX-License-Identifier: Apache-2.0
#include "store/StateStore.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QJsonDocument>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <random>

using namespace quillo;

namespace {

const QString childPath = QStringLiteral(QUILLO_CRASH_CHILD_PATH);
constexpr int runs = 1000;
constexpr int maxKillPoint = 30;
constexpr int readTimeoutMs = 10'000; // a bound for a stuck child, not a pace

// What the child has reported: the last save it handed over and the last one it saw flushed.
struct Progress {
    int handedOver = 0;
    int flushed = 0;

    void take(const QByteArray& line) {
        const QByteArray text = line.trimmed();
        if (text.startsWith("flushed "))
            flushed = std::max(flushed, text.mid(8).toInt());
        else
            handedOver = std::max(handedOver, text.toInt());
    }
};

// Document k as the child saves it, from the child itself so that both sides agree.
StoredState expectedDocument(int k) {
    static QMap<int, StoredState> known;
    if (!known.contains(k)) {
        QProcess child;
        child.start(childPath, {QStringLiteral("--document"), QString::number(k)});
        EXPECT_TRUE(child.waitForFinished(readTimeoutMs));
        auto decoded =
            StoredState::fromJson(QJsonDocument::fromJson(child.readAllStandardOutput()).object());
        EXPECT_TRUE(decoded.ok());
        known.insert(k, decoded.ok() ? std::move(decoded).value() : StoredState{});
    }
    return known.value(k);
}

} // namespace

// Kills a saving process at many points and checks that what it leaves behind is always one
// whole document that it had asked to save: never a torn file, never a temporary one, never
// one older than a flush that had returned.
TEST(StateStoreCrash, AKilledWriterLeavesAWholeRecentDocument) {
    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> killPoint(1, maxKillPoint);
    QTemporaryDir root;
    for (int run = 0; run < runs; ++run) {
        SCOPED_TRACE(run);
        const QString dir = root.filePath(QString::number(run));
        ASSERT_TRUE(QDir().mkpath(dir));
        const int killAfter = killPoint(random);

        QProcess child;
        child.start(childPath, {dir});
        ASSERT_TRUE(child.waitForStarted(readTimeoutMs));
        Progress progress;
        while (progress.handedOver < killAfter) {
            if (!child.canReadLine()) {
                ASSERT_TRUE(child.waitForReadyRead(readTimeoutMs)) << "the child stopped";
            }
            while (child.canReadLine())
                progress.take(child.readLine());
        }
        child.kill();
        ASSERT_TRUE(child.waitForFinished(readTimeoutMs));
        // Whatever it managed to report before it died also counts.
        while (child.canReadLine())
            progress.take(child.readLine());

        const QString statePath = dir + QStringLiteral("/state.json");
        const bool written = QFile::exists(statePath);
        const StoredState loaded = StateStore(statePath).load();
        const int saved = written ? int(loaded.messages.size()) : 0;
        EXPECT_GE(saved, progress.flushed);
        // Saves are reported after they are handed over, so one more may be under way.
        EXPECT_LE(saved, progress.handedOver + 1);
        if (written) {
            ASSERT_GE(saved, 1);
            EXPECT_EQ(loaded, expectedDocument(saved));
        }
        EXPECT_TRUE(QDir(dir)
                        .entryList({QStringLiteral("state-before-sync-*")}, QDir::AllEntries)
                        .isEmpty());
    }
}
