// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

namespace quillo {

// The target language of a contact that writes whatever language the user asks for.
inline QString anyLanguageName() {
    return QStringLiteral("Any language");
}

// The key every language comparison goes through: trimmed, lower-cased, with the usual
// aliases folded ("Mandarin" and friends to "chinese", "Brazilian Portuguese" to "portuguese").
QString languageKey(const QString& name);

bool isAnyLanguageName(const QString& name);

// Language keys that get a reading line in Latin letters.
const QStringList& romanizedLanguages();

bool supportsRomanization(const QString& name);

} // namespace quillo
