// SPDX-License-Identifier: Apache-2.0
#include "JwksFixture.h"

#include "support/LoopbackServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QList>

#include <httplib.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace quillo::server {

namespace {

QByteArray base64Url(const QByteArray& data) {
    return data.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray compactJson(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

struct KeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using PrivateKey = std::unique_ptr<EVP_PKEY, KeyFree>;

struct SigningKey {
    QString id;
    PrivateKey key;
};

QByteArray bigEndianParameter(EVP_PKEY* key, const char* name) {
    BIGNUM* number = nullptr;
    if (EVP_PKEY_get_bn_param(key, name, &number) != 1)
        throw std::runtime_error("RSA key without its public parameters");
    QByteArray bytes(BN_num_bytes(number), Qt::Uninitialized);
    BN_bn2bin(number, reinterpret_cast<unsigned char*>(bytes.data()));
    BN_free(number);
    return bytes;
}

QJsonObject publicJwk(const SigningKey& signing) {
    return QJsonObject{
        {QStringLiteral("kty"), QStringLiteral("RSA")},
        {QStringLiteral("alg"), QStringLiteral("RS256")},
        {QStringLiteral("use"), QStringLiteral("sig")},
        {QStringLiteral("kid"), signing.id},
        {QStringLiteral("n"), QString::fromLatin1(base64Url(
                                  bigEndianParameter(signing.key.get(), OSSL_PKEY_PARAM_RSA_N)))},
        {QStringLiteral("e"), QString::fromLatin1(base64Url(
                                  bigEndianParameter(signing.key.get(), OSSL_PKEY_PARAM_RSA_E)))},
    };
}

QByteArray signRs256(EVP_PKEY* key, const QByteArray& data) {
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                    EVP_MD_CTX_free);
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.constData());
    size_t length = 0;
    if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key) != 1 ||
        EVP_DigestSign(context.get(), nullptr, &length, bytes, size_t(data.size())) != 1)
        throw std::runtime_error("cannot sign with the test key");
    QByteArray signature(qsizetype(length), Qt::Uninitialized);
    if (EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length,
                       bytes, size_t(data.size())) != 1)
        throw std::runtime_error("cannot sign with the test key");
    signature.truncate(qsizetype(length));
    return signature;
}

} // namespace

struct JwksFixture::State {
    mutable std::mutex mutex; // guards keys and the published set
    std::vector<SigningKey> keys;
    std::string published;
    std::atomic<int> fetches = 0;
    std::atomic<bool> failing = false;
    testsupport::LoopbackServer http;

    void addKey() {
        PrivateKey key(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t(2048)));
        if (!key)
            throw std::runtime_error("cannot generate a test RSA key");
        const std::lock_guard lock(mutex);
        keys.push_back(
            {QStringLiteral("test-key-") + QString::number(keys.size() + 1), std::move(key)});
        QJsonArray jwks;
        for (const SigningKey& signing : keys)
            jwks.append(publicJwk(signing));
        published = compactJson(QJsonObject{{QStringLiteral("keys"), jwks}}).toStdString();
    }
};

JwksFixture::JwksFixture()
    : m_state(std::make_unique<State>()) {
    m_state->addKey();
    State* state = m_state.get();
    state->http.server().Get("/oauth2/v3/certs",
                             [state](const httplib::Request&, httplib::Response& res) {
                                 ++state->fetches;
                                 if (state->failing) {
                                     res.status = 503;
                                     return;
                                 }
                                 const std::lock_guard lock(state->mutex);
                                 res.set_content(state->published, "application/json");
                             });
    state->http.start();
}

JwksFixture::~JwksFixture() {
    m_state->http.stop();
}

QString JwksFixture::url() const {
    return m_state->http.url(QStringLiteral("/oauth2/v3/certs"));
}

QString JwksFixture::sign(const QJsonObject& claims, const std::optional<QString>& keyId) const {
    const std::lock_guard lock(m_state->mutex);
    const SigningKey& current = m_state->keys.back();
    const QJsonObject header{{QStringLiteral("alg"), QStringLiteral("RS256")},
                             {QStringLiteral("typ"), QStringLiteral("JWT")},
                             {QStringLiteral("kid"), keyId.value_or(current.id)}};
    const QByteArray signingInput =
        base64Url(compactJson(header)) + '.' + base64Url(compactJson(claims));
    return QString::fromLatin1(signingInput + '.' +
                               base64Url(signRs256(current.key.get(), signingInput)));
}

QString JwksFixture::rotateKey() {
    m_state->addKey();
    return currentKeyId();
}

QString JwksFixture::currentKeyId() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->keys.back().id;
}

int JwksFixture::fetchCount() const {
    return m_state->fetches;
}

void JwksFixture::setFailing(bool failing) {
    m_state->failing = failing;
}

QString JwksFixture::clientId() {
    return QStringLiteral("1234567890-test.apps.example.test");
}

QJsonObject JwksFixture::claims(const QString& email, qint64 nowMillis, const QString& audience) {
    const qint64 now = nowMillis / 1000;
    return QJsonObject{
        {QStringLiteral("iss"), QStringLiteral("https://accounts.google.com")},
        {QStringLiteral("azp"), audience},
        {QStringLiteral("aud"), audience},
        {QStringLiteral("sub"), QStringLiteral("109876543210987654321")},
        {QStringLiteral("email"), email},
        {QStringLiteral("email_verified"), true},
        {QStringLiteral("name"), QStringLiteral("Ana Lima")},
        {QStringLiteral("iat"), now},
        {QStringLiteral("exp"), now + 3600},
    };
}

QString JwksFixture::compact(const QJsonObject& header, const QJsonObject& claims,
                             const QByteArray& signature) {
    return QString::fromLatin1(base64Url(compactJson(header)) + '.' +
                               base64Url(compactJson(claims)) + '.' + base64Url(signature));
}

} // namespace quillo::server
