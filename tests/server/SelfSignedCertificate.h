// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <memory>

namespace quillo::server::apitest {

// A certificate for 127.0.0.1 that nobody trusts, written as PEM files for the service to use.
// Made with the library rather than a tool, so the tests need nothing on the PATH.
inline bool writeSelfSignedCertificate(const QString& certPath, const QString& keyPath) {
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    std::unique_ptr<X509, decltype(&X509_free)> cert(X509_new(), X509_free);
    if (!key || !cert)
        return false;
    X509_set_version(cert.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(cert.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(cert.get()), 24 * 3600);
    X509_set_pubkey(cert.get(), key.get());
    X509_NAME* name = X509_get_subject_name(cert.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1, 0);
    X509_set_issuer_name(cert.get(), name);
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, cert.get(), cert.get(), nullptr, nullptr, 0);
    std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> altName(
        X509V3_EXT_conf_nid(nullptr, &context, NID_subject_alt_name, "IP:127.0.0.1"),
        X509_EXTENSION_free);
    if (!altName || !X509_add_ext(cert.get(), altName.get(), -1) ||
        !X509_sign(cert.get(), key.get(), EVP_sha256()))
        return false;

    FILE* certFile = std::fopen(certPath.toLocal8Bit().constData(), "w");
    FILE* keyFile = std::fopen(keyPath.toLocal8Bit().constData(), "w");
    const bool written =
        certFile && keyFile && PEM_write_X509(certFile, cert.get()) &&
        PEM_write_PrivateKey(keyFile, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    if (certFile)
        std::fclose(certFile);
    if (keyFile)
        std::fclose(keyFile);
    return written;
}

} // namespace quillo::server::apitest
