// SPDX-License-Identifier: Apache-2.0
#include "store/SessionStore.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <sys/stat.h>

using namespace quillo;

namespace {

Account account(const char* email, int repliesToday = 0) {
    return Account(QString::fromUtf8(email), QStringLiteral("Ana"), QStringLiteral("free"),
                   repliesToday, 20);
}

QuilloSession session(const char* email, const char* token) {
    return {QString::fromUtf8(token), account(email)};
}

class SessionStoreTest : public ::testing::Test {
protected:
    // In a directory that does not exist yet, so that every write has to create it.
    QString path() const { return m_dir.filePath(QStringLiteral("support/session.json")); }

    void writeFile(const QByteArray& bytes) const {
        QDir().mkpath(m_dir.filePath(QStringLiteral("support")));
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QJsonObject fileObject() const {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QJsonDocument::fromJson(file.readAll()).object();
    }

    // What the store shows, read the same way from a fresh store on the same file.
    static void expectSame(const SessionStore& a, const SessionStore& b) {
        EXPECT_EQ(a.account(), b.account());
        EXPECT_EQ(a.token(), b.token());
        EXPECT_EQ(a.owner(), b.owner());
        EXPECT_EQ(a.syncedAt(), b.syncedAt());
        EXPECT_EQ(a.syncedFingerprint(), b.syncedFingerprint());
    }

    static void expectSignedOut(const SessionStore& store) {
        EXPECT_FALSE(store.account());
        EXPECT_FALSE(store.token());
        EXPECT_FALSE(store.owner());
        EXPECT_EQ(store.syncedAt(), 0);
        EXPECT_FALSE(store.syncedFingerprint());
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(SessionStoreTest, WalksThroughSignInExpiryAndSignOutAcrossRestarts) {
    SessionStore store(path());
    expectSignedOut(store);
    EXPECT_FALSE(QFile::exists(path())) << "reading alone writes nothing";

    QList<std::optional<Account>> published;
    QObject::connect(&store, &SessionStore::accountChanged,
                     [&](std::optional<Account> now) { published.append(now); });

    store.signedIn(session("ana@example.com", "t1"));
    store.synced(90, QStringLiteral("fp1"));
    EXPECT_EQ(store.account(), account("ana@example.com"));
    EXPECT_EQ(store.token(), u"t1");
    EXPECT_EQ(store.owner(), u"ana@example.com");
    EXPECT_EQ(store.syncedAt(), 90);
    EXPECT_EQ(store.syncedFingerprint(), u"fp1");
    expectSame(store, SessionStore(path()));

    store.expire();
    EXPECT_FALSE(store.account());
    EXPECT_FALSE(store.token());
    EXPECT_EQ(store.owner(), u"ana@example.com") << "the local data stays tied to its owner";
    EXPECT_EQ(store.syncedAt(), 90);
    EXPECT_EQ(store.syncedFingerprint(), u"fp1");
    EXPECT_FALSE(fileObject().contains(u"token"));
    expectSame(store, SessionStore(path()));

    store.signedIn(session("bo@example.com", "t2"));
    EXPECT_EQ(store.owner(), u"bo@example.com");
    EXPECT_EQ(store.syncedAt(), 90) << "sign-in leaves the sync fields to the caller";
    expectSame(store, SessionStore(path()));

    store.signOut();
    expectSignedOut(store);
    EXPECT_EQ(fileObject(), (QJsonObject{{QStringLiteral("syncedAt"), 0}}));
    expectSignedOut(SessionStore(path()));

    // `synced` publishes nothing; each of the other four published once.
    EXPECT_EQ(published, (QList<std::optional<Account>>{account("ana@example.com"), std::nullopt,
                                                        account("bo@example.com"), std::nullopt}));
}

TEST_F(SessionStoreTest, TheFileIsPrivateToTheUser) {
    SessionStore store(path());
    store.signedIn(session("ana@example.com", "secret"));
    struct stat info {};
    ASSERT_EQ(::stat(QFile::encodeName(path()).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(SessionStoreTest, AnUnusableFileLoadsAsSignedOut) {
    const QByteArray signedIn =
        QJsonDocument(QJsonObject{{QStringLiteral("token"), QStringLiteral("t1")},
                                  {QStringLiteral("account"), account("ana@example.com").toJson()},
                                  {QStringLiteral("owner"), QStringLiteral("ana@example.com")}})
            .toJson();
    const QByteArray wrongType = R"({"token":5,"owner":"ana@example.com","syncedAt":3})";
    const QByteArray noEmail = R"({"token":"t1","account":{"name":"Ana"},"syncedAt":3})";
    for (const QByteArray& bytes :
         {signedIn, QByteArray("{\"token\":"), QByteArray("[1]"), wrongType, noEmail}) {
        SCOPED_TRACE(bytes.constData());
        writeFile(bytes);
        expectSignedOut(SessionStore(path()));
    }

    // The same record with its version stamp is a valid sign-in.
    QJsonObject valid = QJsonDocument::fromJson(signedIn).object();
    valid.insert(QStringLiteral("syncedAt"), 12);
    writeFile(QJsonDocument(valid).toJson());
    const SessionStore store(path());
    EXPECT_EQ(store.token(), u"t1");
    EXPECT_EQ(store.syncedAt(), 12);
    EXPECT_FALSE(store.syncedFingerprint());
}

TEST_F(SessionStoreTest, UpdateOnlyTouchesTheSignedInAccount) {
    SessionStore store(path());
    int emissions = 0;
    QObject::connect(&store, &SessionStore::accountChanged, [&] { ++emissions; });

    store.update(account("ana@example.com", 3), QStringLiteral("t9"));
    EXPECT_FALSE(store.account()) << "no account comes back after sign-out";
    EXPECT_FALSE(QFile::exists(path()));

    store.signedIn(session("ana@example.com", "t1"));
    ASSERT_TRUE(QFile::remove(path()));
    store.update(account("ANA@example.com", 3), QStringLiteral("t9"));
    store.update(account("bo@example.com", 3));
    EXPECT_EQ(store.account(), account("ana@example.com"));
    EXPECT_EQ(store.token(), u"t1");
    EXPECT_FALSE(QFile::exists(path())) << "a refused update writes nothing";
    EXPECT_EQ(emissions, 1);

    store.update(account("ana@example.com", 5));
    EXPECT_EQ(store.account()->repliesToday, 5);
    EXPECT_EQ(store.token(), u"t1") << "no token given keeps the stored one";
    expectSame(store, SessionStore(path()));

    store.update(account("ana@example.com", 6), QStringLiteral("t2"));
    EXPECT_EQ(store.token(), u"t2");
    expectSame(store, SessionStore(path()));
    EXPECT_EQ(emissions, 3);
}

TEST_F(SessionStoreTest, AFailedWriteKeepsTheNewValuesForThisRun) {
    // A plain file where the directory should be: nothing can be written below it.
    QFile blocker(m_dir.filePath(QStringLiteral("support")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();

    SessionStore store(path());
    store.signedIn(session("ana@example.com", "t1"));
    EXPECT_EQ(store.token(), u"t1");
    EXPECT_FALSE(QFile::exists(path()));
    expectSignedOut(SessionStore(path()));
}
