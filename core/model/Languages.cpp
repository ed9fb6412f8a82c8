// SPDX-License-Identifier: Apache-2.0
#include "Languages.h"

#include "TextHelpers.h"

namespace quillo {

QString languageKey(const QString& name) {
    const QString key = trimmedText(name).toLower();
    if (key == u"mandarin chinese" || key == u"simplified chinese" ||
        key == u"traditional chinese" || key == u"chinese mandarin" || key == u"mandarin")
        return QStringLiteral("chinese");
    if (key == u"brazilian portuguese")
        return QStringLiteral("portuguese");
    return key;
}

bool isAnyLanguageName(const QString& name) {
    static const QString anyKey = languageKey(anyLanguageName());
    return languageKey(name) == anyKey;
}

const QStringList& romanizedLanguages() {
    static const QStringList keys = {
        QStringLiteral("chinese"),   QStringLiteral("russian"),    QStringLiteral("ukrainian"),
        QStringLiteral("bulgarian"), QStringLiteral("belarusian"), QStringLiteral("japanese"),
        QStringLiteral("korean"),    QStringLiteral("arabic"),     QStringLiteral("persian"),
        QStringLiteral("urdu"),      QStringLiteral("hindi"),      QStringLiteral("greek"),
        QStringLiteral("hebrew"),    QStringLiteral("thai"),
    };
    return keys;
}

bool supportsRomanization(const QString& name) {
    return romanizedLanguages().contains(languageKey(name));
}

} // namespace quillo
