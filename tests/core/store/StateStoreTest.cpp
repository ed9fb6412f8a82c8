// SPDX-License-Identifier: Apache-2.0
#include "store/StateStore.h"
#include "store/AtomicFile.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFuture>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <mutex>

using namespace quillo;

namespace {

StoredState sampleDocument(const QString& name, int messageCount = 3) {
    StoredState state;
    state.profile.displayName = name;
    state.profile.setupCompleted = true;
    BotProfile bot;
    bot.id = QStringLiteral("b1");
    bot.displayName = QStringLiteral("Lucía");
    bot.targetLanguage = QStringLiteral("Spanish");
    bot.memories = {QStringLiteral("likes trains")};
    state.bots = {bot};
    for (int i = 0; i < messageCount; ++i) {
        state.messages.append({QStringLiteral("m%1").arg(i),
                               bot.id,
                               i % 2 ? MessageRole::Assistant : MessageRole::User,
                               QStringLiteral("¿Qué tal? %1").arg(i),
                               {{QStringLiteral("tal"), QStringLiteral("such")}},
                               1'700'000'000'000 + i,
                               MessageSource::User,
                               {}});
    }
    state.lastReadAt = {{bot.id, 1'700'000'000'001}};
    state.nextNudgeAt = {{bot.id, 1'700'000'900'000}};
    state.botsCanStartConversations = true;
    state.theme = ThemeChoice::Dark;
    state.translationCache = {{QStringLiteral("es|hola"), {QStringLiteral("hello"), {}}}};
    state.speechLanguage = QStringLiteral("Spanish");
    return state;
}

QByteArray encoded(const StoredState& state) {
    return QJsonDocument(state.toJson()).toJson(QJsonDocument::Compact);
}

// Everything the store logs, captured from whichever thread it logs on.
struct LogCapture {
    static inline std::mutex mutex;
    static inline QStringList lines;
    static inline QtMessageHandler previous = nullptr;

    static void handler(QtMsgType, const QMessageLogContext& context, const QString& text) {
        if (qstrcmp(context.category, "quillo.state") != 0)
            return;
        std::lock_guard lock(mutex);
        lines.append(text);
    }
    static QString all() {
        std::lock_guard lock(mutex);
        return lines.join(u'\n');
    }
};

class StateStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        LogCapture::lines.clear();
        LogCapture::previous = qInstallMessageHandler(&LogCapture::handler);
    }
    void TearDown() override { qInstallMessageHandler(LogCapture::previous); }

    QString file(const QString& name) const { return m_dir.filePath(name); }
    QString statePath() const { return file(QStringLiteral("state.json")); }

    QByteArray read(const QString& path) const {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
    }
    void write(const QString& path, const QByteArray& bytes) const {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }
    QStringList entries() const {
        return QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    }

    QTemporaryDir m_dir;
    ManualClock m_clock{1'700'000'123'456};
};

const QString asideName = QStringLiteral("state-before-sync-1700000123456.json");

} // namespace

TEST_F(StateStoreTest, MissingFileOrEmptyObjectLoadsTheFreshDocumentAndTouchesNothing) {
    StateStore missing(statePath(), m_clock);
    EXPECT_EQ(missing.load(), StoredState{});
    EXPECT_TRUE(missing.startedFresh());
    EXPECT_TRUE(entries().isEmpty());

    // An empty object is a document, just one with every default: nothing about it is fresh.
    write(statePath(), "{}");
    StateStore empty(statePath(), m_clock);
    EXPECT_EQ(empty.load(), StoredState{});
    EXPECT_FALSE(empty.startedFresh());
    EXPECT_EQ(entries(), QStringList{QStringLiteral("state.json")});
    EXPECT_EQ(read(statePath()), "{}");
}

