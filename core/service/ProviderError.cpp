// SPDX-License-Identifier: Apache-2.0
#include "ProviderError.h"

namespace quillo {

bool ProviderError::isRetryable() const {
    if (!status)
        return true;
    const int code = *status;
    return code == 408 || code == 409 || code == 425 || code == 429 || code > 499;
}

QString ProviderError::description() const {
    const QString code = status ? QString::number(*status) : QStringLiteral("network");
    return QStringLiteral("Quillo server error ") + code + QStringLiteral(": ") + body.left(200);
}

} // namespace quillo
