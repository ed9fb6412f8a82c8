// SPDX-License-Identifier: Apache-2.0
#include "RequestLog.h"

namespace quillo::server {

Q_LOGGING_CATEGORY(lcHttp, "quillo.http")

namespace {

// Paths come from the network: keep one line one line, and short.
QString printable(const std::string& text) {
    constexpr size_t limit = 200;
    QString result;
    for (size_t i = 0; i < text.size() && i < limit; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        result += (c < 0x20 || c >= 0x7f) ? u'?' : QChar(char16_t(c));
    }
    if (text.size() > limit)
        result += QStringLiteral("...");
    return result;
}

} // namespace

void logRequest(const std::string& method, const std::string& path, int status,
                std::chrono::milliseconds elapsed, std::optional<qint64> accountId) {
    QString line = printable(method) + u' ' + printable(path) + u' ' + QString::number(status) +
                   u' ' + QString::number(elapsed.count()) + QStringLiteral("ms");
    if (accountId)
        line += QStringLiteral(" account=") + QString::number(*accountId);
    qCInfo(lcHttp).noquote() << line;
}

} // namespace quillo::server
