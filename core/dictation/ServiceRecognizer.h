// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Recognizer.h"

#include <QString>

#include <functional>
#include <optional>

namespace quillo {

class QuilloAPI;

// Recognition by Quillo's own service, which passes recordings on to a speech model. The
// service takes whole recordings, so the growing audio is sent again about once a second of
// speech for the running transcript, and once more, whole, for the final text.
class ServiceRecognizer final : public Recognizer {
public:
    // The session token of the moment; none when signed out.
    using TokenSource = std::function<std::optional<QString>()>;

    ServiceRecognizer(const QuilloAPI& api, TokenSource token);

    // The languages speech models commonly know, each in its most common region.
    QList<QLocale> supportedLocales() const override;
    bool isAvailable(const QLocale& locale) const override;
    std::shared_ptr<Recognition> recognize(const QLocale& locale, Handler handler) override;

    // New audio worth sending for a fresh partial result.
    static constexpr qsizetype partialEveryFrames = dictationSampleRate;

private:
    const QuilloAPI& m_api;
    TokenSource m_token;
};

} // namespace quillo