TEST_F(StateStoreTest, WrittenSaysWhenTheDiskHoldsTheLastSaveAndWhetherItDoes) {
    std::mutex gate;
    bool writable = true;
    std::unique_lock held(gate);
    StateStore store(statePath(), m_clock);
    store.setBeforeWrite([&] {
        const std::lock_guard passing(gate);
        return writable;
    });
    // Nothing handed over: the disk holds all there is.
    EXPECT_TRUE(store.written().isFinished());
    EXPECT_TRUE(store.written().result());

    store.save(sampleDocument(QStringLiteral("first")));
    QFuture<bool> first = store.written();
    store.save(sampleDocument(QStringLiteral("second")));
    QFuture<bool> second = store.written();
    EXPECT_FALSE(first.isFinished());
    held.unlock();
    EXPECT_TRUE(second.result());
    EXPECT_TRUE(first.result());
    EXPECT_EQ(read(statePath()), encoded(sampleDocument(QStringLiteral("second"))));

    // A write that did not happen (the process died first, the disk refused) says so, until a
    // later one makes it.
    held.lock();
    writable = false;
    store.save(sampleDocument(QStringLiteral("lost")));
    QFuture<bool> lost = store.written();
    held.unlock();
    EXPECT_FALSE(lost.result());
    EXPECT_FALSE(store.flush());
    held.lock();
    writable = true;
    held.unlock();
    store.save(sampleDocument(QStringLiteral("third")));
    EXPECT_TRUE(store.flush());
    EXPECT_EQ(read(statePath()), encoded(sampleDocument(QStringLiteral("third"))));
}

TEST_F(StateStoreTest, SavedDocumentIsWrittenCompactlyAndLoadsBackEqual) {
    const StoredState document = sampleDocument(QStringLiteral("Ana"));
    {
        StateStore store(statePath(), m_clock);
        StoredState edited = document;
        store.save(edited);
        // The store holds its own value: later edits of the caller's copy are not written.
        edited.profile.displayName = QStringLiteral("changed");
        store.flush();
        EXPECT_EQ(read(statePath()), encoded(document));
    }
    EXPECT_EQ(StateStore(statePath(), m_clock).load(), document);
    EXPECT_EQ(entries(), QStringList{QStringLiteral("state.json")}); // no temporary file left
}

TEST_F(StateStoreTest, SavesLandInRequestOrderAndFlushWaitsForTheLast) {
    StateStore store(statePath(), m_clock);
    store.save(sampleDocument(QStringLiteral("first")));
    store.save(sampleDocument(QStringLiteral("second")));
    store.flush();
    EXPECT_EQ(read(statePath()), encoded(sampleDocument(QStringLiteral("second"))));

    // Later saves carry smaller documents, so a write that overtook another would show.
    for (int i = 0; i < 50; ++i)
        store.save(sampleDocument(QStringLiteral("save %1").arg(i), 400 - 8 * i));
    const StoredState large = sampleDocument(QStringLiteral("large"), 5000);
    store.save(large);
    store.flush();
    EXPECT_EQ(read(statePath()), encoded(large));
    EXPECT_EQ(entries(), QStringList{QStringLiteral("state.json")});
}

TEST_F(StateStoreTest, UnusableDocumentsAreSetAsideAndNeverWrittenOver) {
    const QByteArray unusable[] = {
        R"({"provider":"local","messages":[{"text":"private words"}]})",
        R"({"notificationPreferences":{},"profile":{"displayName":"private words"}})",
        R"({"profile":{"displayName":"private words"},)"
        R"("messages":[{"id":"m1","botId":"b1","role":"USER"}]})",
        R"({"profile":{"displayName":"private words"},)",
        R"(["private words"])",
        "",
    };
    for (const QByteArray& bytes : unusable) {
        SCOPED_TRACE(bytes.toStdString());
        write(statePath(), bytes);
        LogCapture::lines.clear();
        {
            StateStore store(statePath(), m_clock);
            EXPECT_EQ(store.load(), StoredState{});
            EXPECT_TRUE(store.startedFresh());
            EXPECT_EQ(read(file(asideName)), bytes);
            EXPECT_FALSE(QFile::exists(statePath()));
            EXPECT_TRUE(LogCapture::all().contains(asideName));
            EXPECT_FALSE(LogCapture::all().contains(u"private words"));
            if (bytes.contains("\"m1\"")) {
                EXPECT_TRUE(LogCapture::all().contains(u"messages[0].text: missing"));
            }

            store.save(sampleDocument(QStringLiteral("Ana")));
            store.flush();
        }
        EXPECT_EQ(read(statePath()), encoded(sampleDocument(QStringLiteral("Ana"))));
        EXPECT_EQ(read(file(asideName)), bytes);
        ASSERT_TRUE(QFile::remove(file(asideName)));
        ASSERT_TRUE(QFile::remove(statePath()));
    }
}

