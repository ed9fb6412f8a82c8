// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/JsonCodec.h"

namespace quillo {

// The signed-in account as the service reports it, usage counters included. Only `email` must
// be present on the wire: the service adds fields over time and an older app must still sign
// in, so every other field falls back to its default when it is missing or of another type.
// The plan fields are carried and compared as received; nothing in the app interprets them.
struct Account {
    static constexpr int defaultDailyLimit = 20;
    static constexpr int defaultFeedbackDailyLimit = 50;

    QString email;
    QString name;
    QString plan = QStringLiteral("free"); // the service's plan name; "free" when it sends none
    std::optional<qint64> planExpiresAt;   // absent: the plan does not run out
    int repliesToday = 0;
    int dailyLimit = defaultDailyLimit;
    int plusDailyLimit = defaultDailyLimit; // nothing better to assume than the free limit
    std::optional<QString> planSource;      // absent: the service did not say where it came from
    // Feedback on what the user writes (corrections, explanations) has an allowance of its own,
    // apart from the replies; a service that does not count it sends neither field.
    int feedbackToday = 0;
    int feedbackDailyLimit = defaultFeedbackDailyLimit;

    Account() = default;
    // The usual account: no plan expiry or source, the default paid limit.
    Account(QString email, QString name, QString plan, int repliesToday, int dailyLimit);

    // Replies still allowed today; never negative, even when the service counted past the limit.
    int repliesLeft() const;
    // Feedback still allowed today, the same way.
    int feedbackLeft() const;

    static Decoded<Account> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const Account&, const Account&) = default;
};

} // namespace quillo
