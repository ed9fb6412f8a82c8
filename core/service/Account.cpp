// SPDX-License-Identifier: Apache-2.0
#include "Account.h"

#include <algorithm>
#include <limits>

namespace quillo {

Account::Account(QString email_, QString name_, QString plan_, int repliesToday_, int dailyLimit_)
    : email(std::move(email_))
    , name(std::move(name_))
    , plan(std::move(plan_))
    , repliesToday(repliesToday_)
    , dailyLimit(dailyLimit_) {}

namespace {

// In 64 bits and clamped, so that odd counters from the service cannot wrap around.
int left(int limit, int used) {
    return int(
        std::clamp<qint64>(qint64(limit) - qint64(used), 0, std::numeric_limits<int>::max()));
}

} // namespace

int Account::repliesLeft() const {
    return left(dailyLimit, repliesToday);
}

int Account::feedbackLeft() const {
    return left(feedbackDailyLimit, feedbackToday);
}

Decoded<Account> Account::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    Account account;
    account.email = r.required<QString>(QStringLiteral("email"));
    if (r.failed())
        return r.error();
    account.name = r.lenient<QString>(QStringLiteral("name")).value_or(account.name);
    account.plan = r.lenient<QString>(QStringLiteral("plan")).value_or(account.plan);
    account.planExpiresAt = r.lenient<qint64>(QStringLiteral("planExpiresAt"));
    account.repliesToday =
        r.lenient<int>(QStringLiteral("repliesToday")).value_or(account.repliesToday);
    account.dailyLimit = r.lenient<int>(QStringLiteral("dailyLimit")).value_or(account.dailyLimit);
    account.plusDailyLimit =
        r.lenient<int>(QStringLiteral("plusDailyLimit")).value_or(account.plusDailyLimit);
    account.planSource = r.lenient<QString>(QStringLiteral("planSource"));
    account.feedbackToday =
        r.lenient<int>(QStringLiteral("feedbackToday")).value_or(account.feedbackToday);
    account.feedbackDailyLimit =
        r.lenient<int>(QStringLiteral("feedbackDailyLimit")).value_or(account.feedbackDailyLimit);
    return account;
}

QJsonObject Account::toJson() const {
    QJsonObject object{
        {QStringLiteral("email"), email},
        {QStringLiteral("name"), name},
        {QStringLiteral("plan"), plan},
        {QStringLiteral("repliesToday"), repliesToday},
        {QStringLiteral("dailyLimit"), dailyLimit},
        {QStringLiteral("plusDailyLimit"), plusDailyLimit},
        {QStringLiteral("feedbackToday"), feedbackToday},
        {QStringLiteral("feedbackDailyLimit"), feedbackDailyLimit},
    };
    if (planExpiresAt)
        object.insert(QStringLiteral("planExpiresAt"), *planExpiresAt);
    if (planSource)
        object.insert(QStringLiteral("planSource"), *planSource);
    return object;
}

} // namespace quillo
