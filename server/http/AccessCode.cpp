// SPDX-License-Identifier: Apache-2.0
#include "AccessCode.h"

#include <QRandomGenerator>

namespace quillo::server {

namespace {
// Crockford's base 32: digits and capitals without I, L, O and U.
constexpr char alphabet[] = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
constexpr int groups = 4;
constexpr int groupLength = 4;
} // namespace

QString newAccessCode() {
    QRandomGenerator* random = QRandomGenerator::system();
    QString code;
    for (int group = 0; group < groups; ++group) {
        if (group > 0)
            code += u'-';
        for (int i = 0; i < groupLength; ++i)
            code += QLatin1Char(alphabet[random->bounded(32)]);
    }
    return code;
}

QByteArray normalizedAccessCode(const QString& typed) {
    QByteArray normalized;
    for (const QChar c : typed.toUpper()) {
        if (c == u'-' || c.isSpace())
            continue;
        if (c == u'O')
            normalized += '0';
        else if (c == u'I' || c == u'L')
            normalized += '1';
        else
            normalized += QString(c).toUtf8();
    }
    return normalized;
}

} // namespace quillo::server