TEST_F(StateStoreTest, ADocumentSetAsideWithinTheSameMillisecondTakesTheNextFreeName) {
    // A copy set aside a moment ago holds the name this millisecond would give: the damaged
    // document goes next to it, nothing is written over, and saving goes on.
    const QByteArray damaged = "{\"provider\":";
    write(statePath(), damaged);
    write(file(asideName), "an earlier set-aside file");
    write(file(QStringLiteral("state-before-sync-1700000123456-2.json")), "and another");

    StateStore store(statePath(), m_clock);
    EXPECT_EQ(store.load(), StoredState{});
    EXPECT_EQ(read(file(asideName)), "an earlier set-aside file");
    EXPECT_EQ(read(file(QStringLiteral("state-before-sync-1700000123456-2.json"))), "and another");
    EXPECT_EQ(read(file(QStringLiteral("state-before-sync-1700000123456-3.json"))), damaged);

    // Damaged again within the same millisecond: still set aside, and the save still lands.
    write(statePath(), damaged + "again");
    StateStore again(statePath(), m_clock);
    EXPECT_EQ(again.load(), StoredState{});
    again.save(sampleDocument(QStringLiteral("Bea")));
    again.flush();
    EXPECT_EQ(read(file(QStringLiteral("state-before-sync-1700000123456-4.json"))),
              damaged + "again");
    EXPECT_EQ(read(statePath()), encoded(sampleDocument(QStringLiteral("Bea"))));
}

TEST_F(StateStoreTest, AFileThatCannotBeReadIsSetAsideToo) {
    // A directory where the document should be cannot be read, and would block every write.
    ASSERT_TRUE(QDir().mkpath(file(QStringLiteral("state.json/inside"))));
    StateStore store(statePath(), m_clock);
    EXPECT_EQ(store.load(), StoredState{});
    EXPECT_TRUE(QFileInfo(file(asideName + QStringLiteral("/inside"))).isDir());
    store.save(sampleDocument(QStringLiteral("Ana")));
    store.flush();
    EXPECT_EQ(read(statePath()), encoded(sampleDocument(QStringLiteral("Ana"))));
}

TEST_F(StateStoreTest, AFailedWriteIsLoggedAndTheNextSaveSucceedsOnceTheCauseIsGone) {
    // A plain file where the document's directory should be: nothing can be written under it,
    // even by root.
    const QString blocked = file(QStringLiteral("support"));
    write(blocked, "not a directory");
    const QString path = blocked + QStringLiteral("/state.json");

    StateStore store(path, m_clock);
    EXPECT_EQ(store.load(), StoredState{});
    store.save(sampleDocument(QStringLiteral("lost")));
    store.flush();
    EXPECT_TRUE(LogCapture::all().contains(u"not saved"));
    EXPECT_EQ(read(blocked), "not a directory");

    ASSERT_TRUE(QFile::remove(blocked));
    store.save(sampleDocument(QStringLiteral("kept")));
    store.flush();
    EXPECT_EQ(StateStore(path, m_clock).load(), sampleDocument(QStringLiteral("kept")));
}

TEST_F(StateStoreTest, AtomicWritesCanKeepAFilePrivate) {
    const QString path = file(QStringLiteral("session.json"));
    const auto privateMode = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    const QFileDevice::Permissions modeBits(0x7077); // owner, group, other; not "current user"
    EXPECT_EQ(writeFileAtomically(path, "secret", privateMode), std::nullopt);
    EXPECT_EQ(QFile::permissions(path) & modeBits, privateMode);

    // A file that had been readable by others is private after the rewrite, too.
    ASSERT_TRUE(QFile::setPermissions(path, privateMode | QFileDevice::ReadOther));
    EXPECT_EQ(writeFileAtomically(path, "new secret", privateMode), std::nullopt);
    EXPECT_EQ(QFile::permissions(path) & modeBits, privateMode);
    EXPECT_EQ(read(path), "new secret");

    const auto error = writeFileAtomically(file(QStringLiteral("missing/session.json")), "x");
    ASSERT_TRUE(error.has_value());
    EXPECT_TRUE(error->message().startsWith(file(QStringLiteral("missing/session.json"))));
}
