// SPDX-License-Identifier: Apache-2.0
#include "ServiceAddress.h"

#include <QHostAddress>

namespace quillo {

bool travelsInClear(const QUrl& url) {
    if (url.scheme().compare(u"http", Qt::CaseInsensitive) != 0)
        return false;
    const QString host = url.host().toLower();
    if (host == u"localhost" || host.endsWith(QStringLiteral(".localhost")))
        return false;
    const QHostAddress address(host);
    return address.isNull() || !address.isLoopback();
}

} // namespace quillo
