// SPDX-License-Identifier: Apache-2.0
#include "SessionStore.h"

#include "AtomicFile.h"
#include "common/LogCategories.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLoggingCategory>

namespace quillo {

namespace {

// The file holds a bearer token: nobody but the user may read it.
constexpr QFileDevice::Permissions privateFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

} // namespace

SessionStore::SessionStore(QString path, QObject* parent)
    : QObject(parent)
    , m_path(std::move(path))
    , m_record(read(m_path)) {
    qRegisterMetaType<std::optional<Account>>();
}

std::optional<QString> SessionStore::token() const {
    return m_record.account ? m_record.token : std::nullopt;
}

void SessionStore::signedIn(const QuilloSession& session) {
    m_record.token = session.token;
    m_record.account = session.account;
    m_record.owner = session.account.email;
    publish();
    write();
    setRepliesReady(session.repliesReady);
}

void SessionStore::setRepliesReady(std::optional<bool> ready) {
    if (ready == m_repliesReady)
        return;
    m_repliesReady = ready;
    Q_EMIT repliesReadyChanged();
}

void SessionStore::update(const Account& account, std::optional<QString> token) {
    if (!m_record.account || m_record.account->email != account.email)
        return;
    m_record.account = account;
    if (token)
        m_record.token = std::move(token);
    publish();
    write();
}

void SessionStore::synced(qint64 at, std::optional<QString> fingerprint) {
    m_record.syncedAt = at;
    m_record.syncedFingerprint = std::move(fingerprint);
    write();
}

void SessionStore::expire() {
    m_record.token.reset();
    m_record.account.reset();
    publish();
    write();
    setRepliesReady(std::nullopt);
}

void SessionStore::signOut() {
    m_record = Record{};
    publish();
    write();
    setRepliesReady(std::nullopt);
}

void SessionStore::publish() {
    Q_EMIT accountChanged(m_record.account);
}

SessionStore::Record SessionStore::read(const QString& path) {
    QFile file(path);
    if (!file.exists())
        return {};
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcSession).noquote()
            << "session file unreadable, starting signed out:" << file.errorString();
        return {};
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        qCWarning(lcSession).noquote()
            << "session file is not JSON, starting signed out:" << parseError.errorString();
        return {};
    }
    // Every key but syncedAt may be missing; a value of the wrong type makes the whole file
    // unusable, as does a missing syncedAt.
    ObjectReader r(document.isObject() ? QJsonValue(document.object()) : QJsonValue());
    Record record{
        r.strictOptional<QString>(QStringLiteral("token")),
        r.strictOptional<Account>(QStringLiteral("account")),
        r.strictOptional<QString>(QStringLiteral("owner")),
        r.required<qint64>(QStringLiteral("syncedAt")),
        r.strictOptional<QString>(QStringLiteral("syncedFingerprint")),
    };
    if (r.failed()) {
        qCWarning(lcSession).noquote()
            << "session file unusable, starting signed out:" << r.error().message();
        return {};
    }
    return record;
}

void SessionStore::write() const {
    QJsonObject object{{QStringLiteral("syncedAt"), m_record.syncedAt}};
    if (m_record.token)
        object.insert(QStringLiteral("token"), *m_record.token);
    if (m_record.account)
        object.insert(QStringLiteral("account"), m_record.account->toJson());
    if (m_record.owner)
        object.insert(QStringLiteral("owner"), *m_record.owner);
    if (m_record.syncedFingerprint)
        object.insert(QStringLiteral("syncedFingerprint"), *m_record.syncedFingerprint);
    const QByteArray bytes = QJsonDocument(object).toJson(QJsonDocument::Compact);

    // A directory that cannot be made shows up as the write's own failure just below.
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    if (auto error = writeFileAtomically(m_path, bytes, privateFile))
        qCWarning(lcSession).noquote() << "session not saved:" << error->message();
}

} // namespace quillo
