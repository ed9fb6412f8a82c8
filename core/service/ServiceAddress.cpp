// SPDX-License-Identifier: Apache-2.0
#include "ServiceAddress.h"

#include <QHostAddress>

namespace quillo {

bool onThisComputer(const QUrl& url) {
    const QString host = url.host().toLower();
    if (host == u"localhost" || host.endsWith(QStringLiteral(".localhost")))
        return true;
    const QHostAddress address(host);
    return !address.isNull() && address.isLoopback();
}

bool travelsInClear(const QUrl& url) {
    return url.scheme().compare(u"http", Qt::CaseInsensitive) == 0 && !onThisComputer(url);
}

} // namespace quillo
