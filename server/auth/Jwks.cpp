// SPDX-License-Identifier: Apache-2.0
#include "Jwks.h"

#include "Jwt.h"
#include "upstream/UpstreamHttp.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

namespace quillo::server {

namespace {

constexpr int minKeyBits = 2048;
constexpr int maxKeyBits = 8192; // bounds the work one forged token can cost us
constexpr size_t maxJwksBytes = 1024 * 1024;
constexpr std::chrono::seconds timeout{5};

template <typename T, void (*Free)(T*)>
struct Freer {
    void operator()(T* p) const { Free(p); }
};
using BigNum = std::unique_ptr<BIGNUM, Freer<BIGNUM, BN_free>>;
using ParamBuilder = std::unique_ptr<OSSL_PARAM_BLD, Freer<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free>>;
using Params = std::unique_ptr<OSSL_PARAM, Freer<OSSL_PARAM, OSSL_PARAM_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Freer<EVP_PKEY_CTX, EVP_PKEY_CTX_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX, EVP_MD_CTX_free>>;

BigNum bigNum(const QByteArray& bigEndian) {
    return BigNum(BN_bin2bn(reinterpret_cast<const unsigned char*>(bigEndian.constData()),
                            int(bigEndian.size()), nullptr));
}

// The public key of one RSA JWK, or nothing when it is not one we can verify with.
PublicKey rsaKey(const QJsonObject& jwk) {
    if (jwk.value(u"kty").toString() != u"RSA")
        return nullptr;
    if (jwk.contains(u"use") && jwk.value(u"use").toString() != u"sig")
        return nullptr;
    if (jwk.contains(u"alg") && jwk.value(u"alg").toString() != u"RS256")
        return nullptr;
    const auto modulus = decodeBase64Url(jwk.value(u"n").toString().toLatin1());
    const auto exponent = decodeBase64Url(jwk.value(u"e").toString().toLatin1());
    if (!modulus || !exponent || modulus->isEmpty() || exponent->isEmpty() ||
        modulus->size() > maxKeyBits / 8 + 1 || exponent->size() > 8)
        return nullptr;

    const BigNum n = bigNum(*modulus);
    const BigNum e = bigNum(*exponent);
    const ParamBuilder builder(OSSL_PARAM_BLD_new());
    if (!n || !e || !builder ||
        !OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, n.get()) ||
        !OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, e.get()))
        return nullptr;
    const Params params(OSSL_PARAM_BLD_to_param(builder.get()));
    const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    if (!params || !context || EVP_PKEY_fromdata_init(context.get()) != 1)
        return nullptr;
    EVP_PKEY* raw = nullptr;
    if (EVP_PKEY_fromdata(context.get(), &raw, EVP_PKEY_PUBLIC_KEY, params.get()) != 1)
        return nullptr;
    PublicKey key(raw, EVP_PKEY_free);
    const int bits = EVP_PKEY_get_bits(key.get());
    if (bits < minKeyBits || bits > maxKeyBits)
        return nullptr;
    return key;
}

} // namespace

Result<Jwks, QString> Jwks::parse(const QByteArray& json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return QStringLiteral("key set is not a JSON object");
    const QJsonValue keys = document.object().value(u"keys");
    if (!keys.isArray())
        return QStringLiteral("key set has no list of keys");

    Jwks jwks;
    for (const QJsonValue& entry : keys.toArray()) {
        const QJsonObject jwk = entry.toObject();
        const QString keyId = jwk.value(u"kid").toString();
        if (keyId.isEmpty())
            continue;
        if (PublicKey key = rsaKey(jwk))
            jwks.keys.insert(keyId, std::move(key));
    }
    if (jwks.keys.isEmpty())
        return QStringLiteral("key set has no usable RSA key");
    return jwks;
}

Result<Jwks, QString> Jwks::fetch(const QString& url) {
    auto endpoint = parseEndpoint(url);
    if (!endpoint)
        return QStringLiteral("key set URL is not an http or https URL");
    const QUrl parsed(url, QUrl::StrictMode);
    UpstreamRequest request{"GET", endpoint->basePath.empty() ? "/" : "", {}, {}, {}};
    if (parsed.hasQuery())
        request.path += '?' + parsed.query(QUrl::FullyEncoded).toStdString();

    const auto answer = callUpstreamBlocking(QStringLiteral("key set"), std::move(*endpoint),
                                             std::move(request), timeout);
    if (!answer)
        return QStringLiteral("key set unreachable: ") + answer.error().detail;
    if (answer->status != 200)
        return QStringLiteral("key set answered HTTP ") + QString::number(answer->status);
    if (answer->body.size() > maxJwksBytes)
        return QStringLiteral("key set is too large");
    return parse(QByteArray::fromStdString(answer->body));
}

bool verifyRs256(EVP_PKEY* key, const QByteArray& data, const QByteArray& signature) {
    const DigestContext context(EVP_MD_CTX_new());
    // RSA keys sign with PKCS#1 v1.5 padding unless told otherwise, which is what RS256 means.
    if (!context || EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key) != 1)
        return false;
    return EVP_DigestVerify(
               context.get(), reinterpret_cast<const unsigned char*>(signature.constData()),
               size_t(signature.size()), reinterpret_cast<const unsigned char*>(data.constData()),
               size_t(data.size())) == 1;
}

} // namespace quillo::server
