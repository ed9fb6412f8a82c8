// SPDX-License-Identifier: Apache-2.0
#include "SpeechLocale.h"

#include "language/FreeTranslator.h"

#include <algorithm>

namespace quillo {

namespace {

bool sameLanguageAndRegion(const QLocale& a, const QLocale& b) {
    return a.language() == b.language() && a.territory() == b.territory();
}

} // namespace

std::optional<QLocale> speechLocale(const QString& language, const QList<QLocale>& supported,
                                    const QLocale& current) {
    const std::optional<QString> code = FreeTranslator::languageCode(language);
    if (!code)
        return std::nullopt;
    QString name = *code;
    name.replace(u'-', u'_');
    // QLocale fills in the most common region (and script) for a bare language code.
    const QLocale base(name);
    if (base.language() == QLocale::C)
        return std::nullopt;

    QList<QLocale> candidates;
    const bool namesRegion = name.contains(u'_');
    if (!namesRegion && current.language() == base.language())
        candidates.append(QLocale(name + u'_' + QLocale::territoryToCode(current.territory())));
    candidates.append(base);

    for (const QLocale& candidate : std::as_const(candidates)) {
        const auto found = std::find_if(supported.begin(), supported.end(), [&](const QLocale& s) {
            return sameLanguageAndRegion(s, candidate);
        });
        if (found != supported.end())
            return *found;
    }
    // Any region of the language, the same one every time.
    QList<QLocale> sameLanguage;
    for (const QLocale& locale : supported)
        if (locale.language() == base.language())
            sameLanguage.append(locale);
    if (sameLanguage.isEmpty())
        return std::nullopt;
    std::sort(sameLanguage.begin(), sameLanguage.end(),
              [](const QLocale& a, const QLocale& b) { return a.name() < b.name(); });
    return sameLanguage.first();
}

} // namespace quillo
