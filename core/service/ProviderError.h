// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <optional>

namespace quillo {

// A failure of the service or of the way to it. An absent status means no HTTP answer was
// obtained at all (no connection, time-out, TLS failure).
struct ProviderError {
    std::optional<int> status;
    QString body;

    // Worth another try: no answer, or a status the service uses for passing trouble. A status
    // of 0 (an answer that was not HTTP) is deliberately final.
    bool isRetryable() const;

    // "Quillo server error 503: ..." for logs and as a last-resort message.
    QString description() const;

    friend bool operator==(const ProviderError&, const ProviderError&) = default;
};

} // namespace quillo
