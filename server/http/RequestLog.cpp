#include "RequestLog.h"

#include <chrono>
#include <optional>

namespace quillo::server {

Q_LOGGING_CATEGORY(lcHttp, "quillo.http")

namespace {

struct Current {
    std::optional<std::chrono::steady_clock::time_point> started;
    std::optional<qint64> accountId;
};

thread_local Current current;

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

void RequestLog::begin() {
    current = Current{std::chrono::steady_clock::now(), std::nullopt};
}

void RequestLog::setAccount(qint64 accountId) {
    current.accountId = accountId;
}

void RequestLog::finish(const std::string& method, const std::string& path, int status) {
    QString line = printable(method) + u' ' + printable(path) + u' ' + QString::number(status);
    if (current.started) {
        const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - *current.started);
        line += u' ' + QString::number(elapsed.count()) + QStringLiteral("ms");
    } else {
        line += QStringLiteral(" -ms");
    }
    if (current.accountId)
        line += QStringLiteral(" account=") + QString::number(*current.accountId);
    qCInfo(lcHttp).noquote() << line;
    current = Current{};
}

} // namespace quillo::server
