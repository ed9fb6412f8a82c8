// SPDX-License-Identifier: Apache-2.0
#include "Identifiers.h"

#include <QDateTime>
#include <QUuid>

namespace quillo {

QString newID() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toLower();
}

qint64 nowMillis() {
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace quillo
